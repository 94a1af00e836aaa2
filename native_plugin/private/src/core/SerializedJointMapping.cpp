#include "core/SerializedJointMapping.h"

namespace Velkori_Utility {

std::vector<SerializedJointMapping> ConvertVelkoriMappingDefinitionToSerializedMapping(
    const velkori_JointMappingDefinition_& definition) {
    std::vector<SerializedJointMapping> mappings;
    const velkori_JointMappingEntry_* nextEntry = definition.mappingEntries;
    for (int i = 0; i < definition.mappingCount; ++i) {
        const velkori_JointMapping_& head = definition.mappings[i];
        SerializedJointMapping& mapping = mappings.emplace_back();
        mapping.targetJointIndex = head.jointIndex;
        mapping.type = head.type == velkori_SkeletonType_Source ? velkori_SkeletonType_Source
                                                                : velkori_SkeletonType_Target;
        mapping.behavior = head.behavior;
        if (head.entryCount > 0) {
            mapping.entries.assign(nextEntry, nextEntry + head.entryCount);
        }
        nextEntry += head.entryCount;
    }
    return mappings;
}

} // namespace Velkori_Utility
