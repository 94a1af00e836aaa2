#pragma once

#include "core/SerializedJointMapping.h"
#include "core/SkeletonData.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// One contribution to a mapped joint. Weights are widened for the sums that are taken over them.
struct JointMappingEntry {
    int jointIndex = -1;
    double rotationWeight = 0.0;
    double positionWeight = 0.0;

    bool operator==(const JointMappingEntry&) const = default;
};

// How one target joint is driven by one or more joints of a skeleton: the source, or the target itself.
class JointMappingSet {
  public:
    // Entries whose joint isn't one of the skeleton that `mapping` names, and entries of which neither weight
    // is above 0, are dropped.
    JointMappingSet(const SerializedJointMapping& mapping, const SourceSkeletonData& source,
        const TargetSkeletonData& target);

    // The mean of the entries' root-space poses by their weights. With more than one entry, orientations are
    // taken relative to those of `reference`, unless that is empty, and brought to the target joint by
    // `offset`, where given, whose position has no part in it. A single entry's pose is the result as it
    // stands. `pose` has one element per joint of the entry skeleton, or none, which gives the identity.
    JointPose CalculateUsingDeltaFromReferencePose(
        std::span<const JointPose> pose, std::span<const JointPose> reference, const JointPose* offset) const;
    // The same on a rest pose of the entry skeleton.
    JointPose CalculateOnRestPose(velkori_SkeletonTPoseType type) const;
    // The entries' interpolation ratios by their weights; 0 where there are none.
    float CalculateMinMaxJointRatio(std::span<const float> ratios) const;
    // The target joint's pose in the frame that the rule gives, at a size between the minimum (0) and the
    // maximum (1): what has to follow the rule's result so that rest poses map to rest poses. The identity
    // for a mapping of the target to itself.
    static JointPose CalculateLocalOffsetToTarget(
        const JointMappingSet& minSet, const JointMappingSet& maxSet, float ratio);

    // Whether both sets give the same results on the same poses.
    bool IsSameRule(const JointMappingSet& other) const;

    SerializedJointMapping ToSerializedJointMapping() const;

    JointMappingType GetType() const { return type; }

    JointMappingBehaviorType GetBehavior() const { return behavior; }

    // Whether the joint is only turned around its bone.
    bool IsTwist() const {
        return behavior == velkori_JointMappingBehaviorType_Twist ||
               behavior == velkori_JointMappingBehaviorType_ChildAlignedTwist;
    }

    int GetTargetJointIndex() const { return targetJointIndex; }

    // The reciprocals of the sums of weights; 0 where a sum isn't above 0, so that nothing is driven.
    float GetPositionWeightScale() const { return positionWeightScale; }

    float GetRotationWeightScale() const { return rotationWeightScale; }

    const std::vector<JointMappingEntry>& GetEntries() const { return entries; }

    const FastRangedIntegralSet<int>& GetMappedJoints() const { return mappedJoints; }

  private:
    void InitializeMappingWeights();
    const SkeletonData& GetEntrySkeleton() const;

    const SourceSkeletonData* sourceSkeleton;
    const TargetSkeletonData* targetSkeleton;
    JointMappingType type;
    JointMappingBehaviorType behavior;
    int targetJointIndex;
    float positionWeightScale = 1.0F;
    float rotationWeightScale = 1.0F;
    std::vector<JointMappingEntry> entries;
    FastRangedIntegralSet<int> mappedJoints;
    // How many entries have a rotation weight above 0.
    int rotationCount = 0;
};

} // namespace Velkori_Utility
