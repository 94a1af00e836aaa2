#pragma once

#include "core/ConfigurationData.h"
#include "core/Skeleton.h"

#include <optional>
#include <span>

namespace Velkori_Utility::Alignment {

// The space that a rest pose stands in, from its wrists, chest and hips in root space: right from the left to
// the right wrist, up from the hips to the chest, each snapped to its nearest axis, and forward across them.
// None if the pose holds nothing or lacks one of these joints.
std::optional<CoordinateSpace> CalculateRestPoseCoordinateSpace(
    const Skeleton& skeleton, std::span<const JointPose> pose);

} // namespace Velkori_Utility::Alignment
