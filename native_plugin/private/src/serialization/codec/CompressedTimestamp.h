#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/FieldWidths.h"

#include <algorithm>
#include <cstdint>

namespace Velkori_Utility {

// A snapshot's time, in seconds: even steps over half an hour, in double precision. Time doesn't wrap: all
// that is later is the end.
struct CompressedTimestamp {
    std::uint32_t field = 0;
    Precision precision = Precision::Standard;

    friend bool operator==(const CompressedTimestamp&, const CompressedTimestamp&) = default;
};

inline constexpr double LargestTimestamp = 1800.0;

inline CompressedTimestamp compressTimestamp(Precision precision, double seconds) {
    const double largest = largestField(TimestampWidths[precision]);
    const double field = std::min(seconds, LargestTimestamp) / LargestTimestamp * largest;
    return {seconds < 0.0 ? 0 : roundToField(field), precision};
}

inline double decompress(const CompressedTimestamp& timestamp) {
    return timestamp.field / static_cast<double>(largestField(TimestampWidths[timestamp.precision])) *
           LargestTimestamp;
}

} // namespace Velkori_Utility
