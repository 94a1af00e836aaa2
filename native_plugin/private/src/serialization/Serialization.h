#pragma once

#include "serialization/codec/CompressedJointPose.h"
#include "serialization/codec/CompressedShapePose.h"
#include "serialization/codec/RotationThreshold.h"
#include "serialization/playback/BodySnapshotInterpolator.h"
#include "serialization/playback/FaceSnapshotInterpolator.h"
#include "serialization/playback/JointPoseInterpolator.h"
#include "serialization/record/Snapshot.h"

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Velkori_Utility {

class SkeletonData;
class UtilityConfigData;

// A snapshot as bytes.
struct SerializedRecord {
    std::span<const std::uint32_t> words;
    // Before the last word was filled up.
    int bits = 0;
};

// The state of an instance's pose stream, at its sending and at its receiving end.
//
// A sender numbers its frames by the slots of a ring, and codes each against the baseline: the frame in the
// slot that the receiver has acknowledged last. A receiver keeps what it decoded in a ring of its own under
// the same numbers, so that it finds the same baseline there. Slots keep their memory: once each has been
// used, nothing is allocated.
class Serialization {
  public:
    explicit Serialization(const UtilityConfigData& config);

    Serialization(const Serialization&) = delete;
    Serialization& operator=(const Serialization&) = delete;

    // The length of the snapshot rings. It also decides the widths of fields in every record, so both ends of
    // a stream have to agree on it.
    static int getNumSnapshots() { return maxSnapshotSize; }

    // Takes at least 254 and at most 800.
    static void setAndClampCurrentNumberOfSnapshots(int count);

    // Begins the stream anew: there is no current snapshot and no ack. Slots keep what they hold.
    void initializeSnapshots();
    void resetInterpolators();

    // -- Sending --------------------------------------------------------------------------------------------
    // Starts the next frame. An ack whose slot holds no snapshot is kept, but codes against nothing.
    void createOutgoingSnapshot(velkori_CompressionType type, int ack, double timestamp);
    // False, after a logged error, if there is no current snapshot. What else works on the current snapshot
    // must not be called then.
    bool addFramedata(const FrameData& data);
    // `poses` has one local-space pose per joint of the skeleton; `jointsToSend` is in ascending order.
    // Joints that aren't listed count as sent for later frames.
    void updateBodySnapshot(
        bool isSource, std::span<const JointPose> poses, std::span<const std::int32_t> jointsToSend);
    // One weight per blend shape. What shapes a host wants sent doesn't limit what is.
    void updateFaceSnapshot(std::span<const float> weights);

    // Whether the current snapshot and its baseline have places in a ring of the present length, which
    // another instance may have changed since they were chosen.
    bool canSerialize() const { return currentIndex < maxSnapshotSize && baselineIndex < maxSnapshotSize; }

    // Completes and measures the current snapshot and gives its size, in bits. Comes before it is written.
    std::uint32_t prepareCurrentSnapshot();
    // The record of the current snapshot, in memory that the next one takes again.
    SerializedRecord writeCurrentSnapshot();

    // Null if there is none.
    Snapshot* getCurrentSnapshot() const {
        return currentIndex == -1 ? nullptr : sendRing[currentIndex].get();
    }

    // The snapshot that the current one is coded against, null if there is none.
    const Snapshot* getBaselineSnapshot() const {
        return baselineIndex == -1 ? nullptr : sendRing[baselineIndex].get();
    }

    // What the host last gave, whether or not it names a snapshot.
    int getCurrentAck() const { return currentAck; }

    // What of a joint is sent, and what its value is on the wire. `option` comes with the full position or
    // length that the joint is sent as. `pose` becomes the baseline's where it moved less than a threshold.
    // `out` means nothing where the option comes back as none.
    void computeSerializedOptionAndJointPose(bool hasBaseline, JointSerializationOption& option,
        const JointPose& baseline, JointPose& pose, const CompressedJointPose& baselineCompressed,
        CompressedJointPose& out) const;
    static void computeSerializedJointPose(JointSerializationOption& rotationOption,
        JointSerializationOption& positionOption, const CompressedJointPose& baseline,
        const CompressedJointPose& current, CompressedJointPose& out);
    void computeSerializedOptionAndShapePose(bool hasBaseline, ShapeSerializationOption& option,
        float restWeight, float baselineWeight, float& weight, const CompressedShapePose& baselineCompressed,
        CompressedShapePose& out) const;
    static void computeSerializedShapePose(ShapeSerializationOption& option,
        const CompressedShapePose& baseline, const CompressedShapePose& current, CompressedShapePose& out);

    // -- Receiving ------------------------------------------------------------------------------------------
    // Reads the header of a record.
    SnapshotHeader readHeader(BitReader& reader) const;
    // Reads what follows the header into the slot that the header names, and hands it to the interpolators.
    const Snapshot& readSnapshot(const SnapshotHeader& header, BitReader& reader);

    // What a reader makes of a value, given the baseline's. Any bits give finite numbers. `reference` is the
    // joint's rest pose, in local space: a joint that was sent as a length lies in its direction.
    static JointPose deserializeCompressedJoint(JointSerializationOption option, Precision precision,
        const JointPose& reference, const CompressedJointPose& baseline,
        const CompressedQuaternionf& rotation, const CompressedVector3f& position,
        const CompressedJointLength& length);
    // The same for what has no rest pose, and hence no length.
    static JointPose deserializeCompressedJointPose(JointSerializationOption option, Precision precision,
        const CompressedJointPose& baseline, const CompressedQuaternionf& rotation,
        const CompressedVector3f& position);
    static float deserializeCompressedFacePose(ShapeSerializationOption option, Precision precision,
        const CompressedShapePose& baseline, const CompressedWeight& weight);

    // -- Settings of what is sent ---------------------------------------------------------------------------
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
    // Per axis, in the unit of length.
    float positionThreshold = 0.01F;
    RotationThreshold rotationThreshold{0.01F};
    // Units of a weight.
    float shapeThreshold = 0.01F;

    // A host's pose on its way into a snapshot, kept for the next one's memory.
    std::vector<JointPose> inputPoses;

    // -- What plays the received frames back ----------------------------------------------------------------
    BodySnapshotInterpolator targetInterpolator;
    BodySnapshotInterpolator sourceInterpolator;
    FaceSnapshotInterpolator faceInterpolator;
    // Of the frame data's third, first and second tracker.
    std::array<JointPoseInterpolator, FrameData::TrackerCount> trackerInterpolators;

  private:
    // One skeleton's side of the stream.
    struct StreamedSkeleton {
        explicit StreamedSkeleton(const SkeletonData& skeletonData);

        const SkeletonData* skeleton;
        // In local space.
        std::vector<JointPose> restPoses;
        // Which joints move along their bone alone, so that a length says where they are.
        std::vector<bool> movesAlongBone;
    };

    std::shared_ptr<Snapshot> makeRestSnapshot(velkori_CompressionType type) const;
    // What there is before the first frame, and of a part that a frame came without.
    const Snapshot& getRestSnapshot(velkori_CompressionType type);
    void growRings();
    void updateBaseline(int ack);
    void keepBaselineFace(FaceSnapshot& face);
    Snapshot& getReceivedSnapshot(int index);
    void readFrameData(const Snapshot& baseline, Snapshot& snapshot, BitReader& reader);

    // One value for all instances of the process, which other instances can change at any time: the rings are
    // checked against it before every frame.
    static inline int maxSnapshotSize = 254;

    StreamedSkeleton source;
    StreamedSkeleton target;
    // What face weights are measured from.
    std::vector<float> restWeights;
    int currentIndex = -1;
    int currentAck = -1;
    // The ack, or -1 where its slot holds nothing.
    int baselineIndex = -1;
    std::vector<std::shared_ptr<Snapshot>> sendRing;
    // The running number of the frame that each sending slot holds, from 1, and of the acked one.
    std::vector<std::uint64_t> slotFrames;
    std::uint64_t lastFrame = 0;
    std::uint64_t ackedFrame = 0;
    // Slots are filled at their first use.
    std::vector<std::shared_ptr<Snapshot>> receiveRing;
    // By precision.
    std::array<std::shared_ptr<Snapshot>, 4> restSnapshots;
    std::vector<std::uint32_t> recordWords;
};

// Chooses what is sent of a frame record's tracker, which is in the current snapshot.
void prepareTrackerPoseForSerialization(
    const Serialization& serialization, Snapshot& snapshot, FrameData::TrackerInputType type);

namespace SerializationUtils {

// The value on the wire by an option that says full or delta; anything else gives the baseline. An option
// that says delta becomes full where the difference doesn't fit one.
CompressedQuaternionf getProcessedRotation(JointSerializationOption& option,
    const CompressedQuaternionf& baseline, const CompressedQuaternionf& current);
CompressedVector3f getProcessedPosition(
    JointSerializationOption& option, const CompressedVector3f& baseline, const CompressedVector3f& current);

} // namespace SerializationUtils

} // namespace Velkori_Utility
