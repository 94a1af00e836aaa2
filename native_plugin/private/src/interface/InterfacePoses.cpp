#include "interface/InterfacePoses.h"

#include "core/ConfigurationData.h"

namespace Velkori_Utility {

bool IsJointSpaceType(velkori_JointRelativeSpaceType type) {
    return type >= velkori_JointRelativeSpaceType_RootOriginRelative &&
           type <= velkori_JointRelativeSpaceType_LocalScaled;
}

velkori_Result FailWithJointSpaceType(velkori_JointRelativeSpaceType type) {
    return Fail(velkori_Result_InvalidValue, "Joint space type %d is not between 0 and 3", type);
}

std::span<const JointPose> JointPosesOf(PoseData& pose, velkori_JointRelativeSpaceType space) {
    if (!pose.IsInitialized()) {
        return {};
    }
    return pose.GetJointPoses(space);
}

velkori_Result CheckTransforms(const velkori_Transform_* transforms, int32_t count, velkori_Result result) {
    return IsValidVelkoriTransformArray(transforms, count)
               ? velkori_Result_Success
               : Fail(result,
                     "Transform Array contains either nan/inf values or an invalid (Zero) Quaternion");
}

velkori_Result CheckPoseArray(const PoseArray& array) {
    return array.transforms == nullptr ? FailWithNull(velkori_Result_InvalidParameter, array.name)
                                       : CheckTransforms(array.transforms, array.count);
}

velkori_Result CheckPose(
    const Skeleton& skeleton, const PoseArray& array, velkori_JointRelativeSpaceType space) {
    if (const velkori_Result result = CheckPoseArray(array); result != velkori_Result_Success) {
        return result;
    }
    if (array.count != skeleton.GetJointCount()) {
        return Fail(velkori_Result_BufferTooSmall,
            "Parameter %s does not match the skeleton joint count definition. Required length %d, Actual "
            "length %d",
            array.countName, skeleton.GetJointCount(), array.count);
    }
    return IsJointSpaceType(space) ? velkori_Result_Success : FailWithJointSpaceType(space);
}

PoseData ReadPose(const SkeletonData& skeleton, velkori_JointRelativeSpaceType space,
    const velkori_Transform_* transforms, int32_t count, const JointPose& conversion) {
    return PoseData(skeleton, space, ToJointPoseVectorFromVelkoriPoseArray(transforms, count), conversion);
}

void WritePose(PoseData& pose, velkori_JointRelativeSpaceType space, velkori_Transform_* out_transforms) {
    ToVelkoriPoseArrayFromJointPoseVector(JointPosesOf(pose, space), out_transforms);
}

velkori_Result CalculateConversion(const velkori_CoordinateSpace_& in_coordinateSpace,
    const velkori_CoordinateSpace_& out_coordinateSpace, JointPose& out_conversion) {
    const CoordinateSpace from(in_coordinateSpace);
    if (!from.IsAxisAligned()) {
        return Fail(velkori_Result_InvalidValue,
            "ERROR: in_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned.");
    }
    const CoordinateSpace to(out_coordinateSpace);
    if (!to.IsAxisAligned()) {
        return Fail(velkori_Result_InvalidValue,
            "ERROR: out_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned.");
    }
    out_conversion = from.CalculateCoordinateSpaceConversion(to);
    return velkori_Result_Success;
}

} // namespace Velkori_Utility
