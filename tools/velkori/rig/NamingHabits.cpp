#include "rig/NamingHabits.h"

#include "Failure.h"
#include "rig/BuiltInNames.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

namespace Velkori_Tool {

namespace {

constexpr std::string_view whitespace = " \t\r";

/** Takes the first word off a text; empty at its end. */
std::string_view TakeWord(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(whitespace), text.size()));
    const size_t length = std::min(text.find_first_of(whitespace), text.size());
    const std::string_view word = text.substr(0, length);
    text.remove_prefix(length);
    return word;
}

[[noreturn]] void FailOn(std::string_view word, const std::string& where) {
    throw Failure(fmt::format("{}: '{}' isn't a word with a weight such as hip~0.9+side", where, word));
}

} // namespace

NamingHabits NamingHabits::BuiltIn() {
    NamingHabits habits;
    std::string text;
    for (const std::string_view line : builtInNames) {
        text += line;
        text += '\n';
    }
    habits.Add(text, "built-in names");
    return habits;
}

void NamingHabits::Add(std::string_view text, const std::string& origin) {
    // What the words of this text meant before counts no more; they may have several meanings within it.
    std::map<std::string, std::vector<WordMeaning>, std::less<>> before;
    std::swap(before, meanings);
    for (int number = 1; !text.empty(); ++number) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        line.remove_prefix(std::min(line.find_first_not_of(whitespace), line.size()));
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const std::string where = fmt::format("'{}', line {}", origin, number);
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            throw Failure(fmt::format("{}: say it as kind: word word ...", where));
        }
        std::string_view words = line.substr(colon + 1);
        for (std::string_view word = TakeWord(words); !word.empty(); word = TakeWord(words)) {
            AddWord(line.substr(0, colon), word, where);
        }
    }
    meanings.merge(before);
}

void NamingHabits::AddWord(std::string_view kind, std::string_view word, const std::string& where) {
    if (kind == "left" || kind == "right") {
        sides[std::string(word)] = kind == "left" ? Side::Left : Side::Right;
        return;
    }
    if (kind == "pairs") {
        const size_t slash = word.find('/');
        if (slash == std::string_view::npos || slash == 0 || slash + 1 == word.size()) {
            throw Failure(fmt::format("{}: '{}' isn't a pair such as g/d", where, word));
        }
        pairs.push_back({std::string(word.substr(0, slash)), std::string(word.substr(slash + 1))});
        return;
    }
    if (kind == "nothing" || kind == "helper") {
        (kind == "nothing" ? nothing : helpers)[std::string(word)] = true;
        return;
    }
    const auto part = FindBodyPart(kind);
    if (!part) {
        throw Failure(fmt::format("{}: '{}' is no kind of words; see docs/rigs.md", where, kind));
    }
    WordMeaning meaning{*part};
    std::string_view stem = word;
    for (const auto& [ending, needsSide] : {std::pair<std::string_view, int>{"+side", 1}, {"-side", 0}}) {
        if (stem.size() > ending.size() && stem.substr(stem.size() - ending.size()) == ending) {
            stem.remove_suffix(ending.size());
            meaning.needsSide = needsSide;
        }
    }
    const size_t tilde = stem.find('~');
    if (tilde != std::string_view::npos) {
        const std::string_view digits = stem.substr(tilde + 1);
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), meaning.fit);
        if (parsed.ec != std::errc() || parsed.ptr != digits.data() + digits.size() ||
            !(meaning.fit >= 0.0f) || !(meaning.fit <= 1.0f)) {
            FailOn(word, where);
        }
        stem = stem.substr(0, tilde);
    }
    if (stem.empty()) {
        FailOn(word, where);
    }
    meanings[std::string(stem)].push_back(meaning);
}

Side NamingHabits::SideOf(std::string_view word) const {
    const auto found = sides.find(word);
    return found == sides.end() ? Side::None : found->second;
}

std::span<const WordMeaning> NamingHabits::MeaningsOf(std::string_view word) const {
    const auto found = meanings.find(word);
    return found == meanings.end() ? std::span<const WordMeaning>()
                                   : std::span<const WordMeaning>(found->second);
}

bool NamingHabits::MeansSidedPart(std::string_view word) const {
    const auto found = MeaningsOf(word);
    return std::any_of(
        found.begin(), found.end(), [](const WordMeaning& meaning) { return HasSides(meaning.part); });
}

Side NamingHabits::TakeGluedSide(std::string& word) const {
    if (!MeaningsOf(word).empty() || Has(nothing, word) || Has(helpers, word)) {
        return Side::None;
    }
    // A single letter says it if what remains is a part that has sides; a whole word says it anyway.
    for (const bool onlyParts : {true, false}) {
        for (const auto& [text, side] : sides) {
            const bool isWhole =
                text == "left" || text == "right" || static_cast<unsigned char>(text.front()) >= 0x80;
            if (word.size() <= text.size() || (!onlyParts && !isWhole)) {
                continue;
            }
            const size_t stem = word.size() - text.size();
            for (const size_t rest : {text.size(), size_t{0}}) {
                const bool isThere = word.compare(rest == 0 ? stem : 0, text.size(), text) == 0;
                const std::string remainder = word.substr(rest, stem);
                if (isThere && (!onlyParts || MeansSidedPart(remainder))) {
                    word = remainder;
                    return side;
                }
            }
        }
    }
    return Side::None;
}

} // namespace Velkori_Tool
