#pragma once

#include "serialization/bits/RecordWord.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

namespace Velkori_Utility {

// Packs unsigned fields of 0 to 32 bits, most significant bit first, into 32-bit words, which lie in memory
// with their lowest byte first. What doesn't fit is dropped without a word: who writes computes sizes
// beforehand and compares. A writer serves one record.
class BitWriter {
  public:
    // Takes up to `size` bytes, in whole words.
    explicit BitWriter(int size) : BitWriter(size, {}) {}

    // The same, writing into the memory of an earlier record, which is emptied.
    BitWriter(int size, std::vector<std::uint32_t> memory);

    // The low `bits` bits of the value. A field that doesn't fit leaves a hole: smaller ones after it may.
    void writeBits(unsigned int value, int bits) {
        if (bits > maxBits - bitsWritten) {
            return;
        }
        const std::uint64_t field = bits >= 32 ? value : value & ((1U << bits) - 1U);
        scratchBits += bits;
        scratch |= field << ((64 - scratchBits) & 63);
        if (scratchBits >= 32) {
            pushWord();
            scratch <<= 32;
            scratchBits -= 32;
        }
        bitsWritten += bits;
    }

    // All of the bytes or none, at whatever bit the stream has reached.
    void writeBytes(std::span<const unsigned char> bytes);
    // Completes the last word with zeros. Comes last: bits that are written after it are joined with those
    // that it has pushed.
    void flush();
    // In the bits that the range takes; a value out of range loses its high bits.
    void serializeInteger(int value, int min, int max);

    const std::uint32_t* getWords() const { return words.data(); }

    // Ends the writer: its words, and with them its memory for the next one.
    std::vector<std::uint32_t> takeWords() { return std::move(words); }

    int getBitsWritten() const { return bitsWritten; }

    // Of the words that are complete or flushed, in bytes.
    std::size_t getSize() const { return words.size() * sizeof(std::uint32_t); }

  private:
    void pushWord() { words.push_back(SwapToRecordOrder(static_cast<std::uint32_t>(scratch >> 32))); }

    std::vector<std::uint32_t> words;
    // The bits that no word holds yet, from its top.
    std::uint64_t scratch = 0;
    // Of whole words.
    int maxBits = 0;
    int bitsWritten = 0;
    int scratchBits = 0;
};

} // namespace Velkori_Utility
