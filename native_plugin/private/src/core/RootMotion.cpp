#include "core/RootMotion.h"

#include "core/JointSpaceConversions.h"

#include <cmath>

namespace Velkori_Utility {

namespace {

// The facing is read from the forward axis, unless the hips leave that within this much of where it was: the
// cosine of the angle between the two.
constexpr float TooParallel = 0.99F;

// How far the root moves along the up axis: with hips below it down to them, and with hips higher above it
// than in the reference up by the difference.
float CalculateRootRise(
    const Vector3f& currentHipsFromRoot, const Vector3f& referenceHipsFromRoot, const Vector3f& up) {
    const float unsignedHeight = currentHipsFromRoot.Multiply(up).Length();
    const float height = currentHipsFromRoot.Dot(up) < 0.0F ? -unsignedHeight : unsignedHeight;
    const float referenceHeight = referenceHipsFromRoot.Multiply(up).Length();
    if (height < 0.0F) {
        return height;
    }
    return height - referenceHeight > 0.0F ? height - referenceHeight : 0.0F;
}

// The turn about the up axis that takes the reference's hips to the current ones.
Quaternionf CalculateFacing(
    const Quaternionf& currentHips, const Quaternionf& referenceHips, const CoordinateSpace& space) {
    const auto turned = [&](const Vector3f& axis) {
        return currentHips.Rotate(referenceHips.Inverse().Rotate(axis));
    };
    Vector3f probe = space.forward;
    Vector3f direction = turned(probe);
    if (std::abs(direction.Dot(probe)) > TooParallel) {
        probe = space.right;
        direction = turned(probe);
    }
    const Vector3f flattened = direction.Multiply(space.forward.Abs() + space.right.Abs()).Normalize();
    return Quaternionf(probe, flattened);
}

void MoveRootToHips(const JointPose& hips, const JointPose& referenceHips, const JointPose& referenceRoot,
    const CoordinateSpace& space, JointPose& root) {
    const float rise = CalculateRootRise(
        hips.position - root.position, referenceHips.position - referenceRoot.position, space.up);
    root.position += space.up * rise;
    root.orientation =
        CalculateFacing(hips.orientation, referenceHips.orientation, space) * referenceRoot.orientation;
}

} // namespace

void ApplyRootMotion(const Skeleton& skeleton, velkori_RetargetingRootMotionBehavior behavior,
    std::span<const JointPose> reference, const CoordinateSpace& space,
    std::vector<JointPose>& previousLocalPose, std::vector<JointPose>& pose) {
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    const int hips = skeleton.GetJointIndex(velkori_KnownJointType_Hips);
    const bool canRewrite = root != -1 && hips != -1 && std::ssize(pose) == skeleton.GetJointCount() &&
                            reference.size() == pose.size();
    if (canRewrite && behavior == velkori_RetargetingRootMotionBehavior_RootFromHips) {
        MoveRootToHips(pose[hips], reference[hips], reference[root], space, pose[root]);
    } else if (canRewrite && behavior == velkori_RetargetingRootMotionBehavior_RootFromReference) {
        if (previousLocalPose.size() == pose.size()) {
            pose = previousLocalPose;
        } else {
            ConvertRootSpaceToLocalSpacePose(skeleton, pose);
        }
        pose[root] = reference[root];
        ConvertLocalSpaceToRootSpacePose(skeleton, pose, true);
    } else {
        previousLocalPose.clear();
    }
}

} // namespace Velkori_Utility
