#pragma once

#include "Velkori_Utility.h"
#include "core/RestPose.h"

#include <cstdint>
#include <vector>

namespace Velkori_Utility::AutoMapping {

// The cosine of 2.5 degrees: directions that are nearer to each other count as one.
inline constexpr float TwistDeviationThreshold = 0x1.FF834p-1F;

// The joints of a rig that only spread a bone's twist, in the order in which a walk down the hierarchy finds
// them: by the word "twist" in their name, or as leaves that lie on the straight line to a sibling that goes
// on. The ratio says how far along the bone a joint lies; it is at most 1. A pose that holds nothing has
// none.
std::vector<velkori_TwistJointDefinition_> IdentifyTwistJoints(const RestPose& pose);

} // namespace Velkori_Utility::AutoMapping
