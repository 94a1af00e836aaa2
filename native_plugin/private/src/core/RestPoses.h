#pragma once

#include "core/RestPose.h"
#include "core/Skeleton.h"
#include "shared/DataTypes.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// The smallest, the largest and the unscaled rest pose of a skeleton, and the sizes that a body can take
// between the first two.
//
// Interpolation ratios are 0 at a length (or extent) of the smallest pose and 1 at that of the largest, and
// not limited to that range.
class RestPoses {
  public:
    // `owner` must outlive this object.
    RestPoses(const Skeleton& owner, const SkeletonInitializationParams& params);

    const Skeleton& GetSkeleton() const { return *skeleton; }

    const RestPose& GetMin() const { return min; }

    const RestPose& GetMax() const { return max; }

    // What scale is measured against; it has none itself.
    const RestPose& GetUnscaled() const { return unscaled; }

    // Whether there are a smallest and a largest pose.
    bool HaveSizes() const { return min.IsInitialized() && max.IsInitialized(); }

    const std::vector<Vector3f>& GetMinDimensionMask() const { return minDimensionMask; }

    const std::vector<Vector3f>& GetMaxDimensionMask() const { return maxDimensionMask; }

    std::vector<float> CalculateJointInterpolationRatios(std::span<const float> jointLengths) const;
    // The ratio of a height, which is the extent along `up`.
    float ConvertHeightToInterpolationDelta(float height, const Vector3f& up) const;

    // The extents of a body with these joint lengths, by the dimension masks of the smallest and the largest
    // pose: the skeleton's own, or those of a part of its joints.
    Vector3f EstimateExtentRange(std::span<const float> jointLengths) const;
    Vector3f EstimateExtentRange(std::span<const float> jointLengths, std::span<const Vector3f> minMask,
        std::span<const Vector3f> maxMask) const;

    // The rest pose with these joint lengths; none without known hips or without sizes.
    std::vector<JointPose> CalculateRootSpaceTPose(std::span<const float> jointLengths) const;
    // The rest pose of the body that stands in a pose, by that pose's own extents or by estimated ones.
    std::vector<JointPose> CalculateRootSpaceTPose(
        std::span<const JointPose> rootSpacePose, bool useEstimatedExtents) const;
    // The rest pose at a ratio per axis. None without sizes.
    void GetRootSpaceTPoseFromRatio(const Vector3f& ratio, std::vector<JointPose>& out_pose) const;

    // Writes into each joint's scale the uniform factor by which what hangs on it exceeds the unscaled pose.
    void ConvertToScaledRootSpacePose(
        std::span<JointPose> pose, std::span<const float> jointLengths, const Vector3f& extentRange) const;

  private:
    RestPose WithScale(const RestPose& pose) const;
    float CalculateJointInterpolationRatio(int joint, float length) const;
    // Per axis, where extents lie between those of the smallest and of the largest pose.
    Vector3f CalculateExtentRatio(const Vector3f& extentRange) const;
    std::vector<JointPose> CalculateLocalSpaceTPose(
        std::span<const float> ratios, const Vector3f& extentRange, int wholeBodyJoint) const;
    Vector3f GetJointPositionFromRatio(const Vector3f& ratio, int joint) const;
    float MeasureScaledBone(
        int joint, int child, std::span<const float> jointLengths, const Vector3f& extentRange) const;

    const Skeleton* skeleton;
    RestPose min;
    RestPose max;
    RestPose unscaled;
    std::vector<Vector3f> minDimensionMask;
    std::vector<Vector3f> maxDimensionMask;
};

// The extents of a body by its joints' lengths and interpolation ratios.
Vector3f CalculateExtentRangeInTPose(std::span<const float> ratios, std::span<const float> jointLengths,
    std::span<const Vector3f> minMask, std::span<const Vector3f> maxMask);

} // namespace Velkori_Utility
