#pragma once

#include "core/RestPose.h"
#include "shared/DataTypes.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// Joint by joint between two poses in root space. None if either is empty.
std::vector<JointPose> LerpRootSpacePoses(
    std::span<const JointPose> a, std::span<const JointPose> b, float t);

// The same between two rest poses in root space with a share per axis. Joints turn as their bones do, which
// keeps the bones' directions consistent with the positions.
void LerpRestPosesPerAxis(
    const RestPose& a, const RestPose& b, const Vector3f& t, std::vector<JointPose>& out_rootSpacePose);

} // namespace Velkori_Utility
