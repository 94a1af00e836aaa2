#pragma once

#include "serialization/codec/JointRecord.h"
#include "serialization/codec/StreamSettings.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility {

// What a joint is coded against: its pose as it was sent, and its fields as the receiver has them.
struct JointBaseline {
    const JointPose& pose;
    const CompressedJointPose& compressed;
};

struct SentJoint {
    EncodedJoint encoded;
    // The pose with what moved less than a threshold put back to the baseline's.
    JointPose pose;
};

// A joint without a baseline. `sendsLength` says that it can move along its bone only, so that a length
// stands in for its position unless it is too long for one.
SentJoint encodeJointInFull(const StreamSettings& settings, const JointPose& pose, bool sendsLength);

// What of a joint has moved since its baseline: as deltas where they fit, and in full otherwise. A length is
// never sent as a delta.
SentJoint encodeJoint(
    const StreamSettings& settings, const JointPose& pose, bool sendsLength, const JointBaseline& baseline);

} // namespace Velkori_Utility
