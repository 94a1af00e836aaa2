#pragma once

#include "core/UtilityConfigData.h"
#include "retargeting/Retargeting.h"
#include "serialization/Serialization.h"

namespace Velkori_Utility {

// What a handle stands for: one loaded configuration and all that works on it. The members refer to each
// other, so an instance is never copied or moved.
struct UtilityInstance {
    explicit UtilityInstance(const UtilityConfigData::InitializationParams& params)
        : config(params), retargeting(config), serialization(config) {}

    UtilityInstance(const UtilityInstance&) = delete;
    UtilityInstance& operator=(const UtilityInstance&) = delete;

    UtilityConfigData config;
    Retargeting retargeting;
    Serialization serialization;
};

} // namespace Velkori_Utility
