#include "OutputFile.h"
#include "commands/Commands.h"
#include "commands/Remedies.h"
#include "commands/RigTexts.h"

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
    static const std::map<std::string, velkori_RetargetingRootMotionBehavior> libraryRootMotions = {
        {"root-from-hips", velkori_RetargetingRootMotionBehavior_RootFromHips},
        {"unchanged", velkori_RetargetingRootMotionBehavior_Unchanged},
        {"root-from-reference", velkori_RetargetingRootMotionBehavior_RootFromReference}};
    static const std::map<std::string, MotionPath> paths = {
        {"hips", MotionPath::Hips}, {"root", MotionPath::Root}, {"in-place", MotionPath::InPlace}};
    command
        .add_option_function<std::string>(
            "--behavior", [&options](const std::string& name) { options.behavior = behaviors.at(name); },
            "Take the poses as the library makes them, with bones that may stretch: match-proportions, "
            "match-proportions-rotate-hands, rotations-scaled or rotations-unscaled; by default the "
            "character keeps its bones and its feet the ground")
        ->check(CLI::IsMember(NamesOf(behaviors)));
    command
        .add_option_function<std::string>(
            "--root-motion", [&options](const std::string& name) { options.keep.path = paths.at(name); },
            "What carries the body over the ground: hips (default), root, which is the root joint, or "
            "in-place, so that it stays where it stands")
        ->check(CLI::IsMember(NamesOf(paths)))
        ->excludes("--behavior");
    command
        .add_flag("!--no-foot-ik", options.keep.plantsFeet, "Leave the feet where the rotations bring them")
        ->excludes("--behavior");
    command
        .add_flag("--hold-hands", options.keep.holdsHands,
            "Hands that meet each other, the head or the hips in the clip meet them on the character")
        ->excludes("--behavior");
    command
        .add_option_function<std::string>(
            "--library-root-motion",
            [&options](const std::string& name) { options.rootMotion = libraryRootMotions.at(name); },
            "With --behavior, what the library makes of the source's root: unchanged (default), "
            "root-from-hips or root-from-reference")
        ->check(CLI::IsMember(NamesOf(libraryRootMotions)))
        ->needs("--behavior");
    command.add_flag("--fixup", options.fixesUpOrientations,
        "Turn joints so that their bones point at where the children are");
    command.add_option("--manifestation", options.manifestation,
        "Give the library only the source joints of this manifestation");
    command
        .add_option("--metres-per-unit", options.clip.metresPerUnit,
            "The clip's unit; by default it is found from the lengths of its bones")
        ->check(NumberWithin(smallestUnit, largestUnit));
    command.add_option_function<std::string>(
        "--up", [&options](const std::string& axis) { options.clip.up = ParseAxis(axis, "--up"); },
        "The clip's axis that points up, such as z; by default it is seen from the body and its motion");
    command.add_option_function<std::string>(
        "--facing",
        [&options](const std::string& axis) { options.clip.facing = ParseAxis(axis, "--facing"); },
        "The clip's axis that the body faces in its rest pose");
    command.add_option_function<std::string>(
        "--rest", [&options](const std::string& text) { options.clip.rest = ParseRest(text); },
        "The clip's pose in which its body stands as the configuration's source does at rest: bind, zero or "
        "frame:N; needed where its joints have other axes than the configuration's");
    AddReadOptions(command, options.clip.reading);
    command.add_flag("--keep-height", options.clip.keepsHeight,
        "Leave the clip as high as it is, instead of putting its feet on the ground");
}

void AddReadOptions(CLI::App& command, ReadOptions& options) {
    constexpr double longest = 1e6;
    constexpr double densest = 1000.0;
    command.add_option("--animation", options.animation,
        "Which of the file's animations, by its name or its number from 1; by default the first");
    command.add_option("--fps", options.framesPerSecond, "Frames a second; by default as the file has them")
        ->check(NumberWithin(1.0, densest));
    command.add_option("--from", options.from, "Where the clip begins, in seconds")
        ->check(NumberWithin(0.0, longest));
    command.add_option("--to", options.to, "Where the clip ends, in seconds")
        ->check(NumberWithin(0.0, longest));
}

Configuration LoadForRetargeting(const std::string& path, RetargetOptions& options) {
    const std::string document = ReadTextFile(path);
    options.standingHeights = FindStandingHeights(document);
    return LoadDocument(document, path);
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

void SayNotes(const std::vector<Remark>& notes) {
    for (const Remark& note : notes) {
        fmt::print(stderr, "{}\n", InWords(note));
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
