#include "commands/Commands.h"

#include <fmt/format.h>

#include <charconv>
#include <map>
#include <set>

namespace Velkori_Tool {

namespace {

std::vector<std::string> NamesOf(const auto& valuesByName) {
    std::vector<std::string> names;
    names.reserve(valuesByName.size());
    for (const auto& [name, value] : valuesByName) {
        names.push_back(name);
    }
    return names;
}

} // namespace

void AddRetargetOptions(CLI::App& command, RetargetOptions& options) {
    static const std::map<std::string, velkori_RetargetingBehavior> behaviors = {
        {"match-proportions", velkori_RetargetingBehavior_MatchProportions},
        {"match-proportions-rotate-hands", velkori_RetargetingBehavior_MatchProportionsRotateHands},
        {"rotations-scaled", velkori_RetargetingBehavior_RotationsScaled},
        {"rotations-unscaled", velkori_RetargetingBehavior_RotationsUnscaled}};
    static const std::map<std::string, velkori_RetargetingRootMotionBehavior> rootMotions = {
        {"root-from-hips", velkori_RetargetingRootMotionBehavior_RootFromHips},
        {"unchanged", velkori_RetargetingRootMotionBehavior_Unchanged},
        {"root-from-reference", velkori_RetargetingRootMotionBehavior_RootFromReference}};
    command
        .add_option_function<std::string>(
            "--behavior", [&options](const std::string& name) { options.behavior = behaviors.at(name); },
            "What mapped joints take from the source: match-proportions (default), "
            "match-proportions-rotate-hands, rotations-scaled or rotations-unscaled")
        ->check(CLI::IsMember(NamesOf(behaviors)));
    command
        .add_option_function<std::string>(
            "--root-motion",
            [&options](const std::string& name) { options.rootMotion = rootMotions.at(name); },
            "What becomes of the source's root: unchanged (default), root-from-hips or root-from-reference")
        ->check(CLI::IsMember(NamesOf(rootMotions)));
    command.add_flag("--fixup", options.fixesUpOrientations,
        "Turn joints so that their bones point at where the children are");
    command.add_option("--manifestation", options.manifestation,
        "Give the library only the source joints of this manifestation");
    command
        .add_option("--metres-per-unit", options.clip.metresPerUnit,
            "The clip's unit; by default it is found from the lengths of its bones")
        ->check(NumberWithin(smallestUnit, largestUnit));
    command.add_flag("--keep-height", options.clip.keepsHeight,
        "Leave the clip as high as it is, instead of putting its feet on the ground");
}

CLI::Validator NumberWithin(double lowest, double highest) {
    const auto check = [lowest, highest](std::string& text) {
        double value = 0.0;
        const char* const end = text.data() + text.size();
        const auto parsed = std::from_chars(text.data(), end, value);
        const bool isWithin =
            parsed.ec == std::errc() && parsed.ptr == end && value >= lowest && value <= highest;
        return isWithin ? std::string()
                        : fmt::format("'{}' isn't a number from {:g} to {:g}", text, lowest, highest);
    };
    return {check, fmt::format("FLOAT in [{:g}, {:g}]", lowest, highest)};
}

void SayNotes(const std::vector<std::string>& notes) {
    for (const std::string& note : notes) {
        fmt::print(stderr, "{}\n", note);
    }
}

void SayWarnings() {
    std::set<std::string> said;
    for (const LogLine& line : TakeLog()) {
        if (line.level == velkori_LogLevel_Warning && said.insert(line.text).second) {
            fmt::print(stderr, "warning: {}\n", line.text);
        }
    }
}

} // namespace Velkori_Tool
