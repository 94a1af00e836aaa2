#pragma once

// A whole configuration as JSON text. This header is what the rest of the library sees of documents; the
// others of this folder see RapidJSON.

#include "core/UtilityConfigData.h"

#include <optional>
#include <string>

namespace Velkori_Utility {

// Doesn't fail on what the document says: gathers messages, and what it can read. Poses are converted from
// the document's coordinate space to `processSpace`. None if the text isn't JSON.
std::optional<UtilityConfigInitializationParams> ReadConfigDocument(
    LogMsgMap& messages, const char* text, const CoordinateSpace& processSpace);

// An indented document whose poses are in `coordinateSpace`.
std::string WriteConfigDocument(const UtilityConfigData& config, const CoordinateSpace& coordinateSpace);

} // namespace Velkori_Utility
