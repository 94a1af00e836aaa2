#pragma once

#include <string>

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
    SayUp,
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
    std::string text;
    Remedy remedy = Remedy::None;
};

} // namespace Velkori_Tool
