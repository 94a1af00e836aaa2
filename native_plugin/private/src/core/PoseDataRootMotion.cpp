// A frame's root, rewritten from its hips.

#include "core/JointSpaces.h"
#include "core/PoseData.h"
#include "core/SkeletonData.h"
#include "shared/ProcessSpace.h"

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
    const Quaternionf& currentHips, const Quaternionf& referenceHips, const velkori_CoordinateSpace_& space) {
    const Vector3f forward(space.forward);
    const Vector3f right(space.right);
    const auto turned = [&](const Vector3f& axis) {
        return currentHips.Rotate(referenceHips.Inverse().Rotate(axis));
    };
    Vector3f probe = forward;
    Vector3f direction = turned(probe);
    if (std::abs(direction.Dot(probe)) > TooParallel) {
        probe = right;
        direction = turned(probe);
    }
    const Vector3f flattened = direction.Multiply(forward.Abs() + right.Abs()).Normalize();
    return Quaternionf(probe, flattened);
}

} // namespace

void PoseData::InitializeAndApplyRootMotionBehavior(
    const PoseData& pose, const PoseData& reference, velkori_RetargetingRootMotionBehavior behavior) {
    const int root = skeleton->GetJointIndex(velkori_KnownJointType_Root);
    const int hips = skeleton->GetJointIndex(velkori_KnownJointType_Hips);
    const bool rewritesRoot = behavior == velkori_RetargetingRootMotionBehavior_RootFromHips ||
                              behavior == velkori_RetargetingRootMotionBehavior_RootFromReference;
    if (!rewritesRoot || root == -1 || hips == -1 || !pose.IsInitialized() || !reference.IsInitialized()) {
        Initialize(pose);
        return;
    }
    const std::vector<JointPose>& referencePose = reference.GetJointPoses(RootSpace);
    std::vector<JointPose>& rootSpacePose = jointPoses[RootSpace];
    rootSpacePose = pose.GetJointPoses(RootSpace);
    validFlags = RootSpaceFlag;
    if (behavior == velkori_RetargetingRootMotionBehavior_RootFromHips) {
        const velkori_CoordinateSpace_& space = ProcessSpace();
        const Vector3f up(space.up);
        JointPose& rootPose = rootSpacePose[root];
        const JointPose& hipsPose = rootSpacePose[hips];
        const float rise = CalculateRootRise(hipsPose.position - rootPose.position,
            referencePose[hips].position - referencePose[root].position, up);
        rootPose.position += up * rise;
        rootPose.orientation = CalculateFacing(hipsPose.orientation, referencePose[hips].orientation, space) *
                               referencePose[root].orientation;
        return;
    }
    // The local list that an earlier reader of this object had filled goes before the frame's own, stale as
    // it may be. The frame's own is made in place: a list kept in `pose` would come back as such a stale one
    // with a later copy of that object.
    const std::vector<JointPose>& localSpacePose = jointPoses[LocalSpace];
    if (std::ssize(localSpacePose) == GetJointCount()) {
        rootSpacePose = localSpacePose;
    } else {
        skeleton->ConvertRootSpaceToLocalSpacePose(rootSpacePose);
    }
    rootSpacePose[root] = referencePose[root];
    skeleton->ConvertLocalSpaceToRootSpacePose(rootSpacePose, true);
}

} // namespace Velkori_Utility
