#pragma once

// Plain parameters from the public records. The records' pointers and indices have been checked.

#include "core/SerializedJointMapping.h"
#include "core/SkeletonInitializationParams.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Velkori_Utility {

// One string per element of an array of `count` NUL-terminated strings. A null element becomes an empty
// string and keeps its place; a null array or a count below 1 gives an empty list.
std::vector<std::string> ToStringVectorFromCharPointerArrayAndSize(
    const char* const* names, std::int32_t count);

// The largest rest pose or else the unscaled one stands in for a missing smallest one, and the smallest one
// for a missing largest one.
SkeletonInitializationParams FromVelkoriSkeletonInitParams(
    LogMsgMap& messages, const velkori_SkeletonInitParams_& record);

// Takes the flat list of entries apart. Any type but the source's is the target's.
std::vector<SerializedJointMapping> ConvertVelkoriMappingDefinitionToSerializedMapping(
    const velkori_JointMappingDefinition_& definition);

} // namespace Velkori_Utility
