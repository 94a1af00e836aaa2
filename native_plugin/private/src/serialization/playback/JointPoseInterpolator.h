#pragma once

#include "serialization/playback/FramePair.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility {

// Plays a received tracker back at the receiver's own clock, as SnapshotInterpolator does bodies.
class JointPoseInterpolator {
  public:
    struct JointPoseInfo {
        JointPose pose;
        // Seconds.
        double time = 0.0;
    };

    void Reset() { frames.Reset(); }

    void addJointPose(const JointPose& pose, double time) { frames.Add({pose, time}); }

    // The running pose after it has followed up to `time`; the identity if no frame is due.
    JointPose UpdateAndGetInterpolatePose(double time);

  private:
    FramePair<JointPoseInfo> frames;
    JointPose running;
};

inline double GetFrameTime(const JointPoseInterpolator::JointPoseInfo& info) {
    return info.time;
}

} // namespace Velkori_Utility
