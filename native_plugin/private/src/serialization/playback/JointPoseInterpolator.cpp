#include "serialization/playback/JointPoseInterpolator.h"

#include "serialization/playback/BodySnapshotInterpolator.h"

#include <algorithm>

namespace Velkori_Utility {

JointPoseInterpolator::JointPoseInterpolator(float blendLimit, float smoothing)
    : maxBlend(blendLimit), smoothingTime(smoothing) {}

JointPose JointPoseInterpolator::UpdateAndGetInterpolatePose(double time) {
    const bool wasComplete = frames.IsComplete();
    if (!frames.FindSnapshots(time)) {
        return {};
    }
    const JointPose& previous = frames.GetPrevious().pose;
    const JointPose& next = frames.GetNext().pose;
    if (!wasComplete) {
        running = previous;
    }
    const float t = std::max(frames.BlendFactor(maxBlend), 0.0F);
    if (IsUnit(running.orientation) && IsUnit(previous.orientation.Normalize()) &&
        IsUnit(next.orientation.Normalize())) {
        EaseTowards(running, BodySnapshotInterpolator::interpolateJointPose(previous, next, t),
            frames.CatchUpFactor(smoothingTime));
    }
    return running;
}

} // namespace Velkori_Utility
