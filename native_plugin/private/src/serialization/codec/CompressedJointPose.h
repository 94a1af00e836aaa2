#pragma once

#include "serialization/codec/CompressedJointLength.h"
#include "serialization/codec/CompressedQuaternion.h"
#include "serialization/codec/CompressedVector3.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility {

// A joint's placement relative to its parent. The length stands in for the position where the joint can move
// only along its bone.
struct CompressedJointPose {
    CompressedQuaternionf rotation;
    CompressedVector3f position;
    CompressedJointLength length;
};

inline CompressedJointPose compressJoint(Precision precision, const JointPose& pose, float length) {
    return {compressRotation(precision, pose.orientation), compressPosition(precision, pose.position),
        compressLength(precision, length)};
}

} // namespace Velkori_Utility
