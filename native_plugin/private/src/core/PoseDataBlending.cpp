// Poses made from other poses: blends, scaled ones, and ones with the bone lengths of another.

#include "core/InterpolationRatio.h"
#include "core/JointSpaces.h"
#include "core/PoseData.h"
#include "core/SkeletonData.h"
#include "shared/ProcessSpace.h"

namespace Velkori_Utility {

namespace {

float DivideOrZero(float dividend, float divisor) {
    return divisor < MinNormal ? 0.0F : dividend / divisor;
}

// An empty list gives a pose that holds nothing.
PoseData MakeRootSpacePose(const SkeletonData& skeleton, std::span<const JointPose> joints) {
    return joints.empty() ? PoseData(skeleton) : PoseData(skeleton, RootSpace, joints, JointPose::Identity);
}

} // namespace

PoseData PoseData::Lerp(const PoseData& other, float t) const {
    if (!IsInitialized() || !other.IsInitialized()) {
        return PoseData(*skeleton);
    }
    std::vector<JointPose> blended = GetJointPoses(RootSpace);
    const std::vector<JointPose>& theirs = other.GetJointPoses(RootSpace);
    for (std::size_t i = 0; i < blended.size(); ++i) {
        blended[i].orientation = blended[i].orientation.Slerp(theirs[i].orientation, t);
        blended[i].position = blended[i].position.Lerp(theirs[i].position, t);
    }
    return MakeRootSpacePose(*skeleton, blended);
}

PoseData PoseData::Lerp(const PoseData& other, const Vector3f& t) const {
    std::vector<JointPose> blended;
    LerpRootSpacePose(other, t, blended);
    return MakeRootSpacePose(*skeleton, blended);
}

void PoseData::LerpRootSpacePose(
    const PoseData& other, const Vector3f& t, std::vector<JointPose>& out_rootSpacePose) const {
    out_rootSpacePose.clear();
    if (!IsInitialized() || !other.IsInitialized()) {
        return;
    }
    const std::vector<JointPose>& mine = GetJointPoses(RootSpace);
    const std::vector<JointPose>& theirs = other.GetJointPoses(RootSpace);
    const std::vector<Vector3f>& myDirections = GetRotationalDirectionVectors();
    const std::vector<Vector3f>& theirDirections = other.GetRotationalDirectionVectors();
    for (std::size_t i = 0; i < mine.size(); ++i) {
        // Each joint turns by as much as its bone does.
        const Vector3f direction = LerpPerAxis(myDirections[i], theirDirections[i], t).Normalize();
        const Quaternionf turn(myDirections[i].Normalize(), direction);
        out_rootSpacePose.emplace_back(
            (turn * mine[i].orientation).Normalize(), LerpPerAxis(mine[i].position, theirs[i].position, t));
    }
}

PoseData PoseData::CalculatePoseAtScale(float scale) const {
    if (scale == 1.0F || !IsInitialized()) {
        return *this;
    }
    std::vector<JointPose> scaled = GetJointPoses(RootSpace);
    for (JointPose& joint : scaled) {
        joint.position = joint.position * scale;
    }
    return MakeRootSpacePose(*skeleton, scaled);
}

PoseData PoseData::CalculatePoseAtHeight(float height) const {
    if (!IsInitialized()) {
        return *this;
    }
    const Vector3f up(ProcessSpace().up);
    return CalculatePoseAtScale(height / GetEstimatedExtentRange().Multiply(up).Length());
}

PoseData PoseData::CalculateAsTPose() const {
    if (!IsInitialized()) {
        return PoseData(*skeleton);
    }
    return MakeRootSpacePose(*skeleton, skeleton->CalculateRootSpaceTPose(GetJointLengths()));
}

PoseData PoseData::MatchPoseScale(const PoseData& poseToScale, const PoseData& reference) {
    if (&poseToScale == &reference || !poseToScale.IsInitialized()) {
        return poseToScale;
    }
    const SkeletonData& skeleton = poseToScale.GetSkeleton();
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    const int hips = skeleton.GetJointIndex(velkori_KnownJointType_Hips);
    if (hips == -1 || !reference.IsInitialized() ||
        reference.GetJointCount() != poseToScale.GetJointCount()) {
        return PoseData(skeleton);
    }
    const Vector3f& theirs = reference.GetEstimatedExtentRange();
    const Vector3f& mine = poseToScale.GetEstimatedExtentRange();
    const Vector3f ratio(
        DivideOrZero(theirs.x, mine.x), DivideOrZero(theirs.y, mine.y), DivideOrZero(theirs.z, mine.z));
    std::vector<JointPose> scaled = poseToScale.GetJointPoses(LocalSpace);
    const std::vector<JointPose>& rootSpacePose = poseToScale.GetJointPoses(RootSpace);
    const std::vector<float>& lengths = reference.GetJointLengths();
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        const int parent = skeleton.GetParentJointIndex(joint);
        Vector3f& position = scaled[joint].position;
        float length = lengths[joint];
        if (parent == -1) {
            length = position.Multiply(ratio).Length();
        } else if (joint == root || joint == hips) {
            // The joints that carry the body follow its extents, which are along the axes of root space.
            length = rootSpacePose[parent].orientation.Rotate(position).Multiply(ratio).Length();
        }
        position = position.Normalize() * length;
        scaled[joint].scale = Vector3f::One;
    }
    return PoseData(skeleton, LocalSpace, scaled, JointPose::Identity);
}

} // namespace Velkori_Utility
