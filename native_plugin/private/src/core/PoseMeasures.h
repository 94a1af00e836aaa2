#pragma once

#include "core/Skeleton.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// What is measured on a pose of a skeleton. Poses are in root space unless their name says otherwise, with
// one joint per joint of the skeleton, or none, which measures nothing.

// The length of each joint's bone to its parent: 0 for a root.
void MeasureJointLengths(
    const Skeleton& skeleton, std::span<const JointPose> pose, std::vector<float>& out_lengths);
std::vector<float> MeasureJointLengths(const Skeleton& skeleton, std::span<const JointPose> pose);
// The same from local space without scale, where a root's length is its distance from the origin.
void MeasureLocalJointLengths(std::span<const JointPose> localPose, std::vector<float>& out_lengths);

// Along the bones from one joint to another; 0 where there is no way.
float SumJointLengths(const Skeleton& skeleton, std::span<const float> lengths, int start, int end);

// The known root stands on the ground and is no part of the body: what measures a body leaves it out.
FastRangedIntegralSet<int> KnownRootOf(const Skeleton& skeleton);
// The extents of the body.
PoseExtents MeasureExtents(const Skeleton& skeleton, std::span<const JointPose> pose);

// Per joint the way to the mean of its children, and for a leaf the way from its parent.
std::vector<Vector3f> MeasureDirections(const Skeleton& skeleton, std::span<const JointPose> pose);

// Per joint the signed share of its length that counts towards each axis of the body's extent, for the bones
// that span it.
std::vector<Vector3f> GenerateJointDimensionMask(const Skeleton& skeleton, std::span<const JointPose> pose,
    const FastRangedIntegralSet<int>& excludedJoints);

// Whether two poses differ by no more than noise: positions by less than a millimetre, rotations by less than
// about half a degree.
bool AreApproxEqual(std::span<const JointPose> a, std::span<const JointPose> b);

} // namespace Velkori_Utility
