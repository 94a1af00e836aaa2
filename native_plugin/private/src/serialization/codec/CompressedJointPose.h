#pragma once

#include "serialization/codec/CompressedJointLength.h"
#include "serialization/codec/CompressedQuaternion.h"
#include "serialization/codec/CompressedVector3.h"
#include "serialization/codec/DeltaCoding.h"
#include "serialization/codec/JointSerializationOption.h"
#include "shared/DataTypes.h"

#include <algorithm>
#include <cstdint>

namespace Velkori_Utility {

// A joint's placement relative to its parent. The length stands in for the position where the joint can move
// only along its bone.
struct CompressedJointPose {
    // The identity, without length.
    explicit CompressedJointPose(Precision precision = Precision::Standard)
        : CompressedJointPose(precision, JointPose::Identity, 0.0F) {}

    CompressedJointPose(Precision precision, const JointPose& pose, float inLength)
        : rotation(precision, pose.orientation),
          position(precision, pose.position),
          length(precision, inLength) {}

    CompressedQuaternionf rotation;
    CompressedVector3f position;
    CompressedJointLength length;
};

// The range codes that deltas are written with.

inline std::uint32_t getDeltaRange(const CompressedQuaternionf& delta) {
    const auto [index, a, b, c] = delta.getComponents();
    return selectDeltaRange(OrientationDeltaRangeBits, std::max({a, b, c}));
}

inline std::uint32_t getDeltaRange(const CompressedVector3f& delta) {
    const auto [x, y, z] = delta.getComponents();
    return selectDeltaRange(PositionDeltaRangeBits, std::max({x, y, z}));
}

inline std::uint32_t getDeltaRange(const CompressedJointLength& delta) {
    return selectDeltaRange(LengthDeltaRangeBits, delta.getComponents()[0]);
}

} // namespace Velkori_Utility
