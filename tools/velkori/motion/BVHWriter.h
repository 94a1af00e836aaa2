#pragma once

#include "motion/MotionWriter.h"

#include <string>

namespace Velkori_Tool {

/**
 * The text of a BVH file; the motion's axes are the file's, and so many of its units make a metre. Its zero
 * pose is the rest pose, so rotations are those from the rest pose on. Every joint has six channels, as bones
 * may change their lengths.
 */
std::string MakeBVH(const OutgoingMotion& motion, float unitsPerMetre);

} // namespace Velkori_Tool
