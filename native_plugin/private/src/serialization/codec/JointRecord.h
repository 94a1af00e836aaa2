#pragma once

#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/CompressedJointPose.h"
#include "serialization/codec/JointSerializationOption.h"

#include <cstdint>

namespace Velkori_Utility {

// What of a joint goes on the wire. Of the value only that means anything which the option speaks of.
struct EncodedJoint {
    CompressedJointPose value;
    JointSerializationOption option = JointSerializationOption_None;
};

void writeJoint(BitWriter& writer, const EncodedJoint& joint);
// Full values are read at `precision`, which is the stream's, and deltas at Delta.
EncodedJoint readJoint(BitReader& reader, Precision precision);

// The exact size of a joint's record, in bits; full values count at `precision`.
std::uint32_t getJointRecordBits(const EncodedJoint& joint, Precision precision);
// The same without knowing the value: deltas count at their widest.
std::uint32_t getLargestJointRecordBits(JointSerializationOption option, Precision precision);

} // namespace Velkori_Utility
