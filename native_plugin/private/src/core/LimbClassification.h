#pragma once

#include "core/SkeletonTables.h"
#include "shared/FastRangedIntegralContainers.h"

#include <vector>

namespace Velkori_Utility {

class Skeleton;

namespace AutoMapping {

// Sorts all joints into the limbs of a humanoid, by nothing but the known joints and the hierarchy. What two
// sibling limbs both claim belongs to the limb that they hang on, and what no limb claims to
// HumanoidLimb_Invalid. A limb that lacks one of its known joints is empty.
//
// `chains` holds each limb's joints as the walk along the limb found them, whoever got them in the end. A
// chain that descends doesn't hold the joint that it starts from.
FastRangedIntegralMap<HumanoidLimb, FastRangedIntegralSet<int>> ClassifyJointsByLimb(
    const Skeleton& skeleton, FastRangedIntegralMap<HumanoidLimb, std::vector<int>>& chains);

} // namespace AutoMapping

} // namespace Velkori_Utility
