#pragma once

#include "Velkori_Utility.h"
#include "core/SkeletonTables.h"

#include <vector>

namespace Velkori_Utility {

// One target joint's mapping in its plain form, as documents and the public records give it.
struct SerializedJointMapping {
    int targetJointIndex = -1;
    // The skeleton that the entries' joints belong to.
    JointMappingType type = velkori_SkeletonType_Source;
    JointMappingBehaviorType behavior = velkori_JointMappingBehaviorType_Normal;
    std::vector<velkori_JointMappingEntry_> entries;
};

} // namespace Velkori_Utility
