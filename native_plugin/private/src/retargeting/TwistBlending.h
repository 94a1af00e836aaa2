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
// All in root space: the result, `pose`, which is being built, and the joint's pose as the mapping has it
// and, `current`, as it was before. A joint without a bone keeps the mapped pose.
JointPose ApplyTwistBlendToJoint(velkori_JointMappingBehaviorType behavior, int joint,
    const Skeleton& skeleton, std::span<const JointPose> pose, const JointPose& current,
    const JointPose& mapped);

} // namespace Velkori_Utility
