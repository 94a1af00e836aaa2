#pragma once

#include "Transforms.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** An animated skeleton on its way into a file. Transforms are world-space, in the file's axes and unit. */
struct OutgoingMotion {
    std::string name;
    std::vector<std::string> jointNames;
    /** -1 for a joint without parent. */
    std::vector<int> parents;
    std::vector<Transform> restPose;
    double frameSeconds = 1.0 / 30.0;
    /** Frame by frame, one transform per joint. */
    std::vector<Transform> poses;

    /** By joint, whether its place in its parent changes; empty where all may. */
    std::vector<bool> isMoved;

    bool IsMoved(size_t joint) const { return isMoved.empty() || isMoved[joint]; }

    size_t FrameCount() const { return jointNames.empty() ? 0 : poses.size() / jointNames.size(); }
};

/** Throws UsageFailure unless the path's extension is one that WriteMotion() writes. */
void CheckMotionFormat(const std::string& path);

/**
 * Writes BVH or GLB by the path's extension. The motion is in metres, right-handed, y up, facing z; a BVH has
 * `unitsPerMetre` of its units to the metre.
 */
void WriteMotion(const std::string& path, const OutgoingMotion& motion, float unitsPerMetre = 100.0f);

} // namespace Velkori_Tool
