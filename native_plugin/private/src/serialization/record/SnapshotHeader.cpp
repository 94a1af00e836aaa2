#include "serialization/record/SnapshotHeader.h"

#include "serialization/bits/IntegerRange.h"
#include "serialization/codec/CompressedTimestamp.h"
#include "serialization/record/BodySnapshot.h"
#include "serialization/record/FaceSnapshot.h"

namespace Velkori_Utility {

namespace {

constexpr int CompressionTypeBits = 2;
constexpr int PartFlagBits = 1;

// Widths of the size fields of the parts.
struct SizeFieldBits {
    int sourceBody;
    int targetBody;
    int targetFace;
};

SizeFieldBits getSizeFieldBits(velkori_CompressionType type, const HeaderLayout& layout) {
    return {BodySnapshot::getSizeFieldBits(layout.sourceJointCount, type),
        BodySnapshot::getSizeFieldBits(layout.targetJointCount, type),
        FaceSnapshot::getSizeFieldBits(layout.shapeCount, type)};
}

} // namespace

std::uint32_t getHeaderBits(const SnapshotHeader& header, const HeaderLayout& layout) {
    const velkori_CompressionType type = header.time.compressionType;
    const SizeFieldBits sizes = getSizeFieldBits(type, layout);
    int bits = CompressionTypeBits + TimestampWidths[toPrecision(type)] + 3 * PartFlagBits +
               getIntegerBits(-1, layout.ringLength) + getIntegerBits(0, layout.ringLength);
    bits += header.hasSourceBody ? sizes.sourceBody : 0;
    bits += header.hasTargetBody ? sizes.targetBody + sizes.targetFace : 0;
    return static_cast<std::uint32_t>(bits);
}

void writeHeader(BitWriter& writer, const SnapshotHeader& header, const HeaderLayout& layout) {
    const auto [type, timestamp] = header.time;
    const Precision precision = toPrecision(type);
    const SizeFieldBits sizes = getSizeFieldBits(type, layout);
    writer.writeBits(static_cast<std::uint32_t>(type), CompressionTypeBits);
    writer.writeBits(compressTimestamp(precision, timestamp).field, TimestampWidths[precision]);
    writer.writeBits(header.hasSourceBody ? 1 : 0, PartFlagBits);
    writer.writeBits(header.hasTargetBody ? 1 : 0, PartFlagBits);
    writer.writeBits(header.hasFrameData ? 1 : 0, PartFlagBits);
    if (header.hasSourceBody) {
        writer.writeBits(header.sourceBodyBits, sizes.sourceBody);
    }
    if (header.hasTargetBody) {
        writer.writeBits(header.targetBodyBits, sizes.targetBody);
        writer.writeBits(header.targetFaceBits, sizes.targetFace);
    }
    writer.serializeInteger(header.baselineAck, -1, layout.ringLength);
    writer.serializeInteger(header.ack, 0, layout.ringLength);
}

SnapshotTime readSnapshotTime(BitReader& reader) {
    const auto type = static_cast<velkori_CompressionType>(reader.readBits(CompressionTypeBits));
    const Precision precision = toPrecision(type);
    return {type, decompress(CompressedTimestamp{reader.readBits(TimestampWidths[precision]), precision})};
}

SnapshotHeader readHeader(BitReader& reader, const HeaderLayout& layout) {
    SnapshotHeader header;
    header.time = readSnapshotTime(reader);
    const SizeFieldBits sizes = getSizeFieldBits(header.time.compressionType, layout);
    header.hasSourceBody = reader.readBits(PartFlagBits) == 1;
    header.hasTargetBody = reader.readBits(PartFlagBits) == 1;
    header.hasFrameData = reader.readBits(PartFlagBits) == 1;
    if (header.hasSourceBody) {
        header.sourceBodyBits = reader.readBits(sizes.sourceBody);
    }
    if (header.hasTargetBody) {
        header.targetBodyBits = reader.readBits(sizes.targetBody);
        header.targetFaceBits = reader.readBits(sizes.targetFace);
    }
    header.baselineAck = reader.deserializeInteger(-1, layout.ringLength);
    header.ack = reader.deserializeInteger(0, layout.ringLength);
    if (header.baselineAck < -1 || header.baselineAck >= layout.ringLength) {
        header.baselineAck = -1;
    }
    if (header.ack < 0 || header.ack >= layout.ringLength) {
        header.ack = 0;
    }
    return header;
}

} // namespace Velkori_Utility
