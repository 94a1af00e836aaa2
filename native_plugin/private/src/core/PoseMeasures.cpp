#include "core/PoseMeasures.h"

#include <algorithm>
#include <array>

namespace Velkori_Utility {

namespace {

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

// The bones on the way from the largest to the smallest joint add up to the extent: a bone that the way
// climbs counts as it points, one that it descends against its direction. What folds back on the way counts
// negative.
void AddDimensionMaskForAxis(const Skeleton& skeleton, std::span<const JointPose> pose,
    const AxisExtremes& extremes, const Vector3f& axis, std::vector<Vector3f>& mask) {
    const std::vector<int> path = skeleton.GetConnectedPathBetweenJoints(extremes.largest, extremes.smallest);
    for (std::size_t i = 0; i < path.size(); ++i) {
        const int joint = path[i];
        const int parent = skeleton.GetParentJointIndex(joint);
        // The way climbs to the parent if that is where it goes on or, at its top, turns down again.
        const bool climbs = i + 1 == path.size() ? parent == extremes.smallest
                                                 : path[i + 1] == parent ||
                                                       skeleton.GetParentJointIndex(path[i + 1]) == parent;
        const Vector3f bone = pose[joint].position - pose[parent].position;
        const Vector3f direction = (climbs ? bone : -bone).Normalize();
        mask[joint] += axis * direction.Dot(axis);
    }
}

} // namespace

void MeasureJointLengths(
    const Skeleton& skeleton, std::span<const JointPose> pose, std::vector<float>& out_lengths) {
    const std::vector<int>& parents = skeleton.GetParentIndices();
    out_lengths.clear();
    for (std::size_t joint = 0; joint < std::min(parents.size(), pose.size()); ++joint) {
        const int parent = parents[joint];
        out_lengths.push_back(parent == -1 ? 0.0F : (pose[joint].position - pose[parent].position).Length());
    }
}

std::vector<float> MeasureJointLengths(const Skeleton& skeleton, std::span<const JointPose> pose) {
    std::vector<float> lengths;
    MeasureJointLengths(skeleton, pose, lengths);
    return lengths;
}

void MeasureLocalJointLengths(std::span<const JointPose> localPose, std::vector<float>& out_lengths) {
    out_lengths.clear();
    for (const JointPose& joint : localPose) {
        out_lengths.push_back(joint.position.Length());
    }
}

float SumJointLengths(const Skeleton& skeleton, std::span<const float> lengths, int start, int end) {
    float length = 0.0F;
    if (std::ssize(lengths) == skeleton.GetJointCount()) {
        for (const int joint : skeleton.GetConnectedPathBetweenJoints(start, end)) {
            length += lengths[joint];
        }
    }
    return length;
}

FastRangedIntegralSet<int> KnownRootOf(const Skeleton& skeleton) {
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    return FastRangedIntegralSet<int>(root, root, {root});
}

PoseExtents MeasureExtents(const Skeleton& skeleton, std::span<const JointPose> pose) {
    return PoseExtents(pose, KnownRootOf(skeleton));
}

std::vector<Vector3f> MeasureDirections(const Skeleton& skeleton, std::span<const JointPose> pose) {
    std::vector<Vector3f> directions(pose.size(), Vector3f::Zero);
    for (int joint = 0; joint < std::ssize(pose); ++joint) {
        const std::vector<int>& children = skeleton.GetChildJointIndexArray(joint);
        if (children.empty()) {
            continue;
        }
        Vector3f sum;
        for (const int child : children) {
            const Vector3f bone = pose[child].position - pose[joint].position;
            if (skeleton.GetChildJointIndexArray(child).empty()) {
                directions[child] = bone;
            }
            sum += bone;
        }
        directions[joint] = sum / static_cast<float>(children.size());
    }
    return directions;
}

std::vector<Vector3f> GenerateJointDimensionMask(const Skeleton& skeleton, std::span<const JointPose> pose,
    const FastRangedIntegralSet<int>& excludedJoints) {
    constexpr std::array Axes = {
        Vector3f::Identity_right_LH, Vector3f::Identity_up_LH, Vector3f::Identity_forward_LH};
    std::vector<Vector3f> mask(skeleton.GetJointCount());
    for (int axis = 0; axis < 3; ++axis) {
        AddDimensionMaskForAxis(skeleton, pose, FindExtremes(pose, excludedJoints, axis), Axes[axis], mask);
    }
    return mask;
}

bool AreApproxEqual(std::span<const JointPose> a, std::span<const JointPose> b) {
    const auto isNear = [](const Vector3f& p, const Vector3f& q, float tolerance) {
        const Vector3f difference = (p - q).Abs();
        return difference.x < tolerance && difference.y < tolerance && difference.z < tolerance;
    };
    return std::equal(
        a.begin(), a.end(), b.begin(), b.end(), [&](const JointPose& first, const JointPose& second) {
            const Quaternionf& p = first.orientation;
            const Quaternionf& q = second.orientation;
            return 1.0F - (p.x * q.x + p.y * q.y + p.z * q.z + p.w * q.w) <= 1e-05F &&
                   isNear(first.position, second.position, 0.001F) &&
                   isNear(first.scale, second.scale, 1e-05F);
        });
}

} // namespace Velkori_Utility
