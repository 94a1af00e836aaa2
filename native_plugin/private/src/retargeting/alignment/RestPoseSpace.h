#pragma once

#include "core/ConfigurationData.h"
#include "core/PoseData.h"

namespace Velkori_Utility::Alignment {

// The space that a rest pose stands in, from its wrists, chest and hips: right from the left to the right
// wrist, up from the hips to the chest, each snapped to its nearest axis, and forward across them. False, and
// `out_space` as it was, if the pose holds nothing or lacks one of these joints.
bool CalculateRestPoseCoordinateSpace(const PoseData& pose, CoordinateSpace& out_space);

} // namespace Velkori_Utility::Alignment
