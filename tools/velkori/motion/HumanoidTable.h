#pragma once

#include <map>
#include <string>
#include <string_view>

namespace Velkori_Tool {

/**
 * VRM's table of a file's humanoid: from the names of its bones, such as "leftUpperArm", to the names of the
 * nodes. It is read from glTF's JSON, of characters (both versions) and of VRM's own clips. Empty where there
 * is none.
 */
std::map<std::string, std::string> ReadHumanoidTable(std::string_view text);

/** The JSON of a GLB's or a glTF's content; empty if it has none. */
std::string_view JSONOfGLTF(std::string_view content);

} // namespace Velkori_Tool
