#pragma once

#include "Velkori_Utility.h"
#include "shared/FastRangedIntegralContainers.h"

#include <array>
#include <cstdint>
#include <utility>

namespace Velkori_Utility {

// The parts of a humanoid body into which a skeleton's joints are sorted.
enum HumanoidLimb : std::int32_t {
    HumanoidLimb_Invalid = -1,
    HumanoidLimb_Root = 0,
    HumanoidLimb_Spine = 1,
    HumanoidLimb_Neck = 2,
    HumanoidLimb_Head = 3,
    HumanoidLimb_LeftArm = 4,
    HumanoidLimb_RightArm = 5,
    HumanoidLimb_LeftLeg = 6,
    HumanoidLimb_RightLeg = 7,
    HumanoidLimb_LeftHand = 8,
    HumanoidLimb_RightHand = 9,
    HumanoidLimb_LeftFoot = 10,
    HumanoidLimb_RightFoot = 11,
};

// Which skeleton the entries of a joint mapping index.
using JointMappingType = velkori_SkeletonType;
using JointMappingBehaviorType = velkori_JointMappingBehaviorType;

// The words of documents, by value.
inline constexpr std::array<const char*, 2> JointMappingTypeStrings = {"source", "target"};
inline constexpr std::array<const char*, 4> JointMappingBehaviorTypeStrings = {
    "normal", "twist", "childAlignedTwist", "ikDerived"};

// Joints of a limb run from the first known joint to the second or, where that is Invalid, to the leaves.
using KnownJointChain = std::pair<velkori_KnownJointType, velkori_KnownJointType>;

// Limb to the limb that it hangs on, the row of HumanoidLimb_Invalid included.
extern const FastRangedIntegralMap<HumanoidLimb, HumanoidLimb> LimbHierarchy;
extern const FastRangedIntegralMap<HumanoidLimb, KnownJointChain> LimbToKnownJointChains;

} // namespace Velkori_Utility
