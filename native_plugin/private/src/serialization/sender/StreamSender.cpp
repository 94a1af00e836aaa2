#include "serialization/sender/StreamSender.h"

#include "serialization/codec/JointDecoder.h"
#include "serialization/codec/JointEncoder.h"
#include "shared/Log.h"

#include <algorithm>
#include <utility>

namespace Velkori_Utility {

void StreamSender::restart(const StreamSettings& newSettings, int ringLength) {
    settings = newSettings;
    currentIndex = currentAck = baselineIndex = -1;
    ackedFrame = 0;
    ring.resize(ringLength);
}

void StreamSender::createSnapshot(int ack, double timestamp, int ringLength) {
    ring.resize(std::max(ring.size(), static_cast<std::size_t>(ringLength)));
    const int index = (currentIndex + 1) % ringLength;
    Slot& slot = ring[index];
    if (slot.snapshot == nullptr) {
        slot.snapshot = layout.makeRestSnapshot(settings.compressionType);
        slot.snapshot->expectDelivery();
    }
    slot.snapshot->restart(settings.compressionType, timestamp);
    slot.frame = ++lastFrame;
    currentIndex = index;
    updateBaseline(ack, ringLength);
}

// On a link that is down, a host passes the same ack again and again. Once the ring has come round, the slot
// holds another frame than the one that was received.
void StreamSender::updateBaseline(int ack, int ringLength) {
    const bool hasSnapshot = ack >= 0 && ack < ringLength && ring[ack].snapshot != nullptr;
    const std::uint64_t frame = hasSnapshot ? ring[ack].frame : 0;
    const bool isOutdated = ack == currentAck && frame != ackedFrame;
    if (!isOutdated) {
        ackedFrame = frame;
    }
    currentAck = ack;
    baselineIndex = hasSnapshot && !isOutdated ? ack : -1;
}

void StreamSender::updateBody(
    bool isSource, std::span<const JointPose> poses, std::span<const std::int32_t> jointsToSend) {
    const StreamedSkeleton& skeleton = isSource ? layout.source : layout.target;
    const auto bodyOf = [&](const Snapshot& snapshot) -> BodySnapshot& {
        return isSource ? *snapshot.sourceBody : *snapshot.targetBody;
    };
    BodySnapshot& current = bodyOf(getCurrent());
    const bool hasBaseline = baselineIndex != -1;
    const Precision precision = toPrecision(settings.compressionType);
    std::copy(poses.begin(), poses.end(), current.elements.begin());
    if (baselineIndex == currentIndex) {
        // A frame that is coded against itself finds its own poses, unmoved.
        current.compressAll();
        current.delivered = current.elements;
        current.hasData = true;
    }
    const BodySnapshot& baseline =
        getDataOrRest(hasBaseline ? bodyOf(*getBaseline()) : current, bodyOf(getRest()));
    std::size_t cursor = 0;
    for (std::size_t j = 0; j < poses.size(); ++j) {
        const bool isListed =
            cursor < jointsToSend.size() && jointsToSend[cursor] == static_cast<std::int32_t>(j);
        cursor += isListed ? 1 : 0;
        const bool sendsLength =
            settings.compressionType == velkori_CompressionType_Standard && skeleton.movesAlongBone[j];
        const SentJoint sent = hasBaseline ? encodeJoint(settings, poses[j], sendsLength,
                                                 {baseline.elements[j], baseline.compressed[j]})
                                           : encodeJointInFull(settings, poses[j], sendsLength);
        current.elements[j] = sent.pose;
        current.serialized[j] = sent.encoded;
        // What a later frame is coded against has to be what the receiver has, to the last bit: it compresses
        // anew what it decoded, and near a tie of the largest component of a rotation that gives other fields
        // than the sent ones.
        if (sent.encoded.option == JointSerializationOption_None) {
            current.delivered[j] = baseline.delivered[j];
            if (baseline.compressionType == settings.compressionType) {
                current.compressed[j] = baseline.compressed[j];
                continue;
            }
        } else if (!isListed) {
            current.serialized[j].option = JointSerializationOption_None;
            current.delivered[j] = sent.pose;
        } else {
            current.delivered[j] =
                decodeJoint(sent.encoded, precision, baseline.compressed[j], skeleton.restPoses[j]);
        }
        current.compressed[j] = BodyPart::compress(precision, current.delivered[j]);
    }
    current.hasData = true;
}

void StreamSender::updateFace(std::span<const float> weights) {
    const bool hasBaseline = baselineIndex != -1;
    FaceSnapshot& current = *getCurrent().targetFace;
    std::copy(weights.begin(), weights.end(), current.elements.begin());
    const bool isOwnBaseline = baselineIndex == currentIndex;
    if (isOwnBaseline) {
        current.compressAll();
    }
    const FaceSnapshot& baseline =
        hasBaseline && !isOwnBaseline ? getFaceOrRest(*getBaseline(), getRest()) : current;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        current.serialized[i] =
            hasBaseline ? encodeShape(settings, weights[i], {baseline.elements[i], baseline.compressed[i]})
                        : encodeShapeInFull(settings, weights[i]);
        // A delta is decoded as if it were a weight, which is what the format's baselines are.
        current.elements[i] = decompress(current.serialized[i].value);
        current.compress(i);
    }
    current.hasData = true;
}

