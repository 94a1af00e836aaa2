#include "rig/JointName.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <set>

namespace Velkori_Tool {

namespace {

bool IsUpper(char c) {
    return c >= 'A' && c <= 'Z';
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/** Other letters than ASCII's have no capitals here: what splits words are ASCII's. */
bool IsOther(char c) {
    return static_cast<unsigned char>(c) >= 0x80;
}

bool IsLower(char c) {
    return c >= 'a' && c <= 'z';
}

/** The code point that a text begins with, and its length; malformed bytes stand for themselves. */
std::pair<char32_t, size_t> FirstCodePoint(std::string_view text) {
    const auto byte = [&](size_t i) { return static_cast<char32_t>(static_cast<unsigned char>(text[i])); };
    const char32_t first = byte(0);
    if (first >= 0xC2 && first < 0xE0 && text.size() > 1) {
        return {(first & 0x1F) << 6 | (byte(1) & 0x3F), 2};
    }
    if (first >= 0xE0 && first < 0xF0 && text.size() > 2) {
        return {(first & 0x0F) << 12 | (byte(1) & 0x3F) << 6 | (byte(2) & 0x3F), 3};
    }
    return {first, 1};
}

/** Accents taken off, wide forms made plain and Cyrillic made small: "Épaule" is "Epaule", "ＩＫ" is "IK". */
std::string Fold(std::string_view text) {
    // U+00C0 to U+00FF; a dash where a letter stays as it is.
    constexpr std::string_view latin = "AAAAAA-CEEEEIIII-NOOOOO-OUUUUY--aaaaaa-ceeeeiiii-nooooo-ouuuuy-y";
    // U+0100 to U+017F.
    constexpr std::string_view moreLatin =
        "AaAaAaCcCcCcCcDdDdEeEeEeEeEeGgGgGgGgHhHhIiIiIiIiIi--JjKk-LlLlLlLlLlNnNnNn---OoOoOo--"
        "RrRrRrSsSsSsSsTtTtTtUuUuUuUuUuUuWwYyYZzZzZz-";
    std::string folded;
    while (!text.empty()) {
        const auto [point, length] = FirstCodePoint(text);
        const bool isWide = point >= 0xFF01 && point <= 0xFF5E;
        const bool isAccented = length == 2 && point >= 0xC0 && point <= 0xFF && latin[point - 0xC0] != '-';
        const bool isOfMore =
            length == 2 && point >= 0x100 && point <= 0x17F && moreLatin[point - 0x100] != '-';
        const bool isCapitalCyrillic = point >= 0x410 && point <= 0x42F;
        if (isWide) {
            folded += static_cast<char>(point - 0xFEE0);
        } else if (isAccented) {
            folded += latin[point - 0xC0];
        } else if (isOfMore) {
            folded += moreLatin[point - 0x100];
        } else if (isCapitalCyrillic) {
            const char32_t small = point + 0x20;
            folded += static_cast<char>(0xC0 | small >> 6);
            folded += static_cast<char>(0x80 | (small & 0x3F));
        } else {
            folded += text.substr(0, length);
        }
        text.remove_prefix(length);
    }
    return folded;
}

/** Whether a new word begins at text[i]: "leftArm", "LHipJoint", "spine1". */
bool BeginsWord(std::string_view text, size_t i) {
    const char before = text[i - 1];
    const char here = text[i];
    if (IsDigit(here) != IsDigit(before) || IsOther(here) != IsOther(before)) {
        return true;
    }
    const bool nextIsLower = i + 1 < text.size() && IsLower(text[i + 1]);
    return IsUpper(here) && (IsLower(before) || (IsUpper(before) && nextIsLower));
}

std::vector<std::string> Words(std::string_view name) {
    const size_t prefix = name.find_last_of(":|");
    const std::string text = Fold(prefix == std::string_view::npos ? name : name.substr(prefix + 1));
    std::vector<std::string> words;
    bool isInWord = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool isPart = IsUpper(c) || IsLower(c) || IsDigit(c) || IsOther(c);
        if (isPart && (!isInWord || BeginsWord(text, i))) {
            words.emplace_back();
        }
        if (isPart) {
            words.back() += static_cast<char>(IsUpper(c) ? c - 'A' + 'a' : c);
        }
        isInWord = isPart;
    }
    return words;
}

/** What a whole rig's names say of each. */
struct RigHabit {
    /** The rig's own name, which says nothing of the body. */
    std::string name;
    /** What says the sides in it besides the words that always do. */
    SideWords sides;
};

JointName Parse(const std::vector<std::string>& words, const NamingHabits& habits, const RigHabit& rig) {
    JointName parsed;
    for (size_t i = 0; i < words.size(); ++i) {
        std::string word = words[i];
        if (IsDigit(word.front())) {
            constexpr size_t mostDigits = 6;
            parsed.numbers.push_back(std::stoi(word.substr(0, mostDigits)));
            continue;
        }
        if (word == rig.name) {
            continue;
        }
        if (parsed.side == Side::None) {
            parsed.side = word == rig.sides.left    ? Side::Left
                          : word == rig.sides.right ? Side::Right
                                                    : habits.SideOf(word);
            if (parsed.side != Side::None) {
                continue;
            }
            parsed.side = habits.TakeGluedSide(word);
        }
        // "SpineA", "SpineB" and so on are numbered.
        const bool isLetter = word.size() == 1 && word.front() >= 'a' && word.front() <= 'e';
        if (isLetter && i + 1 == words.size() && !habits.MeaningsOf(parsed.word).empty()) {
            parsed.numbers.push_back(word.front() - 'a' + 1);
            continue;
        }
        // A "neck twist" is a neck.
        const bool completesWord = !parsed.word.empty() && !habits.MeaningsOf(parsed.word + word).empty();
        if (habits.IsHelper(word) && !completesWord) {
            parsed.isHelper = true;
        } else if (!habits.SaysNothing(word)) {
            parsed.word += word;
            parsed.numbers.clear();
        }
    }
    if (parsed.side == Side::None) {
        parsed.side = habits.TakeGluedSide(parsed.word);
    }
    // "L5" is the fifth lumbar vertebra and "T8" one of the chest's.
    if (habits.MeaningsOf(parsed.word).empty() && !parsed.numbers.empty()) {
        const bool isLumbar = parsed.word.empty() && parsed.side == Side::Left;
        const std::string vertebra =
            fmt::format("{}{}", isLumbar ? "l" : parsed.word, parsed.numbers.front());
        if (!habits.MeaningsOf(vertebra).empty()) {
            parsed.word = vertebra;
            parsed.side = isLumbar ? Side::None : parsed.side;
        }
    }
    for (const WordMeaning& meaning : habits.MeaningsOf(parsed.word)) {
        if (meaning.needsSide < 0 || meaning.needsSide == (parsed.side == Side::None ? 0 : 1)) {
            parsed.meanings.push_back(meaning);
        }
    }
    return parsed;
}

/** Some exporters end each name with a number of its own, which says nothing of the joint. */
bool EndInSerialNumbers(const std::vector<std::vector<std::string>>& names) {
    std::set<std::string> numbers;
    size_t count = 0;
    for (const std::vector<std::string>& words : names) {
        if (words.size() > 1 && IsDigit(words.back().front())) {
            numbers.insert(words.back());
            ++count;
        }
    }
    return count * 10 > names.size() * 7 && numbers.size() * 10 > count * 9;
}

/** The word that most names begin with, unless it means a part of the body. */
std::string FindRigName(const std::vector<std::vector<std::string>>& names, const NamingHabits& habits) {
    std::map<std::string, size_t> counts;
    for (const std::vector<std::string>& words : names) {
        if (words.size() > 1) {
            ++counts[words.front()];
        }
    }
    const auto most = std::max_element(
        counts.begin(), counts.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
    const auto meanings =
        most == counts.end() ? std::span<const WordMeaning>() : habits.MeaningsOf(most->first);
    const bool isPart = std::any_of(meanings.begin(), meanings.end(),
        [](const WordMeaning& meaning) { return meaning.part != BodyPart::Root; });
    const bool isRigName = most != counts.end() && most->second * 2 > names.size() && !isPart &&
                           habits.SideOf(most->first) == Side::None && !habits.IsHelper(most->first);
    return isRigName ? most->first : std::string();
}

/** The pair of words that most names have one of, while others have its counterpart; empty if few do. */
SideWords FindSides(const std::vector<std::vector<std::string>>& names, const NamingHabits& habits) {
    const std::set<std::vector<std::string>> all(names.begin(), names.end());
    SideWords best;
    constexpr size_t few = 3;
    size_t most = few;
    for (const SideWords& pair : habits.Pairs()) {
        size_t count = 0;
        for (const std::vector<std::string>& words : names) {
            const auto place = std::find(words.begin(), words.end(), pair.left);
            std::vector<std::string> counterpart = words;
            std::replace(counterpart.begin(), counterpart.end(), pair.left, pair.right);
            count += place != words.end() && all.count(counterpart) > 0 ? 1 : 0;
        }
        if (count > most) {
            most = count;
            best = pair;
        }
    }
    return best;
}

} // namespace

JointName ParseJointName(std::string_view name, const NamingHabits& habits) {
    return Parse(Words(name), habits, {});
}

std::vector<JointName> ParseJointNames(const std::vector<std::string>& names, const NamingHabits& habits) {
    std::vector<std::vector<std::string>> words;
    words.reserve(names.size());
    for (const std::string& name : names) {
        words.push_back(Words(name));
    }
    if (EndInSerialNumbers(words)) {
        for (std::vector<std::string>& list : words) {
            if (list.size() > 1 && IsDigit(list.back().front())) {
                list.pop_back();
            }
        }
    }
    const RigHabit rig = {FindRigName(words, habits), FindSides(words, habits)};
    std::vector<JointName> parsed;
    parsed.reserve(names.size());
    for (const std::vector<std::string>& list : words) {
        parsed.push_back(Parse(list, habits, rig));
    }
    return parsed;
}

float NameFit(const JointName& name, BodyPart part) {
    float fit = 0.0f;
    for (const WordMeaning& meaning : name.meanings) {
        fit = meaning.part == part ? std::max(fit, meaning.fit) : fit;
    }
    return name.isHelper ? 0.0f : fit;
}

bool NamesAnotherPart(const JointName& name, BodyPart part) {
    return name.isHelper || (!name.meanings.empty() && NameFit(name, part) == 0.0f);
}

} // namespace Velkori_Tool
