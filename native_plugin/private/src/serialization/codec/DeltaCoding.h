#pragma once

#include "serialization/codec/FieldWidths.h"

#include <cstdint>

namespace Velkori_Utility {

// A delta is the difference of two unsigned fields in zigzag code, which keeps small differences of either
// sign small: 0, -1, 1, -2, 2 become 0, 1, 2, 3, 4.
constexpr std::uint32_t encodeDelta(std::uint32_t current, std::uint32_t baseline) {
    const auto difference = static_cast<std::int32_t>(current - baseline);
    return (static_cast<std::uint32_t>(difference) << 1) ^ static_cast<std::uint32_t>(difference >> 31);
}

// The inverse. Wraps around for a code that no two fields give; the caller keeps its field's bits.
constexpr std::uint32_t applyDelta(std::uint32_t baseline, std::uint32_t delta) {
    return baseline + ((delta >> 1) ^ (0U - (delta & 1U)));
}

// The code of the narrowest range that holds the field; 0 for one that fits none.
constexpr std::uint32_t selectDeltaRange(const DeltaRangeBits& rangeBits, std::uint32_t field) {
    for (std::uint32_t code = 0; code < 3; ++code) {
        if (field >> rangeBits[code] == 0) {
            return code;
        }
    }
    return 0;
}

} // namespace Velkori_Utility
