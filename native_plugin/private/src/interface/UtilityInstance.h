#pragma once

#include "core/UtilityConfigData.h"
#include "retargeting/Retargeting.h"
#include "serialization/Serialization.h"
#include "shared/DataTypes.h"
#include "shared/ProcessSpace.h"

#include <optional>
#include <string>
#include <vector>

namespace Velkori_Utility {

// A configuration's text with its poses in `space`.
struct WrittenDocument {
    CoordinateSpace space;
    std::string text;
};

// What a handle stands for: one loaded configuration and all that works on it. The members refer to each
// other, so an instance is never copied or moved.
struct UtilityInstance {
    explicit UtilityInstance(const UtilityConfigData::InitializationParams& params)
        : config(params), retargeting(config, CoordinateSpace(ProcessSpace())), serialization(config) {}

    UtilityInstance(const UtilityInstance&) = delete;
    UtilityInstance& operator=(const UtilityInstance&) = delete;

    UtilityConfigData config;
    Retargeting retargeting;
    Serialization serialization;
    // What was last written of the configuration, so that asking for its size and then for the text makes it
    // once. Memory for speed alone: the configuration doesn't change.
    std::optional<WrittenDocument> lastDocument;
    // A host's pose on its way into a snapshot, kept for the next one's memory.
    std::vector<JointPose> streamedPose;
};

} // namespace Velkori_Utility
