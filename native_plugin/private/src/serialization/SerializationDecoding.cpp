// What a reader makes of the values of a record.

#include "serialization/Serialization.h"

namespace Velkori_Utility {

namespace {

// The baseline's components from `first` on, moved by the delta's, at the stream's precision. The ones before
// it stay the baseline's.
template <typename Compressed>
Compressed addDelta(
    const Compressed& baseline, const Compressed& delta, Precision precision, std::size_t first = 0) {
    auto components = baseline.getComponents();
    const auto deltas = delta.getComponents();
    for (std::size_t i = first; i < components.size(); ++i) {
        components[i] = applyDelta(components[i], deltas[i]);
    }
    Compressed result(precision);
    result.setComponents(components);
    return result;
}

Quaternionf decodeRotation(JointSerializationOption option, Precision precision,
    const CompressedQuaternionf& baseline, const CompressedQuaternionf& rotation) {
    switch (getRotationOption(option)) {
    case JointSerializationOption_RotationFull:
        return rotation.decompress();
    case JointSerializationOption_RotationDelta:
        // Behind the index of the largest component, which a delta keeps.
        return addDelta(baseline, rotation, precision, 1).decompress();
    default:
        return baseline.decompress();
    }
}

Vector3f decodePosition(JointSerializationOption option, Precision precision,
    const CompressedVector3f& baseline, const CompressedVector3f& position) {
    switch (getPositionOption(option)) {
    case JointSerializationOption_PositionFull:
        return position.decompress();
    case JointSerializationOption_PositionDelta:
        return addDelta(baseline, position, precision).decompress();
    default:
        return baseline.decompress();
    }
}

float decodeLength(JointSerializationOption option, Precision precision,
    const CompressedJointLength& baseline, const CompressedJointLength& length) {
    return getPositionOption(option) == JointSerializationOption_LengthFull
               ? length.decompress()
               : addDelta(baseline, length, precision).decompress();
}

} // namespace

JointPose Serialization::deserializeCompressedJoint(JointSerializationOption option, Precision precision,
    const JointPose& reference, const CompressedJointPose& baseline, const CompressedQuaternionf& rotation,
    const CompressedVector3f& position, const CompressedJointLength& length) {
    JointPose pose(decodeRotation(option, precision, baseline.rotation, rotation),
        decodePosition(option, precision, baseline.position, position));
    const float restLength = reference.position.Length();
    if (isLength(option) && restLength > 0.0F) {
        const float decodedLength = decodeLength(option, precision, baseline.length, length);
        pose.position = reference.position * (decodedLength / restLength);
    }
    return pose;
}

JointPose Serialization::deserializeCompressedJointPose(JointSerializationOption option, Precision precision,
    const CompressedJointPose& baseline, const CompressedQuaternionf& rotation,
    const CompressedVector3f& position) {
    return deserializeCompressedJoint(option, precision, JointPose::Identity, baseline, rotation, position,
        CompressedJointLength(Precision::Standard));
}

float Serialization::deserializeCompressedFacePose(ShapeSerializationOption option, Precision precision,
    const CompressedShapePose& baseline, const CompressedWeight& weight) {
    return option == ShapeSerializationOption_Full
               ? weight.decompress()
               : addDelta(baseline.weight, weight, precision).decompress();
}

} // namespace Velkori_Utility
