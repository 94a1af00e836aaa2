#pragma once

#include "Velkori_Utility.h"
#include "core/RestPose.h"
#include "core/SerializedJointMapping.h"
#include "core/SkeletonTables.h"

#include <array>
#include <span>
#include <vector>

namespace Velkori_Utility::AutoMapping {

struct TwistLimbKnownJointPair {
    HumanoidLimb limb;
    velkori_KnownJointType start;
    velkori_KnownJointType end;
};

// Along which limbs without twist joints the end's rotation is carried up. The last row's limb isn't the
// leg's that its joints are of, so that a right leg never matches it: configurations rely on getting none for
// it.
inline constexpr std::array<TwistLimbKnownJointPair, 4> LimbTwistKnownJointChains = {{
    {HumanoidLimb_LeftArm, velkori_KnownJointType_LeftWrist, velkori_KnownJointType_LeftUpperArm},
    {HumanoidLimb_RightArm, velkori_KnownJointType_RightWrist, velkori_KnownJointType_RightUpperArm},
    {HumanoidLimb_LeftLeg, velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_LeftUpperLeg},
    {HumanoidLimb_RightArm, velkori_KnownJointType_RightAnkle, velkori_KnownJointType_RightUpperLeg},
}};

// Mappings that drive a target by a source, from two rest poses that stand alike: each target joint by the
// source joints near it, weighted by nearness, limb and the way along the skeleton. Twist joints, and the
// limbs of a target without any, are driven by the target's own joints, unless the flags leave that out. None
// if either pose holds nothing. `up` is where the process has it.
std::vector<SerializedJointMapping> GenerateJointMappings(
    const RestPose& source, const RestPose& target, const Vector3f& up, velkori_AutoMappingFlags flags);

// The same with the twist joints given.
std::vector<SerializedJointMapping> GenerateJointMappings(const RestPose& source,
    std::span<const velkori_TwistJointDefinition_> sourceTwists, const RestPose& target,
    std::span<const velkori_TwistJointDefinition_> targetTwists, const Vector3f& up,
    velkori_AutoMappingFlags flags);

} // namespace Velkori_Utility::AutoMapping
