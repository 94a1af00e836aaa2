#pragma once

// What the exports that take or give poses share.

#include "core/PoseData.h"
#include "core/SkeletonData.h"
#include "interface/InterfaceBuffers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

bool IsJointSpaceType(velkori_JointRelativeSpaceType type);
velkori_Result FailWithJointSpaceType(velkori_JointRelativeSpaceType type);

// The joints of a pose in one space; none if the pose holds nothing.
std::span<const JointPose> JointPosesOf(PoseData& pose, velkori_JointRelativeSpaceType space);

// Checks a caller's transforms, with `result` as the code of a failure.
velkori_Result CheckTransforms(
    const velkori_Transform_* transforms, int32_t count, velkori_Result result = velkori_Result_InvalidValue);

// A caller's array of one transform per joint, and what the parameters are called.
struct PoseArray {
    const velkori_Transform_* transforms = nullptr;
    int32_t count = 0;
    const char* name = "in_out_transformData";
    const char* countName = "jointCount";
};

// That the array is there and its transforms can be used.
velkori_Result CheckPoseArray(const PoseArray& array);
// That it is also as long as the skeleton has joints, and in a space that there is.
velkori_Result CheckPose(
    const Skeleton& skeleton, const PoseArray& array, velkori_JointRelativeSpaceType space);

// A caller's array of one transform per joint of a skeleton.
PoseData ReadPose(const SkeletonData& skeleton, velkori_JointRelativeSpaceType space,
    const velkori_Transform_* transforms, int32_t count, const JointPose& conversion = JointPose::Identity);

// Writes a pose in one space over an array that has room for it.
void WritePose(PoseData& pose, velkori_JointRelativeSpaceType space, velkori_Transform_* out_transforms);

// What takes poses from one coordinate space to the other, both of which must be axis-aligned.
velkori_Result CalculateConversion(const velkori_CoordinateSpace_& in_coordinateSpace,
    const velkori_CoordinateSpace_& out_coordinateSpace, JointPose& out_conversion);

} // namespace Velkori_Utility
