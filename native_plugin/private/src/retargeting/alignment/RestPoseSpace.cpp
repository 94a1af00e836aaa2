#include "retargeting/alignment/RestPoseSpace.h"

#include <array>

namespace Velkori_Utility::Alignment {

std::optional<CoordinateSpace> CalculateRestPoseCoordinateSpace(
    const Skeleton& skeleton, std::span<const JointPose> pose) {
    static constexpr std::array requiredKnownJoints = {velkori_KnownJointType_RightWrist,
        velkori_KnownJointType_LeftWrist, velkori_KnownJointType_Chest, velkori_KnownJointType_Hips};
    if (pose.empty() || !skeleton.HasValidKnownJoints(requiredKnownJoints)) {
        return std::nullopt;
    }
    const auto axisBetween = [&](velkori_KnownJointType from, velkori_KnownJointType to) {
        const Vector3f way =
            pose[skeleton.GetJointIndex(to)].position - pose[skeleton.GetJointIndex(from)].position;
        return way.SnapToClosestAlignedAxis().Normalize();
    };
    const Vector3f right = axisBetween(velkori_KnownJointType_LeftWrist, velkori_KnownJointType_RightWrist);
    const Vector3f up = axisBetween(velkori_KnownJointType_Hips, velkori_KnownJointType_Chest);
    const Vector3f forward = up.Cross(right).Normalize();
    return CoordinateSpace(velkori_CoordinateSpace_{static_cast<velkori_Vector3f_>(up),
        static_cast<velkori_Vector3f_>(forward), static_cast<velkori_Vector3f_>(right)});
}

} // namespace Velkori_Utility::Alignment
