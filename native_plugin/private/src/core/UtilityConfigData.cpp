#include "core/UtilityConfigData.h"

namespace Velkori_Utility {

bool UtilityConfigInitializationParams::CheckIsValid(LogMsgMap& messages) const {
    const bool configIsValid = config.CheckIsValid(messages);
    const bool sourceIsValid = sourceSkeleton.CheckIsValid(messages);
    const bool targetIsValid = targetSkeleton.CheckIsValid(messages);
    if (!configIsValid || !sourceIsValid || !targetIsValid) {
        return false;
    }
    const bool minIsValid = JointMappingData::ValidateSerializedMappingData(
        sourceSkeleton, targetSkeleton, minMappings, messages);
    const bool maxIsValid = JointMappingData::ValidateSerializedMappingData(
        sourceSkeleton, targetSkeleton, maxMappings, messages);
    return minIsValid && maxIsValid;
}

UtilityConfigData::UtilityConfigData(const InitializationParams& params)
    : name(params.name),
      config(params.config),
      sourceSkeleton(params.sourceSkeleton),
      targetSkeleton(params.targetSkeleton),
      minMappingData(sourceSkeleton, targetSkeleton, params.minMappings),
      maxMappingData(sourceSkeleton, targetSkeleton, params.maxMappings) {
    // A target joint that one set maps is mapped in both; where they disagree, the minimum set prevails.
    const std::vector<std::string>& jointNames = targetSkeleton.GetJointNames();
    JointMappingData::PopulateUnmappedJoints(jointNames, minMappingData, maxMappingData);
    JointMappingData::PopulateUnmappedJoints(jointNames, maxMappingData, minMappingData);
}

const SkeletonData& UtilityConfigData::GetSkeletonData(velkori_SkeletonType type) const {
    if (type == velkori_SkeletonType_Source) {
        return sourceSkeleton;
    }
    return targetSkeleton;
}

UtilityConfigData::InitializationParams UtilityConfigData::GenerateInitializationParams() const {
    return {name, config, sourceSkeleton.GenerateInitializationParams(false),
        targetSkeleton.GenerateInitializationParams(false), minMappingData.ToSerializedJointMappings(),
        maxMappingData.ToSerializedJointMappings()};
}

} // namespace Velkori_Utility
