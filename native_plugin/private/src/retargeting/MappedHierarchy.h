#pragma once

#include "core/UtilityConfigData.h"
#include "shared/FastRangedIntegralContainers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// Between which mapped joints a target joint lies.
struct SourceToTargetMappedAncestorDescendantData {
    // Where the joint lies on the way from the ancestor to the mean of the descendants, 0 to 1.
    float ancestorRatio = 0.0F;
    // The nearest mapped joint above, -1 if there is none.
    int mappedAncestor = -1;
    // The nearest mapped joints below, in the order in which they were found.
    std::vector<int> mappedDescendants;
};

// One record per target joint. Through source-type mappings only joints of normal behaviour count as mapped,
// through target-type mappings all do.
std::vector<SourceToTargetMappedAncestorDescendantData> GenerateMappedAncestorDescendantData(
    const UtilityConfigData& config, velkori_SkeletonType type);

// The joints whose mapping is IK-derived, by descending index. Only indices below the joint count of the
// skeleton of `type` are looked at.
std::vector<int> GenerateIKDerivedJointMappingUpdateOrder(
    const UtilityConfigData& config, velkori_SkeletonType type);

// The order in which the target-type mappings are evaluated: along the hierarchy, IK-derived joints last and
// children first among them, and no joint before one that it reads.
std::vector<int> GenerateUpdateOrderFromMappedAncestorDescendantData(
    const UtilityConfigData& config, std::span<const SourceToTargetMappedAncestorDescendantData> mappedData);

// All joints beneath the known joints that the skeleton has.
FastRangedIntegralSet<int> FindAllDescendantsOfSkeletonJointSet(
    const Skeleton& skeleton, std::span<const velkori_KnownJointType> knownJoints);

} // namespace Velkori_Utility
