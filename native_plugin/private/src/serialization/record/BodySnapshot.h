#pragma once

#include "serialization/codec/JointRecord.h"
#include "serialization/record/SnapshotPart.h"
#include "shared/DataTypes.h"

#include <cstdint>
#include <span>
#include <vector>

namespace Velkori_Utility {

struct BodyPart {
    using Element = JointPose;
    using Compressed = CompressedJointPose;
    using Encoded = EncodedJoint;

    // What isn't sent as a length has the pose's scale in its place.
    static CompressedJointPose compress(Precision precision, const JointPose& pose) {
        return compressJoint(precision, pose, pose.scale.x);
    }

    static void write(BitWriter& writer, const EncodedJoint& joint) { writeJoint(writer, joint); }

    static std::uint32_t getRecordBits(const EncodedJoint& joint, Precision precision) {
        return getJointRecordBits(joint, precision);
    }

    static std::uint32_t getLargestRecordBits(Precision precision) {
        return getLargestJointRecordBits(
            JointSerializationOption_RotationFull | JointSerializationOption_PositionFull, precision);
    }
};

// A skeleton's joints in local space.
class BodySnapshot : public SnapshotPart<BodyPart> {
  public:
    using SnapshotPart::SnapshotPart;

    // Reads a record of `bits` bits over what the part was initialised with, which is what joints keep that
    // the record leaves out. Damaged records end early or late, but never read or write beyond the joints
    // there are. `restPose` is in local space, or empty. The baseline may be this part itself.
    void readFromStream(BitReader& reader, std::uint32_t bits, std::span<const JointPose> restPose,
        const BodySnapshot& baseline);

    // At the sending end, each joint as the receiver has it, which `compressed` is made of. `elements` holds
    // what was sent, before it was quantised: that is what thresholds are measured from.
    std::vector<JointPose> delivered;
};

} // namespace Velkori_Utility
