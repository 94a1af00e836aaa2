#pragma once

#include "core/ConfigurationData.h"
#include "core/JointMappingData.h"
#include "core/SerializedJointMapping.h"
#include "core/SkeletonData.h"

#include <string>
#include <vector>

namespace Velkori_Utility {

// A configuration in its plain, checkable form, as a document or the public records give it. All poses are in
// the coordinate space of the process.
struct UtilityConfigInitializationParams {
    // Runs the rules of all parts. Mappings are judged only if the skeletons that they index are sound.
    bool CheckIsValid(LogMsgMap& messages) const;

    std::string name;
    Configuration config;
    SkeletonInitializationParams sourceSkeleton;
    SkeletonInitializationParams targetSkeleton;
    std::vector<SerializedJointMapping> minMappings;
    std::vector<SerializedJointMapping> maxMappings;
};

// One loaded configuration: what every handle holds. It is built from parameters that passed CheckIsValid and
// doesn't change; its parts refer to each other, so it is never moved or copied.
class UtilityConfigData {
  public:
    using InitializationParams = UtilityConfigInitializationParams;

    explicit UtilityConfigData(const InitializationParams& params);

    UtilityConfigData(const UtilityConfigData&) = delete;
    UtilityConfigData& operator=(const UtilityConfigData&) = delete;

    const std::string& GetName() const { return name; }

    const Configuration& GetConfiguration() const { return config; }

    const SourceSkeletonData& GetSourceSkeleton() const { return sourceSkeleton; }

    const TargetSkeletonData& GetTargetSkeleton() const { return targetSkeleton; }

    // The source for type 0, the target for any other.
    const SkeletonData& GetSkeletonData(velkori_SkeletonType type) const;

    const JointMappingData& GetMinMappingData() const { return minMappingData; }

    const JointMappingData& GetMaxMappingData() const { return maxMappingData; }

    InitializationParams GenerateInitializationParams() const;

  private:
    const std::string name;
    const Configuration config;
    const SourceSkeletonData sourceSkeleton;
    const TargetSkeletonData targetSkeleton;
    JointMappingData minMappingData;
    JointMappingData maxMappingData;
};

} // namespace Velkori_Utility
