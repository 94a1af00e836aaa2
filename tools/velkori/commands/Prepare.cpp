#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"
#include "commands/Commands.h"
#include "commands/Remedies.h"
#include "commands/RigTexts.h"
#include "host/BodyMapping.h"
#include "host/Findings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <memory>
#include <sstream>

namespace Velkori_Tool {

namespace {

struct PrepareCommand {
    std::string source;
    std::string target;
    std::string output;
    std::string name;
    std::string namesFile;
    std::vector<std::string> align = {"all"};
    bool skipsTwist = false;
    bool keepsGenerated = false;
    std::vector<std::string> mapped;
    std::vector<std::string> unmapped;
    std::string mappingFile;
};

/** "Head=Neck1,Head:3": a target joint and the source joints that drive it, with their weights. */
WantedMapping ParseMapping(const std::string& text, const std::string& where) {
    const auto trimmed = [](std::string part) {
        constexpr const char* blanks = " \t\r";
        part.erase(0, std::min(part.find_first_not_of(blanks), part.size()));
        part.erase(part.find_last_not_of(blanks) + 1);
        return part;
    };
    const size_t equals = text.find('=');
    WantedMapping wanted{trimmed(text.substr(0, equals)), {}};
    if (equals == std::string::npos || wanted.targetJoint.empty()) {
        throw UsageFailure(fmt::format("{} {}: say it as TARGET=SOURCE[:weight],...", where, text));
    }
    std::istringstream drivers(text.substr(equals + 1));
    for (std::string driver; std::getline(drivers, driver, ',');) {
        // A namespace has a colon, too: only what reads as a number is a weight.
        const size_t colon = driver.find_last_of(':');
        float weight = 1.0f;
        const std::string digits = colon == std::string::npos ? "" : trimmed(driver.substr(colon + 1));
        const auto parsed = std::from_chars(digits.data(), digits.data() + digits.size(), weight);
        const bool isWeight =
            !digits.empty() && parsed.ec == std::errc() && parsed.ptr == digits.data() + digits.size();
        if (isWeight && !(weight > 0.0f && weight < 1e6f)) {
            throw UsageFailure(fmt::format("{} {}: a weight is above 0", where, text));
        }
        const std::string joint = trimmed(isWeight ? driver.substr(0, colon) : driver);
        if (!joint.empty()) {
            wanted.drivers.emplace_back(joint, isWeight ? weight : 1.0f);
        }
    }
    return wanted;
}

/** First what the mapping file says, then the options. */
std::vector<WantedMapping> CollectWanted(const PrepareCommand& command) {
    std::vector<WantedMapping> wanted;
    if (!command.mappingFile.empty()) {
        std::istringstream lines(ReadTextFile(command.mappingFile));
        int number = 0;
        for (std::string line; std::getline(lines, line);) {
            ++number;
            if (line.find_first_not_of(" \t\r") != std::string::npos && line.front() != '#') {
                wanted.push_back(
                    ParseMapping(line, fmt::format("'{}', line {}:", command.mappingFile, number)));
            }
        }
    }
    for (const std::string& text : command.mapped) {
        wanted.push_back(ParseMapping(text, "--map"));
    }
    for (const std::string& joint : command.unmapped) {
        wanted.push_back({joint, {}});
    }
    return wanted;
}

struct AlignmentStep {
    std::string_view name;
    velkori_AlignmentFlags flag;
};

constexpr std::array<AlignmentStep, 6> alignmentSteps = {
    AlignmentStep{"facing", velkori_AlignmentFlags_MatchFacing},
    {"limbs", velkori_AlignmentFlags_MatchLimbRotations}, {"height", velkori_AlignmentFlags_ScaleToHeight},
    {"proportions", velkori_AlignmentFlags_MatchLimbProportions},
    {"hands", velkori_AlignmentFlags_MatchHandsAndFingers},
    {"hands-scaled", velkori_AlignmentFlags_MatchHandsAndFingersVariant}};

velkori_AlignmentFlags ParseAlignment(const std::vector<std::string>& names) {
    velkori_AlignmentFlags flags = velkori_AlignmentFlags_None;
    for (const std::string& name : names) {
        for (const AlignmentStep& step : alignmentSteps) {
            // Scaled hands are another way to do hands, so "all" leaves them out.
            const bool isMeant =
                name == step.name ||
                (name == "all" && step.flag != velkori_AlignmentFlags_MatchHandsAndFingersVariant);
            flags = isMeant ? flags | step.flag : flags;
        }
    }
    return flags;
}

/** A document's skeleton of one side, or of the other one if it has only that. */
velkori_SkeletonType SideThatIsThere(
    const Configuration& configuration, velkori_SkeletonType wanted, const std::string& path) {
    const velkori_SkeletonType other =
        wanted == velkori_SkeletonType_Source ? velkori_SkeletonType_Target : velkori_SkeletonType_Source;
    if (configuration.JointCount(wanted) > 0) {
        return wanted;
    }
    if (configuration.JointCount(other) > 0) {
        return other;
    }
    throw Failure(fmt::format("'{}' has no skeleton; make a rig with 'velkori rig'", path));
}

/** Target joint by target joint, what drives it; one line each. */
void PrintMappings(const Configuration& configuration) {
    const std::vector<std::string> sourceNames = configuration.JointNames(velkori_SkeletonType_Source);
    const std::vector<std::string> targetNames = configuration.JointNames(velkori_SkeletonType_Target);
    const auto entries = configuration.MappingEntries(velkori_SkeletonTPoseType_Max);
    constexpr std::array<std::string_view, 4> behaviors = {
        "normal", "twist", "child-aligned twist", "IK-derived"};
    std::vector<std::string> lines(targetNames.size());
    size_t next = 0;
    for (const velkori_JointMapping_& mapping : configuration.Mappings(velkori_SkeletonTPoseType_Max)) {
        const bool readsSource = mapping.type == velkori_SkeletonType_Source;
        std::vector<std::string> drivers;
        for (int32_t i = 0; i < mapping.entryCount; ++i, ++next) {
            const velkori_JointMappingEntry_& entry = entries[next];
            drivers.push_back(
                fmt::format("{} {:.2f}/{:.2f}", (readsSource ? sourceNames : targetNames)[entry.jointIndex],
                    entry.rotationWeight, entry.positionWeight));
        }
        lines[mapping.jointIndex] += fmt::format("{:<24} {:<20} {}{}\n", targetNames[mapping.jointIndex],
            behaviors.at(mapping.behavior), readsSource ? "" : "own: ", fmt::join(drivers, ", "));
    }
    fmt::print(
        "{:<24} {:<20} {}\n", "target joint", "behavior", "driven by joint, weight in rotation/position");
    std::vector<std::string> unmapped;
    for (size_t joint = 0; joint < targetNames.size(); ++joint) {
        fmt::print("{}", lines[joint]);
        if (lines[joint].empty()) {
            unmapped.push_back(targetNames[joint]);
        }
    }
    if (!unmapped.empty()) {
        fmt::print("unmapped, they ride on their parents: {}\n", fmt::join(unmapped, ", "));
    }
}

/**
 * The heights of the root, of the ankles and of what is below these, before the rest pose is turned. Where
 * the body was made sitting or in flight, its soles will stand on the ground all the same.
 */
StandingHeights StandingHeightsOf(const Configuration& target) {
    constexpr velkori_SkeletonType type = velkori_SkeletonType_Target;
    const std::vector<std::string> names = target.JointNames(type);
    const std::vector<int> parents = target.Parents(type);
    const std::vector<Transform> rest = target.RestPose(type, velkori_SkeletonTPoseType_Unscaled);
    const int root = target.KnownJoint(type, velkori_KnownJointType_Root);
    StandingHeights heights;
    float lowest = std::numeric_limits<float>::max();
    bool isBent = false;
    for (const auto& [upperRole, role] :
        {std::pair{velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_LeftAnkle},
            std::pair{velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_RightAnkle}}) {
        const int ankle = target.KnownJoint(type, role);
        const int upper = target.KnownJoint(type, upperRole);
        float leg = 0.0f;
        for (int joint = ankle; joint >= 0 && joint != upper && parents[joint] >= 0; joint = parents[joint]) {
            leg += Length(rest[joint].position - rest[parents[joint]].position);
        }
        constexpr float upright = 0.8f;
        isBent = isBent || (ankle >= 0 && upper >= 0 &&
                               rest[upper].position.y - rest[ankle].position.y < upright * leg);
        for (int joint = 0; ankle >= 0 && joint < static_cast<int>(names.size()); ++joint) {
            int above = joint;
            while (above >= 0 && above != ankle) {
                above = parents[above];
            }
            if (above == ankle) {
                heights[names[joint]] = rest[joint].position.y;
                lowest = std::min(lowest, rest[joint].position.y);
            }
        }
    }
    for (auto& [name, height] : heights) {
        height -= isBent ? std::max(lowest, 0.0f) : 0.0f;
    }
    if (root >= 0) {
        heights[names[root]] = rest[root].position.y;
    }
    return heights;
}

void Run(const PrepareCommand& command) {
    CheckWritable(command.output, {{command.source, command.target, command.namesFile, command.mappingFile}});
    std::vector<Remark> notes;
    const NamingHabits names = LoadNames(command.namesFile);
    const LoadedRig loadedSource =
        LoadRigOrDocument(command.source, velkori_SkeletonType_Source, names, notes);
    const LoadedRig loadedTarget =
        LoadRigOrDocument(command.target, velkori_SkeletonType_Target, names, notes);
    const Configuration& source = loadedSource.configuration;
    const Configuration& target = loadedTarget.configuration;
    SayNotes(notes);
    SayWarnings();
    const auto sourceType = SideThatIsThere(source, velkori_SkeletonType_Source, command.source);
    if (SideThatIsThere(target, velkori_SkeletonType_Target, command.target) != velkori_SkeletonType_Target) {
        throw Failure(fmt::format(
            "'{}' has only a source skeleton; make it with 'velkori rig --as target'", command.target));
    }
    velkori_Handle handle = 0;
    const std::string name = command.name.empty() ? fmt::format("{} to {}", source.Name(), target.Name())
                                                  : ValidUTF8(command.name);
    Check(velkori_alignTargetToSource(name.c_str(), ParseAlignment(command.align), source.Handle(),
              sourceType, target.Handle(), &handle),
        "the library can't align the target to the source");
    const Configuration generated(handle);
    Check(velkori_generateMappings(handle, command.skipsTwist ? velkori_AutoMappingFlags_SkipTwistMappings
                                                              : velkori_AutoMappingFlags_None),
        "the library can't generate mappings");
    const Configuration configuration =
        command.keepsGenerated
            ? LoadDocument(generated.Document(VELKORI_DEFAULT_COORDINATE_SPACE), "generated")
            : CompleteMappings(generated,
                  ReadBody(generated, velkori_SkeletonType_Source, loadedSource.knowledge, names),
                  ReadBody(generated, velkori_SkeletonType_Target, loadedTarget.knowledge, names,
                      target.RestPose(velkori_SkeletonType_Target, velkori_SkeletonTPoseType_Unscaled)),
                  CollectWanted(command));
    SayWarnings();
    const std::string document =
        WithStandingHeights(configuration.Document(fileSpace), StandingHeightsOf(target));
    WriteTextFile(
        command.output, loadedTarget.file ? WithTargetFile(document, *loadedTarget.file) : document);
    if (command.output != "-") {
        PrintMappings(configuration);
    }
    for (const Finding& finding : FindProblems(configuration)) {
        if (finding.isProblem) {
            fmt::print(stderr, "warning: {}\n", InWords(finding.remark));
        }
    }
}

} // namespace

void AddPrepareCommand(CLI::App& program) {
    auto command = std::make_shared<PrepareCommand>();
    CLI::App& app = *program.add_subcommand(
        "prepare", "Align two rigs, generate the mappings between them and write the configuration");
    app.add_option("--source", command->source, "What is tracked: a rig's file or a document")->required();
    app.add_option("--target", command->target, "The character: a rig's file or a document")->required();
    app.add_option("-o,--output", command->output, "The configuration to write; - for standard output")
        ->required();
    app.add_option("--align", command->align,
           "Which steps bring the target's rest pose to the source's: facing, limbs, height, proportions, "
           "hands, hands-scaled, all (default: all but hands-scaled) or none; separated by commas")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->check(CLI::IsMember(
            {"facing", "limbs", "height", "proportions", "hands", "hands-scaled", "all", "none"}));
    app.add_option("--map", command->mapped,
           "What drives a target joint, TARGET=SOURCE[:weight],...; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--unmap", command->unmapped, "A target joint that rides on its parent; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option("--mapping", command->mappingFile,
        "A file of lines as --map has them; a line without sources is as --unmap");
    app.add_flag("--generated-only", command->keepsGenerated,
        "Leave the mappings and the rest poses as the library makes them");
    app.add_flag("--no-twist", command->skipsTwist, "Generate no mappings for twist joints");
    app.add_option("--name", command->name, "The configuration's name; by default made of both rigs' names");
    app.add_option(
        "--names", command->namesFile, "A file of words that joints are named by, see docs/rigs.md");
    app.footer("Example:\n  velkori prepare --source walk.json --target hero.glb -o walk_to_hero.json");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
