#include "rig/Rig.h"

#include "OutputFile.h"
#include "commands/Commands.h"
#include "commands/RigTexts.h"

#include <fmt/format.h>

#include <memory>

namespace Velkori_Tool {

namespace {

struct RigCommand {
    std::string file;
    std::string output;
    bool isTarget = false;
    ReadOptions reading;
    RigTexts texts;
    RigOptions options;
};

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
    command.options.type = command.isTarget ? velkori_SkeletonType_Target : velkori_SkeletonType_Source;
    CheckWritable(command.output, {{command.file, command.texts.namesFile}});
    std::vector<Remark> notes;
    const Motion motion = ReadMotion(command.file, notes, command.reading);
    Rig rig = MakeRigAsTold(motion, command.texts, command.options);
    AddDoubts(rig, command.file, rig.remarks);
    SayNotes(notes);
    SayNotes(rig.remarks);
    const Configuration configuration = MakeConfiguration(rig, command.options);
    SayWarnings();
    const std::string document = configuration.Document(DocumentSpace(rig.space));
    WriteTextFile(
        command.output, command.isTarget ? WithTargetFile(document, FileOf(rig, command.file)) : document);
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
    app.add_option("--rest", command->texts.rest,
        "The rest pose: best (default: of the bind pose, the stored one and the frames the one that stands "
        "most "
        "like a person), bind, zero (all joints unrotated) or frame:N of the file's motion, from 0");
    app.add_option("--up", command->texts.up,
        "The file's axis that points up, such as z or -y; by default it is seen from the body and its "
        "motion");
    app.add_option("--facing", command->texts.facing, "The file's axis that the body faces");
    app.add_option("--metres-per-unit", command->options.body.metresPerUnit,
           "The file's unit; by default it is found from the body's size")
        ->check(NumberWithin(smallestUnit, largestUnit));
    app.add_option("--known", command->texts.known,
           "A known joint by hand, role=JOINT, or role= for one that isn't there; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.add_option(
        "--names", command->texts.namesFile, "A file of words that joints are named by, see docs/rigs.md");
    AddReadOptions(app, command->reading);
    app.add_option_function<std::string>(
           "--as", [command](const std::string& side) { command->isTarget = side == "target"; },
           "Which side of a configuration it is for: source (default) or target")
        ->check(CLI::IsMember({"source", "target"}));
    app.add_option("--size-range", command->texts.sizeRange,
        "Minimum and maximum rest poses as factors of the size, smallest:largest; 0.85:1.15 by default");
    app.add_option("--exclude", command->texts.excluded, "Joints that get no generated mapping: A,B,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    app.add_option("--manifestation", command->texts.manifestations,
           "A named subset of the joints: name=JOINT,JOINT,...; may be repeated")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.footer("Example:\n  velkori rig walk.bvh -o walk.json --known leftWrist=LeftHand");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
