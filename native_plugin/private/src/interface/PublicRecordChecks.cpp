#include "interface/PublicRecordChecks.h"

#include "core/SkeletonTables.h"
#include "interface/InterfaceBoundary.h"

#include <cstdint>

namespace Velkori_Utility {

namespace {

// Null where the record is sound.
const char* FindFaultInRestPoses(const velkori_SkeletonInitParams_& params, bool needsUnscaledPose) {
    if (params.minTPose == nullptr && params.unscaledTPose == nullptr) {
        return "Skeleton is missing a minimum rest pose definition";
    }
    if (params.maxTPose == nullptr && params.unscaledTPose == nullptr) {
        return "Skeleton is missing a maximum rest pose definition";
    }
    if (needsUnscaledPose && params.unscaledTPose == nullptr) {
        return "Target Skeleton is missing an unscaled rest pose definition";
    }
    return nullptr;
}

const char* FindFaultInJoints(const velkori_SkeletonInitParams_& params, bool needsUnscaledPose) {
    if (params.jointNames == nullptr) {
        return "Skeleton has a non-zero joint count with an invalid jointNames pointer";
    }
    if (params.parentJointNames == nullptr) {
        return "Skeleton has a non-zero joint count with an invalid parentJointNames pointer";
    }
    if (const char* fault = FindFaultInRestPoses(params, needsUnscaledPose)) {
        return fault;
    }
    if (params.optional_autoMapExcludedJointCount > 0 &&
        params.optional_autoMapExcludedJointNames == nullptr) {
        return "Skeleton has a non-zero optional_autoMapExcludedJointCount with an invalid "
               "optional_autoMapExcludedJointNames pointer";
    }
    if (params.optional_manifestationCount > 0 && (params.optional_manifestationNames == nullptr ||
                                                      params.optional_manifestationJointCounts == nullptr ||
                                                      params.optional_manifestationJointNames == nullptr)) {
        return "Skeleton has a non-zero optional_manifestationCount with an invalid pointer(s) for the "
               "names, joint "
               "counts and/or joint names arrays";
    }
    return nullptr;
}

const char* FindFault(const velkori_SkeletonInitParams_& params, bool needsUnscaledPose) {
    if (params.blendShapeCount > 0 && params.blendShapeNames == nullptr) {
        return "Skeleton has a non-zero blendShapeCount with an invalid blendShapeName pointer";
    }
    if (params.jointCount < 1) {
        return params.optional_autoMapExcludedJointCount > 0 || params.optional_manifestationCount > 0
                   ? "Skeleton has optional joints specified without specifying any joints"
                   : nullptr;
    }
    return FindFaultInJoints(params, needsUnscaledPose);
}

velkori_Result ValidateSkeletonInitParams(const velkori_SkeletonInitParams_& params, bool needsUnscaledPose) {
    const char* fault = FindFault(params, needsUnscaledPose);
    return fault == nullptr ? velkori_Result_Success : Fail(velkori_Result_InvalidValue, "%s", fault);
}

// One mapping of a definition, whose entries start at `firstEntry` of the flat list. A negative count of
// entries is not refused, so that the running position may step back; it must never leave the list.
velkori_Result ValidateJointMapping(const velkori_JointMappingDefinition_& definition, int mappingIndex,
    std::int64_t firstEntry, int sourceJointCount, int targetJointCount) {
    const velkori_JointMapping_& mapping = definition.mappings[mappingIndex];
    if (mapping.jointIndex < 0 || mapping.jointIndex >= targetJointCount) {
        return Fail(velkori_Result_InvalidValue,
            "Mapping data at index %d has an invalid target joint index of %d. Target Joint Count is %d",
            mappingIndex, mapping.jointIndex, targetJointCount);
    }
    const int entryJointCount =
        mapping.type == velkori_SkeletonType_Source ? sourceJointCount : targetJointCount;
    for (int i = 0; i < mapping.entryCount; ++i) {
        const std::int64_t position = firstEntry + i;
        if (position < 0 || position >= definition.mappingEntryCount) {
            return Fail(velkori_Result_InvalidValue,
                "Invalid number of mapping entries provided: %d - Provided Mappings are overrunning the "
                "buffer",
                definition.mappingEntryCount);
        }
        const int joint = definition.mappingEntries[position].jointIndex;
        if (joint < 0 || joint >= entryJointCount) {
            return Fail(velkori_Result_InvalidValue,
                "Mapping entry %d for Mapping at index %d has an invalid source or target joint index of %d. "
                " "
                "source/target Joint count is %d",
                i, mappingIndex, joint, entryJointCount);
        }
    }
    return velkori_Result_Success;
}

velkori_Result ValidateBehaviors(const velkori_JointMappingDefinition_& definition) {
    for (int i = 0; i < definition.mappingCount; ++i) {
        const int behavior = definition.mappings[i].behavior;
        if (behavior < 0 || behavior >= std::ssize(JointMappingBehaviorTypeStrings)) {
            return Fail(velkori_Result_InvalidValue, "Mapping data at index %d has an invalid behavior of %d",
                i, behavior);
        }
    }
    return velkori_Result_Success;
}

velkori_Result FailWithFewerExpected(
    const velkori_JointMappingDefinition_& definition, std::int64_t expected) {
    return Fail(velkori_Result_InvalidValue,
        "Invalid number of mapping entries provided: %d - Expected less: %d", definition.mappingEntryCount,
        static_cast<int>(expected));
}

} // namespace

velkori_Result ValidateSourceSkeletonInitParams(const velkori_SkeletonInitParams_& params) {
    return ValidateSkeletonInitParams(params, false);
}

velkori_Result ValidateTargetSkeletonInitParams(const velkori_SkeletonInitParams_& params) {
    return ValidateSkeletonInitParams(params, true);
}

velkori_Result ValidateJointMappingDefinition(
    const velkori_JointMappingDefinition_& definition, int sourceJointCount, int targetJointCount) {
    if (definition.mappingCount < 0) {
        return Fail(
            velkori_Result_InvalidValue, "Mapping data cannot have negative number of mappings specified.");
    }
    if (definition.mappingCount == 0) {
        return definition.mappingEntryCount == 0 ? velkori_Result_Success
                                                 : FailWithFewerExpected(definition, 0);
    }
    if (definition.mappings == nullptr || definition.mappingEntries == nullptr) {
        return Fail(velkori_Result_InvalidValue,
            "Mapping data has a non-zero value, but no mappings or mapping entries specified");
    }
    std::int64_t entryPosition = 0;
    for (int i = 0; i < definition.mappingCount; ++i) {
        if (const velkori_Result result =
                ValidateJointMapping(definition, i, entryPosition, sourceJointCount, targetJointCount);
            result != velkori_Result_Success) {
            return result;
        }
        entryPosition += definition.mappings[i].entryCount;
    }
    return entryPosition == definition.mappingEntryCount ? ValidateBehaviors(definition)
                                                         : FailWithFewerExpected(definition, entryPosition);
}

} // namespace Velkori_Utility
