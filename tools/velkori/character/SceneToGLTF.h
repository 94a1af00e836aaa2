#pragma once

#include "Remark.h"
#include "character/GLTFFile.h"

#include <string>

namespace Velkori_Tool {

/**
 * Reads an FBX, a Collada or another scene's file as glTF: nodes with their names and their local transforms,
 * meshes with their skins and blend shapes, materials with their pictures. Its world stays in the file's axes
 * and unit. Throws Failure if the file can't be read.
 */
GLTFFile ReadSceneAsGLTF(const std::string& path, std::vector<Remark>& notes);

} // namespace Velkori_Tool
