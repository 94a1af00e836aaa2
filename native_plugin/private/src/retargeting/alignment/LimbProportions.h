#pragma once

#include "Velkori_Utility.h"
#include "core/PoseData.h"
#include "core/RestPose.h"

#include <array>

namespace Velkori_Utility::Alignment {

// The trunk's joints, by whose middle a body stands further forward or back than another.
inline constexpr std::array FwdBackAlignmentKnownJoints = {
    velkori_KnownJointType_Root,
    velkori_KnownJointType_Hips,
    velkori_KnownJointType_Chest,
    velkori_KnownJointType_Neck,
};

// The target with its trunk moved forward or back to where the source's is, and its arms and legs turned
// towards the ends of the source's. Arms are stretched along their direction until they end there; legs keep
// their length. Hands and feet come along undeformed. What either side lacks stays as it is.
PoseData DeformationLimbsToMatchSourceProportion(
    const RestPose& source, PoseData target, const Vector3f& forward);

} // namespace Velkori_Utility::Alignment
