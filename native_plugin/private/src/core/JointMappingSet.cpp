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

// Two orientations meet at the second one's weight as it stands, not at its share of the sum.
Quaternionf BlendOrientations(std::span<const Quaternionf> orientations, std::span<const float> weights) {
    switch (orientations.size()) {
    case 0:
        return Quaternionf::Identity;
    case 1:
        return orientations.front();
    case 2:
        return orientations.front().Slerp(orientations.back(), weights.back());
    default:
        return Quaternionf::CalculateWeightedMean(orientations, weights);
    }
}

JointPose Blend(const JointPose& a, const JointPose& b, float ratio) {
    return {a.orientation.Slerp(b.orientation, ratio), a.position.Lerp(b.position, ratio),
        a.scale.Lerp(b.scale, ratio)};
}

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
    scratchOrientations.resize(entries.size());
    scratchWeights.resize(entries.size());
    float positionSum = 0.0F;
    float rotationSum = 0.0F;
    for (const JointMappingEntry& entry : entries) {
        positionSum += static_cast<float>(entry.positionWeight);
        rotationSum += static_cast<float>(entry.rotationWeight);
    }
    positionWeightScale = ReciprocalOrZero(positionSum);
    rotationWeightScale = ReciprocalOrZero(rotationSum);
}

JointPose JointMappingSet::CalculateUsingDeltaFromReferencePose(
    std::span<const JointPose> pose, const PoseData* reference, const JointPose* offset) const {
    if (std::ssize(pose) != GetEntrySkeleton().GetJointCount()) {
        return JointPose::Identity;
    }
    if (entries.size() == 1) {
        return pose[entries.front().jointIndex];
    }
    const std::vector<JointPose>* referencePose =
        reference != nullptr && reference->IsInitialized() ? &reference->GetJointPoses(RootSpace) : nullptr;
    JointPose result;
    std::size_t rotationCount = 0;
    for (const JointMappingEntry& entry : entries) {
        const JointPose& joint = pose[entry.jointIndex];
        result.position += joint.position * (static_cast<float>(entry.positionWeight) * positionWeightScale);
        if (entry.rotationWeight > 0.0) {
            scratchOrientations[rotationCount] =
                referencePose != nullptr
                    ? joint.orientation * (*referencePose)[entry.jointIndex].orientation.Inverse()
                    : joint.orientation;
            scratchWeights[rotationCount] = static_cast<float>(entry.rotationWeight);
            ++rotationCount;
        }
    }
    if (rotationWeightScale == 0.0F) {
        return result;
    }
    result.orientation = BlendOrientations(
        std::span(scratchOrientations).first(rotationCount), std::span(scratchWeights).first(rotationCount));
    if (offset != nullptr) {
        result.orientation = (result.orientation * offset->orientation).Normalize();
    }
    return result;
}

JointPose JointMappingSet::CalculateOnRestPose(velkori_SkeletonTPoseType restPoseType) const {
    const PoseData& restPose = GetEntrySkeleton().GetTPoseData(restPoseType);
    return restPose.IsInitialized()
               ? CalculateUsingDeltaFromReferencePose(restPose.GetJointPoses(RootSpace), nullptr, nullptr)
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
    const PoseData& minPose = minSet.targetSkeleton->GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& maxPose = maxSet.targetSkeleton->GetTPoseData(velkori_SkeletonTPoseType_Max);
    if (minSet.type == velkori_SkeletonType_Target || !minPose.IsInitialized() || !maxPose.IsInitialized()) {
        return JointPose::Identity;
    }
    const JointPose mapped = Blend(minSet.CalculateOnRestPose(velkori_SkeletonTPoseType_Min),
        maxSet.CalculateOnRestPose(velkori_SkeletonTPoseType_Max), ratio);
    const JointPose target = Blend(minPose.GetJointPoses(RootSpace)[minSet.targetJointIndex],
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
