#include "serialization/playback/BodySnapshotInterpolator.h"

#include <algorithm>
#include <cmath>

namespace Velkori_Utility {

bool IsUnit(const Quaternionf& rotation) {
    // NaN and infinity fail the comparison, too.
    return std::abs(rotation.LengthSquared() - 1.0F) < 1e-5F;
}

void EaseTowards(JointPose& running, const JointPose& sample, float share) {
    if (share == 0.0F || !IsFinite(sample.position) || !IsFinite(sample.orientation.LengthSquared())) {
        return;
    }
    running.orientation = running.orientation.Slerp(sample.orientation, share).Normalize();
    running.position = running.position.Lerp(sample.position, share);
}

BodySnapshotInterpolator::BodySnapshotInterpolator(int count, float blendLimit, float smoothing)
    : elementCount(count), maxBlend(blendLimit), smoothingTime(smoothing) {
    running.reserve(elementCount);
}

void BodySnapshotInterpolator::reset() {
    frames.Reset();
    running.clear();
}

std::span<const JointPose> BodySnapshotInterpolator::updateAndInterpolatePose(double time) {
    if (!frames.FindSnapshots(time)) {
        return {};
    }
    const std::vector<JointPose>& previous = frames.GetPrevious()->elements;
    const std::vector<JointPose>& next = frames.GetNext()->elements;
    const std::size_t count =
        std::min({static_cast<std::size_t>(elementCount), previous.size(), next.size()});
    if (running.empty()) {
        running.assign(previous.begin(), previous.begin() + static_cast<std::ptrdiff_t>(count));
    }
    const float t = frames.BlendFactor(maxBlend);
    const float catchUp = frames.CatchUpFactor(smoothingTime);
    for (std::size_t i = 0; i < running.size(); ++i) {
        if (IsUnit(running[i].orientation)) {
            EaseTowards(running[i], interpolateJointPose(previous[i], next[i], t), catchUp);
        }
    }
    return running;
}

JointPose BodySnapshotInterpolator::interpolateJointPose(
    const JointPose& from, const JointPose& to, float t) {
    return {from.orientation.Normalize().Slerp(to.orientation.Normalize(), t).Normalize(),
        from.position.Lerp(to.position, t)};
}

} // namespace Velkori_Utility
