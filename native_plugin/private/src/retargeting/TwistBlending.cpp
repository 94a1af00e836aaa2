#include "retargeting/TwistBlending.h"

#include <vector>

namespace Velkori_Utility {

namespace {

// Below this a bone has no direction to speak of, in the unit of positions.
constexpr float MinBoneLength = 1e-05F;

Vector3f MeanPosition(std::span<const int> joints, std::span<const JointPose> pose) {
    Vector3f sum;
    for (const int joint : joints) {
        sum += pose[joint].position;
    }
    return sum / static_cast<float>(joints.size());
}

// The mapped orientation, turned by the shortest arc that brings the bone back to where it is.
Quaternionf KeepBoneDirection(const Vector3f& bone, const Quaternionf& current, const Quaternionf& mapped) {
    const Vector3f inMapped = mapped.Inverse().Rotate(bone).Normalize();
    const Vector3f inCurrent = current.Inverse().Rotate(bone).Normalize();
    return mapped * Quaternionf(inCurrent, inMapped);
}

Vector3f ProjectOntoBone(const Vector3f& offset, const Vector3f& bone, float length) {
    if (!(bone.LengthSquared() > 0.0F)) {
        return Vector3f::Zero;
    }
    const float distance = length < MinNormal ? 0.0F : bone.Dot(offset) / length;
    return bone.Normalize() * distance;
}

} // namespace

JointPose ApplyTwistBlendToJoint(velkori_JointMappingBehaviorType behavior, int joint,
    const Skeleton& skeleton, std::span<const JointPose> pose, const JointPose& current,
    const JointPose& mapped) {
    const std::vector<int>& children = skeleton.GetChildJointIndexArray(joint);
    Vector3f anchor;
    Vector3f bone;
    if (behavior == velkori_JointMappingBehaviorType_ChildAlignedTwist && !children.empty()) {
        anchor = current.position;
        bone = MeanPosition(children, pose) - anchor;
    } else {
        const int parent = skeleton.GetParentJointIndex(joint);
        if (parent == -1) {
            return mapped;
        }
        anchor = pose[parent].position;
        bone = current.position - anchor;
    }

    JointPose result = current;
    const float length = bone.Length();
    if (length > MinBoneLength) {
        result.orientation = KeepBoneDirection(bone, current.orientation, mapped.orientation);
    }
    const Vector3f offset = mapped.position - anchor;
    if (length < MinBoneLength || offset.Length() < MinBoneLength) {
        result.position = mapped.position;
    } else if (current.position != mapped.position) {
        result.position = anchor + ProjectOntoBone(offset, bone, length);
    }
    return result;
}

} // namespace Velkori_Utility
