#pragma once

#include "serialization/codec/CompressedJointPose.h"
#include "serialization/record/SnapshotTemplate.h"

#include <cstdint>
#include <vector>

namespace Velkori_Utility {

class SkeletonData;

struct JointBitCalculator {
    // The exact size of a joint's record, without its presence bit.
    std::uint32_t operator()(JointSerializationOption option, velkori_CompressionType type,
        const CompressedJointPose& joint) const;

    // With the presence bit.
    static std::uint32_t getLargestRecordBits(Precision precision);
};

struct JointElementCompressor {
    // What isn't sent as a length has the pose's scale in its place.
    CompressedJointPose operator()(Precision precision, const JointPose& pose) const {
        return {precision, pose, pose.scale.x};
    }
};

// A skeleton's joints in local space.
class BodySnapshot : public SnapshotTemplate<JointPose, CompressedJointPose, JointSerializationOption,
                         JointBitCalculator, JointElementCompressor> {
  public:
    using SnapshotTemplate::SnapshotTemplate;

    void writeToStream(BitWriter& writer) const;
    // Reads a record of `bits` bits and `count` joints over what the part was initialised with, which is what
    // joints keep that the record leaves out. Damaged records end early or late, but never read or write
    // beyond the joints there are. The baseline may be this part itself.
    void readFromStream(BitReader& reader, std::uint32_t bits, int count, velkori_CompressionType type,
        const SkeletonData& skeleton, const BodySnapshot& baseline);

    // At the sending end, each joint as the receiver has it, which `compressed` is made of. `elements` holds
    // what was sent, before it was quantised: that is what thresholds are measured from.
    std::vector<JointPose> delivered = elements;
};

} // namespace Velkori_Utility
