#include "rig/Rig.h"

#include "Failure.h"
#include "OutputFile.h"
#include "commands/Commands.h"

#include <fmt/format.h>

#include <memory>

namespace Velkori_Tool {

namespace {

struct RigCommand {
    std::string file;
    std::string output;
    std::string sizeRange;
    bool isTarget = false;
    RigOptions options;
};

void ParseSizeRange(const std::string& text, RigOptions& options) {
    if (text.empty()) {
        return;
    }
    size_t used = 0;
    try {
        options.smallest = std::stof(text, &used);
        const bool hasBoth = used < text.size() && text[used] == ':';
        size_t rest = 0;
        options.largest = hasBoth ? std::stof(text.substr(used + 1), &rest) : 0.0f;
        used += 1 + rest;
    } catch (const std::exception&) {
        used = 0;
    }
    constexpr float smallestFactor = 0.01f;
    constexpr float largestFactor = 100.0f;
    if (used != text.size() || !(options.smallest >= smallestFactor && options.largest >= options.smallest &&
                                   options.largest <= largestFactor)) {
        throw UsageFailure(fmt::format(
            "--size-range {}: say it as smallest:largest with factors from 0.01 to 100, such as 0.85:1.2",
            text));
    }
}

void PrintKnownJoints(const Rig& rig) {
    fmt::print("{:<14} {:<28} {:>5}  {}\n", "known joint", "joint", "sure", "why");
    for (int role = 0; role < VELKORI_KNOWN_JOINT_COUNT; ++role) {
        const KnownJointGuess& guess = rig.known.at(role);
        const std::string joint = guess.joint < 0 ? "-" : rig.skeleton.jointNames[guess.joint];
        fmt::print("{:<14} {:<28} {:>4}%  {}\n", VELKORI_KNOWN_JOINT_NAMES[role], joint, guess.percent,
            guess.reasons);
    }
}

void Run(RigCommand& command) {
    ParseSizeRange(command.sizeRange, command.options);
    command.options.type = command.isTarget ? velkori_SkeletonType_Target : velkori_SkeletonType_Source;
    CheckWritable(command.output);
    std::vector<std::string> notes;
    const Motion motion = ReadMotion(command.file, notes);
    const Rig rig = MakeRig(motion, command.options);
    SayNotes(notes);
    SayNotes(rig.remarks);
    const Configuration configuration = MakeConfiguration(rig, command.options);
    SayWarnings();
    WriteTextFile(command.output, configuration.Document(rig.space));
    if (command.output != "-") {
        PrintKnownJoints(rig);
    }
}

} // namespace

void AddRigCommand(CLI::App& program) {
    auto command = std::make_shared<RigCommand>();
    CLI::App& app = *program.add_subcommand("rig", "Make a rig's document of the skeleton in a file");
    app.add_option("FILE", command->file, "BVH, glTF/GLB, FBX, Collada or what else the scene reader knows")
        ->required();
    app.add_option("-o,--output", command->output, "The document to write; - for standard output")
        ->required();
    app.add_option("--rest", command->options.rest,
        "The rest pose: bind (default), zero (all joints unrotated) or frame:N of the file's motion, from 0");
    app.add_option("--metres-per-unit", command->options.metresPerUnit,
           "The file's unit; by default it is found from the body's height")
        ->check(NumberWithin(smallestUnit, largestUnit));
    app.add_option("--known", command->options.known,
           "A known joint by hand, role=JOINT, or role= for one that isn't there; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option_function<std::string>(
           "--as", [command](const std::string& side) { command->isTarget = side == "target"; },
           "Which side of a configuration it is for: source (default) or target")
        ->check(CLI::IsMember({"source", "target"}));
    app.add_option("--size-range", command->sizeRange,
        "Minimum and maximum rest poses as factors of the size, smallest:largest; 0.85:1.15 by default");
    app.add_option("--exclude", command->options.excluded, "Joints that get no generated mapping: A,B,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    app.add_option("--manifestation", command->options.manifestations,
           "A named subset of the joints: name=JOINT,JOINT,...; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.footer("Example:\n  velkori rig walk.bvh -o walk.json --known leftWrist=LeftHand");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
