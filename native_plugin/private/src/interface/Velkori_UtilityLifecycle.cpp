// The exports that make and replace instances, and that write a configuration back out.

#include "document/ConfigDocument.h"
#include "interface/InterfaceBoundary.h"
#include "interface/PublicRecordChecks.h"
#include "interface/PublicRecordParameters.h"
#include "interface/UtilityInstance.h"
#include "shared/ProcessSpace.h"

#include <cstring>
#include <limits>

using namespace Velkori_Utility;

namespace {

// Judges the parameters and puts an instance made of them under *handle: in place of the one that lives
// there, or else under a new number. On a failure nothing changes.
velkori_Result CreateOrUpdateInstance(
    const UtilityConfigInitializationParams& params, LogMsgMap& messages, velkori_Handle& in_out_handle) {
    const bool isValid = params.CheckIsValid(messages);
    if (!isValid || messages.contains(LogMsgCategory::Error)) {
        Fail(velkori_Result_InvalidData,
            "Initialization Parameters contain invalid data.  Cannot initialize handle.");
        PrintLogMessages(messages);
        return velkori_Result_InvalidData;
    }
    PrintLogMessages(messages);
    CreateOrReplaceInstance(params, in_out_handle);
    return velkori_Result_Success;
}

velkori_Result ValidateConfigRecord(const velkori_UtilityConfigInitParams_& params) {
    const int sourceJointCount = params.sourceSkeleton.jointCount;
    const int targetJointCount = params.targetSkeleton.jointCount;
    velkori_Result result = ValidateSourceSkeletonInitParams(params.sourceSkeleton);
    if (result == velkori_Result_Success) {
        result = ValidateTargetSkeletonInitParams(params.targetSkeleton);
    }
    if (result == velkori_Result_Success) {
        result = ValidateJointMappingDefinition(params.minMappings, sourceJointCount, targetJointCount);
    }
    if (result == velkori_Result_Success) {
        result = ValidateJointMappingDefinition(params.maxMappings, sourceJointCount, targetJointCount);
    }
    return result;
}

velkori_Result CreateOrUpdateFromRecord(
    const char* configName, const velkori_UtilityConfigInitParams_* params, velkori_Handle* in_out_handle) {
    if (in_out_handle == nullptr) {
        return Fail(velkori_Result_InvalidParameter, "Handle Pointer output variable in_out_handle is null.");
    }
    if (configName == nullptr || configName[0] == '\0') {
        return Fail(velkori_Result_InvalidData, "Config name not specified or invalid");
    }
    if (params == nullptr) {
        return Fail(velkori_Result_InvalidValue, "Initialization Parameter structure is null");
    }
    if (const velkori_Result result = ValidateConfigRecord(*params); result != velkori_Result_Success) {
        return result;
    }
    LogMsgMap messages;
    const UtilityConfigInitializationParams config = {configName,
        Configuration(CoordinateSpace(ProcessSpace()), velkori_RetargetingBehaviorFlags_None),
        FromVelkoriSkeletonInitParams(messages, params->sourceSkeleton),
        FromVelkoriSkeletonInitParams(messages, params->targetSkeleton),
        ConvertVelkoriMappingDefinitionToSerializedMapping(params->minMappings),
        ConvertVelkoriMappingDefinitionToSerializedMapping(params->maxMappings)};
    return CreateOrUpdateInstance(config, messages, *in_out_handle);
}

// The configuration's document, which is made again only for another space than the last call's.
const std::string& WriteOnce(UtilityInstance& instance, const CoordinateSpace& space) {
    if (!instance.lastDocument || instance.lastDocument->space != space) {
        instance.lastDocument.reset();
        instance.lastDocument = {space, WriteConfigDocument(instance.config, space)};
    }
    return instance.lastDocument->text;
}

} // namespace

velkori_Result velkori_createOrUpdateHandle(const char* config, velkori_Handle* handle) {
    return AtBoundary(__func__, [&] {
        if (config == nullptr) {
            return Fail(velkori_Result_ConfigNull, "Config is null.");
        }
        if (handle == nullptr) {
            return Fail(velkori_Result_InvalidParameter, "Handle Pointer output variable is null.");
        }
        LogMsgMap messages;
        const auto params = ReadConfigDocument(messages, config, CoordinateSpace(ProcessSpace()));
        if (!params) {
            return Fail(
                velkori_Result_ParseFailed, "Failed to parse configuration due to possible JSON error.");
        }
        return CreateOrUpdateInstance(*params, messages, *handle);
    });
}

velkori_Result velkori_createOrUpdateUtilityConfig(
    const char* configName, const velkori_UtilityConfigInitParams_* params, velkori_Handle* in_out_handle) {
    return AtBoundary(__func__, [&] { return CreateOrUpdateFromRecord(configName, params, in_out_handle); });
}

velkori_Result velkori_createOrUpdateSimpleUtilityConfig(const char* configName,
    velkori_SkeletonType skeletonType, const velkori_SkeletonInitParams_* params,
    velkori_Handle* in_out_handle) {
    return AtBoundary(__func__, [&] {
        if (params == nullptr) {
            return Fail(velkori_Result_InvalidValue, "Skeleton Initialization Parameter structure is null");
        }
        velkori_UtilityConfigInitParams_ config = {};
        (skeletonType == velkori_SkeletonType_Source ? config.sourceSkeleton : config.targetSkeleton) =
            *params;
        return CreateOrUpdateFromRecord(configName, &config, in_out_handle);
    });
}

velkori_Result velkori_writeConfigDataToJSON(velkori_Handle handle,
    const velkori_CoordinateSpace_* optional_coordinateSpace, char* out_buffer, int32_t* in_out_bufferSize) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_bufferSize == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_bufferSize");
        }
        if (optional_coordinateSpace != nullptr && !HasUnitAxisSums(*optional_coordinateSpace)) {
            return Fail(velkori_Result_InvalidValue,
                "Parameter optional_coordinateSpace must be an Axis Aligned matrix if provided");
        }
        const std::string& text = WriteOnce(
            instance, CoordinateSpace(
                          optional_coordinateSpace != nullptr ? *optional_coordinateSpace : ProcessSpace()));
        const auto size = static_cast<int64_t>(text.size()) + 1;
        if (size > std::numeric_limits<int32_t>::max()) {
            return Fail(velkori_Result_BufferTooSmall, "The document is too large for any buffer");
        }
        if (out_buffer != nullptr) {
            if (*in_out_bufferSize < size) {
                return Fail(velkori_Result_BufferTooSmall,
                    "Parameter in_out_bufferSize is not large enough to write to buffer out_buffer");
            }
            std::memcpy(out_buffer, text.c_str(), text.size() + 1);
        }
        *in_out_bufferSize = static_cast<int32_t>(size);
        return velkori_Result_Success;
    });
}
