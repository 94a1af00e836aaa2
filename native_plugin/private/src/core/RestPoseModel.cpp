// The sizes that a body can take between the skeleton's minimum and maximum rest pose, and the conversions
// between root and local space.

#include "core/InterpolationRatio.h"
#include "core/JointComposition.h"
#include "core/JointSpaces.h"
#include "core/SkeletonData.h"
#include "shared/ProcessSpace.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

// What one bone adds to the extents of a body.
Vector3f ExtentOfBone(float length, float ratio, const Vector3f& minMask, const Vector3f& maxMask) {
    return minMask.Lerp(maxMask, ratio) * length;
}

} // namespace

void SkeletonData::MeasureJointLengths(
    std::span<const JointPose> rootSpacePose, std::vector<float>& out_lengths) const {
    out_lengths.clear();
    for (int joint = 0; joint < std::min(jointCount, static_cast<int>(rootSpacePose.size())); ++joint) {
        const int parent = parentIndices[joint];
        out_lengths.push_back(
            parent == -1 ? 0.0F : (rootSpacePose[joint].position - rootSpacePose[parent].position).Length());
    }
}

std::vector<float> SkeletonData::MeasureJointLengths(std::span<const JointPose> rootSpacePose) const {
    std::vector<float> lengths;
    MeasureJointLengths(rootSpacePose, lengths);
    return lengths;
}

float SkeletonData::CalculateJointInterpolationRatio(int joint, float length) const {
    const std::vector<float>& minLengths = GetTPoseData(velkori_SkeletonTPoseType_Min).GetJointLengths();
    const std::vector<float>& maxLengths = GetTPoseData(velkori_SkeletonTPoseType_Max).GetJointLengths();
    // A bone that doesn't grow takes the maximum pose, and so does one without rest poses to grow between.
    return minLengths.empty() || maxLengths.empty()
               ? 1.0F
               : CalculateInterpolationRatio(length, minLengths[joint], maxLengths[joint]);
}

std::vector<float> SkeletonData::CalculateJointInterpolationRatios(
    std::span<const float> jointLengths) const {
    std::vector<float> ratios;
    ratios.reserve(jointLengths.size());
    for (int joint = 0; joint < std::min(jointCount, static_cast<int>(jointLengths.size())); ++joint) {
        ratios.push_back(CalculateJointInterpolationRatio(joint, jointLengths[joint]));
    }
    return ratios;
}

float SkeletonData::ConvertHeightToInterpolationDelta(float height) const {
    const PoseData& minPose = GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& maxPose = GetTPoseData(velkori_SkeletonTPoseType_Max);
    const Vector3f up(ProcessSpace().up);
    return CalculateInterpolationRatio(height, minPose.GetExtents().range.Multiply(up).Length(),
        maxPose.GetExtents().range.Multiply(up).Length());
}

Vector3f SkeletonData::CalculateExtentRangeInTPose(std::span<const float> ratios,
    std::span<const float> jointLengths, std::span<const Vector3f> minMask,
    std::span<const Vector3f> maxMask) const {
    Vector3f range;
    const std::size_t count = std::min({ratios.size(), jointLengths.size(), minMask.size(), maxMask.size()});
    for (std::size_t i = 0; i < count; ++i) {
        range += ExtentOfBone(jointLengths[i], ratios[i], minMask[i], maxMask[i]);
    }
    return range;
}

Vector3f SkeletonData::EstimateExtentRange(std::span<const float> jointLengths) const {
    return EstimateExtentRange(jointLengths, GetTPoseDimensionMask(velkori_SkeletonType_Source),
        GetTPoseDimensionMask(velkori_SkeletonType_Target));
}

Vector3f SkeletonData::EstimateExtentRange(std::span<const float> jointLengths,
    std::span<const Vector3f> minMask, std::span<const Vector3f> maxMask) const {
    Vector3f range;
    for (int joint = 0; joint < std::min(jointCount, static_cast<int>(jointLengths.size())); ++joint) {
        const float ratio = CalculateJointInterpolationRatio(joint, jointLengths[joint]);
        range += ExtentOfBone(jointLengths[joint], ratio, minMask[joint], maxMask[joint]);
    }
    return range;
}

