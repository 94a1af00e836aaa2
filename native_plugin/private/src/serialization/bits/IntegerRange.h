#pragma once

#include <bit>

namespace Velkori_Utility {

// The bits that an integer from `min` to `max` takes in the stream.
constexpr int getIntegerBits(int min, int max) {
    return std::bit_width(static_cast<unsigned>(max) - static_cast<unsigned>(min));
}

} // namespace Velkori_Utility
