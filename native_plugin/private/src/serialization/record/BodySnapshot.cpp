#include "serialization/record/BodySnapshot.h"

#include "core/SkeletonData.h"
#include "serialization/Serialization.h"
#include "serialization/codec/JointRecordBits.h"

#include <algorithm>
#include <vector>

namespace Velkori_Utility {

std::uint32_t JointBitCalculator::operator()(
    JointSerializationOption option, velkori_CompressionType type, const CompressedJointPose& joint) const {
    const JointDeltaBits deltaBits{OrientationDeltaRangeBits[getDeltaRange(joint.rotation)],
        PositionDeltaRangeBits[getDeltaRange(joint.position)],
        LengthDeltaRangeBits[getDeltaRange(joint.length)]};
    return static_cast<std::uint32_t>(getJointRecordBits(option, toPrecision(type), deltaBits));
}

std::uint32_t JointBitCalculator::getLargestRecordBits(Precision precision) {
    return static_cast<std::uint32_t>(
        1 + getJointRecordBits(
                JointSerializationOption_RotationFull | JointSerializationOption_PositionFull, precision));
}

void BodySnapshot::writeToStream(BitWriter& writer) const {
    for (const auto& [value, option] : serialized) {
        const bool isPresent = option != JointSerializationOption_None;
        writer.writeBits(isPresent ? 1 : 0, 1);
        if (isPresent) {
            writer.serializeCompressedJoint(option, value);
        }
    }
}

void BodySnapshot::readFromStream(BitReader& reader, std::uint32_t bits, int count,
    velkori_CompressionType type, const SkeletonData& skeleton, const BodySnapshot& baseline) {
    const std::vector<JointPose>& restPose = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Unscaled)
                                                 .GetJointPoses(velkori_JointRelativeSpaceType_Local);
    const Precision precision = toPrecision(type);
    const std::int64_t end = std::int64_t{reader.getBitsRead()} + bits;
    const std::size_t jointCount =
        std::min({static_cast<std::size_t>(std::max(count, 0)), elements.size(), baseline.compressed.size()});
    for (std::size_t joint = 0; joint < jointCount && reader.getBitsRead() < end; ++joint) {
        if (reader.readBits(1) == 0) {
            continue;
        }
        JointSerializationOption option{};
        CompressedQuaternionf rotation(precision);
        CompressedVector3f position(precision);
        CompressedJointLength length(precision);
        reader.deserializeCompressedJoint(option, rotation, position, length);
        // A skeleton without rest poses gives a length no direction.
        const JointPose& reference = joint < restPose.size() ? restPose[joint] : JointPose::Identity;
        const JointPose pose = Serialization::deserializeCompressedJoint(
            option, precision, reference, baseline.compressed[joint], rotation, position, length);
        elements[joint] = pose;
        compressed[joint] = JointElementCompressor()(precision, pose);
    }
}

} // namespace Velkori_Utility