Vector3f SkeletonData::CalculateExtentRatio(const Vector3f& extentRange) const {
    return CalculateInterpolationRatio(extentRange,
        GetTPoseData(velkori_SkeletonTPoseType_Min).GetExtents().range,
        GetTPoseData(velkori_SkeletonTPoseType_Max).GetExtents().range);
}

std::vector<JointPose> SkeletonData::CalculateLocalSpaceTPose(
    std::span<const float> ratios, const Vector3f& extentRange, int wholeBodyJoint) const {
    const PoseData& minPose = GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& maxPose = GetTPoseData(velkori_SkeletonTPoseType_Max);
    if (IsEmpty() || !minPose.IsInitialized() || !maxPose.IsInitialized() ||
        std::ssize(ratios) < GetJointCount()) {
        return {};
    }
    const int root = GetJointIndex(velkori_KnownJointType_Root);
    const Vector3f axisRatio = CalculateExtentRatio(extentRange);
    const std::vector<JointPose>& minJoints = minPose.GetJointPoses(LocalSpace);
    const std::vector<JointPose>& maxJoints = maxPose.GetJointPoses(LocalSpace);
    std::vector<JointPose> pose;
    pose.reserve(minJoints.size());
    for (int joint = 0; joint < jointCount; ++joint) {
        const JointPose& min = minJoints[joint];
        const JointPose& max = maxJoints[joint];
        const bool carriesBody = joint == wholeBodyJoint || joint == root || IsRootJoint(joint);
        // The joints that carry the whole body follow its extents; every other bone its own length.
        const Vector3f position = carriesBody ? LerpPerAxis(min.position, max.position, axisRatio)
                                              : min.position.Lerp(max.position, ratios[joint]);
        const float turn =
            carriesBody ? CalculateJointInterpolationRatio(joint, position.Length()) : ratios[joint];
        pose.emplace_back(min.orientation.Slerp(max.orientation, turn), position);
    }
    return pose;
}

std::vector<JointPose> SkeletonData::CalculateLocalSpaceTPose(std::span<const float> jointLengths) const {
    const int hips = GetJointIndex(velkori_KnownJointType_Hips);
    if (hips == -1 || IsEmpty()) {
        return {};
    }
    return CalculateLocalSpaceTPose(
        CalculateJointInterpolationRatios(jointLengths), EstimateExtentRange(jointLengths), hips);
}

std::vector<JointPose> SkeletonData::CalculateRootSpaceTPose(std::span<const float> jointLengths) const {
    std::vector<JointPose> pose = CalculateLocalSpaceTPose(jointLengths);
    ConvertLocalSpaceToRootSpacePose(pose, false);
    return pose;
}

std::vector<JointPose> SkeletonData::CalculateRootSpaceTPose(
    std::span<const JointPose> rootSpacePose, bool useEstimatedExtents) const {
    const int hips = GetJointIndex(velkori_KnownJointType_Hips);
    if ((useEstimatedExtents && hips == -1) || IsEmpty() ||
        !GetTPoseData(velkori_SkeletonTPoseType_Min).IsInitialized() ||
        !GetTPoseData(velkori_SkeletonTPoseType_Max).IsInitialized()) {
        return {};
    }
    const std::vector<float> lengths = MeasureJointLengths(rootSpacePose);
    const int root = GetJointIndex(velkori_KnownJointType_Root);
    const Vector3f extentRange =
        useEstimatedExtents
            ? EstimateExtentRange(lengths)
            : PoseExtents(rootSpacePose, FastRangedIntegralSet<int>(root, root, {root})).range;
    std::vector<JointPose> pose = CalculateLocalSpaceTPose(
        CalculateJointInterpolationRatios(lengths), extentRange, useEstimatedExtents ? hips : -1);
    ConvertLocalSpaceToRootSpacePose(pose, false);
    return pose;
}

