#include "retargeting/alignment/LimbProportions.h"

#include "core/JointSpaces.h"
#include "retargeting/alignment/SubtreePoses.h"

#include <span>
#include <utility>
#include <vector>

namespace Velkori_Utility::Alignment {

namespace {

// Joints, parents before children, with their poses relative to their parents.
struct SubtreeJoints {
    std::vector<int> joints;
    std::vector<JointPose> localPoses;
};

// One arm or leg of the target. Twist joints and whatever else hangs on the way belong to its middle, which
// ends with the wrist or ankle; the tail is the hand or foot.
struct Limb {
    int start = -1;
    int end = -1;
    SubtreeJoints middle;
    SubtreeJoints tail;
};

SubtreeJoints RememberLocalPoses(
    std::vector<int> joints, const Skeleton& skeleton, std::span<const JointPose> pose) {
    SubtreeJoints remembered;
    remembered.localPoses.reserve(joints.size());
    for (const int joint : joints) {
        remembered.localPoses.push_back(CalculateLocalSpaceJointPose(joint, skeleton, pose));
    }
    remembered.joints = std::move(joints);
    return remembered;
}

Limb MakeLimb(int start, int end, const Skeleton& skeleton, std::span<const JointPose> pose) {
    const FastRangedIntegralSet<int> stopAtEnd(end, end, {end});
    return {start, end,
        RememberLocalPoses(skeleton.GetDescendantsOfJointIndex(start, stopAtEnd), skeleton, pose),
        RememberLocalPoses(
            skeleton.GetDescendantsOfJointIndex(end, FastRangedIntegralSet<int>::EmptySet), skeleton, pose)};
}

// Forward and back only: how high a body stands, and where its sides are, is its own.
void MatchTrunkPosition(
    const RestPose& source, const Skeleton& target, const Vector3f& forward, std::span<JointPose> pose) {
    Vector3f sourceSum;
    Vector3f targetSum;
    int count = 0;
    for (const velkori_KnownJointType knownJoint : FwdBackAlignmentKnownJoints) {
        const int sourceJoint = source.GetSkeleton().GetJointIndex(knownJoint);
        const int targetJoint = target.GetJointIndex(knownJoint);
        if (sourceJoint != -1 && targetJoint != -1) {
            sourceSum += source.GetJointPoses(RootSpace)[sourceJoint].position;
            targetSum += pose[targetJoint].position;
            ++count;
        }
    }
    if (count == 0) {
        return;
    }
    const auto divisor = static_cast<float>(count);
    const Vector3f offset = forward.Abs().Multiply(sourceSum / divisor - targetSum / divisor);
    for (JointPose& joint : pose) {
        joint.position += offset;
    }
}

// The end keeps its orientation: it is turned with the limb in position only.
void RebuildMiddle(const Limb& limb, const Skeleton& skeleton, std::span<JointPose> pose) {
    for (std::size_t i = 0; i < limb.middle.joints.size(); ++i) {
        const int joint = limb.middle.joints[i];
        const JointPose& parentPose = pose[skeleton.GetParentJointIndex(joint)];
        const JointPose& local = limb.middle.localPoses[i];
        if (joint == limb.end) {
            pose[joint].position = parentPose.position + parentPose.orientation.Rotate(local.position);
        } else {
            pose[joint] = parentPose.ApplyWithoutScale(local);
        }
    }
}

void RebuildTail(const Limb& limb, const Skeleton& skeleton, std::span<JointPose> pose) {
    for (std::size_t i = 0; i < limb.tail.joints.size(); ++i) {
        const int joint = limb.tail.joints[i];
        pose[joint] = pose[skeleton.GetParentJointIndex(joint)].ApplyWithoutScale(limb.tail.localPoses[i]);
    }
}

// The axis to which a direction leans least: never parallel to it.
Vector3f MostPerpendicularAxis(const Vector3f& direction) {
    const Vector3f magnitude = direction.Abs();
    if (magnitude.y <= magnitude.x && magnitude.y <= magnitude.z) {
        return Vector3f::Identity_up_LH;
    }
    return magnitude.x <= magnitude.z ? Vector3f::Identity_right_LH : Vector3f::Identity_forward_LH;
}

// Along `direction` only, measured from the limb's start: the limb doesn't get thicker.
void StretchMiddle(const Limb& limb, const Vector3f& direction, float ratio, std::span<JointPose> pose) {
    const Vector3f unit = direction.Normalize();
    const JointPose frame(
        Quaternionf::LookAtLH(unit, MostPerpendicularAxis(unit)).Normalize(), pose[limb.start].position);
    const JointPose toFrame = frame.Inverted();
    const Vector3f stretch(1.0F, 1.0F, ratio);
    for (const int joint : limb.middle.joints) {
        const JointPose inFrame = toFrame.ApplyWithoutScale(pose[joint]);
        pose[joint] =
            frame.ApplyWithoutScale({inFrame.orientation.Scale(stretch), inFrame.position.Multiply(stretch)});
    }
}

void MatchLimbEnd(const Limb& limb, const Vector3f& wantedEnd, bool canStretch, const Skeleton& skeleton,
    std::span<JointPose> pose) {
    JointPose& start = pose[limb.start];
    const Vector3f now = pose[limb.end].position - start.position;
    const Vector3f wanted = wantedEnd - start.position;
    const float length = now.Length();
    const float ratio = length < MinNormal ? 1.0F : wanted.Length() / length;
    start.orientation = (Quaternionf(now, wanted) * start.orientation).Normalize();
    RebuildMiddle(limb, skeleton, pose);
    if (canStretch && ratio != 1.0F) {
        StretchMiddle(limb, wanted, ratio, pose);
    }
    RebuildTail(limb, skeleton, pose);
}

void MatchLimb(
    HumanoidLimb humanoidLimb, const RestPose& source, const Skeleton& skeleton, std::span<JointPose> pose) {
    const std::vector<int>& sourceChain = source.GetSkeleton().GetJointChainByHumanoidLimb(humanoidLimb);
    const std::vector<int>& targetChain = skeleton.GetJointChainByHumanoidLimb(humanoidLimb);
    // A chain that doesn't run downwards, or has one joint only, can't be turned from its start.
    if (sourceChain.empty() || targetChain.empty() ||
        !skeleton.IsAncestorOfJointIndex(targetChain.front(), targetChain.back())) {
        return;
    }
    const Limb limb = MakeLimb(targetChain.front(), targetChain.back(), skeleton, pose);
    const Vector3f wantedEnd = source.GetJointPoses(RootSpace)[sourceChain.back()].position;
    const bool isArm = humanoidLimb == HumanoidLimb_LeftArm || humanoidLimb == HumanoidLimb_RightArm;
    MatchLimbEnd(limb, wantedEnd, isArm, skeleton, pose);
}

} // namespace

PoseData DeformationLimbsToMatchSourceProportion(
    const RestPose& source, PoseData target, const Vector3f& forward) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return target;
    }
    std::vector<JointPose> pose = target.GetJointPoses(RootSpace);
    MatchTrunkPosition(source, target.GetSkeleton(), forward, pose);
    for (const HumanoidLimb limb :
        {HumanoidLimb_LeftArm, HumanoidLimb_RightArm, HumanoidLimb_LeftLeg, HumanoidLimb_RightLeg}) {
        MatchLimb(limb, source, target.GetSkeleton(), pose);
    }
    return PoseData(target.GetSkeleton(), RootSpace, pose, JointPose::Identity);
}

} // namespace Velkori_Utility::Alignment
