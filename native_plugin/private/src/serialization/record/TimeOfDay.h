#pragma once

#include "serialization/bits/FieldRounding.h"
#include "shared/Arithmetic.h"

#include <cstdint>

namespace Velkori_Utility {

// A signed time within half a day of zero, in seconds, as a field of 24 bits. Outside of that it wraps
// around.
inline std::uint32_t compressTimeOfDay(double seconds) {
    constexpr std::uint32_t LargestField = largestField(24);
    return wrapToField(RoundHalfAway((seconds / 86400.0 + 0.5) * LargestField)) & LargestField;
}

constexpr double decompressTimeOfDay(std::uint32_t field) {
    return (field * 5.960464832810452e-8 - 0.5) * 86400.0;
}

} // namespace Velkori_Utility
