#include "core/JointMappingSet.h"

#include "core/JointSpaces.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Velkori_Utility {

namespace {

float ReciprocalOrZero(float sum) {
    return sum > 0.0F ? 1.0F / sum : 0.0F;
}

// Weights come from documents and hosts: no NaN or infinity may reach a pose.
float ToFiniteWeight(float weight) {
    constexpr float Largest = std::numeric_limits<float>::max();
    return std::isnan(weight) ? 0.0F : std::clamp(weight, -Largest, Largest);
}

bool IsJointOf(const SkeletonData& skeleton, int joint) {
    return joint >= 0 && joint < skeleton.GetJointCount();
}

// The mean of a number of orientations that is known beforehand. Two meet at the second one's weight as it
// stands, not at its share of the sum.
class OrientationBlend {
  public:
    explicit OrientationBlend(int expectedCount) : count(expectedCount) {}

    void Add(const Quaternionf& orientation, float weight) {
        if (count > 2) {
            mean.Add(orientation, weight);
        } else if (isFirst) {
            blended = orientation;
        } else {
            blended = blended.Slerp(orientation, weight);
        }
        isFirst = false;
    }

    Quaternionf Get() const { return count > 2 ? mean.Get() : blended; }

  private:
    int count;
    bool isFirst = true;
    Quaternionf blended;
    RotationMean mean;
};

} // namespace

JointMappingSet::JointMappingSet(
    const SerializedJointMapping& mapping, const SourceSkeletonData& source, const TargetSkeletonData& target)
    : sourceSkeleton(&source),
      targetSkeleton(&target),
      type(mapping.type),
      behavior(mapping.behavior),
      targetJointIndex(mapping.targetJointIndex) {
    entries.reserve(mapping.entries.size());
    std::vector<int> joints;
    joints.reserve(mapping.entries.size());
    for (const velkori_JointMappingEntry_& entry : mapping.entries) {
        const float rotationWeight = ToFiniteWeight(entry.rotationWeight);
        const float positionWeight = ToFiniteWeight(entry.positionWeight);
        const bool hasWeight = rotationWeight > 0.0F || positionWeight > 0.0F;
        if (hasWeight && IsJointOf(GetEntrySkeleton(), entry.jointIndex)) {
            entries.push_back({entry.jointIndex, rotationWeight, positionWeight});
            joints.push_back(entry.jointIndex);
        }
    }
    // Its range spans these joints alone: sets over the whole skeleton would grow with its square.
    mappedJoints = FastRangedIntegralSet<int>(0, 0, joints);
    InitializeMappingWeights();
}

const SkeletonData& JointMappingSet::GetEntrySkeleton() const {
    if (type == velkori_SkeletonType_Source) {
        return *sourceSkeleton;
    }
    return *targetSkeleton;
}

void JointMappingSet::InitializeMappingWeights() {
    float positionSum = 0.0F;
    float rotationSum = 0.0F;
    for (const JointMappingEntry& entry : entries) {
        positionSum += static_cast<float>(entry.positionWeight);
        rotationSum += static_cast<float>(entry.rotationWeight);
        rotationCount += entry.rotationWeight > 0.0 ? 1 : 0;
    }
    positionWeightScale = ReciprocalOrZero(positionSum);
    rotationWeightScale = ReciprocalOrZero(rotationSum);
}

JointPose JointMappingSet::CalculateUsingDeltaFromReferencePose(
    std::span<const JointPose> pose, std::span<const JointPose> reference, const JointPose* offset) const {
    if (std::ssize(pose) != GetEntrySkeleton().GetJointCount()) {
        return JointPose::Identity;
    }
    if (entries.size() == 1) {
        return pose[entries.front().jointIndex];
    }
    JointPose result;
    OrientationBlend orientations(rotationCount);
    for (const JointMappingEntry& entry : entries) {
        const JointPose& joint = pose[entry.jointIndex];
        result.position += joint.position * (static_cast<float>(entry.positionWeight) * positionWeightScale);
        if (entry.rotationWeight > 0.0) {
            orientations.Add(reference.empty()
                                 ? joint.orientation
                                 : joint.orientation * reference[entry.jointIndex].orientation.Inverse(),
                static_cast<float>(entry.rotationWeight));
        }
    }
    if (rotationWeightScale == 0.0F) {
        return result;
    }
    result.orientation = orientations.Get();
    if (offset != nullptr) {
        result.orientation = (result.orientation * offset->orientation).Normalize();
    }
    return result;
}

JointPose JointMappingSet::CalculateOnRestPose(velkori_SkeletonTPoseType restPoseType) const {
    const RestPose& restPose = GetEntrySkeleton().GetTPoseData(restPoseType);
    return restPose.IsInitialized()
               ? CalculateUsingDeltaFromReferencePose(restPose.GetJointPoses(RootSpace), {}, nullptr)
               : JointPose::Identity;
}

// The products are taken in double precision, and each running value is rounded to single.
float JointMappingSet::CalculateMinMaxJointRatio(std::span<const float> ratios) const {
    float byPosition = 0.0F;
    float byRotation = 0.0F;
    float positionSum = 0.0F;
    float rotationSum = 0.0F;
    for (const JointMappingEntry& entry : entries) {
        if (entry.jointIndex >= std::ssize(ratios)) {
            continue;
        }
        const double ratio = ratios[entry.jointIndex];
        byPosition = static_cast<float>(byPosition + entry.positionWeight * positionWeightScale * ratio);
        byRotation = static_cast<float>(byRotation + entry.rotationWeight * rotationWeightScale * ratio);
        positionSum = static_cast<float>(positionSum + entry.positionWeight);
        rotationSum = static_cast<float>(rotationSum + entry.rotationWeight);
    }
    const float sum = positionSum + rotationSum;
    return sum > 0.0F ? byPosition + (byRotation - byPosition) * rotationSum / sum : 0.0F;
}

JointPose JointMappingSet::CalculateLocalOffsetToTarget(
    const JointMappingSet& minSet, const JointMappingSet& maxSet, float ratio) {
    const RestPose& minPose = minSet.targetSkeleton->GetTPoseData(velkori_SkeletonTPoseType_Min);
    const RestPose& maxPose = maxSet.targetSkeleton->GetTPoseData(velkori_SkeletonTPoseType_Max);
    if (minSet.type == velkori_SkeletonType_Target || !minPose.IsInitialized() || !maxPose.IsInitialized()) {
        return JointPose::Identity;
    }
    const JointPose mapped = minSet.CalculateOnRestPose(velkori_SkeletonTPoseType_Min)
                                 .Lerp(maxSet.CalculateOnRestPose(velkori_SkeletonTPoseType_Max), ratio);
    const JointPose target = minPose.GetJointPoses(RootSpace)[minSet.targetJointIndex].Lerp(
        maxPose.GetJointPoses(RootSpace)[maxSet.targetJointIndex], ratio);
    return mapped.Inverted().ApplyWithScale(target);
}

bool JointMappingSet::IsSameRule(const JointMappingSet& other) const {
    return type == other.type && entries == other.entries;
}

SerializedJointMapping JointMappingSet::ToSerializedJointMapping() const {
    SerializedJointMapping mapping = {targetJointIndex, type, behavior, {}};
    for (const JointMappingEntry& entry : entries) {
        mapping.entries.push_back({entry.jointIndex, static_cast<float>(entry.rotationWeight),
            static_cast<float>(entry.positionWeight)});
    }
    return mapping;
}

} // namespace Velkori_Utility
