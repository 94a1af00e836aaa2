#include "retargeting/alignment/HandIdentification.h"

#include "core/Skeleton.h"
#include "retargeting/alignment/RestPoseSpace.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace Velkori_Utility::Alignment {

namespace {

// A bone from the hand to the finger's first joint that isn't much longer than the bones after it ends inside
// the palm.
constexpr float MinPalmBoneRatio = 0.6F;

FastRangedIntegralMap<HumanoidLimb, KnownJointChain> MakeArmJoints() {
    FastRangedIntegralMap<HumanoidLimb, KnownJointChain> armJoints;
    armJoints.initialize(HumanoidLimb_LeftHand, HumanoidLimb_RightHand);
    armJoints.insert(
        HumanoidLimb_LeftHand, {velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_LeftWrist});
    armJoints.insert(
        HumanoidLimb_RightHand, {velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_RightWrist});
    return armJoints;
}

bool IsHand(HumanoidLimb limb) {
    return limb == HumanoidLimb_LeftHand || limb == HumanoidLimb_RightHand;
}

// Wrist extensions, joints with a single child, are passed by. A hand that never branches has all its joints
// in one finger, from the wrist on. -1 if the hand has no joints.
int FindHandJoint(const Skeleton& skeleton, HumanoidLimb limb) {
    const std::vector<int>& chain = skeleton.GetJointChainByHumanoidLimb(limb);
    if (chain.empty()) {
        return -1;
    }
    const int wrist = skeleton.GetParentJointIndex(chain.front());
    int hand = wrist;
    // Counting the steps leads out of a circle, too.
    for (int step = 0; step < skeleton.GetJointCount(); ++step) {
        const std::vector<int>& children = skeleton.GetChildJointIndexArray(hand);
        if (children.empty()) {
            return wrist;
        }
        if (children.size() > 1) {
            break;
        }
        hand = children.front();
    }
    return hand;
}

// The first child that goes on, else the last leaf. An excluded joint hides the siblings after it. -1 if
// there is none.
int FindNextFingerJoint(const Skeleton& skeleton, int joint) {
    int next = -1;
    for (const int child : skeleton.GetChildJointIndexArray(joint)) {
        if (skeleton.GetAutoMappingExcludedJoints().contains(child)) {
            break;
        }
        next = child;
        if (!skeleton.GetChildJointIndexArray(child).empty()) {
            break;
        }
    }
    return next;
}

FingerData FollowFinger(const Skeleton& skeleton, int firstJoint) {
    FingerData finger;
    for (int joint = firstJoint; joint != -1 && std::ssize(finger.joints) < skeleton.GetJointCount();
         joint = FindNextFingerJoint(skeleton, joint)) {
        finger.joints.push_back(joint);
    }
    return finger;
}

std::vector<FingerData> FindFingers(const Skeleton& skeleton, int handJoint) {
    const std::vector<int>& children = skeleton.GetChildJointIndexArray(handJoint);
    std::vector<FingerData> fingers;
    fingers.reserve(children.size());
    for (const int child : children) {
        if (!skeleton.GetAutoMappingExcludedJoints().contains(child)) {
            fingers.push_back(FollowFinger(skeleton, child));
        }
    }
    return fingers;
}

JointPose CalculateFingerPose(
    const FingerData& finger, std::span<const JointPose> rootSpacePose, int handJoint, const Vector3f& up) {
    Vector3f sum = rootSpacePose[finger.joints.front()].position;
    Vector3f direction;
    for (std::size_t i = 1; i < finger.joints.size(); ++i) {
        const Vector3f& position = rootSpacePose[finger.joints[i]].position;
        sum += position;
        direction += position - rootSpacePose[finger.joints[i - 1]].position;
    }
    if (direction == Vector3f::Zero) {
        direction = sum - rootSpacePose[handJoint].position;
    }
    return {Quaternionf::LookAtLH(direction.Normalize(), up).Normalize(),
        sum / static_cast<float>(finger.joints.size())};
}

// The key is the place along the forward axis, whichever way that points. Fingers side by side on it keep the
// order of the hierarchy.
void SortAlongForward(std::vector<FingerData>& fingers, const Vector3f& forward) {
    const Vector3f axis = forward.Abs();
    const float sign = forward.Dot(axis);
    const auto keyOf = [&](const FingerData& finger) { return sign * axis.Dot(finger.pose.position); };
    // A nan comes last, whatever its sign: the sort needs an order, and processors differ in that sign.
    std::stable_sort(fingers.begin(), fingers.end(), [&](const FingerData& a, const FingerData& b) {
        const float keyA = keyOf(a);
        const float keyB = keyOf(b);
        return keyA < keyB || (!std::isnan(keyA) && std::isnan(keyB));
    });
}

// Whether one of the `comparedCount` bones after the finger's first is long enough against that. A chain that
// hasn't as many has no palm joint.
bool HasPalmJoint(const FingerData& finger, std::size_t comparedCount, std::span<const float> jointLengths) {
    if (finger.joints.size() <= comparedCount) {
        return false;
    }
    float longest = 0.0F;
    for (std::size_t i = 1; i <= comparedCount; ++i) {
        longest = std::max(longest, jointLengths[finger.joints[i]]);
    }
    const float palmBone = jointLengths[finger.joints.front()];
    return palmBone >= MinNormal && longest / palmBone >= MinPalmBoneRatio;
}

// The first finger, which should be the thumb, has a bone less than the others.
void FindPalmJoints(std::vector<FingerData>& fingers, std::span<const float> jointLengths) {
    for (std::size_t i = 0; i < fingers.size(); ++i) {
        fingers[i].hasPalmJoint = HasPalmJoint(fingers[i], i == 0 ? 2 : 3, jointLengths);
    }
}

Vector3f CalculateAcrossDirection(const std::vector<FingerData>& fingers) {
    Vector3f across;
    for (std::size_t i = 1; i < fingers.size(); ++i) {
        across += fingers[i].pose.position - fingers[i - 1].pose.position;
    }
    return across.Normalize();
}

} // namespace

