#pragma once

#include "motion/MotionWriter.h"

#include <string>

namespace Velkori_Tool {

/**
 * Writes a binary glTF file: one node per joint, an animation, and a mesh of bones that is bound to the
 * joints, so that a viewer has something to show. Throws Failure, without the path, if the file can't be
 * written.
 */
void WriteGLB(const std::string& path, const OutgoingMotion& motion);

} // namespace Velkori_Tool
