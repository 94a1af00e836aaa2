#pragma once

#include "Velkori_Utility.h"
#include "core/Skeleton.h"
#include "shared/DataTypes.h"

#include <span>

namespace Velkori_Utility {

// Keeps a joint that a mapping may only turn around its bone on that bone: from the mapped pose it takes the
// roll around the bone, and the share of the position that lies along it. The bone runs from the parent to
// the joint or, for a child-aligned twist, from the joint to the middle of its children.
//
// All in root space. `pose` is the pose being built, `current` the joint's pose before the mapping; `result`
// enters as the mapped pose and leaves as the final one. A joint without a bone keeps the mapped pose.
void ApplyTwistBlendToJoint(velkori_JointMappingBehaviorType behavior, int joint, const Skeleton& skeleton,
    std::span<const JointPose> pose, const JointPose& current, JointPose& result);

} // namespace Velkori_Utility
