#pragma once

#include "motion/MotionWriter.h"

#include <string>

namespace Velkori_Tool {

/**
 * The text of a BVH file, in centimetres; the motion's axes are the file's. Its zero pose is the rest pose,
 * so rotations are those from the rest pose on. Every joint has six channels, as bones may change their
 * lengths.
 */
std::string MakeBVH(const OutgoingMotion& motion);

} // namespace Velkori_Tool
