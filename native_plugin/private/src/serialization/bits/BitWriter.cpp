#include "serialization/bits/BitWriter.h"

#include "serialization/bits/IntegerRange.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Velkori_Utility {

BitWriter::BitWriter(int size, std::vector<std::uint32_t> memory) : words(std::move(memory)) {
    constexpr std::int64_t MaxInt = std::numeric_limits<int>::max();
    const int maxWords = size / 4;
    maxBits = static_cast<int>(std::min(std::int64_t{maxWords} * 32, MaxInt));
    words.clear();
    words.reserve(static_cast<std::size_t>(maxWords));
}

void BitWriter::writeBytes(std::span<const unsigned char> bytes) {
    if (static_cast<std::int64_t>(bytes.size()) * 8 > maxBits - bitsWritten) {
        return;
    }
    for (const unsigned char byte : bytes) {
        writeBits(byte, 8);
    }
}

void BitWriter::flush() {
    if (scratchBits > 0) {
        pushWord();
        scratchBits = 0;
    }
}

void BitWriter::serializeInteger(int value, int min, int max) {
    writeBits(static_cast<unsigned>(value) - static_cast<unsigned>(min), getIntegerBits(min, max));
}

} // namespace Velkori_Utility
