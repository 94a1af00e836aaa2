#pragma once

#include "host/SourceClip.h"
#include "motion/MotionWriter.h"

#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** How clips are read and retargeted; the same for all commands that do. */
struct RetargetOptions {
    velkori_RetargetingBehavior behavior = velkori_RetargetingBehavior_MatchProportions;
    velkori_RetargetingRootMotionBehavior rootMotion = velkori_RetargetingRootMotionBehavior_Unchanged;
    bool fixesUpOrientations = false;
    /** The source manifestation that frames are given in; empty for the whole skeleton. */
    std::string manifestation;
    SourceClipOptions clip;
};

/** A clip as captured and as the target moves to it. */
struct RetargetedClip {
    SourceClip source;
    int jointCount = 0;
    /** The pose that the target starts each frame from. */
    std::vector<Transform> restPose;
    /** Frame by frame, one world transform per target joint, in metres and the default coordinate space. */
    std::vector<Transform> poses;

    std::span<const Transform> Frame(int frame) const {
        return std::span(poses).subspan(static_cast<size_t>(frame) * jointCount, jointCount);
    }
};

/** Retargets every frame of a clip. Remarks about the clip are added to `notes`. */
RetargetedClip RetargetClip(const Configuration& configuration, const Motion& motion,
    const RetargetOptions& options, std::vector<std::string>& notes);

/** What is to be written of a configuration's target that moves as `poses` say. */
OutgoingMotion MakeOutgoingMotion(
    const Configuration& configuration, const RetargetedClip& clip, std::vector<Transform> poses);

} // namespace Velkori_Tool
