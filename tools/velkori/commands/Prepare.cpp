#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"
#include "commands/Commands.h"
#include "rig/Rig.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <array>
#include <memory>

namespace Velkori_Tool {

namespace {

struct PrepareCommand {
    std::string source;
    std::string target;
    std::string output;
    std::string name;
    std::vector<std::string> align = {"all"};
    bool skipsTwist = false;
};

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

void Run(const PrepareCommand& command) {
    CheckWritable(command.output);
    std::vector<std::string> notes;
    const Configuration source = LoadRigOrDocument(command.source, velkori_SkeletonType_Source, notes);
    Configuration target = LoadRigOrDocument(command.target, velkori_SkeletonType_Target, notes);
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
    const Configuration configuration(handle);
    Check(velkori_generateMappings(handle, command.skipsTwist ? velkori_AutoMappingFlags_SkipTwistMappings
                                                              : velkori_AutoMappingFlags_None),
        "the library can't generate mappings");
    SayWarnings();
    WriteTextFile(command.output, configuration.Document(fileSpace));
    if (command.output != "-") {
        PrintMappings(configuration);
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
    app.add_flag("--no-twist", command->skipsTwist, "Generate no mappings for twist joints");
    app.add_option("--name", command->name, "The configuration's name; by default made of both rigs' names");
    app.footer("Example:\n  velkori prepare --source walk.json --target hero.glb -o walk_to_hero.json");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
