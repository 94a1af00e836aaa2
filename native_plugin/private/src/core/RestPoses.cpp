#include "core/RestPoses.h"

#include "core/InterpolationRatio.h"
#include "core/JointSpaceConversions.h"
#include "core/JointSpaces.h"
#include "core/PoseBlending.h"
#include "core/PoseMeasures.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

// What one bone adds to the extents of a body.
Vector3f ExtentOfBone(float length, float ratio, const Vector3f& minMask, const Vector3f& maxMask) {
    return minMask.Lerp(maxMask, ratio) * length;
}

} // namespace

// Scale comes last: that of the smallest and of the largest pose depends on all three.
RestPoses::RestPoses(const Skeleton& owner, const SkeletonInitializationParams& params)
    : skeleton(&owner),
      min(owner, params.minTPose),
      max(owner, params.maxTPose),
      unscaled(owner, params.unscaledTPose),
      minDimensionMask(GenerateJointDimensionMask(owner, min.GetJointPoses(RootSpace), KnownRootOf(owner))),
      maxDimensionMask(GenerateJointDimensionMask(owner, max.GetJointPoses(RootSpace), KnownRootOf(owner))) {
    min = WithScale(min);
    max = WithScale(max);
}

RestPose RestPoses::WithScale(const RestPose& pose) const {
    if (!unscaled.IsInitialized()) {
        return pose;
    }
    std::vector<JointPose> scaled = pose.GetJointPoses(RootSpace);
    ConvertToScaledRootSpacePose(scaled, pose.GetJointLengths(), pose.GetExtents().range);
    return RestPose(pose, scaled);
}

// -- Ratios ------------------------------------------------------------------------------------------------

float RestPoses::CalculateJointInterpolationRatio(int joint, float length) const {
    // A bone that doesn't grow takes the largest pose, and so does one without rest poses to grow between.
    return HaveSizes() ? CalculateInterpolationRatio(
                             length, min.GetJointLengths()[joint], max.GetJointLengths()[joint])
                       : 1.0F;
}

std::vector<float> RestPoses::CalculateJointInterpolationRatios(std::span<const float> jointLengths) const {
    std::vector<float> ratios;
    ratios.reserve(jointLengths.size());
    for (int joint = 0; joint < std::min<std::ptrdiff_t>(skeleton->GetJointCount(), std::ssize(jointLengths));
         ++joint) {
        ratios.push_back(CalculateJointInterpolationRatio(joint, jointLengths[joint]));
    }
    return ratios;
}

float RestPoses::ConvertHeightToInterpolationDelta(float height, const Vector3f& up) const {
    return CalculateInterpolationRatio(
        height, min.GetExtents().range.Multiply(up).Length(), max.GetExtents().range.Multiply(up).Length());
}

Vector3f RestPoses::CalculateExtentRatio(const Vector3f& extentRange) const {
    return CalculateInterpolationRatio(extentRange, min.GetExtents().range, max.GetExtents().range);
}

// -- Extents -----------------------------------------------------------------------------------------------

Vector3f CalculateExtentRangeInTPose(std::span<const float> ratios, std::span<const float> jointLengths,
    std::span<const Vector3f> minMask, std::span<const Vector3f> maxMask) {
    Vector3f range;
    const std::size_t count = std::min({ratios.size(), jointLengths.size(), minMask.size(), maxMask.size()});
    for (std::size_t i = 0; i < count; ++i) {
        range += ExtentOfBone(jointLengths[i], ratios[i], minMask[i], maxMask[i]);
    }
    return range;
}

Vector3f RestPoses::EstimateExtentRange(std::span<const float> jointLengths) const {
    return EstimateExtentRange(jointLengths, minDimensionMask, maxDimensionMask);
}

Vector3f RestPoses::EstimateExtentRange(std::span<const float> jointLengths,
    std::span<const Vector3f> minMask, std::span<const Vector3f> maxMask) const {
    Vector3f range;
    for (int joint = 0; joint < std::min<std::ptrdiff_t>(skeleton->GetJointCount(), std::ssize(jointLengths));
         ++joint) {
        const float ratio = CalculateJointInterpolationRatio(joint, jointLengths[joint]);
        range += ExtentOfBone(jointLengths[joint], ratio, minMask[joint], maxMask[joint]);
    }
    return range;
}

// -- Rest poses in between ---------------------------------------------------------------------------------

