#include "serialization/playback/PoseEasing.h"

#include <cmath>

namespace Velkori_Utility {

JointPose interpolateJointPose(const JointPose& from, const JointPose& to, float t) {
    return {from.orientation.Normalize().Slerp(to.orientation.Normalize(), t).Normalize(),
        from.position.Lerp(to.position, t)};
}

bool isUnit(const Quaternionf& rotation) {
    // NaN and infinity fail the comparison, too.
    return std::abs(rotation.LengthSquared() - 1.0F) < 1e-5F;
}

JointPose easeTowards(const JointPose& running, const JointPose& sample, float share) {
    if (share == 0.0F || !IsFinite(sample.position) || !IsFinite(sample.orientation.LengthSquared())) {
        return running;
    }
    return {running.orientation.Slerp(sample.orientation, share).Normalize(),
        running.position.Lerp(sample.position, share), running.scale};
}

} // namespace Velkori_Utility
