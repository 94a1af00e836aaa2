#include "serialization/record/Snapshot.h"

#include "serialization/Serialization.h"
#include "serialization/bits/IntegerRange.h"
#include "shared/Log.h"

#include <utility>

namespace Velkori_Utility {

namespace {

constexpr int CompressionTypeBits = 2;
constexpr int PartFlagBits = 1;

int getBaselineAckBits() {
    return getIntegerBits(-1, Serialization::getNumSnapshots());
}

int getAckBits() {
    return getIntegerBits(0, Serialization::getNumSnapshots());
}

} // namespace

Snapshot::Snapshot(velkori_CompressionType type, double time, const std::vector<JointPose>& sourcePose,
    const std::vector<JointPose>& targetPose, const std::vector<float>& faceWeights)
    : sourceBody(std::make_shared<BodySnapshot>(type, sourcePose, time)),
      targetBody(std::make_shared<BodySnapshot>(type, targetPose, time)),
      targetFace(std::make_shared<FaceSnapshot>(type, faceWeights, time)),
      timestamp(time),
      compressionType(type) {}

void Snapshot::restart(velkori_CompressionType type, double time) {
    sourceBody->restart(type, time);
    targetBody->restart(type, time);
    targetFace->restart(type, time);
    if (frameData) {
        spareFrameData = std::move(frameData);
    }
    timestamp = time;
    compressionType = type;
    baselineAck = -1;
    ack = 0;
    calculateHeaderSize();
}

void Snapshot::addFramedata(const FrameData& data) {
    if (!frameData) {
        frameData = std::move(spareFrameData);
    }
    // A record that somebody else still holds is theirs.
    if (frameData.use_count() == 1) {
        *frameData = data;
    } else {
        frameData = std::make_shared<FrameData>(data);
    }
}

void Snapshot::calculateHeaderSize() {
    const auto measure = [](bool isPresent, const auto& part, std::uint32_t& bits, int& width) {
        bits = isPresent ? part->getSerializationSizeBits() : 0;
        width = isPresent
                    ? part->getSizeFieldBits(static_cast<int>(part->elements.size()), part->compressionType)
                    : 1;
    };
    measure(hasSourceBody(), sourceBody, sourceBodyBits, sourceBodyWidth);
    measure(hasTargetBody(), targetBody, targetBodyBits, targetBodyWidth);
    measure(hasTargetBody(), targetFace, targetFaceBits, targetFaceWidth);
    headerBits.reset();
}

std::uint32_t Snapshot::getHeaderSerializationSizeBits() const {
    if (!headerBits) {
        int bits = CompressionTypeBits + CompressedTimestamp::getBits(toPrecision(compressionType)) +
                   3 * PartFlagBits + getBaselineAckBits() + getAckBits();
        bits += hasSourceBody() ? sourceBodyWidth : 0;
        bits += hasTargetBody() ? targetBodyWidth + targetFaceWidth : 0;
        headerBits = static_cast<std::uint32_t>(bits);
    }
    return *headerBits;
}

std::uint32_t Snapshot::getSerializationSizeBits() const {
    const std::uint32_t header = getHeaderSerializationSizeBits();
    Log(velkori_LogLevel_Debug,
        "Header size: %d, Source body size: %d, Target body size: %d, Target face size: %d",
        static_cast<int>(header), static_cast<int>(sourceBodyBits), static_cast<int>(targetBodyBits),
        static_cast<int>(targetFaceBits));
    return header + (hasSourceBody() ? sourceBodyBits : 0) +
           (hasTargetBody() ? targetBodyBits + targetFaceBits : 0) +
           (frameData ? frameData->getFramedataSizeBits(compressionType) : 0);
}

void Snapshot::writeHeaderToStream(BitWriter& writer) const {
    const CompressedTimestamp time(toPrecision(compressionType), timestamp);
    writer.writeBits(static_cast<std::uint32_t>(compressionType), CompressionTypeBits);
    writer.writeBits(time.getComponents()[0], time.getBits());
    writer.writeBits(hasSourceBody() ? 1 : 0, PartFlagBits);
    writer.writeBits(hasTargetBody() ? 1 : 0, PartFlagBits);
    writer.writeBits(frameData ? 1 : 0, PartFlagBits);
    if (hasSourceBody()) {
        writer.writeBits(sourceBodyBits, sourceBodyWidth);
    }
    if (hasTargetBody()) {
        writer.writeBits(targetBodyBits, targetBodyWidth);
        writer.writeBits(targetFaceBits, targetFaceWidth);
    }
    writer.serializeInteger(baselineAck, -1, Serialization::getNumSnapshots());
    writer.serializeInteger(ack, 0, Serialization::getNumSnapshots());
}

void Snapshot::writeToStream(BitWriter& writer) const {
    writeHeaderToStream(writer);
    if (frameData) {
        frameData->writeToStream(writer);
    }
    if (hasSourceBody()) {
        sourceBody->writeToStream(writer);
    }
    if (hasTargetBody()) {
        targetBody->writeToStream(writer);
        targetFace->writeToStream(writer);
    }
}

SnapshotTime Snapshot::parseCompressionTimestampFromStream(BitReader& reader) {
    SnapshotTime result;
    result.compressionType = static_cast<std::uint8_t>(reader.readBits(CompressionTypeBits));
    CompressedTimestamp time(toPrecision(static_cast<velkori_CompressionType>(result.compressionType)));
    time.setComponents({reader.readBits(time.getBits())});
    result.timestamp = time.decompress();
    return result;
}

SnapshotHeader Snapshot::parseHeaderFromStream(
    BitReader& reader, int numSnapshots, int sourceJointCount, int targetJointCount, int shapeCount) {
    const SnapshotTime time = parseCompressionTimestampFromStream(reader);
    const auto type = static_cast<velkori_CompressionType>(time.compressionType);
    SnapshotHeader header;
    header.timestamp = time.timestamp;
    header.compressionType = time.compressionType;
    header.hasSourceBody = reader.readBits(PartFlagBits) == 1;
    header.hasTargetBody = reader.readBits(PartFlagBits) == 1;
    header.hasFrameData = reader.readBits(PartFlagBits) == 1;
    if (header.hasSourceBody) {
        header.sourceBodyBits = reader.readBits(BodySnapshot::getSizeFieldBits(sourceJointCount, type));
    }
    if (header.hasTargetBody) {
        header.targetBodyBits = reader.readBits(BodySnapshot::getSizeFieldBits(targetJointCount, type));
        header.targetFaceBits = reader.readBits(FaceSnapshot::getSizeFieldBits(shapeCount, type));
    }
    reader.deserializeInteger(header.baselineAck, -1, Serialization::getNumSnapshots());
    reader.deserializeInteger(header.ack, 0, Serialization::getNumSnapshots());
    if (header.baselineAck < -1 || header.baselineAck >= numSnapshots) {
        header.baselineAck = -1;
    }
    if (header.ack < 0 || header.ack >= numSnapshots) {
        header.ack = 0;
    }
    return header;
}

} // namespace Velkori_Utility
