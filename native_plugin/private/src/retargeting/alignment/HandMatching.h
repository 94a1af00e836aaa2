#pragma once

#include "core/PoseData.h"
#include "core/RestPose.h"
#include "retargeting/alignment/HandIdentification.h"
#include "shared/DataTypes.h"

#include <cstddef>
#include <span>
#include <vector>

namespace Velkori_Utility::Alignment {

// The target with its hands posed like the source's: wrists, fingers and palms. Fingers are matched by
// directions and by shares of their length, so that neither their number nor that of their bones need be the
// same. With `scaleFingers` the target's finger bones get the lengths of the source's. A hand that either
// side lacks, or that can't be made out, stays as it is.
PoseData MatchPoseHandsAndFingers(const RestPose& source, PoseData target, bool scaleFingers);

// The bones of a finger, from its joint `startIndex` outward, in root space. None if that is its last joint.
std::vector<Vector3f> CalculateFingerJointRaysForAlignment(
    const FingerData& finger, std::span<const JointPose> pose, std::size_t startIndex);

std::vector<float> CalculateRayLengths(std::span<const Vector3f> rays);

} // namespace Velkori_Utility::Alignment
