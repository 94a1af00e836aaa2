#pragma once

#include <string>
#include <utility>

namespace Velkori_Tool {

/** What its user can do about a thing that isn't as wished. The commands word it by their options. */
enum class Remedy {
    None,
    MakeConfiguration,
    MakeMappings,
    MakeOwnConfiguration,
    NameKnownJoint,
    NameHips,
    ChooseNearJoint,
    AlignRigs,
    SayUnit,
    SaySizeRange,
    KeepHeight,
    ChooseAnimation,
    ChooseSpan,
    GiveOwnCharacter,
    WriteBones,
    EaseLink,
    SendLess
};

/** A sentence for the user, without a final dot, and what can be done about it. */
struct Remark {
    // Most sentences stand for themselves, so a text alone is a remark.
    Remark(std::string sentence, Remedy help = Remedy::None) : text(std::move(sentence)), remedy(help) {}

    std::string text;
    Remedy remedy;
};

} // namespace Velkori_Tool
