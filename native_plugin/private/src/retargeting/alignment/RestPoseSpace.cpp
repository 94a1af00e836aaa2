#include "retargeting/alignment/RestPoseSpace.h"

#include "core/SkeletonData.h"

#include <array>

namespace Velkori_Utility::Alignment {

bool CalculateRestPoseCoordinateSpace(const PoseData& pose, CoordinateSpace& out_space) {
    static constexpr std::array requiredKnownJoints = {velkori_KnownJointType_RightWrist,
        velkori_KnownJointType_LeftWrist, velkori_KnownJointType_Chest, velkori_KnownJointType_Hips};
    const SkeletonData& skeleton = pose.GetSkeleton();
    if (!pose.IsInitialized() || !skeleton.HasValidKnownJoints(requiredKnownJoints)) {
        return false;
    }
    const auto& joints = pose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative);
    const auto axisBetween = [&](velkori_KnownJointType from, velkori_KnownJointType to) {
        const Vector3f way =
            joints[skeleton.GetJointIndex(to)].position - joints[skeleton.GetJointIndex(from)].position;
        return way.SnapToClosestAlignedAxis().Normalize();
    };
    const Vector3f right = axisBetween(velkori_KnownJointType_LeftWrist, velkori_KnownJointType_RightWrist);
    const Vector3f up = axisBetween(velkori_KnownJointType_Hips, velkori_KnownJointType_Chest);
    const Vector3f forward = up.Cross(right).Normalize();
    out_space = CoordinateSpace(velkori_CoordinateSpace_{static_cast<velkori_Vector3f_>(up),
        static_cast<velkori_Vector3f_>(forward), static_cast<velkori_Vector3f_>(right)});
    return true;
}

} // namespace Velkori_Utility::Alignment
