#pragma once

#include "serialization/codec/CompressedJointPose.h"

namespace Velkori_Utility {

// Widths of the fields of a joint's deltas.
struct JointDeltaBits {
    int orientation = OrientationDeltaRangeBits[2];
    int position = PositionDeltaRangeBits[2];
    int length = LengthDeltaRangeBits[2];
};

// The size of a joint record with full values of this precision and with deltas of these widths, by default
// the widest ones.
constexpr int getJointRecordBits(
    JointSerializationOption option, Precision precision, const JointDeltaBits& deltaBits = {}) {
    constexpr int IndexBits = 2;
    int bits = JointSerializationOptionBits;
    const JointSerializationOption rotation = getRotationOption(option);
    if (rotation == JointSerializationOption_RotationFull) {
        bits += IndexBits + 3 * CompressedQuaternionf::getBits(precision);
    } else if (rotation == JointSerializationOption_RotationDelta) {
        bits += DeltaRangeCodeBits + IndexBits + 3 * deltaBits.orientation;
    }
    const JointSerializationOption position = getPositionOption(option);
    if (position == JointSerializationOption_PositionFull) {
        bits += 3 * CompressedVector3f::getBits(precision);
    } else if (position == JointSerializationOption_PositionDelta) {
        bits += DeltaRangeCodeBits + 3 * deltaBits.position;
    } else if (position == JointSerializationOption_LengthFull) {
        bits += CompressedJointLength::getBits(precision);
    } else if (position == JointSerializationOption_LengthDelta) {
        bits += DeltaRangeCodeBits + deltaBits.length;
    }
    return bits;
}

} // namespace Velkori_Utility