std::vector<JointPose> RestPoses::CalculateLocalSpaceTPose(
    std::span<const float> ratios, const Vector3f& extentRange, int wholeBodyJoint) const {
    const int jointCount = skeleton->GetJointCount();
    if (!HaveSizes() || std::ssize(ratios) < jointCount) {
        return {};
    }
    const int root = skeleton->GetJointIndex(velkori_KnownJointType_Root);
    const Vector3f axisRatio = CalculateExtentRatio(extentRange);
    std::vector<JointPose> pose;
    pose.reserve(jointCount);
    for (int joint = 0; joint < jointCount; ++joint) {
        const JointPose& smallest = min.GetJointPoses(LocalSpace)[joint];
        const JointPose& largest = max.GetJointPoses(LocalSpace)[joint];
        const bool carriesBody = joint == wholeBodyJoint || joint == root || skeleton->IsRootJoint(joint);
        // The joints that carry the whole body follow its extents; every other bone its own length.
        const Vector3f position = carriesBody ? LerpPerAxis(smallest.position, largest.position, axisRatio)
                                              : smallest.position.Lerp(largest.position, ratios[joint]);
        const float turn =
            carriesBody ? CalculateJointInterpolationRatio(joint, position.Length()) : ratios[joint];
        pose.emplace_back(smallest.orientation.Slerp(largest.orientation, turn), position);
    }
    return pose;
}

std::vector<JointPose> RestPoses::CalculateRootSpaceTPose(std::span<const float> jointLengths) const {
    const int hips = skeleton->GetJointIndex(velkori_KnownJointType_Hips);
    if (hips == -1) {
        return {};
    }
    std::vector<JointPose> pose = CalculateLocalSpaceTPose(
        CalculateJointInterpolationRatios(jointLengths), EstimateExtentRange(jointLengths), hips);
    ConvertLocalSpaceToRootSpacePose(*skeleton, pose, false);
    return pose;
}

std::vector<JointPose> RestPoses::CalculateRootSpaceTPose(
    std::span<const JointPose> rootSpacePose, bool useEstimatedExtents) const {
    const int hips = skeleton->GetJointIndex(velkori_KnownJointType_Hips);
    if ((useEstimatedExtents && hips == -1) || !HaveSizes()) {
        return {};
    }
    const std::vector<float> lengths = MeasureJointLengths(*skeleton, rootSpacePose);
    const Vector3f extentRange =
        useEstimatedExtents ? EstimateExtentRange(lengths) : MeasureExtents(*skeleton, rootSpacePose).range;
    std::vector<JointPose> pose = CalculateLocalSpaceTPose(
        CalculateJointInterpolationRatios(lengths), extentRange, useEstimatedExtents ? hips : -1);
    ConvertLocalSpaceToRootSpacePose(*skeleton, pose, false);
    return pose;
}

void RestPoses::GetRootSpaceTPoseFromRatio(const Vector3f& ratio, std::vector<JointPose>& out_pose) const {
    LerpRestPosesPerAxis(min, max, ratio, out_pose);
}

// -- Scale -------------------------------------------------------------------------------------------------

Vector3f RestPoses::GetJointPositionFromRatio(const Vector3f& ratio, int joint) const {
    return LerpPerAxis(
        min.GetJointPoses(RootSpace)[joint].position, max.GetJointPoses(RootSpace)[joint].position, ratio);
}

float RestPoses::MeasureScaledBone(
    int joint, int child, std::span<const float> jointLengths, const Vector3f& extentRange) const {
    if (child != skeleton->GetJointIndex(velkori_KnownJointType_Hips) || !HaveSizes()) {
        return jointLengths[child];
    }
    // The hips carry the body: how far they lie from their parent follows the extents.
    const Vector3f ratio = CalculateExtentRatio(extentRange);
    return (GetJointPositionFromRatio(ratio, child) - GetJointPositionFromRatio(ratio, joint)).Length();
}

void RestPoses::ConvertToScaledRootSpacePose(
    std::span<JointPose> pose, std::span<const float> jointLengths, const Vector3f& extentRange) const {
    ResetScale(pose);
    const int jointCount = skeleton->GetJointCount();
    if (!unscaled.IsInitialized() || std::ssize(pose) != jointCount ||
        std::ssize(jointLengths) != jointCount) {
        return;
    }
    const std::vector<float>& unscaledLengths = unscaled.GetJointLengths();
    for (const int joint : skeleton->GetHierarchicalUpdateOrder()) {
        const std::vector<int>& children = skeleton->GetChildJointIndexArray(joint);
        if (children.empty()) {
            const int parent = skeleton->GetParentJointIndex(joint);
            pose[joint].scale = parent == -1 ? Vector3f::One : pose[parent].scale;
            continue;
        }
        float sum = 0.0F;
        for (const int child : children) {
            const float unscaledLength = unscaledLengths[child];
            sum += unscaledLength >= MinNormal
                       ? MeasureScaledBone(joint, child, jointLengths, extentRange) / unscaledLength
                       : 0.0F;
        }
        const float scale = sum / static_cast<float>(children.size());
        pose[joint].scale = {scale, scale, scale};
    }
}

} // namespace Velkori_Utility
