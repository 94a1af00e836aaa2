#pragma once

#include <string>

namespace Velkori_Tool {

enum class FileFormat { BVH, GLB, GLTF, FBX, Collada, Document, Other };

/** What a file is, by how it begins: people rename files, and programs choose extensions of their own. */
FileFormat FindFileFormat(const std::string& path);

} // namespace Velkori_Tool
