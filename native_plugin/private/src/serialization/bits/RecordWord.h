#pragma once

#include <bit>
#include <cstdint>

namespace Velkori_Utility {

// A record is made of little-endian words, whatever the processor's own byte order: turns a word that is
// about to enter a record, or that has just left one, into the other form.
constexpr std::uint32_t SwapToRecordOrder(std::uint32_t word) {
    if constexpr (std::endian::native == std::endian::big) {
        return __builtin_bswap32(word);
    } else {
        return word;
    }
}

} // namespace Velkori_Utility
