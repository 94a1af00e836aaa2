#include "commands/Remedies.h"

#include <string_view>

namespace Velkori_Tool {

namespace {

std::string_view Advice(Remedy remedy) {
    switch (remedy) {
    case Remedy::None:
        break;
    case Remedy::MakeConfiguration:
        return "make a configuration with 'velkori prepare'";
    case Remedy::MakeMappings:
        return "generate mappings with 'velkori prepare'";
    case Remedy::MakeOwnConfiguration:
        return "make a configuration from this clip's rig with 'velkori rig' and 'velkori prepare'";
    case Remedy::NameKnownJoint:
        return "name it with 'velkori rig --known', such as --known hips=JOINT";
    case Remedy::NameHips:
        return "name the hips with 'velkori rig --known hips=JOINT'";
    case Remedy::ChooseNearJoint:
        return "align the rigs with 'velkori prepare --align all', or choose another joint with 'velkori "
               "rig --known'";
    case Remedy::AlignRigs:
        return "align the rigs with 'velkori prepare --align all'";
    case Remedy::SayUp:
        return "--up says which it is";
    case Remedy::SayUnit:
        return "make it anew with 'velkori rig --metres-per-unit'";
    case Remedy::SaySizeRange:
        return "make both rigs with a range, such as 'velkori rig --size-range 0.85:1.2'";
    case Remedy::KeepHeight:
        return "--keep-height leaves it";
    case Remedy::ChooseAnimation:
        return "--animation chooses";
    case Remedy::ChooseSpan:
        return "choose others for --from and --to";
    case Remedy::GiveOwnCharacter:
        return "give the file that the configuration was made of with --character";
    case Remedy::WriteBones:
        return "with --bones the result has one";
    case Remedy::EaseLink:
        return "lower --loss, --delay-frames or --jitter-ms, or take a longer clip";
    case Remedy::SendLess:
        return "choose a coarser --type, or stream a target with fewer joints";
    }
    return {};
}

} // namespace

std::string InWords(const Remark& remark) {
    const std::string_view advice = Advice(remark.remedy);
    return advice.empty() ? remark.text : remark.text + "; " + std::string(advice);
}

} // namespace Velkori_Tool
