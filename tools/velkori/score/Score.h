#pragma once

#include "host/RetargetedClip.h"
#include "rig/NamingHabits.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

enum class Verdict { Good, Flawed, Bad };

const char* NameOf(Verdict verdict);

/** One number that tells how near a result comes to its capture. */
struct Measure {
    /** For programs to read: "limbDirection". */
    std::string key;
    /** For people: "limbs' direction". */
    std::string name;
    std::string unit;
    double value = 0.0;
    /** Good up to here. */
    double good = 0.0;
    /** Bad beyond this. */
    double bad = 0.0;

    Verdict Judged() const;
};

/** All that could be measured on a result; what a rig lacks is left out. */
struct Score {
    std::vector<Measure> measures;

    /** That of the worst measure. */
    Verdict Judged() const;
};

/** Measures a retargeted clip against its capture; heads and sides are told by the joints' names. */
Score ScoreClip(const Configuration& configuration, const RetargetedClip& clip, const NamingHabits& names);

/** One line: the verdict, and what isn't good. */
std::string Summary(const Score& score);

} // namespace Velkori_Tool
