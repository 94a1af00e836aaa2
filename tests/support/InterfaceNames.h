#pragma once

#include "Velkori_Utility.h"

// Short names for those values of the interface that nearly every call takes or gives.

inline constexpr auto Success = velkori_Result_Success;
inline constexpr auto Source = velkori_SkeletonType_Source;
inline constexpr auto Target = velkori_SkeletonType_Target;
inline constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
inline constexpr auto LocalSpace = velkori_JointRelativeSpaceType_Local;
inline constexpr auto ScaledRootSpace = velkori_JointRelativeSpaceType_RootOriginRelativeScaled;
inline constexpr auto ScaledLocalSpace = velkori_JointRelativeSpaceType_LocalScaled;
inline constexpr auto Min = velkori_SkeletonTPoseType_Min;
inline constexpr auto Max = velkori_SkeletonTPoseType_Max;
inline constexpr auto Unscaled = velkori_SkeletonTPoseType_Unscaled;
inline constexpr auto Current = velkori_SkeletonTPoseType_Current;
