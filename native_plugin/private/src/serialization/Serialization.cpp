// The rings: where snapshots begin, are written from and are read into.

#include "serialization/Serialization.h"

#include "core/UtilityConfigData.h"
#include "shared/Log.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

constexpr int MaxRecordBytes = VELKORI_MAX_SNAPSHOT_SIZE;

// Nothing is extrapolated past the newest frame, and the running pose catches up within 50 ms.
constexpr float MaxBlend = 1.0F;
constexpr float SmoothingTime = 0.05F;

// The tracker that each interpolator plays.
constexpr std::array<FrameData::TrackerInputType, FrameData::TrackerCount> InterpolatedTrackers = {
    FrameData::TrackerInputType_Third, FrameData::TrackerInputType_First, FrameData::TrackerInputType_Second};

std::vector<JointPose> GetLocalRestPoses(const SkeletonData& skeleton) {
    const PoseData& restPose = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Unscaled);
    return restPose.IsInitialized() ? restPose.GetJointPoses(velkori_JointRelativeSpaceType_Local)
                                    : std::vector<JointPose>(skeleton.GetJointCount(), JointPose::Identity);
}

// The root carries the body, and what hangs on it carries the body over the ground: they move freely. So do
// siblings. A joint that is its parent's only child can move along the bone only.
std::vector<bool> FindJointsThatMoveAlongBone(const SkeletonData& skeleton) {
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    std::vector<bool> moves(skeleton.GetJointCount());
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        const int parent = skeleton.GetParentJointIndex(joint);
        moves[joint] = joint != root && parent != -1 && parent != root &&
                       skeleton.GetChildJointIndexArray(parent).size() < 2;
    }
    return moves;
}

} // namespace

void Serialization::setAndClampCurrentNumberOfSnapshots(int count) {
    maxSnapshotSize = std::clamp(count, 254, 800);
}

Serialization::StreamedSkeleton::StreamedSkeleton(const SkeletonData& skeletonData)
    : skeleton(&skeletonData),
      restPoses(GetLocalRestPoses(skeletonData)),
      movesAlongBone(FindJointsThatMoveAlongBone(skeletonData)) {}

Serialization::Serialization(const UtilityConfigData& config)
    : targetInterpolator(config.GetTargetSkeleton().GetJointCount(), MaxBlend, SmoothingTime),
      sourceInterpolator(config.GetSourceSkeleton().GetJointCount(), MaxBlend, SmoothingTime),
      faceInterpolator(config.GetTargetSkeleton().GetBlendShapeCount(), MaxBlend, SmoothingTime),
      trackerInterpolators{JointPoseInterpolator(MaxBlend, SmoothingTime),
          JointPoseInterpolator(MaxBlend, SmoothingTime), JointPoseInterpolator(MaxBlend, SmoothingTime)},
      source(config.GetSourceSkeleton()),
      target(config.GetTargetSkeleton()),
      restWeights(config.GetTargetSkeleton().GetBlendShapeCount(), 0.0F) {
    initializeSnapshots();
}

void Serialization::initializeSnapshots() {
    currentIndex = currentAck = baselineIndex = -1;
    ackedFrame = 0;
    sendRing.resize(maxSnapshotSize);
    slotFrames.resize(maxSnapshotSize);
    receiveRing.resize(maxSnapshotSize);
}

std::shared_ptr<Snapshot> Serialization::makeRestSnapshot(velkori_CompressionType type) const {
    return std::make_shared<Snapshot>(type, 0.0, source.restPoses, target.restPoses, restWeights);
}

const Snapshot& Serialization::getRestSnapshot(velkori_CompressionType type) {
    std::shared_ptr<Snapshot>& rest = restSnapshots[static_cast<std::size_t>(toPrecision(type))];
    if (rest == nullptr) {
        rest = makeRestSnapshot(type);
    }
    return *rest;
}

void Serialization::growRings() {
    const auto size = static_cast<std::size_t>(maxSnapshotSize);
    sendRing.resize(std::max(sendRing.size(), size));
    slotFrames.resize(sendRing.size());
    receiveRing.resize(std::max(receiveRing.size(), size));
}

void Serialization::resetInterpolators() {
    targetInterpolator.reset();
    sourceInterpolator.reset();
    faceInterpolator.reset();
    for (JointPoseInterpolator& interpolator : trackerInterpolators) {
        interpolator.Reset();
    }
}

// -- Sending -----------------------------------------------------------------------------------------------

void Serialization::createOutgoingSnapshot(velkori_CompressionType type, int ack, double timestamp) {
    growRings();
    const int index = (currentIndex + 1) % maxSnapshotSize;
    std::shared_ptr<Snapshot>& slot = sendRing[index];
    if (slot == nullptr) {
        slot = makeRestSnapshot(compressionType);
    }
    slot->restart(type, timestamp);
    slotFrames[index] = ++lastFrame;
    currentIndex = index;
    updateBaseline(ack);
}

// On a link that is down, a host passes the same ack again and again. Once the ring has come round, the slot
// holds another frame than the one that was received.
void Serialization::updateBaseline(int ack) {
    const bool hasSnapshot = ack >= 0 && ack < maxSnapshotSize && sendRing[ack] != nullptr;
    const std::uint64_t frame = hasSnapshot ? slotFrames[ack] : 0;
    const bool isOutdated = ack == currentAck && frame != ackedFrame;
    if (!isOutdated) {
        ackedFrame = frame;
    }
    currentAck = ack;
    baselineIndex = hasSnapshot && !isOutdated ? ack : -1;
}