const FastRangedIntegralMap<HumanoidLimb, KnownJointChain> HandWristAlignmentArmJoint = MakeArmJoints();

bool HandData::IsValid() const {
    return IsHand(limb) && !fingers.empty();
}

void HandData::Invalidate() {
    if (IsValid()) {
        fingers.clear();
    }
    center = Vector3f::Zero;
    acrossDirection = Vector3f::Zero;
    limb = HumanoidLimb_Invalid;
}

bool IdentifyFingersFromSkeleton(const Skeleton& skeleton, std::span<const JointPose> pose,
    std::span<const float> jointLengths, HumanoidLimb limb, HandData& hand) {
    hand.Invalidate();
    const auto space = CalculateRestPoseCoordinateSpace(skeleton, pose);
    if (!IsHand(limb) || !space) {
        return false;
    }
    hand.handJoint = FindHandJoint(skeleton, limb);
    if (hand.handJoint == -1) {
        return false;
    }
    hand.fingers = FindFingers(skeleton, hand.handJoint);
    if (hand.fingers.empty()) {
        return false;
    }
    hand.limb = limb;
    for (auto finger = hand.fingers.rbegin(); finger != hand.fingers.rend(); ++finger) {
        finger->pose = CalculateFingerPose(*finger, pose, hand.handJoint, space->up);
        hand.center += finger->pose.position;
    }
    hand.center = hand.center / static_cast<float>(hand.fingers.size());
    SortAlongForward(hand.fingers, space->forward);
    FindPalmJoints(hand.fingers, jointLengths);
    hand.acrossDirection = CalculateAcrossDirection(hand.fingers);
    return true;
}

} // namespace Velkori_Utility::Alignment
