#include "serialization/codec/JointDecoder.h"

#include "serialization/codec/DeltaCoding.h"

namespace Velkori_Utility {

namespace {

// The baseline moved by the delta, at the stream's precision. The index of the largest component, which a
// delta keeps, is the baseline's.
CompressedQuaternionf addDelta(
    const CompressedQuaternionf& baseline, const CompressedQuaternionf& delta, Precision precision) {
    const std::uint32_t mask = largestField(RotationWidths[precision]);
    CompressedQuaternionf result{{baseline.fields[0]}, precision};
    for (std::size_t i = 1; i < result.fields.size(); ++i) {
        result.fields[i] = applyDelta(baseline.fields[i], delta.fields[i]) & mask;
    }
    return result;
}

CompressedVector3f addDelta(
    const CompressedVector3f& baseline, const CompressedVector3f& delta, Precision precision) {
    const std::uint32_t mask = largestField(PositionWidths[precision]);
    CompressedVector3f result{{}, precision};
    for (std::size_t i = 0; i < result.fields.size(); ++i) {
        result.fields[i] = applyDelta(baseline.fields[i], delta.fields[i]) & mask;
    }
    return result;
}

CompressedJointLength addDelta(
    const CompressedJointLength& baseline, const CompressedJointLength& delta, Precision precision) {
    return {applyDelta(baseline.field, delta.field) & largestField(LengthWidths[precision]), precision};
}

} // namespace

JointPose decodeJoint(const EncodedJoint& joint, Precision precision, const CompressedJointPose& baseline,
    const JointPose& restPose) {
    const auto& [rotation, position, length] = joint.value;
    JointPose pose;
    switch (getRotationOption(joint.option)) {
    case JointSerializationOption_RotationFull:
        pose.orientation = decompress(rotation);
        break;
    case JointSerializationOption_RotationDelta:
        pose.orientation = decompress(addDelta(baseline.rotation, rotation, precision));
        break;
    default:
        pose.orientation = decompress(baseline.rotation);
        break;
    }
    switch (getPositionOption(joint.option)) {
    case JointSerializationOption_PositionFull:
        pose.position = decompress(position);
        break;
    case JointSerializationOption_PositionDelta:
        pose.position = decompress(addDelta(baseline.position, position, precision));
        break;
    default:
        pose.position = decompress(baseline.position);
        break;
    }
    const float restLength = restPose.position.Length();
    if (isLength(joint.option) && restLength > 0.0F) {
        const bool isFull = getPositionOption(joint.option) == JointSerializationOption_LengthFull;
        const float decoded = decompress(isFull ? length : addDelta(baseline.length, length, precision));
        pose.position = restPose.position * (decoded / restLength);
    }
    return pose;
}

} // namespace Velkori_Utility
