#include "interface/PublicRecordParameters.h"

#include <algorithm>
#include <span>

namespace Velkori_Utility {

namespace {

SkeletonInitializationParams::ManifestationMap ReadManifestations(const velkori_SkeletonInitParams_& record) {
    SkeletonInitializationParams::ManifestationMap manifestations;
    if (record.optional_manifestationCount < 1 || record.optional_manifestationNames == nullptr ||
        record.optional_manifestationJointCounts == nullptr ||
        record.optional_manifestationJointNames == nullptr) {
        return manifestations;
    }
    const std::vector<std::string> names = ToStringVectorFromCharPointerArrayAndSize(
        record.optional_manifestationNames, record.optional_manifestationCount);
    const char* const* jointNames = record.optional_manifestationJointNames;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::int32_t count = std::max(record.optional_manifestationJointCounts[i], 0);
        manifestations.Insert(names[i], ToStringVectorFromCharPointerArrayAndSize(jointNames, count));
        jointNames += count;
    }
    return manifestations;
}

} // namespace

std::vector<std::string> ToStringVectorFromCharPointerArrayAndSize(
    const char* const* names, std::int32_t count) {
    std::vector<std::string> strings;
    if (names == nullptr || count < 1) {
        return strings;
    }
    strings.reserve(count);
    for (const char* name : std::span(names, count)) {
        strings.emplace_back(name == nullptr ? "" : name);
    }
    return strings;
}

SkeletonInitializationParams FromVelkoriSkeletonInitParams(
    LogMsgMap& messages, const velkori_SkeletonInitParams_& record) {
    const velkori_Transform_* minTPose = record.minTPose != nullptr   ? record.minTPose
                                         : record.maxTPose != nullptr ? record.maxTPose
                                                                      : record.unscaledTPose;
    const velkori_Transform_* maxTPose = record.maxTPose != nullptr ? record.maxTPose : minTPose;

    SkeletonInitializationParams params;
    params.blendShapeNames =
        ToStringVectorFromCharPointerArrayAndSize(record.blendShapeNames, record.blendShapeCount);
    params.jointNames = ToStringVectorFromCharPointerArrayAndSize(record.jointNames, record.jointCount);
    params.jointNameToIndex =
        SkeletonInitializationParams::StringArrayToLookupMap(messages, params.jointNames);
    params.parentJointNames =
        ToStringVectorFromCharPointerArrayAndSize(record.parentJointNames, record.jointCount);
    params.knownJointNames =
        ToStringVectorFromCharPointerArrayAndSize(record.knownJoints, VELKORI_KNOWN_JOINT_COUNT);
    params.autoMappingExcludedJoints = ToStringVectorFromCharPointerArrayAndSize(
        record.optional_autoMapExcludedJointNames, record.optional_autoMapExcludedJointCount);
    params.manifestations = ReadManifestations(record);
    params.minTPose = ToJointPoseVectorFromVelkoriPoseArray(minTPose, record.jointCount);
    params.maxTPose = ToJointPoseVectorFromVelkoriPoseArray(maxTPose, record.jointCount);
    params.unscaledTPose = ToJointPoseVectorFromVelkoriPoseArray(record.unscaledTPose, record.jointCount);
    return params;
}

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
