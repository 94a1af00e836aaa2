#pragma once

#include <cstdint>

namespace Velkori_Utility {

// What of a joint a record holds: a rotation value joined with a position or a length value. Five bits on the
// wire, so a reader meets every value from 0 to 31.
enum JointSerializationOption : std::uint8_t {
    // The joint keeps its baseline's values.
    JointSerializationOption_None = 0,
    JointSerializationOption_PositionFull = 1,
    JointSerializationOption_PositionDelta = 2,
    JointSerializationOption_RotationFull = 4,
    JointSerializationOption_RotationDelta = 8,
    // In place of a position: the joint lies in its rest pose's direction.
    JointSerializationOption_LengthFull = 17,
    JointSerializationOption_LengthDelta = 18,
};

inline constexpr int JointSerializationOptionBits = 5;

constexpr JointSerializationOption operator|(JointSerializationOption a, JointSerializationOption b) {
    return static_cast<JointSerializationOption>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}

// RotationFull, RotationDelta, or no rotation.
constexpr JointSerializationOption getRotationOption(JointSerializationOption option) {
    return static_cast<JointSerializationOption>(option & 12U);
}

// One of the position or length values, or neither.
constexpr JointSerializationOption getPositionOption(JointSerializationOption option) {
    return static_cast<JointSerializationOption>(option & 19U);
}

// Whether a length stands in for the position.
constexpr bool isLength(JointSerializationOption option) {
    const JointSerializationOption position = getPositionOption(option);
    return position == JointSerializationOption_LengthFull ||
           position == JointSerializationOption_LengthDelta;
}

} // namespace Velkori_Utility