void SkeletonData::GetRootSpaceTPoseFromRatio(const Vector3f& ratio, std::vector<JointPose>& out_pose) const {
    GetTPoseData(velkori_SkeletonTPoseType_Min)
        .LerpRootSpacePose(GetTPoseData(velkori_SkeletonTPoseType_Max), ratio, out_pose);
}

Vector3f SourceSkeletonData::GetRootSpaceTPoseJointPositionFromRatio(const Vector3f& ratio, int joint) const {
    if (joint < 0 || joint >= GetJointCount() || !minTPose.IsInitialized() || !maxTPose.IsInitialized()) {
        return Vector3f::Zero;
    }
    return LerpPerAxis(minTPose.GetJointPoses(RootSpace)[joint].position,
        maxTPose.GetJointPoses(RootSpace)[joint].position, ratio);
}

float SkeletonData::MeasureScaledBone(
    int joint, int child, std::span<const float> jointLengths, const Vector3f& extentRange) const {
    const int hips = isFullyConstructed ? GetJointIndex(velkori_KnownJointType_Hips) : -1;
    const bool hasSizes = GetTPoseData(velkori_SkeletonTPoseType_Min).IsInitialized() &&
                          GetTPoseData(velkori_SkeletonTPoseType_Max).IsInitialized();
    if (child != hips || !hasSizes) {
        return jointLengths[child];
    }
    // The hips carry the body: how far they lie from their parent follows the extents.
    const Vector3f ratio = CalculateExtentRatio(extentRange);
    return (GetRootSpaceTPoseJointPositionFromRatio(ratio, child) -
            GetRootSpaceTPoseJointPositionFromRatio(ratio, joint))
        .Length();
}

// Writes into each joint's scale the uniform factor by which what hangs on it exceeds the unscaled rest pose.
void SkeletonData::ConvertToScaledRootSpacePose(
    std::vector<JointPose>& pose, std::span<const float> jointLengths, const Vector3f& extentRange) const {
    for (JointPose& joint : pose) {
        joint.scale = Vector3f::One;
    }
    if (!unscaledTPose.IsInitialized() || std::ssize(pose) != jointCount ||
        std::ssize(jointLengths) != jointCount) {
        return;
    }
    const std::vector<float>& unscaledLengths = unscaledTPose.GetJointLengths();
    for (const int joint : hierarchicalUpdateOrder) {
        const std::vector<int>& children = childIndices[joint];
        if (children.empty()) {
            const int parent = parentIndices[joint];
            pose[joint].scale = parent == -1 ? Vector3f::One : pose[parent].scale;
            continue;
        }
        float sum = 0.0F;
        for (const int child : children) {
            const float unscaled = unscaledLengths[child];
            sum += unscaled >= MinNormal
                       ? MeasureScaledBone(joint, child, jointLengths, extentRange) / unscaled
                       : 0.0F;
        }
        const float scale = sum / static_cast<float>(children.size());
        pose[joint].scale = {scale, scale, scale};
    }
}

// Children come first, so that every parent is still in root space when it is needed.
void SkeletonData::ConvertRootSpaceToLocalSpacePose(std::vector<JointPose>& pose) const {
    if (std::ssize(pose) != jointCount) {
        return;
    }
    for (std::size_t i = hierarchicalUpdateOrder.size(); i-- > 0;) {
        const int joint = hierarchicalUpdateOrder[i];
        const int parent = parentIndices[joint];
        if (parent != -1) {
            pose[joint] = ExpressInParent(pose[parent], pose[joint]);
        }
    }
}

void SkeletonData::ConvertLocalSpaceToRootSpacePose(std::vector<JointPose>& pose, bool resetScale) const {
    if (std::ssize(pose) != jointCount) {
        return;
    }
    for (const int joint : hierarchicalUpdateOrder) {
        const int parent = parentIndices[joint];
        if (parent != -1) {
            pose[joint] = ComposeWithParent(pose[parent], pose[joint]);
        }
    }
    if (resetScale) {
        for (JointPose& joint : pose) {
            joint.scale = Vector3f::One;
        }
    }
}

} // namespace Velkori_Utility
