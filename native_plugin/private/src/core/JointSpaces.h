#pragma once

#include "Velkori_Utility.h"

namespace Velkori_Utility {

inline constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
inline constexpr auto LocalSpace = velkori_JointRelativeSpaceType_Local;
inline constexpr auto ScaledRootSpace = velkori_JointRelativeSpaceType_RootOriginRelativeScaled;
inline constexpr auto ScaledLocalSpace = velkori_JointRelativeSpaceType_LocalScaled;

} // namespace Velkori_Utility
