#include "serialization/receiver/StreamReceiver.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

// A baseline without a frame record stands for one with nothing in it.
void readFrameData(const Snapshot& baseline, Snapshot& snapshot, BitReader& reader) {
    static const FrameData Nothing;
    if (snapshot.frameData == nullptr) {
        snapshot.frameData = std::make_unique<FrameData>();
    }
    const FrameData* baselineData = baseline.frameData.get();
    snapshot.frameData->readFromStream(reader, baselineData == nullptr ? Nothing : *baselineData);
}

} // namespace

Snapshot& StreamReceiver::getSnapshot(int index, velkori_CompressionType type) {
    std::unique_ptr<Snapshot>& slot = ring[index];
    if (slot == nullptr) {
        slot = layout.makeRestSnapshot(type);
    }
    return *slot;
}

const Snapshot& StreamReceiver::readSnapshot(
    const SnapshotHeader& header, BitReader& reader, int ringLength) {
    ring.resize(std::max(ring.size(), static_cast<std::size_t>(ringLength)));
    const auto [type, timestamp] = header.time;
    const Snapshot& rest = restSnapshots.get(layout, type);
    // It may be the slot itself.
    const Snapshot& baseline = header.baselineAck == -1 ? rest : getSnapshot(header.baselineAck, type);
    const BodySnapshot& sourceBaseline = getDataOrRest(*baseline.sourceBody, *rest.sourceBody);
    const BodySnapshot& targetBaseline = getDataOrRest(*baseline.targetBody, *rest.targetBody);
    const FaceSnapshot& faceBaseline = getFaceOrRest(baseline, rest);
    Snapshot& snapshot = getSnapshot(header.ack, type);
    snapshot.timestamp = timestamp;
    snapshot.compressionType = type;
    if (header.hasFrameData) {
        readFrameData(baseline, snapshot, reader);
    }
    if (header.hasSourceBody) {
        snapshot.sourceBody->initializeFrom(sourceBaseline, type, timestamp);
    }
    if (header.hasTargetBody) {
        snapshot.targetBody->initializeFrom(targetBaseline, type, timestamp);
        snapshot.targetFace->initializeFrom(faceBaseline, type, timestamp);
    }
    if (header.hasSourceBody) {
        snapshot.sourceBody->readFromStream(
            reader, header.sourceBodyBits, layout.source.restPoses, sourceBaseline);
    }
    if (header.hasTargetBody) {
        snapshot.targetBody->readFromStream(
            reader, header.targetBodyBits, layout.target.restPoses, targetBaseline);
        snapshot.targetFace->readFromStream(reader, header.targetFaceBits, faceBaseline);
    }
    snapshot.sourceBody->hasData = header.hasSourceBody;
    snapshot.targetBody->hasData = header.hasTargetBody;
    snapshot.targetFace->hasData = header.hasTargetBody;
    return snapshot;
}

} // namespace Velkori_Utility
