// What a sender makes of a pose: which values of it are sent, and in what form.

#include "core/SkeletonData.h"
#include "serialization/Serialization.h"

#include <algorithm>
#include <cmath>

namespace Velkori_Utility {

namespace {

// Wider than any delta's fields.
constexpr std::uint32_t RotationDeltaLimit = 128;
constexpr std::uint32_t PositionDeltaLimit = 128;
constexpr std::uint32_t LargestScalarDelta = 63;

bool HasMoved(const Vector3f& a, const Vector3f& b, float threshold) {
    return std::abs(a.x - b.x) >= threshold || std::abs(a.y - b.y) >= threshold ||
           std::abs(a.z - b.z) >= threshold;
}

// The difference of the components from `first` on, the ones before it being the current value's.
template <typename Compressed>
Compressed ComputeDelta(const Compressed& baseline, const Compressed& current, std::uint32_t limit,
    bool& fits, std::size_t first = 0) {
    const auto baselineComponents = baseline.getComponents();
    auto components = current.getComponents();
    fits = true;
    for (std::size_t i = first; i < components.size(); ++i) {
        components[i] = encodeDelta(components[i], baselineComponents[i]);
        fits = fits && components[i] < limit;
    }
    Compressed delta(Precision::Delta);
    delta.setComponents(components);
    return delta;
}

} // namespace

namespace SerializationUtils {

CompressedQuaternionf getProcessedRotation(JointSerializationOption& option,
    const CompressedQuaternionf& baseline, const CompressedQuaternionf& current) {
    switch (getRotationOption(option)) {
    case JointSerializationOption_RotationFull:
        return current;
    case JointSerializationOption_RotationDelta: {
        bool fits = false;
        // Behind the index of the largest component, which a delta can't change.
        CompressedQuaternionf delta = ComputeDelta(baseline, current, RotationDeltaLimit, fits, 1);
        if (fits && baseline.getComponents()[0] == current.getComponents()[0]) {
            return delta;
        }
        option = JointSerializationOption_RotationFull;
        return current;
    }
    default:
        return baseline;
    }
}

CompressedVector3f getProcessedPosition(
    JointSerializationOption& option, const CompressedVector3f& baseline, const CompressedVector3f& current) {
    switch (getPositionOption(option)) {
    case JointSerializationOption_PositionFull:
        return current;
    case JointSerializationOption_PositionDelta: {
        bool fits = false;
        CompressedVector3f delta = ComputeDelta(baseline, current, PositionDeltaLimit, fits);
        if (fits) {
            return delta;
        }
        option = JointSerializationOption_PositionFull;
        return current;
    }
    default:
        return baseline;
    }
}

} // namespace SerializationUtils

// -- Joints ------------------------------------------------------------------------------------------------

void Serialization::updateBodySnapshot(
    bool isSource, std::span<const JointPose> poses, std::span<const std::int32_t> jointsToSend) {
    const StreamedSkeleton& streamed = isSource ? source : target;
    const auto bodyOf = [&](const Snapshot& snapshot) -> BodySnapshot& {
        return isSource ? *snapshot.sourceBody : *snapshot.targetBody;
    };
    BodySnapshot& current = bodyOf(*getCurrentSnapshot());
    const bool hasBaseline = baselineIndex != -1;
    const bool isOwnBaseline = baselineIndex == currentIndex;
    const Precision precision = toPrecision(compressionType);
    std::copy(poses.begin(), poses.end(), current.elements.begin());
    if (isOwnBaseline) {
        // A frame that is coded against itself finds its own poses, unmoved.
        current.compressAll();
        current.delivered = current.elements;
        current.hasData = true;
    }
    const BodySnapshot& baseline = getDataOrRest(
        hasBaseline ? bodyOf(*getBaselineSnapshot()) : current, bodyOf(getRestSnapshot(compressionType)));
    std::size_t cursor = 0;
    for (std::size_t j = 0; j < poses.size(); ++j) {
        const bool isListed =
            cursor < jointsToSend.size() && jointsToSend[cursor] == static_cast<std::int32_t>(j);
        cursor += isListed ? 1 : 0;
        JointSerializationOption option =
            compressionType == velkori_CompressionType_Standard && streamed.movesAlongBone[j]
                ? JointSerializationOption_LengthFull
                : JointSerializationOption_PositionFull;
        JointPose pose = current.elements[j];
        CompressedJointPose& value = current.serialized[j].value;
        computeSerializedOptionAndJointPose(
            hasBaseline, option, baseline.elements[j], pose, baseline.compressed[j], value);
        current.elements[j] = pose;
        current.serialized[j].option = isListed ? option : JointSerializationOption_None;
        // What a later frame is coded against has to be what the receiver has, to the last bit: it compresses
        // anew what it decoded, and near a tie of the largest component of a rotation that gives other fields
        // than the sent ones.
        if (option == JointSerializationOption_None) {
            current.delivered[j] = baseline.delivered[j];
            if (baseline.compressionType == compressionType) {
                current.compressed[j] = baseline.compressed[j];
                continue;
            }
        } else if (!isListed) {
            current.delivered[j] = pose;
        } else {
            current.delivered[j] = deserializeCompressedJoint(option, precision, streamed.restPoses[j],
                baseline.compressed[j], value.rotation, value.position, value.length);
        }
        current.compressed[j] = JointElementCompressor()(precision, current.delivered[j]);
    }
    current.hasData = true;
}

void Serialization::computeSerializedOptionAndJointPose(bool hasBaseline, JointSerializationOption& option,
    const JointPose& baseline, JointPose& pose, const CompressedJointPose& baselineCompressed,
    CompressedJointPose& out) const {
    const bool sendsLength = isLength(option);
    JointSerializationOption rotationOption = JointSerializationOption_RotationFull;
    JointSerializationOption positionOption =
        sendsLength ? JointSerializationOption_LengthFull : JointSerializationOption_PositionFull;
    if (hasBaseline) {
        rotationOption = JointSerializationOption_RotationDelta;
        if (!rotationThreshold.IsReached(pose.orientation, baseline.orientation)) {
            rotationOption = JointSerializationOption_None;
            pose.orientation = baseline.orientation;
        }
        if (!HasMoved(pose.position, baseline.position, positionThreshold)) {
            positionOption = JointSerializationOption_None;
            pose.position = baseline.position;
        } else if (!sendsLength) {
            positionOption = JointSerializationOption_PositionDelta;
        }
    }
    option = rotationOption | positionOption;
    if (option == JointSerializationOption_None) {
        return;
    }
    const Precision precision = toPrecision(compressionType);
    float length = 1.0F;
    if (isLength(positionOption)) {
        const float largestLength = precision == Precision::Max ? 6.0F : 0.6F;
        length = pose.position.Length();
        if (length > largestLength) {
            positionOption = JointSerializationOption_PositionFull;
        }
    }
    computeSerializedJointPose(
        rotationOption, positionOption, baselineCompressed, {precision, pose, length}, out);
    option = rotationOption | positionOption;
}

void Serialization::computeSerializedJointPose(JointSerializationOption& rotationOption,
    JointSerializationOption& positionOption, const CompressedJointPose& baseline,
    const CompressedJointPose& current, CompressedJointPose& out) {
    const JointSerializationOption position = getPositionOption(positionOption);
    if (getRotationOption(rotationOption) == JointSerializationOption_RotationFull &&
        (position == JointSerializationOption_PositionFull ||
            position == JointSerializationOption_LengthFull)) {
        out = current;
        return;
    }
    const Precision precision = current.position.getPrecision();
    out.rotation =
        SerializationUtils::getProcessedRotation(rotationOption, baseline.rotation, current.rotation);
    if (!isLength(position)) {
        out.position =
            SerializationUtils::getProcessedPosition(positionOption, baseline.position, current.position);
        out.length = CompressedJointLength(precision);
        return;
    }
    out.position = CompressedVector3f(precision);
    out.length = current.length;
    if (position == JointSerializationOption_LengthDelta) {
        bool fits = false;
        const CompressedJointLength delta =
            ComputeDelta(baseline.length, current.length, LargestScalarDelta + 1, fits);
        if (fits) {
            out.length = delta;
        } else {
            positionOption = JointSerializationOption_LengthFull;
        }
    }
}

// -- Trackers ----------------------------------------------------------------------------------------------

// Trackers keep what the host gave, also below the thresholds, and their own baseline at High precision: what
// the format leaves of that is a delta that seldom fits.
void prepareTrackerPoseForSerialization(
    const Serialization& serialization, Snapshot& snapshot, FrameData::TrackerInputType type) {
    static const FrameData::TrackerPose None = {
        CompressedJointPose(Precision::High), CompressedJointPose(Precision::High), JointPose::Identity};
    const Snapshot* baselineSnapshot = serialization.getBaselineSnapshot();
    const bool hasBaseline = baselineSnapshot != nullptr && baselineSnapshot->frameData != nullptr;
    FrameData::TrackerPose& tracker = snapshot.frameData->trackers[type];
    tracker.compressed = CompressedJointPose(Precision::High, tracker.pose, 1.0F);
    const FrameData::TrackerPose baseline = hasBaseline ? baselineSnapshot->frameData->trackers[type] : None;
    JointPose pose = tracker.pose;
    JointSerializationOption option = JointSerializationOption_None;
    serialization.computeSerializedOptionAndJointPose(
        hasBaseline, option, baseline.pose, pose, baseline.compressed, tracker.serialized);
    tracker.option = option;
    snapshot.frameData->skipsTracker[type] = option == JointSerializationOption_None;
}

// -- Face --------------------------------------------------------------------------------------------------

void Serialization::updateFaceSnapshot(std::span<const float> weights) {
    const bool hasBaseline = baselineIndex != -1;
    FaceSnapshot& current = *getCurrentSnapshot()->targetFace;
    std::copy(weights.begin(), weights.end(), current.elements.begin());
    const bool isOwnBaseline = baselineIndex == currentIndex;
    if (isOwnBaseline) {
        current.compressAll();
    }
    const Snapshot& rest = getRestSnapshot(compressionType);
    const FaceSnapshot& baseline =
        hasBaseline && !isOwnBaseline ? getFaceOrRest(*getBaselineSnapshot(), rest) : current;
    for (std::size_t i = 0; i < weights.size(); ++i) {
        float weight = current.elements[i];
        auto& [value, option] = current.serialized[i];
        computeSerializedOptionAndShapePose(
            hasBaseline, option, restWeights[i], baseline.elements[i], weight, baseline.compressed[i], value);
        // A delta is decoded as if it were a weight, which is what the format's baselines are.
        current.elements[i] = value.weight.decompress();
        current.compress(i);
    }
    current.hasData = true;
}

void Serialization::computeSerializedOptionAndShapePose(bool hasBaseline, ShapeSerializationOption& option,
    float restWeight, float baselineWeight, float& weight, const CompressedShapePose& baselineCompressed,
    CompressedShapePose& out) const {
    option = ShapeSerializationOption_Full;
    if (hasBaseline) {
        option = ShapeSerializationOption_Delta;
        if (!(std::abs(weight - baselineWeight) >= shapeThreshold)) {
            option = ShapeSerializationOption_None;
            weight = baselineWeight;
        }
    }
    weight -= restWeight;
    computeSerializedShapePose(
        option, baselineCompressed, {CompressedWeight(toPrecision(compressionType), weight)}, out);
}

void Serialization::computeSerializedShapePose(ShapeSerializationOption& option,
    const CompressedShapePose& baseline, const CompressedShapePose& current, CompressedShapePose& out) {
    switch (option) {
    case ShapeSerializationOption_None:
        out = baseline;
        return;
    case ShapeSerializationOption_Delta: {
        bool fits = false;
        out.weight = ComputeDelta(baseline.weight, current.weight, LargestScalarDelta + 1, fits);
        if (fits) {
            return;
        }
        break;
    }
    default:
        break;
    }
    option = ShapeSerializationOption_Full;
    out = current;
}

} // namespace Velkori_Utility
