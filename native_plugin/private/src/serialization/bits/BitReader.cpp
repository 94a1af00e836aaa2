#include "serialization/bits/BitReader.h"

#include "serialization/bits/IntegerRange.h"

#include <algorithm>
#include <limits>

namespace Velkori_Utility {

BitReader::BitReader(const void* inWords, int bytes)
    : words(static_cast<const unsigned char*>(inWords)), maxWords(bytes / 4) {
    constexpr std::int64_t MaxInt = std::numeric_limits<int>::max();
    maxBits = static_cast<int>(std::min(std::int64_t{maxWords} * 32, MaxInt));
    if (maxWords > 0) {
        loadWord();
    }
}

std::uint32_t BitReader::readAcrossWords(int bits) {
    const int leading = 32 - scratchBits;
    const std::uint64_t high = (scratch >> 32) & lowBits(leading);
    ++wordIndex;
    if (wordIndex >= maxWords) {
        return 0;
    }
    loadWord();
    scratchBits = bits - leading;
    return static_cast<std::uint32_t>(high << scratchBits | scratch >> (64 - scratchBits));
}

int BitReader::deserializeInteger(int min, int max) {
    return static_cast<int>(readBits(getIntegerBits(min, max)) + static_cast<unsigned>(min));
}

void BitReader::deserializeBytes(std::span<unsigned char> out) {
    const int bitsIntoByte = bitsRead % 8;
    if (bitsIntoByte != 0) {
        readBits(8 - bitsIntoByte);
    }
    if (static_cast<std::int64_t>(out.size()) * 8 > maxBits - bitsRead) {
        std::fill(out.begin(), out.end(), static_cast<unsigned char>(0));
        return;
    }
    for (unsigned char& byte : out) {
        byte = static_cast<unsigned char>(readBits(8));
    }
}

} // namespace Velkori_Utility
