// The exports that generate joint mappings.

#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"
#include "retargeting/preparation/MappingGeneration.h"
#include "shared/ProcessSpace.h"

using namespace Velkori_Utility;

velkori_Result velkori_generateMappings(velkori_Handle handle, velkori_AutoMappingFlags flags) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const UtilityConfigData& config = instance.config;
        const SourceSkeletonData& source = config.GetSourceSkeleton();
        const TargetSkeletonData& target = config.GetTargetSkeleton();
        if (source.IsEmpty()) {
            return Fail(velkori_Result_InvalidData,
                "Cannot Generate Mappings for Config: %s.  Config must have valid Source Skeleton Data!",
                config.GetName().c_str());
        }
        if (target.IsEmpty()) {
            return Fail(velkori_Result_InvalidData,
                "Cannot Generate Mappings for Config: %s.  Config must have valid Target Skeleton Data!",
                config.GetName().c_str());
        }
        UtilityConfigInitializationParams params = config.GenerateInitializationParams();
        const auto generate = [&](velkori_SkeletonTPoseType type) {
            return AutoMapping::GenerateJointMappings(
                source.GetTPoseData(type), target.GetTPoseData(type), Vector3f(ProcessSpace().up), flags);
        };
        params.minMappings = generate(velkori_SkeletonTPoseType_Min);
        params.maxMappings = generate(velkori_SkeletonTPoseType_Max);
        return UtilityContext::ReinitializeUtilityInstanceHandle(handle, params)
                   ? velkori_Result_Success
                   : Fail(velkori_Result_OperationFailed,
                         "Unable to re-intialize the handle with the Updated Joint Mappings");
    });
}

// Its checks are all there is: it makes no configuration.
velkori_Result velkori_generateSimpleMappingConfig(velkori_Handle handle, int32_t targetJointCount,
    const char* const* targetJointNames, const char* const* /*targetParentJointNames*/,
    const velkori_Transform_* targetRestPose, const char* const* sourceJointNamesMapping,
    velkori_Handle* out_generatedConfigHandle) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& /*instance*/) {
        if (targetJointCount < 1) {
            return Fail(velkori_Result_InvalidValue, "Target Joint Count must be Greater than 0");
        }
        if (targetJointNames == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "targetJointNames");
        }
        if (targetRestPose == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "targetRestPose");
        }
        if (const velkori_Result result = CheckTransforms(targetRestPose, targetJointCount);
            result != velkori_Result_Success) {
            return result;
        }
        if (sourceJointNamesMapping == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "sourceJointNamesMapping");
        }
        if (out_generatedConfigHandle == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "out_generatedConfigHandle");
        }
        return velkori_Result_Failure;
    });
}
