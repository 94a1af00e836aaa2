#pragma once

#include "Motion.h"
#include "Remark.h"
#include "motion/FileFormat.h"

namespace Velkori_Tool {

/**
 * Reads the skeleton of a scene file and one of its animations, sampled at the rate of its own frames. The
 * skeleton is what meshes are bound to, or else what is animated, or else all nodes without meshes, with
 * everything between. Throws Failure if the file can't be read, has no skeleton or lacks the animation.
 */
Motion ReadScene(
    const std::string& path, FileFormat format, const ReadOptions& options, std::vector<Remark>& notes);

} // namespace Velkori_Tool
