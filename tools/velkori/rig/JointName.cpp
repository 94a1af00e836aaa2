#include "JointName.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <vector>

namespace Velkori_Tool {

namespace {

bool IsUpper(char c) {
    return std::isupper(static_cast<unsigned char>(c)) != 0;
}

bool IsLower(char c) {
    return std::islower(static_cast<unsigned char>(c)) != 0;
}

bool IsDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

/** Whether a new word begins at text[i]: "leftArm", "LHipJoint", "spine1". */
bool BeginsWord(std::string_view text, size_t i) {
    const char before = text[i - 1];
    const char here = text[i];
    if (IsDigit(here) != IsDigit(before)) {
        return true;
    }
    const bool nextIsLower = i + 1 < text.size() && IsLower(text[i + 1]);
    return IsUpper(here) && (IsLower(before) || (IsUpper(before) && nextIsLower));
}

std::vector<std::string> Words(std::string_view name) {
    const size_t prefix = name.find_last_of(":|");
    const std::string_view text = prefix == std::string_view::npos ? name : name.substr(prefix + 1);
    std::vector<std::string> words;
    bool isInWord = false;
    for (size_t i = 0; i < text.size(); ++i) {
        const bool isLetterOrDigit = IsUpper(text[i]) || IsLower(text[i]) || IsDigit(text[i]);
        if (isLetterOrDigit && (!isInWord || BeginsWord(text, i))) {
            words.emplace_back();
        }
        if (isLetterOrDigit) {
            words.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(text[i])));
        }
        isInWord = isLetterOrDigit;
    }
    return words;
}

template <size_t count>
bool IsOneOf(const std::string& word, const std::array<std::string_view, count>& words) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

Side SideOf(const std::string& word) {
    if (word == "left" || word == "l" || word == "lft" || word == "lf") {
        return Side::Left;
    }
    if (word == "right" || word == "r" || word == "rgt" || word == "rt") {
        return Side::Right;
    }
    return Side::None;
}

/** Takes a side off a word that it is glued to: "leftarm", "handright". */
Side TakeGluedSide(std::string& word) {
    constexpr std::array<std::pair<std::string_view, Side>, 2> sides = {
        std::pair<std::string_view, Side>{"left", Side::Left}, {"right", Side::Right}};
    for (const auto& [text, side] : sides) {
        if (word.size() <= text.size()) {
            continue;
        }
        if (word.compare(0, text.size(), text) == 0) {
            word.erase(0, text.size());
            return side;
        }
        if (word.compare(word.size() - text.size(), text.size(), text) == 0) {
            word.erase(word.size() - text.size());
            return side;
        }
    }
    return Side::None;
}

// Words that name a program, a rig or the fact that this is a joint, and say nothing of the body.
constexpr std::array<std::string_view, 24> emptyWords = {"j", "bip", "biped", "def", "org", "bn", "bone",
    "jnt", "joint", "jt", "c", "m", "b", "f", "cc", "base", "skel", "sk", "rig", "char", "character", "valve",
    "valvebiped", "mixamorig"};

constexpr std::array<std::string_view, 15> helperWords = {"twist", "roll", "ik", "ctrl", "control", "helper",
    "end", "nub", "pole", "target", "mch", "offset", "socket", "weapon", "prop"};

} // namespace

JointName ParseJointName(std::string_view name) {
    JointName parsed;
    for (std::string& word : Words(name)) {
        if (IsDigit(word.front())) {
            constexpr size_t mostDigits = 6;
            parsed.number = std::stoi(word.substr(0, mostDigits));
            continue;
        }
        if (parsed.side == Side::None) {
            parsed.side = SideOf(word);
            if (parsed.side != Side::None) {
                continue;
            }
            parsed.side = TakeGluedSide(word);
        }
        if (IsOneOf(word, helperWords)) {
            parsed.isHelper = true;
        } else if (!IsOneOf(word, emptyWords)) {
            parsed.word += word;
            parsed.number = -1;
        }
    }
    return parsed;
}

} // namespace Velkori_Tool
