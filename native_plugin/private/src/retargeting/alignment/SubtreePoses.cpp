#include "retargeting/alignment/SubtreePoses.h"

#include "core/Skeleton.h"

namespace Velkori_Utility::Alignment {

JointPose CalculateLocalSpaceJointPose(
    int joint, const Skeleton& skeleton, std::span<const JointPose> rootPoses) {
    const int parent = skeleton.GetParentJointIndex(joint);
    const JointPose& parentPose = parent == -1 ? JointPose::Identity : rootPoses[parent];
    return parentPose.Inverted().ApplyWithoutScale(rootPoses[joint]);
}

void UpdateRootSpaceJointPoseWithChildren(int joint, const Skeleton& skeleton, const JointPose& newPose,
    std::span<const JointPose> localPoses, std::span<JointPose> rootPoses) {
    rootPoses[joint] = newPose;
    for (const int descendant :
        skeleton.GetDescendantsOfJointIndex(joint, FastRangedIntegralSet<int>::EmptySet)) {
        const JointPose& parentPose = rootPoses[skeleton.GetParentJointIndex(descendant)];
        rootPoses[descendant] = parentPose.ApplyWithoutScale(localPoses[descendant]);
    }
}

void UpdateLocalSpaceJointPoseWithChildren(int joint, const Skeleton& skeleton,
    std::span<const JointPose> rootPoses, std::span<JointPose> localPoses) {
    localPoses[joint] = CalculateLocalSpaceJointPose(joint, skeleton, rootPoses);
    for (const int descendant :
        skeleton.GetDescendantsOfJointIndex(joint, FastRangedIntegralSet<int>::EmptySet)) {
        localPoses[descendant] = CalculateLocalSpaceJointPose(descendant, skeleton, rootPoses);
    }
}

// Every bone is scaled by itself: walking breadth first gives what recursion would, at any depth.
void ScaleLocalSpacePoseAndChildrenRecursive(
    int joint, int stopJoint, float factor, const Skeleton& skeleton, std::span<JointPose> localPoses) {
    if (joint == -1 || factor == 1.0F) {
        return;
    }
    const auto scaleBone = [&](int scaled) {
        localPoses[scaled].position = localPoses[scaled].position * factor;
    };
    scaleBone(joint);
    const FastRangedIntegralSet<int> stopAt(stopJoint, stopJoint, {stopJoint});
    for (const int descendant : skeleton.GetDescendantsOfJointIndex(joint, stopAt)) {
        if (descendant != stopJoint) {
            scaleBone(descendant);
        }
    }
}

} // namespace Velkori_Utility::Alignment
