#pragma once

#include "Remark.h"
#include "host/SourceClip.h"
#include "rig/RigFile.h"
#include "solve/KeptBones.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** How clips are read and retargeted; the same for all commands that do. */
struct RetargetOptions {
    /** Unless a behavior is chosen, the library's rotations move the target's own bones. */
    std::optional<velkori_RetargetingBehavior> behavior;
    velkori_RetargetingRootMotionBehavior rootMotion = velkori_RetargetingRootMotionBehavior_Unchanged;
    bool fixesUpOrientations = false;
    KeepOptions keep;
    /** The source manifestation that frames are given in; empty for the whole skeleton. */
    std::string manifestation;
    SourceClipOptions clip;
    /** Of the configuration's target, where they are known. */
    StandingHeights standingHeights;
};

/** A clip as captured and as the target moves to it. */
struct RetargetedClip {
    SourceClip source;
    int jointCount = 0;
    /** By source joint, whether its frames were given to the library. */
    std::vector<bool> isTracked;
    StandingHeights standingHeights;
    /** No bone of the target has another length than in the rest pose. */
    bool keepsBones = false;
    /** What carries the body, where bones are kept. */
    MotionPath path = MotionPath::Hips;
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
    const RetargetOptions& options, std::vector<Remark>& notes);

/** The captured body of a clip, with those limbs that are tracked. */
Body SourceBody(const Configuration& configuration, const RetargetedClip& clip);

/** The target with the bones that it was made with. */
Body TargetBody(const Configuration& configuration, const StandingHeights& heights);

} // namespace Velkori_Tool
