#pragma once

#include "Velkori_Utility.h"
#include "core/PoseData.h"
#include "core/SerializedJointMapping.h"

#include <span>
#include <vector>

namespace Velkori_Utility::AutoMapping {

// Mappings that drive a target by a source, from two rest poses that stand alike: each target joint by the
// source joints near it, weighted by nearness, limb and the way along the skeleton. Twist joints, and the
// limbs of a target without any, are driven by the target's own joints, unless the flags leave that out. None
// if either pose holds nothing.
std::vector<SerializedJointMapping> GenerateJointMappings(
    const PoseData& source, const PoseData& target, velkori_AutoMappingFlags flags);

// The same with the twist joints given.
std::vector<SerializedJointMapping> GenerateJointMappings(const PoseData& source,
    std::span<const velkori_TwistJointDefinition_> sourceTwists, const PoseData& target,
    std::span<const velkori_TwistJointDefinition_> targetTwists, velkori_AutoMappingFlags flags);

} // namespace Velkori_Utility::AutoMapping
