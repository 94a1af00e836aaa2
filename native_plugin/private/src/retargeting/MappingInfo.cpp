#include "retargeting/MappingInfo.h"

namespace Velkori_Utility {

namespace {

bool HasPosition(const JointMappingSet& set) {
    return set.GetPositionWeightScale() != 0.0F;
}

bool HasRotation(const JointMappingSet& set) {
    return set.GetRotationWeightScale() != 0.0F;
}

} // namespace

MappingInfo::MappingInfo(const JointMappingSet& min, const JointMappingSet& max,
    const PerBehavior<float>& weights, const PerBehavior<JointPose>& minReferences,
    const PerBehavior<JointPose>& maxReferences, const PerBehavior<JointPose>& offsets)
    : minMappingSet(&min),
      maxMappingSet(&max),
      blendWeights(weights),
      localOffsets(offsets),
      minReferencePoses(minReferences),
      maxReferencePoses(maxReferences),
      lastMinPoses(minReferences),
      lastMaxPoses(maxReferences) {
    const bool sameRule = min.IsSameRule(max);
    for (int behavior = 0; behavior < RetargetingBehaviorCount; ++behavior) {
        endsAreAlike[behavior] = sameRule && minReferences[behavior] == maxReferences[behavior];
    }
}

JointPose MappingInfo::RetargetFromSourcePose(std::span<const JointPose> sourceReferencePose,
    std::span<const JointPose> sourceJointPoses, const JointPose& currentPose, int behavior) {
    JointPose minPose = minMappingSet->CalculateUsingDeltaFromReferencePose(
        sourceJointPoses, sourceReferencePose, &minReferencePoses[behavior]);
    lastMinPoses[behavior] = minPose;
    JointPose maxPose = endsAreAlike[behavior]
                            ? minPose
                            : maxMappingSet->CalculateUsingDeltaFromReferencePose(
                                  sourceJointPoses, sourceReferencePose, &maxReferencePoses[behavior]);
    lastMaxPoses[behavior] = maxPose;

    JointPose offset = localOffsets[behavior];
    const bool minHasPosition = HasPosition(*minMappingSet);
    const bool maxHasPosition = HasPosition(*maxMappingSet);
    const bool minHasRotation = HasRotation(*minMappingSet);
    const bool maxHasRotation = HasRotation(*maxMappingSet);
    if (!minHasPosition || !maxHasPosition || !minHasRotation || !maxHasRotation) {
        if (!minHasPosition && !maxHasPosition) {
            offset.position = Vector3f::Zero;
        }
        // The pose that yields the current one once the offset is applied again.
        const JointPose kept = currentPose.ApplyWithoutScale(offset.Inverted());
        minPose.position = minHasPosition ? minPose.position : kept.position;
        maxPose.position = maxHasPosition ? maxPose.position : kept.position;
        minPose.orientation = minHasRotation ? minPose.orientation : kept.orientation;
        maxPose.orientation = maxHasRotation ? maxPose.orientation : kept.orientation;
    }
    const JointPose blended = BlendPoses(minPose, maxPose, blendWeights[behavior]);
    return offset == JointPose::Identity ? blended : blended.ApplyWithoutScale(offset);
}

JointPose BlendPoses(const JointPose& a, const JointPose& b, float weight) {
    if (a == b) {
        return {a.orientation.Normalize(), a.position, a.scale};
    }
    return a.Lerp(b, weight);
}

} // namespace Velkori_Utility