void StreamSender::addFrameData(const FrameData& data) {
    getCurrent().addFramedata(data);
    auto& trackers = getCurrent().frameData->trackers;
    // A frame can be its own baseline.
    for (TrackerPose& tracker : trackers) {
        tracker.compressed = compressAsTrackerBaseline(tracker.pose);
    }
    const FrameData* baseline = getBaseline() == nullptr ? nullptr : getBaseline()->getFrameData();
    for (std::size_t i = 0; i < trackers.size(); ++i) {
        trackers[i].encoded =
            encodeTracker(settings, trackers[i].pose, baseline == nullptr ? nullptr : &baseline->trackers[i]);
    }
}

PreparedRecord StreamSender::prepare(int ringLength) {
    const Snapshot& snapshot = getCurrent();
    if (snapshot.hasTargetBody() && !snapshot.targetFace->hasData) {
        keepBaselineFace(*snapshot.targetFace);
    }
    const SnapshotHeader header = snapshot.makeHeader(baselineIndex, currentIndex);
    const std::uint32_t headerBits = getHeaderBits(header, layout.getHeaderLayout(ringLength));
    Log(velkori_LogLevel_Debug,
        "Header size: %d, Source body size: %d, Target body size: %d, Target face size: %d",
        static_cast<int>(headerBits), static_cast<int>(header.sourceBodyBits),
        static_cast<int>(header.targetBodyBits), static_cast<int>(header.targetFaceBits));
    return {header, headerBits + snapshot.getPartsBits(header)};
}

// A face goes out with every target body. One that wasn't updated tells the receiver that nothing moved.
void StreamSender::keepBaselineFace(FaceSnapshot& face) {
    const Snapshot& rest = getRest();
    const FaceSnapshot& kept = getFaceOrRest(baselineIndex == -1 ? rest : *getBaseline(), rest);
    face.elements = kept.elements;
    face.compressed = kept.compressed;
    face.hasData = true;
}

SerializedRecord StreamSender::write(const SnapshotHeader& header, int ringLength) {
    BitWriter writer(VELKORI_MAX_SNAPSHOT_SIZE, std::move(recordWords));
    writeHeader(writer, header, layout.getHeaderLayout(ringLength));
    getCurrent().writePartsToStream(writer);
    const int bits = writer.getBitsWritten();
    writer.flush();
    recordWords = writer.takeWords();
    return {recordWords, bits};
}

} // namespace Velkori_Utility
