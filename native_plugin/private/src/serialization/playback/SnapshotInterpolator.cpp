#include "serialization/playback/SnapshotInterpolator.h"

#include "serialization/playback/PoseEasing.h"

namespace Velkori_Utility {

JointPose easeBodyJoint(
    const JointPose& running, const JointPose& from, const JointPose& to, float t, float share) {
    return isUnit(running.orientation) ? easeTowards(running, interpolateJointPose(from, to, t), share)
                                       : running;
}

float easeFaceWeight(float running, float from, float to, float t, float share) {
    // Unlike a body, a face doesn't go on along the line before the older frame.
    const float blend = std::max(t, 0.0F);
    const float sample = (1.0F - blend) * from + blend * to;
    return sample * share + running * (1.0F - share);
}

} // namespace Velkori_Utility