bool Serialization::addFramedata(const FrameData& data) {
    if (currentIndex == -1) {
        Log(velkori_LogLevel_Error, "Cannot add framedata to current snapshot because it doesn't exist yet.");
        return false;
    }
    sendRing[currentIndex]->addFramedata(data);
    return true;
}

std::uint32_t Serialization::prepareCurrentSnapshot() {
    Snapshot& snapshot = *sendRing[currentIndex];
    if (snapshot.hasTargetBody() && !snapshot.targetFace->hasData) {
        keepBaselineFace(*snapshot.targetFace);
    }
    snapshot.baselineAck = baselineIndex;
    snapshot.ack = currentIndex;
    snapshot.calculateHeaderSize();
    return snapshot.getSerializationSizeBits();
}

// A face goes out with every target body. One that wasn't updated tells the receiver that nothing moved.
void Serialization::keepBaselineFace(FaceSnapshot& face) {
    const Snapshot& rest = getRestSnapshot(compressionType);
    const Snapshot& baseline = baselineIndex == -1 ? rest : *getBaselineSnapshot();
    const FaceSnapshot& kept = getFaceOrRest(baseline, rest);
    face.elements = kept.elements;
    face.compressed = kept.compressed;
    face.hasData = true;
}

SerializedRecord Serialization::writeCurrentSnapshot() {
    BitWriter writer(MaxRecordBytes, std::move(recordWords));
    sendRing[currentIndex]->writeToStream(writer);
    const int bits = writer.getBitsWritten();
    writer.flush();
    recordWords = writer.takeWords();
    return {recordWords, bits};
}

// -- Receiving ---------------------------------------------------------------------------------------------

Snapshot& Serialization::getReceivedSnapshot(int index) {
    std::shared_ptr<Snapshot>& slot = receiveRing[index];
    if (slot == nullptr) {
        slot = makeRestSnapshot(compressionType);
    }
    return *slot;
}

SnapshotHeader Serialization::readHeader(BitReader& reader) const {
    return Snapshot::parseHeaderFromStream(reader, maxSnapshotSize, source.skeleton->GetJointCount(),
        target.skeleton->GetJointCount(), static_cast<int>(restWeights.size()));
}

const Snapshot& Serialization::readSnapshot(const SnapshotHeader& header, BitReader& reader) {
    growRings();
    const auto type = static_cast<velkori_CompressionType>(header.compressionType);
    const Snapshot& rest = getRestSnapshot(type);
    // It may be the slot itself.
    const Snapshot& baseline = header.baselineAck == -1 ? rest : getReceivedSnapshot(header.baselineAck);
    const BodySnapshot& sourceBaseline = getDataOrRest(*baseline.sourceBody, *rest.sourceBody);
    const BodySnapshot& targetBaseline = getDataOrRest(*baseline.targetBody, *rest.targetBody);
    const FaceSnapshot& faceBaseline = getFaceOrRest(baseline, rest);
    Snapshot& snapshot = getReceivedSnapshot(header.ack);
    snapshot.timestamp = header.timestamp;
    snapshot.compressionType = type;
    if (header.hasFrameData) {
        readFrameData(baseline, snapshot, reader);
    }
    if (header.hasSourceBody) {
        snapshot.sourceBody->initialize(type, sourceBaseline.elements, header.timestamp);
    }
    if (header.hasTargetBody) {
        snapshot.targetBody->initialize(type, targetBaseline.elements, header.timestamp);
        snapshot.targetFace->initialize(type, faceBaseline.elements, header.timestamp);
    }
    if (header.hasSourceBody) {
        snapshot.sourceBody->readFromStream(reader, header.sourceBodyBits, source.skeleton->GetJointCount(),
            type, *source.skeleton, sourceBaseline);
        sourceInterpolator.addSnapshot(snapshot.sourceBody);
    }
    if (header.hasTargetBody) {
        snapshot.targetBody->readFromStream(reader, header.targetBodyBits, target.skeleton->GetJointCount(),
            type, *target.skeleton, targetBaseline);
        snapshot.targetFace->readFromStream(reader, header.targetFaceBits,
            static_cast<int>(restWeights.size()), type, *target.skeleton, faceBaseline);
        targetInterpolator.addSnapshot(snapshot.targetBody);
        faceInterpolator.addSnapshot(snapshot.targetFace);
    }
    snapshot.sourceBody->hasData = header.hasSourceBody;
    snapshot.targetBody->hasData = header.hasTargetBody;
    snapshot.targetFace->hasData = header.hasTargetBody;
    return snapshot;
}

// A baseline without a frame record stands for one with nothing in it.
void Serialization::readFrameData(const Snapshot& baseline, Snapshot& snapshot, BitReader& reader) {
    static const FrameData Nothing;
    if (snapshot.frameData == nullptr) {
        snapshot.frameData = std::make_shared<FrameData>();
    }
    snapshot.frameData->readFromStream(reader, baseline.frameData ? *baseline.frameData : Nothing);
    for (std::size_t i = 0; i < InterpolatedTrackers.size(); ++i) {
        trackerInterpolators[i].addJointPose(
            snapshot.frameData->trackers[InterpolatedTrackers[i]].pose, snapshot.timestamp);
    }
}

} // namespace Velkori_Utility
