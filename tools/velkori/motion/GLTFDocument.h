#pragma once

#include <nlohmann/json.hpp>
#include <string>

namespace Velkori_Tool {

/**
 * Throws Failure, naming the file, unless a glTF document holds together: its nodes are trees, and what it
 * names by a number is there and of the right kind. Who reads it on needs no further checks.
 */
void CheckGLTF(const std::string& path, const nlohmann::ordered_json& document);

/**
 * A glTF's or a GLB's content as the scene reader can take it, which knows no skin without inverse bind
 * matrices: such a skin gets the identities that it means. Throws Failure as CheckGLTF() does.
 */
std::string GLTFForSceneReader(const std::string& path, std::string content);

} // namespace Velkori_Tool
