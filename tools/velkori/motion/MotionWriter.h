#pragma once

#include "Transforms.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** An animated skeleton on its way into a file. Transforms are world-space, in metres, in the default space.
 */
struct OutgoingMotion {
    std::string name;
    std::vector<std::string> jointNames;
    /** -1 for a joint without parent. */
    std::vector<int> parents;
    std::vector<Transform> restPose;
    double frameSeconds = 1.0 / 30.0;
    /** Frame by frame, one transform per joint. */
    std::vector<Transform> poses;

    size_t FrameCount() const { return jointNames.empty() ? 0 : poses.size() / jointNames.size(); }
};

/** Throws UsageFailure unless the path's extension is one that WriteMotion() writes. */
void CheckMotionFormat(const std::string& path);

/** Writes BVH, in centimetres, or GLB, in metres, by the path's extension; right-handed, y up, facing z. */
void WriteMotion(const std::string& path, OutgoingMotion motion);

} // namespace Velkori_Tool
