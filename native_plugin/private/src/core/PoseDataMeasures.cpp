// What is measured on a pose: bone lengths, extents, directions, and the bones that span the body.

#include "core/JointSpaces.h"
#include "core/PoseData.h"
#include "core/SkeletonData.h"

#include <array>

namespace Velkori_Utility {

namespace {

FastRangedIntegralSet<int> KnownRootOf(const SkeletonData& skeleton) {
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    return FastRangedIntegralSet<int>(root, root, {root});
}

// The joints at both ends of the body along one axis; of equal ones the first.
struct AxisExtremes {
    int smallest = -1;
    int largest = -1;
};

AxisExtremes FindExtremes(
    std::span<const JointPose> pose, const FastRangedIntegralSet<int>& excludedJoints, int axis) {
    AxisExtremes extremes;
    for (int joint = 0; joint < std::ssize(pose); ++joint) {
        if (excludedJoints.contains(joint)) {
            continue;
        }
        const float position = pose[joint].position[axis];
        if (extremes.smallest == -1 || position < pose[extremes.smallest].position[axis]) {
            extremes.smallest = joint;
        }
        if (extremes.largest == -1 || position > pose[extremes.largest].position[axis]) {
            extremes.largest = joint;
        }
    }
    return extremes;
}

} // namespace

// From local space a root's length is its distance from the origin, from root space it is 0.
void PoseData::InitializeJointLengths() const {
    if ((validFlags & JointLengthsFlag) != 0 || !IsInitialized() || skeleton->IsEmpty()) {
        return;
    }
    if ((validFlags & 1U << LocalSpace) != 0) {
        CalculateJointLengthsFromUnscaledLocalSpacePoseData(GetJointPoses(LocalSpace), jointLengths);
    } else {
        skeleton->MeasureJointLengths(GetJointPoses(RootSpace), jointLengths);
    }
    validFlags |= JointLengthsFlag;
}

void PoseData::InitializeExtents() const {
    if ((validFlags & ExtentsFlag) != 0 || !IsInitialized() || skeleton->IsEmpty()) {
        return;
    }
    extents = PoseExtents(GetJointPoses(RootSpace), KnownRootOf(*skeleton));
    validFlags |= ExtentsFlag;
}

void PoseData::InitializeEstimatedPoseExtents() const {
    if ((validFlags & EstimatedExtentsFlag) != 0 || !IsInitialized() || skeleton->IsEmpty()) {
        return;
    }
    estimatedExtentRange = skeleton->IsFullyConstructed() ? skeleton->EstimateExtentRange(GetJointLengths())
                                                          : GetExtents().range;
    validFlags |= EstimatedExtentsFlag;
}

// Each joint points at the mean of its children, and a leaf on from its parent.
void PoseData::InitializeRotationalDirectionVectors() const {
    if ((validFlags & DirectionVectorsFlag) != 0 || !IsInitialized()) {
        return;
    }
    const std::vector<JointPose>& pose = GetJointPoses(RootSpace);
    rotationalDirectionVectors.assign(pose.size(), Vector3f::Zero);
    for (int joint = 0; joint < GetJointCount(); ++joint) {
        const std::vector<int>& children = skeleton->GetChildJointIndexArray(joint);
        if (children.empty()) {
            continue;
        }
        Vector3f sum;
        for (const int child : children) {
            const Vector3f bone = pose[child].position - pose[joint].position;
            if (skeleton->GetChildJointIndexArray(child).empty()) {
                rotationalDirectionVectors[child] = bone;
            }
            sum += bone;
        }
        rotationalDirectionVectors[joint] = sum / static_cast<float>(children.size());
    }
    validFlags |= DirectionVectorsFlag;
}

const std::vector<float>& PoseData::GetJointLengths() const {
    InitializeJointLengths();
    return jointLengths;
}

const PoseExtents& PoseData::GetExtents() const {
    InitializeExtents();
    return extents;
}

const Vector3f& PoseData::GetEstimatedExtentRange() const {
    InitializeEstimatedPoseExtents();
    return estimatedExtentRange;
}

const std::vector<Vector3f>& PoseData::GetRotationalDirectionVectors() const {
    InitializeRotationalDirectionVectors();
    return rotationalDirectionVectors;
}

std::vector<int> PoseData::GetConnectedPathBetweenJoints(int start, int end) const {
    return skeleton->GetConnectedPathBetweenJoints(start, end);
}

float PoseData::GetLengthBetweenJoints(int start, int end) const {
    if (!IsInitialized()) {
        return 0.0F;
    }
    const std::vector<float>& lengths = GetJointLengths();
    float length = 0.0F;
    for (const int joint : GetConnectedPathBetweenJoints(start, end)) {
        length += lengths[joint];
    }
    return length;
}

void PoseData::CalculateJointLengthsFromUnscaledLocalSpacePoseData(
    std::span<const JointPose> localSpacePose, std::vector<float>& out_lengths) {
    out_lengths.clear();
    for (const JointPose& joint : localSpacePose) {
        out_lengths.push_back(joint.position.Length());
    }
}

std::vector<Vector3f> PoseData::GenerateJointDimensionMask(
    const FastRangedIntegralSet<int>& excludedJoints) const {
    constexpr std::array Axes = {
        Vector3f::Identity_right_LH, Vector3f::Identity_up_LH, Vector3f::Identity_forward_LH};
    std::vector<Vector3f> mask(GetJointCount());
    if (!IsInitialized()) {
        return mask;
    }
    const std::vector<JointPose>& pose = GetJointPoses(RootSpace);
    for (int axis = 0; axis < 3; ++axis) {
        const AxisExtremes extremes = FindExtremes(pose, excludedJoints, axis);
        CalculateJointDimensionMaskForAxis(pose, extremes.largest, extremes.smallest, Axes[axis], mask);
    }
    return mask;
}

// The bones on the way from the largest to the smallest joint add up to the extent: a bone that the way
// climbs counts as it points, one that it descends against its direction. What folds back on the way counts
// negative.
void PoseData::CalculateJointDimensionMaskForAxis(std::span<const JointPose> rootSpacePose, int start,
    int end, const Vector3f& axis, std::vector<Vector3f>& mask) const {
    const std::vector<int> path = skeleton->GetConnectedPathBetweenJoints(start, end);
    for (std::size_t i = 0; i < path.size(); ++i) {
        const int joint = path[i];
        const int parent = skeleton->GetParentJointIndex(joint);
        // The way climbs to the parent if that is where it goes on or, at its top, turns down again.
        const bool climbs = i + 1 == path.size() ? parent == end
                                                 : path[i + 1] == parent ||
                                                       skeleton->GetParentJointIndex(path[i + 1]) == parent;
        const Vector3f bone = rootSpacePose[joint].position - rootSpacePose[parent].position;
        const Vector3f direction = (climbs ? bone : -bone).Normalize();
        mask[joint] += axis * direction.Dot(axis);
    }
}

} // namespace Velkori_Utility
