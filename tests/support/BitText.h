#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

// What a record holds, bit by bit in the order of writing.

// Blanks group the bits for the eye only.
inline std::string operator""_bits(const char* text, std::size_t length) {
    std::string bits(text, length);
    std::erase(bits, ' ');
    return bits;
}

// Ends the writer, which is the library's BitWriter: who sees the public header only has no other use of it.
template <typename Writer>
std::string ToBitText(Writer& writer) {
    const int count = writer.getBitsWritten();
    writer.flush();
    std::string bits;
    for (int i = 0; i < count; ++i) {
        bits += (writer.getWords()[i / 32] >> (31 - i % 32) & 1U) != 0 ? '1' : '0';
    }
    return bits;
}

// The words of a record, the last one filled up with zeros.
inline std::vector<std::uint32_t> ToWords(std::string bits) {
    std::erase(bits, ' ');
    std::vector<std::uint32_t> words((bits.size() + 31) / 32);
    for (std::size_t i = 0; i < bits.size(); ++i) {
        words[i / 32] |= (bits[i] == '1' ? 1U : 0U) << (31 - i % 32);
    }
    return words;
}
