#include "core/SerializedJointMapping.h"

#include <cstdint>

namespace Velkori_Utility {

std::vector<SerializedJointMapping> ConvertVelkoriMappingDefinitionToSerializedMapping(
    const velkori_JointMappingDefinition_& definition) {
    std::vector<SerializedJointMapping> mappings;
    std::int64_t position = 0;
    for (int i = 0; i < definition.mappingCount; ++i) {
        const velkori_JointMapping_& head = definition.mappings[i];
        SerializedJointMapping& mapping = mappings.emplace_back();
        mapping.targetJointIndex = head.jointIndex;
        mapping.type = head.type == velkori_SkeletonType_Source ? velkori_SkeletonType_Source
                                                                : velkori_SkeletonType_Target;
        mapping.behavior = head.behavior;
        if (head.entryCount > 0) {
            const velkori_JointMappingEntry_* first = definition.mappingEntries + position;
            mapping.entries.assign(first, first + head.entryCount);
        }
        position += head.entryCount;
    }
    return mappings;
}

} // namespace Velkori_Utility
