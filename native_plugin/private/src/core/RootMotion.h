#pragma once

#include "Velkori_Utility.h"
#include "core/ConfigurationData.h"
#include "core/Skeleton.h"
#include "shared/DataTypes.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// Rewrites the known root of a frame, in place, as the behaviour asks; without a known root and known hips
// nothing is rewritten. Poses are in root space, and `reference`, which may be empty, is the tracked body's
// rest pose.
//
// Root motion from the reference moves a local pose that isn't the frame's own, where there is one: the last
// that the source was read in before this frame, `previousLocalPose`. A frame whose root isn't rewritten
// empties that list.
void ApplyRootMotion(const Skeleton& skeleton, velkori_RetargetingRootMotionBehavior behavior,
    std::span<const JointPose> reference, const CoordinateSpace& space,
    std::vector<JointPose>& previousLocalPose, std::vector<JointPose>& pose);

} // namespace Velkori_Utility
