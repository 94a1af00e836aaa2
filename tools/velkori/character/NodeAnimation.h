#pragma once

#include "character/GLTFFile.h"
#include "motion/MotionWriter.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** The node of each joint by its name and by what it hangs from; -1 where the file has none. */
std::vector<int> FindNodes(
    const GLTFFile& file, const std::vector<std::string>& jointNames, const std::vector<int>& parents);

/** How large each node's own axes are in the world, by node; of uneven scales the mean. */
std::vector<float> NodeScales(const GLTFFile& file);

/**
 * Adds an animation of the file's own nodes, in their own local spaces. `motion` is in world space, in the
 * file's axes and unit; `nodes` has the node of each joint. Where bones are kept, the nodes keep their places
 * in their parents but for those joints that carry the way.
 */
void AddNodeAnimation(GLTFFile& file, const OutgoingMotion& motion, const std::vector<int>& nodes);

/**
 * Puts a node above a file's scene that brings its world, whose up, forward and right are these and whose
 * unit is so long, into that of glTF: y up, facing z, in metres. Adds nothing where that is so already.
 */
void StandInGLTFSpace(GLTFFile& file, const velkori_CoordinateSpace_& space, double metresPerUnit);

} // namespace Velkori_Tool
