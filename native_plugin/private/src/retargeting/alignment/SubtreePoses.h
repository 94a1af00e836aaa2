#pragma once

#include "shared/DataTypes.h"

#include <span>

namespace Velkori_Utility {

class Skeleton;

namespace Alignment {

// A joint's pose in the space of its parent's, out of root-space poses: normalised and with unit scale. A
// joint without a parent stays where it is.
JointPose CalculateLocalSpaceJointPose(
    int joint, const Skeleton& skeleton, std::span<const JointPose> rootPoses);

// Gives a joint a new root-space pose. What hangs on it keeps its local poses and comes along.
void UpdateRootSpaceJointPoseWithChildren(int joint, const Skeleton& skeleton, const JointPose& newPose,
    std::span<const JointPose> localPoses, std::span<JointPose> rootPoses);

// Takes the local poses of a joint and of all that hangs on it from their root-space poses.
void UpdateLocalSpaceJointPoseWithChildren(int joint, const Skeleton& skeleton,
    std::span<const JointPose> rootPoses, std::span<JointPose> localPoses);

// Makes the bones of a joint and of all that hangs on it longer by a factor, but for `stopJoint` and what
// hangs on that. No joint (-1) scales nothing.
void ScaleLocalSpacePoseAndChildrenRecursive(
    int joint, int stopJoint, float factor, const Skeleton& skeleton, std::span<JointPose> localPoses);

} // namespace Alignment

} // namespace Velkori_Utility
