#pragma once

#include "Velkori_Utility.h"
#include "core/ConfigurationData.h"
#include "core/PoseData.h"
#include "core/RestPose.h"
#include "shared/DataTypes.h"

#include <span>

namespace Velkori_Utility::Alignment {

// Brings a target skeleton's rest pose into line with a source skeleton's, step by step: facing, limb
// rotations, height, limb proportions, hands. The order is fixed, and the flags say which steps are taken. A
// step that can't work leaves the pose as it is; a pose that only noise would change is `target` to the bit.
// `space` is that of both poses.
PoseData AlignToRestPose(velkori_AlignmentFlags flags, const RestPose& source, const PoseData& target,
    const CoordinateSpace& space);

// The target turned to face as the source does, by whole axes.
PoseData MatchPoseFacingRotation(const RestPose& source, PoseData target);

// The target scaled so that the known joint is as high above the ground as the source's.
PoseData ScaleToMatchPoseHeight(
    const RestPose& source, PoseData target, velkori_KnownJointType knownJoint, const Vector3f& up);

// Per axis, where the extent of a pose with these joint lengths lies between those of two poses of the same
// skeleton.
Vector3f CalculateExtentRangeBetweenPoses(
    PoseData& minimum, PoseData& maximum, std::span<const float> jointLengths);

} // namespace Velkori_Utility::Alignment
