#pragma once

#include "Velkori_Utility.h"

#include <cstdint>
#include <string_view>

namespace Velkori_Utility {

// How finely a compressed value is quantised. Delta marks a value that holds a difference to a baseline; no
// stream has it as its precision.
enum class Precision : std::uint8_t { Standard = 0, Delta = 1, High = 2, Max = 3 };

constexpr std::string_view toString(Precision precision) {
    switch (precision) {
    case Precision::Delta:
        return "Delta";
    case Precision::High:
        return "High";
    case Precision::Max:
        return "Max";
    default:
        return "Standard";
    }
}

// The precision of a stream. A record carries two bits of its compression type; 3, which isn't one, means
// Standard.
constexpr Precision toPrecision(velkori_CompressionType type) {
    switch (static_cast<unsigned>(type) & 3U) {
    case velkori_CompressionType_High:
        return Precision::High;
    case velkori_CompressionType_Max:
        return Precision::Max;
    default:
        return Precision::Standard;
    }
}

} // namespace Velkori_Utility
