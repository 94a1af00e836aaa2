#pragma once

#include "core/Skeleton.h"
#include "shared/DataTypes.h"

#include <span>

namespace Velkori_Utility {

// Conversions of whole poses between root and local space, in place. A list whose size differs from the
// skeleton's is left as it is, and so are joints that no root reaches.

void ConvertRootSpaceToLocalSpacePose(const Skeleton& skeleton, std::span<JointPose> pose);
void ConvertLocalSpaceToRootSpacePose(const Skeleton& skeleton, std::span<JointPose> pose, bool resetScale);

// Takes each parent's scale into the bones beneath it, and leaves unit scale.
void UnscaleLocalSpacePose(const Skeleton& skeleton, std::span<JointPose> pose);

void ResetScale(std::span<JointPose> pose);

} // namespace Velkori_Utility
