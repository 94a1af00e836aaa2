#include "serialization/playback/JointPoseInterpolator.h"

#include "serialization/playback/PoseEasing.h"

#include <algorithm>

namespace Velkori_Utility {

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
    const float t = std::max(frames.BlendFactor(), 0.0F);
    if (isUnit(running.orientation) && isUnit(previous.orientation.Normalize()) &&
        isUnit(next.orientation.Normalize())) {
        running = easeTowards(running, interpolateJointPose(previous, next, t), frames.CatchUpFactor());
    }
    return running;
}

} // namespace Velkori_Utility
