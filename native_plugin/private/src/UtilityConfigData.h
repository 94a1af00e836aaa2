#pragma once

#include "core/ConfigurationData.h"
#include "core/SkeletonInitializationParams.h"

#include <string>

namespace Velkori_Utility {

// A configuration in its plain, checkable form, as a document or the public records give it.
struct UtilityConfigInitializationParams {
    std::string name;
    Configuration config;
    SkeletonInitializationParams sourceSkeleton;
    SkeletonInitializationParams targetSkeleton;
};

// One loaded configuration. It is built from parameters that passed validation.
class UtilityConfigData {
  public:
    using InitializationParams = UtilityConfigInitializationParams;

    explicit UtilityConfigData(const InitializationParams& params);

    UtilityConfigData(const UtilityConfigData&) = delete;
    UtilityConfigData& operator=(const UtilityConfigData&) = delete;

    const std::string name;
    const Configuration config;
};

} // namespace Velkori_Utility
