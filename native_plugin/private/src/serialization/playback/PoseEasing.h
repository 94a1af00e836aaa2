#pragma once

#include "shared/DataTypes.h"

namespace Velkori_Utility {

// Linear in position, along the shortest way in rotation, without scale.
JointPose interpolateJointPose(const JointPose& from, const JointPose& to, float t);

// Whether all components are finite and the length is 1 within rounding.
bool isUnit(const Quaternionf& rotation);

// The running pose moved towards the sample by the given share of the way; its scale stays. A sample that
// isn't finite, as it is far before the first of two frames, moves nothing.
JointPose easeTowards(const JointPose& running, const JointPose& sample, float share);

} // namespace Velkori_Utility
