#include "core/PoseBlending.h"

#include "core/InterpolationRatio.h"
#include "core/JointSpaces.h"

namespace Velkori_Utility {

std::vector<JointPose> LerpRootSpacePoses(
    std::span<const JointPose> a, std::span<const JointPose> b, float t) {
    std::vector<JointPose> blended;
    if (a.size() != b.size()) {
        return blended;
    }
    blended.reserve(a.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        blended.emplace_back(
            a[i].orientation.Slerp(b[i].orientation, t), a[i].position.Lerp(b[i].position, t));
    }
    return blended;
}

void LerpRestPosesPerAxis(
    const RestPose& a, const RestPose& b, const Vector3f& t, std::vector<JointPose>& out_rootSpacePose) {
    out_rootSpacePose.clear();
    if (!a.IsInitialized() || !b.IsInitialized()) {
        return;
    }
    const std::vector<JointPose>& from = a.GetJointPoses(RootSpace);
    const std::vector<JointPose>& to = b.GetJointPoses(RootSpace);
    for (std::size_t i = 0; i < from.size(); ++i) {
        // Each joint turns by as much as its bone does.
        const Vector3f& bone = a.GetDirections()[i];
        const Vector3f direction = LerpPerAxis(bone, b.GetDirections()[i], t).Normalize();
        const Quaternionf turn(bone.Normalize(), direction);
        out_rootSpacePose.emplace_back(
            (turn * from[i].orientation).Normalize(), LerpPerAxis(from[i].position, to[i].position, t));
    }
}

} // namespace Velkori_Utility
