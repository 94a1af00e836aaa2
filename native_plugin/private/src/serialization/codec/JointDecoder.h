#pragma once

#include "serialization/codec/JointRecord.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility {

// What a reader makes of a joint, given the baseline's fields, in a stream of this precision. Any bits give
// finite numbers. `restPose` is the joint's own, in local space: a joint that was sent as a length lies in
// its direction. What has no rest pose has no length.
JointPose decodeJoint(const EncodedJoint& joint, Precision precision, const CompressedJointPose& baseline,
    const JointPose& restPose = JointPose::Identity);

} // namespace Velkori_Utility
