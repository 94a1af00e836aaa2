#pragma once

#include "motion/FileFormat.h"

#include <assimp/scene.h>

#include <assimp/Importer.hpp>
#include <string>

namespace Velkori_Tool {

/**
 * Reads a scene by its content, where the importer alone goes by the file's name; files that it names are
 * looked for beside it. `steps` are what the importer shall do further. The importer owns the scene. Throws
 * Failure if it can't be read.
 */
const aiScene& ImportScene(Assimp::Importer& importer, const std::string& path, FileFormat format,
    std::string content, unsigned steps = 0);

} // namespace Velkori_Tool
