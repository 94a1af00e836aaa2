#pragma once

#include "rig/BodyPart.h"

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Velkori_Tool {

enum class Side { None, Left, Right };

/** One meaning of a word. */
struct WordMeaning {
    BodyPart part = BodyPart::Root;
    /** How well the word fits it, 0 to 1. */
    float fit = 1.0f;
    /** Whether the word means this only with a side (1), only without one (0), or either way (-1). */
    int needsSide = -1;
};

/** A word for left and the one for right. */
struct SideWords {
    std::string left;
    std::string right;
};

/** What the words in joints' names mean. */
class NamingHabits {
  public:
    /** The words that the program knows by itself. */
    static NamingHabits BuiltIn();

    /**
     * Adds the words of a text in the form of names.txt; `origin` says whose it is. Throws Failure, with the
     * line, if a line has another form.
     */
    void Add(std::string_view text, const std::string& origin);

    Side SideOf(std::string_view word) const;

    /** Words that say a side only where names with the one pair up with names with the other. */
    std::span<const SideWords> Pairs() const { return pairs; }

    bool SaysNothing(std::string_view word) const { return Has(nothing, word); }

    bool IsHelper(std::string_view word) const { return Has(helpers, word); }

    /** Empty for a word that isn't known. */
    std::span<const WordMeaning> MeaningsOf(std::string_view word) const;

    /** Takes a side off a word that it is glued to: "leftarm", "handright", "rshldr". */
    Side TakeGluedSide(std::string& word) const;

  private:
    using Words = std::map<std::string, bool, std::less<>>;

    static bool Has(const Words& words, std::string_view word) { return words.find(word) != words.end(); }

    void AddWord(std::string_view kind, std::string_view word, const std::string& where);
    bool MeansSidedPart(std::string_view word) const;

    std::map<std::string, Side, std::less<>> sides;
    std::vector<SideWords> pairs;
    Words nothing;
    Words helpers;
    std::map<std::string, std::vector<WordMeaning>, std::less<>> meanings;
};

} // namespace Velkori_Tool
