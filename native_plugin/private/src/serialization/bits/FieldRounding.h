#pragma once

#include <cstdint>

namespace Velkori_Utility {

// The largest value of an unsigned field of 0 to 31 bits.
constexpr std::uint32_t largestField(int bits) {
    return (std::uint32_t{1} << bits) - 1;
}

// The nearest integer, halves up, of a value from 0 to 2^31. Anything else, nan too, gives 0. Splitting off
// the fraction is exact, where adding one half isn't.
template <typename T>
constexpr std::uint32_t roundToField(T value) {
    constexpr T Limit = 2147483648.0;
    if (!(value >= 0) || value >= Limit) {
        return 0;
    }
    const auto whole = static_cast<std::uint32_t>(value);
    return whole + (value - static_cast<T>(whole) >= T{0.5} ? 1 : 0);
}

// An integral value's low 32 bits in two's complement; 0 for infinities, nan and what no 64-bit integer
// holds.
template <typename T>
std::uint32_t wrapToField(T integral) {
    constexpr T Limit = 9223372036854775808.0;
    if (!(integral >= -Limit && integral < Limit)) {
        return 0;
    }
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(integral));
}

} // namespace Velkori_Utility
