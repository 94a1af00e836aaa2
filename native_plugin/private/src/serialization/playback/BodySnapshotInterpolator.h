#pragma once

#include "serialization/playback/FramePair.h"
#include "serialization/record/BodySnapshot.h"
#include "shared/DataTypes.h"

#include <memory>
#include <span>
#include <vector>

namespace Velkori_Utility {

// Plays received bodies back at the receiver's own clock: samples between two frames, and eases a running
// pose towards the sample, so that frames that come late or not at all don't show as jumps.
class BodySnapshotInterpolator {
  public:
    // `smoothing` is the time, in seconds, within which the running pose catches up.
    BodySnapshotInterpolator(int count, float blendLimit, float smoothing);

    void reset();

    void addSnapshot(const std::shared_ptr<const BodySnapshot>& snapshot) { frames.Add(snapshot); }

    // The running pose after it has followed up to `time`, in local space; empty if no frame is due. Holds
    // until the next request.
    std::span<const JointPose> updateAndInterpolatePose(double time);
    // Linear in position, along the shortest way in rotation, without scale.
    static JointPose interpolateJointPose(const JointPose& from, const JointPose& to, float t);

    int getElementCount() const { return elementCount; }

  private:
    int elementCount;
    float maxBlend;
    float smoothingTime;
    FramePair<std::shared_ptr<const BodySnapshot>> frames;
    std::vector<JointPose> running;
};

// Whether all components are finite and the length is 1 within rounding.
bool IsUnit(const Quaternionf& rotation);
// Moves a pose towards another by the given share of the way; its scale stays. A sample that isn't finite, as
// it is far before the first of two frames, moves nothing.
void EaseTowards(JointPose& running, const JointPose& sample, float share);

} // namespace Velkori_Utility
