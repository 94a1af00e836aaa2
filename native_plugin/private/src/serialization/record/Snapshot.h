#pragma once

#include "serialization/record/BodySnapshot.h"
#include "serialization/record/FaceSnapshot.h"
#include "serialization/record/FrameData.h"
#include "serialization/record/SnapshotHeader.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace Velkori_Utility {

// One frame of the stream. The parts are shared with whoever interpolates between them.
class Snapshot {
  public:
    Snapshot(velkori_CompressionType type, double time, const std::vector<JointPose>& sourcePose,
        const std::vector<JointPose>& targetPose, const std::vector<float>& faceWeights);

    // Makes this a new snapshot, without data in any part, in the memory of the old one.
    void restart(velkori_CompressionType type, double time);

    // Makes the bodies remember what a receiver has of them, as a sender's do.
    void expectDelivery();

    // Takes a copy, in place of an earlier one.
    void addFramedata(const FrameData& data);

    // The header of this snapshot's record, for which the parts are measured.
    SnapshotHeader makeHeader(std::int32_t baselineAck, std::int32_t ack) const;
    // The size of what follows the header: exact, but for frame data, for which it is an upper limit.
    std::uint32_t getPartsBits(const SnapshotHeader& header) const;
    // What follows the header.
    void writePartsToStream(BitWriter& writer) const;

    bool hasSourceBody() const { return sourceBody->hasData; }

    // With the target body goes the face, whether or not it was updated.
    bool hasTargetBody() const { return targetBody->hasData; }

    // A sender's; null if there is none.
    const FrameData* getFrameData() const { return hasFrameData ? frameData.get() : nullptr; }

    std::shared_ptr<BodySnapshot> sourceBody;
    std::shared_ptr<BodySnapshot> targetBody;
    std::shared_ptr<FaceSnapshot> targetFace;
    // Made when the first comes, and kept for the next one's memory. Whether a sender's is this frame's,
    // `hasFrameData` says; a receiver's stands until the next one is read over it.
    std::unique_ptr<FrameData> frameData;
    bool hasFrameData = false;
    double timestamp = 0.0;
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
};

// The face of a snapshot that others are coded against. A face goes out with the target body alone: one that
// was updated without never reached a receiver, and stands for the one at rest.
inline const FaceSnapshot& getFaceOrRest(const Snapshot& snapshot, const Snapshot& rest) {
    return snapshot.hasTargetBody() ? getDataOrRest(*snapshot.targetFace, *rest.targetFace)
                                    : *rest.targetFace;
}

} // namespace Velkori_Utility
