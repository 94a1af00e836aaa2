#include "retargeting/OrientationFixup.h"

#include "core/JointSpaceConversions.h"

namespace Velkori_Utility {

OrientationFixup::OrientationFixup(const Skeleton& owner)
    : skeleton(&owner),
      fixedJoints(0, owner.GetJointCount(), FastRangedIntegralSet<int>::EmptyInitialValues) {}

int OrientationFixup::FindSingleChild(int joint, const FastRangedIntegralSet<int>& excludedJoints) const {
    const std::vector<int>& children = skeleton->GetChildJointIndexArray(joint);
    if (children.size() <= 1) {
        return children.empty() ? -1 : children.front();
    }
    // Of several children those count that lead on and aren't excluded.
    int candidate = -1;
    for (const int child : children) {
        if (excludedJoints.contains(child) || skeleton->GetChildJointIndexArray(child).empty()) {
            continue;
        }
        if (candidate != -1) {
            return -1;
        }
        candidate = child;
    }
    return candidate;
}

void OrientationFixup::Apply(std::span<const JointPose> restLocalPose,
    const FastRangedIntegralSet<int>& excludedJoints, std::vector<JointPose>& pose) {
    localPose = pose;
    ResetScale(localPose);
    ConvertRootSpaceToLocalSpacePose(*skeleton, localPose);
    fixedJoints.Clear();
    for (const int joint : skeleton->GetHierarchicalUpdateOrder()) {
        const int parent = skeleton->GetParentJointIndex(joint);
        if (excludedJoints.contains(joint)) {
            // Follows a corrected parent.
            if (fixedJoints.contains(parent)) {
                pose[joint] = pose[parent].ApplyWithoutScale(localPose[joint]);
                fixedJoints.insertInternal(joint);
            }
            continue;
        }
        const int child = FindSingleChild(joint, excludedJoints);
        if (child == -1) {
            continue;
        }
        const JointPose inverse = pose[joint].Inverted();
        const Vector3f localChild = inverse.orientation.Rotate(pose[child].position) + inverse.position;
        const Quaternionf correction(restLocalPose[child].position, localChild);
        Quaternionf& orientation = pose[joint].orientation;
        if (parent != -1) {
            const Quaternionf& parentOrientation = pose[parent].orientation;
            orientation =
                (parentOrientation * (parentOrientation.Inverse() * orientation * correction)).Normalize();
        } else {
            orientation = (orientation * correction).Normalize();
        }
        fixedJoints.insertInternal(joint);
    }
}

} // namespace Velkori_Utility
