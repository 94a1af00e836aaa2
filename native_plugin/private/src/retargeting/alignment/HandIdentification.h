#pragma once

#include "Velkori_Utility.h"
#include "core/SkeletonTables.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

class Skeleton;

namespace Alignment {

// The two known joints of the arm that a hand can only be posed with: its upper arm and its wrist.
extern const FastRangedIntegralMap<HumanoidLimb, KnownJointChain> HandWristAlignmentArmJoint;

struct FingerData {
    // From the hand outward.
    std::vector<int> joints;
    // In root space: at the mean of the joints' positions, looking along the finger.
    JointPose pose{};
    // The chain begins with a joint inside the palm, and the finger proper with the second one.
    bool hasPalmJoint = false;
};

struct HandData {
    // HumanoidLimb_LeftHand or HumanoidLimb_RightHand, HumanoidLimb_Invalid as long as there is no hand.
    HumanoidLimb limb = HumanoidLimb_Invalid;
    // The joint from which the fingers branch: the wrist or an extension of it.
    int handJoint = -1;
    // The mean of the fingers' positions.
    Vector3f center{};
    // Unit vector from the first finger towards the last. Zero for a hand of one finger.
    Vector3f acrossDirection{};
    // Ascending along the forward axis of the rest pose's own space, by which the thumb of a hand held palm
    // down comes first.
    std::vector<FingerData> fingers;

    bool IsValid() const;

    // The hand joint stays.
    void Invalidate();
};

// Reads one hand out of the hierarchy and a rest pose in root space: skeletons name their wrists, but not
// their fingers. False, with the hand invalid, if the pose has no such hand.
bool IdentifyFingersFromSkeleton(const Skeleton& skeleton, std::span<const JointPose> pose,
    std::span<const float> jointLengths, HumanoidLimb limb, HandData& hand);

} // namespace Alignment

} // namespace Velkori_Utility
