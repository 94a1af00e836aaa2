#pragma once

// The only place that configures RapidJSON. Every file that needs it includes this header, so that all of
// the library is compiled with the same settings.

#include <stdexcept>

// The host must survive whatever a document holds. Typed access checks before it reads, so that none of
// RapidJSON's own assertions can fire; should one do so all the same, it ends as an exception that the
// boundary of the interface turns into a failure code, and never in abort().
#define RAPIDJSON_ASSERT(condition)                                                                          \
    ((condition) ? static_cast<void>(0) : throw std::logic_error("RapidJSON assertion failed: " #condition))

#include <rapidjson/document.h>

namespace Velkori_Utility {

using JSONDocument = rapidjson::Document;
using JSONValue = rapidjson::Value;
using JSONAllocator = rapidjson::Document::AllocatorType;

} // namespace Velkori_Utility
