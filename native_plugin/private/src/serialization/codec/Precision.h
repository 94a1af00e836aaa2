#pragma once

#include "Velkori_Utility.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace Velkori_Utility {

// How finely a compressed value is quantised. Delta marks a value that holds a difference to a baseline; no
// stream has it as its precision.
enum class Precision : std::uint8_t { Standard = 0, Delta = 1, High = 2, Max = 3 };

// One value for each precision, in the order of their numbers.
template <typename T>
struct PerPrecision {
    constexpr const T& operator[](Precision precision) const {
        return values[static_cast<std::size_t>(precision)];
    }

    constexpr T& operator[](Precision precision) { return values[static_cast<std::size_t>(precision)]; }

    std::array<T, 4> values;
};

// What `make(precision)` gives for each.
template <typename Make>
constexpr auto makePerPrecision(const Make& make) {
    return PerPrecision<decltype(make(Precision::Standard))>{
        {make(Precision::Standard), make(Precision::Delta), make(Precision::High), make(Precision::Max)}};
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
