#include "serialization/record/Snapshot.h"

namespace Velkori_Utility {

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
    hasFrameData = false;
    timestamp = time;
    compressionType = type;
}

void Snapshot::expectDelivery() {
    sourceBody->delivered = sourceBody->elements;
    targetBody->delivered = targetBody->elements;
}

void Snapshot::addFramedata(const FrameData& data) {
    if (frameData) {
        *frameData = data;
    } else {
        frameData = std::make_unique<FrameData>(data);
    }
    hasFrameData = true;
}

SnapshotHeader Snapshot::makeHeader(std::int32_t baselineAck, std::int32_t ack) const {
    SnapshotHeader header;
    header.time = {compressionType, timestamp};
    header.hasSourceBody = hasSourceBody();
    header.hasTargetBody = hasTargetBody();
    header.hasFrameData = hasFrameData;
    if (header.hasSourceBody) {
        header.sourceBodyBits = sourceBody->getSerializationSizeBits();
    }
    if (header.hasTargetBody) {
        header.targetBodyBits = targetBody->getSerializationSizeBits();
        header.targetFaceBits = targetFace->getSerializationSizeBits();
    }
    header.baselineAck = baselineAck;
    header.ack = ack;
    return header;
}

std::uint32_t Snapshot::getPartsBits(const SnapshotHeader& header) const {
    return header.sourceBodyBits + header.targetBodyBits + header.targetFaceBits +
           (hasFrameData ? frameData->getFramedataSizeBits(compressionType) : 0);
}

void Snapshot::writePartsToStream(BitWriter& writer) const {
    if (hasFrameData) {
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

} // namespace Velkori_Utility
