#include "serialization/codec/JointRecord.h"

#include "serialization/codec/DeltaCoding.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

// The range codes that a joint's deltas are written with.

std::uint32_t getDeltaRange(const CompressedQuaternionf& delta) {
    const auto [index, a, b, c] = delta.fields;
    return selectDeltaRange(OrientationDeltaRangeBits, std::max({a, b, c}));
}

std::uint32_t getDeltaRange(const CompressedVector3f& delta) {
    const auto [x, y, z] = delta.fields;
    return selectDeltaRange(PositionDeltaRangeBits, std::max({x, y, z}));
}

std::uint32_t getDeltaRange(const CompressedJointLength& delta) {
    return selectDeltaRange(LengthDeltaRangeBits, delta.field);
}

void writeRotation(BitWriter& writer, const CompressedQuaternionf& rotation, int bits) {
    const auto [index, a, b, c] = rotation.fields;
    writer.writeBits(index, IndexBits);
    writer.writeBits(a, bits);
    writer.writeBits(b, bits);
    writer.writeBits(c, bits);
}

void writePosition(BitWriter& writer, const CompressedVector3f& position, int bits) {
    for (const std::uint32_t axis : position.fields) {
        writer.writeBits(axis, bits);
    }
}

// Chooses the range of a delta, writes its code, and gives the width of the fields that follow.
template <typename Delta>
int writeDeltaRange(BitWriter& writer, const Delta& delta, const DeltaRangeBits& rangeBits) {
    const std::uint32_t range = getDeltaRange(delta);
    writer.writeBits(range, DeltaRangeCodeBits);
    return rangeBits[range];
}

CompressedQuaternionf readRotation(BitReader& reader, Precision precision, int bits) {
    CompressedQuaternionf rotation{{reader.readBits(IndexBits)}, precision};
    for (std::size_t i = 1; i < rotation.fields.size(); ++i) {
        rotation.fields[i] = reader.readBits(bits);
    }
    return rotation;
}

CompressedVector3f readPosition(BitReader& reader, Precision precision, int bits) {
    CompressedVector3f position{{}, precision};
    for (std::uint32_t& axis : position.fields) {
        axis = reader.readBits(bits);
    }
    return position;
}

int readDeltaRange(BitReader& reader, const DeltaRangeBits& rangeBits) {
    return rangeBits[reader.readBits(DeltaRangeCodeBits)];
}

// Widths of the fields of a joint's deltas.
struct JointDeltaBits {
    int orientation = OrientationDeltaRangeBits[2];
    int position = PositionDeltaRangeBits[2];
    int length = LengthDeltaRangeBits[2];
};

std::uint32_t countJointRecordBits(
    JointSerializationOption option, Precision precision, const JointDeltaBits& deltaBits) {
    int bits = JointSerializationOptionBits;
    switch (getRotationOption(option)) {
    case JointSerializationOption_RotationFull:
        bits += IndexBits + 3 * RotationWidths[precision];
        break;
    case JointSerializationOption_RotationDelta:
        bits += DeltaRangeCodeBits + IndexBits + 3 * deltaBits.orientation;
        break;
    default:
        break;
    }
    switch (getPositionOption(option)) {
    case JointSerializationOption_PositionFull:
        bits += 3 * PositionWidths[precision];
        break;
    case JointSerializationOption_PositionDelta:
        bits += DeltaRangeCodeBits + 3 * deltaBits.position;
        break;
    case JointSerializationOption_LengthFull:
        bits += LengthWidths[precision];
        break;
    case JointSerializationOption_LengthDelta:
        bits += DeltaRangeCodeBits + deltaBits.length;
        break;
    default:
        break;
    }
    return static_cast<std::uint32_t>(bits);
}

} // namespace

void writeJoint(BitWriter& writer, const EncodedJoint& joint) {
    const CompressedJointPose& value = joint.value;
    writer.writeBits(joint.option, JointSerializationOptionBits);
    switch (getRotationOption(joint.option)) {
    case JointSerializationOption_RotationFull:
        writeRotation(writer, value.rotation, RotationWidths[value.rotation.precision]);
        break;
    case JointSerializationOption_RotationDelta: {
        const int bits = writeDeltaRange(writer, value.rotation, OrientationDeltaRangeBits);
        writeRotation(writer, value.rotation, bits);
        break;
    }
    default:
        break;
    }
    switch (getPositionOption(joint.option)) {
    case JointSerializationOption_PositionFull:
        writePosition(writer, value.position, PositionWidths[value.position.precision]);
        break;
    case JointSerializationOption_PositionDelta: {
        const int bits = writeDeltaRange(writer, value.position, PositionDeltaRangeBits);
        writePosition(writer, value.position, bits);
        break;
    }
    case JointSerializationOption_LengthFull:
        writer.writeBits(value.length.field, LengthWidths[value.length.precision]);
        break;
    case JointSerializationOption_LengthDelta: {
        const int bits = writeDeltaRange(writer, value.length, LengthDeltaRangeBits);
        writer.writeBits(value.length.field, bits);
        break;
    }
    default:
        break;
    }
}

EncodedJoint readJoint(BitReader& reader, Precision precision) {
    EncodedJoint joint;
    joint.option = static_cast<JointSerializationOption>(reader.readBits(JointSerializationOptionBits));
    CompressedJointPose& value = joint.value;
    switch (getRotationOption(joint.option)) {
    case JointSerializationOption_RotationFull:
        value.rotation = readRotation(reader, precision, RotationWidths[precision]);
        break;
    case JointSerializationOption_RotationDelta:
        value.rotation =
            readRotation(reader, Precision::Delta, readDeltaRange(reader, OrientationDeltaRangeBits));
        break;
    default:
        break;
    }
    switch (getPositionOption(joint.option)) {
    case JointSerializationOption_PositionFull:
        value.position = readPosition(reader, precision, PositionWidths[precision]);
        break;
    case JointSerializationOption_PositionDelta:
        value.position =
            readPosition(reader, Precision::Delta, readDeltaRange(reader, PositionDeltaRangeBits));
        break;
    case JointSerializationOption_LengthFull:
        value.length = {reader.readBits(LengthWidths[precision]), precision};
        break;
    case JointSerializationOption_LengthDelta:
        value.length = {reader.readBits(readDeltaRange(reader, LengthDeltaRangeBits)), Precision::Delta};
        break;
    default:
        break;
    }
    return joint;
}

std::uint32_t getJointRecordBits(const EncodedJoint& joint, Precision precision) {
    return countJointRecordBits(joint.option, precision,
        {OrientationDeltaRangeBits[getDeltaRange(joint.value.rotation)],
            PositionDeltaRangeBits[getDeltaRange(joint.value.position)],
            LengthDeltaRangeBits[getDeltaRange(joint.value.length)]});
}

std::uint32_t getLargestJointRecordBits(JointSerializationOption option, Precision precision) {
    return countJointRecordBits(option, precision, {});
}

} // namespace Velkori_Utility
