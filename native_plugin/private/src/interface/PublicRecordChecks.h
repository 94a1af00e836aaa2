#pragma once

#include "Velkori_Utility.h"

namespace Velkori_Utility {

// Checks of the records that a host hands in: pointers against counts, and indices against joint counts. The
// first fault is logged and its result returned; otherwise the result is velkori_Result_Success.

velkori_Result ValidateSourceSkeletonInitParams(const velkori_SkeletonInitParams_& params);
// A target also needs an unscaled rest pose.
velkori_Result ValidateTargetSkeletonInitParams(const velkori_SkeletonInitParams_& params);
velkori_Result ValidateJointMappingDefinition(
    const velkori_JointMappingDefinition_& definition, int sourceJointCount, int targetJointCount);

} // namespace Velkori_Utility
