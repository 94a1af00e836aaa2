#pragma once

#include "serialization/codec/JointRecord.h"
#include "serialization/codec/StreamSettings.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility {

// A tracker of a frame record. Trackers keep what the host gave, also below the thresholds, and whatever the
// stream's precision their baseline at High: what the format leaves of that is a delta that seldom fits.
struct TrackerPose {
    JointPose pose{};
    // The pose as a later frame's baseline.
    CompressedJointPose compressed = compressJoint(Precision::Max, JointPose::Identity, 0.0F);
    // What goes on the wire.
    EncodedJoint encoded;
};

// How a pose counts as a later frame's baseline.
CompressedJointPose compressAsTrackerBaseline(const JointPose& pose);

// Coded like a joint that never goes out as a length; null is no baseline.
EncodedJoint encodeTracker(
    const StreamSettings& settings, const JointPose& pose, const TrackerPose* baseline);

// Trackers are read at Max precision whatever the stream's is: the format is such that they read back
// correctly only from streams of Max.
JointPose readTracker(BitReader& reader, const CompressedJointPose& baseline);

} // namespace Velkori_Utility
