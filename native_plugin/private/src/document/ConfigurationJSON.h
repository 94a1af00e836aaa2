#pragma once

#include "core/ConfigurationData.h"
#include "document/RapidJSON.h"

namespace Velkori_Utility {

// The three vectors normalised. One that lies on no axis is logged; refusing the document is left to
// Configuration::CheckIsValid.
CoordinateSpace ReadCoordinateSpace(const JSONValue& object);
JSONValue WriteCoordinateSpace(const CoordinateSpace& space, JSONAllocator& allocator);

// The head of a document.
Configuration ReadConfiguration(const JSONValue& object);
JSONValue WriteConfiguration(const Configuration& configuration, JSONAllocator& allocator);

} // namespace Velkori_Utility
