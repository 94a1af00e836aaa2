#pragma once

#include "serialization/bits/RecordWord.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace Velkori_Utility {

// The counterpart of BitWriter, over words that stay the caller's and need not be aligned. A read past the
// end gives 0 and leaves the reader where it is.
class BitReader {
  public:
    // `bytes` is an upper limit. From the first word on, a word is loaded only when a bit of it is needed, so
    // a record may end before the limit, and flush with its memory.
    BitReader(const void* inWords, int bytes);

    // Ends the stream with the word in which the bit before `end`, counted from its start, lies.
    void endAt(std::int64_t end) {
        const std::int64_t wholeWords = (std::max(end, std::int64_t{0}) + 31) / 32 * 32;
        maxBits = static_cast<int>(std::min(std::int64_t{maxBits}, wholeWords));
    }

    std::uint32_t readBits(int bits) {
        if (bits > maxBits - bitsRead) {
            return 0;
        }
        bitsRead += bits;
        if (bits <= 32 - scratchBits) {
            scratchBits += bits;
            return static_cast<std::uint32_t>((scratch >> 32) >> (32 - scratchBits)) & lowBits(bits);
        }
        return readAcrossWords(bits);
    }

    // An integer from `min` to `max`, from the bits that the range takes.
    int deserializeInteger(int min, int max);
    // Skips to the next byte of the stream first, which the writer doesn't do: byte runs have to begin at
    // whole bytes. All of the bytes or zeros.
    void deserializeBytes(std::span<unsigned char> out);

    int getBitsRead() const { return bitsRead; }

  private:
    static constexpr std::uint32_t lowBits(int bits) { return bits >= 32 ? ~0U : (1U << bits) - 1U; }

    std::uint32_t readAcrossWords(int bits);

    void loadWord() {
        std::uint32_t word = 0;
        std::memcpy(&word, words + sizeof word * static_cast<std::size_t>(wordIndex), sizeof word);
        scratch = std::uint64_t{SwapToRecordOrder(word)} << 32;
    }

    const unsigned char* words;
    // The current word, in its upper half.
    std::uint64_t scratch = 0;
    int maxBits = 0;
    int maxWords = 0;
    int bitsRead = 0;
    // How many bits of the current word have been read, 0 to 32.
    int scratchBits = 0;
    int wordIndex = 0;
};

} // namespace Velkori_Utility
