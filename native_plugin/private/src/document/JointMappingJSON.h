#pragma once

#include "core/JointMappingData.h"
#include "document/RapidJSON.h"

#include <vector>

namespace Velkori_Utility {

// The mappings under `mappingName` of `object`. Drops what it can't use, with messages.
std::vector<SerializedJointMapping> ReadJointMappings(LogMsgMap& messages, const char* mappingName,
    const JSONValue& object, const SkeletonInitializationParams& source,
    const SkeletonInitializationParams& target);

// The value under a mapping name. The skeletons are those that `mappings` was built on.
JSONValue WriteJointMappings(const JointMappingData& mappings, const SkeletonData& source,
    const SkeletonData& target, JSONAllocator& allocator);

} // namespace Velkori_Utility
