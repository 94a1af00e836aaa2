#pragma once

#include "serialization/record/BodySnapshot.h"
#include "serialization/record/FaceSnapshot.h"
#include "serialization/record/FrameData.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace Velkori_Utility {

// What a record begins with.
struct SnapshotTime {
    std::uint8_t compressionType = 0;
    // Seconds.
    double timestamp = 0.0;
};

// A record's header. A size is 0 where its part isn't there.
struct SnapshotHeader {
    double timestamp = 0.0;
    std::uint8_t compressionType = 0;
    bool hasSourceBody = false;
    bool hasTargetBody = false;
    bool hasFrameData = false;
    std::int32_t baselineAck = -1;
    std::int32_t ack = 0;
    std::uint32_t sourceBodyBits = 0;
    std::uint32_t targetBodyBits = 0;
    std::uint32_t targetFaceBits = 0;
};

// One frame of the stream. The parts are shared with whoever interpolates between them.
class Snapshot {
  public:
    Snapshot(velkori_CompressionType type, double time, const std::vector<JointPose>& sourcePose,
        const std::vector<JointPose>& targetPose, const std::vector<float>& faceWeights);

    // Makes this a new snapshot, without data in any part, in the memory of the old one.
    void restart(velkori_CompressionType type, double time);

    // Takes a copy, in place of an earlier one.
    void addFramedata(const FrameData& data);

    // Measures the parts. To be called once the snapshot is complete, before sizes are asked for and before
    // it is written.
    void calculateHeaderSize();
    std::uint32_t getHeaderSerializationSizeBits() const;
    // Exact, but for frame data, for which it is an upper limit.
    std::uint32_t getSerializationSizeBits() const;

    void writeHeaderToStream(BitWriter& writer) const;
    // The whole record: the header, and what of the parts there is.
    void writeToStream(BitWriter& writer) const;

    static SnapshotTime parseCompressionTimestampFromStream(BitReader& reader);
    // The counts decide the widths of fields, as at the writer's end. Acks that no ring of `numSnapshots`
    // slots has come out as -1 and 0.
    static SnapshotHeader parseHeaderFromStream(
        BitReader& reader, int numSnapshots, int sourceJointCount, int targetJointCount, int shapeCount);

    bool hasSourceBody() const { return sourceBody && sourceBody->hasData; }

    // With the target body goes the face, whether or not it was updated.
    bool hasTargetBody() const { return targetBody && targetBody->hasData; }

    std::shared_ptr<BodySnapshot> sourceBody;
    std::shared_ptr<BodySnapshot> targetBody;
    std::shared_ptr<FaceSnapshot> targetFace;
    // Empty if there is none.
    std::shared_ptr<FrameData> frameData;
    double timestamp = 0.0;
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
    // The ring slot that this snapshot is coded against, -1 for none, and its own.
    std::int32_t baselineAck = -1;
    std::int32_t ack = 0;

  private:
    std::uint32_t sourceBodyBits = 0;
    std::uint32_t targetBodyBits = 0;
    std::uint32_t targetFaceBits = 0;
    // Widths of the size fields in the header.
    int sourceBodyWidth = 1;
    int targetBodyWidth = 1;
    int targetFaceWidth = 1;
    mutable std::optional<std::uint32_t> headerBits;
    // The frame data of a snapshot that this one has replaced, to be written over.
    std::shared_ptr<FrameData> spareFrameData;
};

// The face of a snapshot that others are coded against. A face goes out with the target body alone: one that
// was updated without never reached a receiver, and stands for the one at rest.
inline const FaceSnapshot& getFaceOrRest(const Snapshot& snapshot, const Snapshot& rest) {
    return snapshot.hasTargetBody() ? getDataOrRest(*snapshot.targetFace, *rest.targetFace)
                                    : *rest.targetFace;
}

} // namespace Velkori_Utility
