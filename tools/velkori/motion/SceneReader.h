#pragma once

#include "Motion.h"

namespace Velkori_Tool {

/**
 * Reads the skeleton of a scene file and the first of its animations, sampled at the rate of its densest
 * channel. The skeleton is what meshes are bound to, or else what is animated, or else all nodes without
 * meshes, with everything between. Throws Failure if the file can't be read or has no skeleton.
 */
Motion ReadScene(const std::string& path, std::vector<std::string>& notes);

} // namespace Velkori_Tool
