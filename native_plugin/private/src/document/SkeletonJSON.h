#pragma once

#include "core/SkeletonData.h"
#include "document/RapidJSON.h"

namespace Velkori_Utility {

// Doesn't fail: gathers messages, and what it can read. Poses are taken through `conversion`.
SkeletonInitializationParams ReadSkeleton(LogMsgMap& messages, const JSONValue& object,
    velkori_SkeletonType skeletonType, const JointPose& conversion);

// Leaves out what is empty. Poses are taken through `conversion`.
JSONValue WriteSkeleton(const SkeletonData& skeleton, const JointPose& conversion, JSONAllocator& allocator);

} // namespace Velkori_Utility
