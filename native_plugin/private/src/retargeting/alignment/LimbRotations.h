#pragma once

#include "Velkori_Utility.h"
#include "core/PoseData.h"
#include "core/RestPose.h"

#include <array>
#include <utility>

namespace Velkori_Utility::Alignment {

// Where each arm and leg starts and ends.
inline constexpr std::array<std::pair<velkori_KnownJointType, velkori_KnownJointType>, 4> KnownLimbPairs = {{
    {velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_RightWrist},
    {velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_LeftWrist},
    {velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_RightAnkle},
    {velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_LeftAnkle},
}};

// The target with its arms and legs turned so that each runs along the same curve as the source's, whatever
// their joint counts and bone lengths. The feet keep their rotation and the body its floor. A limb that
// either side lacks stays as it is.
PoseData MatchPoseLimbRotations(const RestPose& source, PoseData target, const Vector3f& up);

} // namespace Velkori_Utility::Alignment
