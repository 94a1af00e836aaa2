#include "core/JointSpaceConversions.h"

#include "core/JointComposition.h"

namespace Velkori_Utility {

// Children come first, so that every parent is still in root space when it is needed.
void ConvertRootSpaceToLocalSpacePose(const Skeleton& skeleton, std::span<JointPose> pose) {
    if (std::ssize(pose) != skeleton.GetJointCount()) {
        return;
    }
    const std::vector<int>& parents = skeleton.GetParentIndices();
    const std::vector<int>& order = skeleton.GetHierarchicalUpdateOrder();
    for (std::size_t i = order.size(); i-- > 0;) {
        const int joint = order[i];
        const int parent = parents[joint];
        if (parent != -1) {
            pose[joint] = ExpressInParent(pose[parent], pose[joint]);
        }
    }
}

void ConvertLocalSpaceToRootSpacePose(const Skeleton& skeleton, std::span<JointPose> pose, bool resetScale) {
    if (std::ssize(pose) != skeleton.GetJointCount()) {
        return;
    }
    const std::vector<int>& parents = skeleton.GetParentIndices();
    for (const int joint : skeleton.GetHierarchicalUpdateOrder()) {
        const int parent = parents[joint];
        if (parent != -1) {
            pose[joint] = ComposeWithParent(pose[parent], pose[joint]);
        }
    }
    if (resetScale) {
        ResetScale(pose);
    }
}

// A local scale is relative to the parent's, while a bone is as long as all the scales above it make it.
// Parents come first, so that each parent's scale has taken in its own parent's.
void UnscaleLocalSpacePose(const Skeleton& skeleton, std::span<JointPose> pose) {
    if (std::ssize(pose) != skeleton.GetJointCount()) {
        return;
    }
    const std::vector<int>& parents = skeleton.GetParentIndices();
    for (const int joint : skeleton.GetHierarchicalUpdateOrder()) {
        const int parent = parents[joint];
        if (parent != -1) {
            JointPose& local = pose[joint];
            local.position = local.position.Multiply(pose[parent].scale);
            local.scale = local.scale.Multiply(pose[parent].scale);
        }
    }
    ResetScale(pose);
}

void ResetScale(std::span<JointPose> pose) {
    for (JointPose& joint : pose) {
        joint.scale = Vector3f::One;
    }
}

} // namespace Velkori_Utility
