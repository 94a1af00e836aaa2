#pragma once

#include "Velkori_Utility.h"
#include "core/PoseData.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility::Alignment {

// Brings a target skeleton's rest pose into line with a source skeleton's, step by step: facing, limb
// rotations, height, limb proportions, hands. The order is fixed, and the flags say which steps are taken. A
// step that can't work leaves the pose as it is; a pose that only noise would change is `target` to the bit.
PoseData AlignToRestPose(velkori_AlignmentFlags flags, const PoseData& source, const PoseData& target);

// The target turned to face as the source does, by whole axes.
PoseData MatchPoseFacingRotation(const PoseData& source, const PoseData& target);

// The target scaled so that the known joint is as high above the ground as the source's.
PoseData ScaleToMatchPoseHeight(
    const PoseData& source, const PoseData& target, velkori_KnownJointType knownJoint);

// Per axis, where a pose's extent lies between those of two poses of the same skeleton, by its joints'
// lengths.
Vector3f CalculateExtentRangeBetweenPoses(
    const PoseData& minimum, const PoseData& maximum, const PoseData& pose);

} // namespace Velkori_Utility::Alignment
