#include "serialization/codec/JointEncoder.h"

#include "serialization/codec/DeltaCoding.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace Velkori_Utility {

namespace {

bool hasMoved(const Vector3f& a, const Vector3f& b, float threshold) {
    return std::abs(a.x - b.x) >= threshold || std::abs(a.y - b.y) >= threshold ||
           std::abs(a.z - b.z) >= threshold;
}

// Nothing if the difference doesn't fit a delta's fields, or if another component has become the largest.
std::optional<CompressedQuaternionf> computeDelta(
    const CompressedQuaternionf& current, const CompressedQuaternionf& baseline) {
    if (current.fields[0] != baseline.fields[0]) {
        return std::nullopt;
    }
    CompressedQuaternionf delta{{current.fields[0]}, Precision::Delta};
    std::uint32_t largest = 0;
    for (std::size_t i = 1; i < delta.fields.size(); ++i) {
        delta.fields[i] = encodeDelta(current.fields[i], baseline.fields[i]);
        largest = std::max(largest, delta.fields[i]);
    }
    return largest <= largestField(RotationWidths[Precision::Delta]) ? std::optional(delta) : std::nullopt;
}

std::optional<CompressedVector3f> computeDelta(
    const CompressedVector3f& current, const CompressedVector3f& baseline) {
    CompressedVector3f delta{{}, Precision::Delta};
    std::uint32_t largest = 0;
    for (std::size_t i = 0; i < delta.fields.size(); ++i) {
        delta.fields[i] = encodeDelta(current.fields[i], baseline.fields[i]);
        largest = std::max(largest, delta.fields[i]);
    }
    return largest <= largestField(PositionWidths[Precision::Delta]) ? std::optional(delta) : std::nullopt;
}

// The length that stands in for a position; nothing if it is too long for a field.
std::optional<CompressedJointLength> computeLength(Precision precision, const Vector3f& position) {
    const float length = position.Length();
    return length > LargestLength[precision] ? std::nullopt
                                             : std::optional(compressLength(precision, length));
}

} // namespace

SentJoint encodeJointInFull(const StreamSettings& settings, const JointPose& pose, bool sendsLength) {
    const Precision precision = toPrecision(settings.compressionType);
    SentJoint sent{{}, pose};
    auto& [value, option] = sent.encoded;
    value.rotation = compressRotation(precision, pose.orientation);
    const std::optional<CompressedJointLength> length =
        sendsLength ? computeLength(precision, pose.position) : std::nullopt;
    if (length) {
        value.length = *length;
        option = JointSerializationOption_RotationFull | JointSerializationOption_LengthFull;
    } else {
        value.position = compressPosition(precision, pose.position);
        option = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;
    }
    return sent;
}

SentJoint encodeJoint(
    const StreamSettings& settings, const JointPose& pose, bool sendsLength, const JointBaseline& baseline) {
    const Precision precision = toPrecision(settings.compressionType);
    SentJoint sent{{}, pose};
    auto& [value, option] = sent.encoded;
    if (settings.rotationThreshold.IsReached(pose.orientation, baseline.pose.orientation)) {
        const CompressedQuaternionf rotation = compressRotation(precision, pose.orientation);
        const auto delta = computeDelta(rotation, baseline.compressed.rotation);
        value.rotation = delta.value_or(rotation);
        option = delta ? JointSerializationOption_RotationDelta : JointSerializationOption_RotationFull;
    } else {
        sent.pose.orientation = baseline.pose.orientation;
    }
    if (!hasMoved(pose.position, baseline.pose.position, settings.positionThreshold)) {
        sent.pose.position = baseline.pose.position;
        return sent;
    }
    const auto length = sendsLength ? computeLength(precision, pose.position) : std::nullopt;
    if (length) {
        value.length = *length;
        option = option | JointSerializationOption_LengthFull;
        return sent;
    }
    const CompressedVector3f position = compressPosition(precision, pose.position);
    // What is too long for a length goes out in full.
    const auto delta = sendsLength ? std::nullopt : computeDelta(position, baseline.compressed.position);
    value.position = delta.value_or(position);
    option =
        option | (delta ? JointSerializationOption_PositionDelta : JointSerializationOption_PositionFull);
    return sent;
}

} // namespace Velkori_Utility
