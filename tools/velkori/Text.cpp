#include "Text.h"

#include <algorithm>

namespace Velkori_Tool {

namespace {

bool IsContinuation(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

/** The length of the well-formed sequence that the text begins with; 0 if it begins with none. */
size_t SequenceLength(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    const auto second = static_cast<unsigned char>(text.size() > 1 ? text[1] : '\0');
    const size_t length = first < 0x80                    ? 1
                          : first >= 0xC2 && first < 0xE0 ? 2
                          : first >= 0xE0 && first < 0xF0 ? 3
                          : first >= 0xF0 && first < 0xF5 ? 4
                                                          : 0;
    // Overlong forms, surrogates and what lies beyond the last code point.
    const bool isForbidden = (first == 0xE0 && second < 0xA0) || (first == 0xED && second >= 0xA0) ||
                             (first == 0xF0 && second < 0x90) || (first == 0xF4 && second >= 0x90);
    if (length == 0 || length > text.size() || isForbidden) {
        return 0;
    }
    const std::string_view rest = text.substr(1, length - 1);
    return std::all_of(rest.begin(), rest.end(), IsContinuation) ? length : 0;
}

} // namespace

std::string ValidUTF8(std::string_view text) {
    std::string valid;
    while (!text.empty()) {
        const size_t length = SequenceLength(text);
        if (length == 0) {
            valid += "\xEF\xBF\xBD";
        } else if (text.front() == '\0') {
            valid += '_';
        } else {
            valid += text.substr(0, length);
        }
        text.remove_prefix(std::max<size_t>(length, 1));
    }
    return valid;
}

std::string LowerCase(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        c = (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return result;
}

} // namespace Velkori_Tool
