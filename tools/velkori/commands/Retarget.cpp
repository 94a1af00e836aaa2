#include "Failure.h"
#include "OutputFile.h"
#include "commands/Commands.h"
#include "commands/RigTexts.h"
#include "commands/ScoreReport.h"
#include "host/FootContact.h"
#include "host/ResultFile.h"
#include "rig/Rig.h"

#include <fmt/format.h>

#include <filesystem>
#include <map>
#include <memory>

namespace Velkori_Tool {

namespace {

struct RetargetCommand {
    std::string configuration;
    std::vector<std::string> clips;
    std::string output;
    std::string character;
    bool writesBones = false;
    double metresPerBVHUnit = 0.01;
    bool reports = false;
    bool acceptsBad = false;
    std::string json;
    std::string namesFile;
    RetargetOptions options;
};

void PrintSliding(std::string_view who, const FootSliding& sliding) {
    fmt::print("{:<8} {:>10.3f} {:>14.2f} {:>12.4f}\n", who, sliding.metres, sliding.seconds,
        sliding.seconds > 0.0 ? sliding.metres / sliding.seconds : 0.0);
}

void PrintReport(const Configuration& configuration, const RetargetedClip& clip) {
    const SourceClip& source = clip.source;
    const float sourceGround =
        GroundHeight(configuration, velkori_SkeletonType_Source, source.poses, source.jointCount);
    fmt::print("frames: {} at {:.2f} Hz, {:.2f} s\n", source.frameCount, 1.0 / source.frameSeconds,
        source.frameCount * source.frameSeconds);
    fmt::print("foot sliding: travel over the ground while a foot is within 3 cm of it\n");
    fmt::print("{:<8} {:>10} {:>14} {:>12}\n", "", "metres", "contact s", "m/s");
    PrintSliding("source", MeasureFootSliding(configuration, velkori_SkeletonType_Source, source.poses,
                               source.jointCount, source.frameSeconds, sourceGround));
    const float ground =
        GroundHeight(configuration, velkori_SkeletonType_Target, clip.poses, clip.jointCount);
    PrintSliding("target", MeasureFootSliding(configuration, velkori_SkeletonType_Target, clip.poses,
                               clip.jointCount, source.frameSeconds, ground));
    fmt::print("the target's feet stand at {:.3f} m\n", ground);
}

/** The character's file that the result is written into, if it is to be and can be. */
std::optional<RigFile> FindCharacter(
    const RetargetCommand& command, const NamingHabits& names, std::vector<Remark>& notes) {
    std::optional<RigFile> file = FindTargetFile(ReadTextFile(command.configuration));
    if (!command.character.empty()) {
        std::error_code isntThere;
        if (!file || !std::filesystem::equivalent(file->path, command.character, isntThere)) {
            RigOptions options;
            options.body.names = names;
            const Rig rig = MakeRig(ReadMotion(command.character, notes), options);
            file = FileOf(rig, command.character);
        }
        return file;
    }
    if (!file || command.writesBones || !CanCarryMotion(file->path)) {
        return std::nullopt;
    }
    std::error_code isntThere;
    if (!std::filesystem::exists(file->path, isntThere)) {
        notes.push_back({fmt::format("the character's file '{}' isn't there any more, so the result is bones "
                                     "alone; say where it is with --character",
            file->path)});
        return std::nullopt;
    }
    return file;
}

bool IsDirectory(const std::string& path) {
    std::error_code isntThere;
    return path.ends_with('/') || std::filesystem::is_directory(path, isntThere);
}

/** Where a clip's result goes, and which clips share that file. */
struct Output {
    std::string path;
    std::vector<NamedClip> clips;
};

std::string OutputPath(const RetargetCommand& command, const std::string& clip) {
    if (!IsDirectory(command.output)) {
        return command.output;
    }
    const std::string name = std::filesystem::path(clip).stem().string() + ".glb";
    return (std::filesystem::path(command.output) / name).string();
}

void CheckOutput(const RetargetCommand& command) {
    if (IsDirectory(command.output)) {
        std::error_code ignored;
        std::filesystem::create_directories(command.output, ignored);
    }
    std::vector<std::string> inputs = command.clips;
    inputs.insert(inputs.end(), {command.configuration, command.character, command.namesFile});
    std::map<std::string, std::string> clipOf;
    for (const std::string& clip : command.clips) {
        CheckReadable(clip);
        const std::string path = OutputPath(command, clip);
        const auto [same, isNew] = clipOf.emplace(path, clip);
        if (!isNew && path != command.output) {
            throw UsageFailure(
                fmt::format("'{}' and '{}' would both become '{}'; give one of them another directory",
                    same->second, clip, path));
        }
        if (LowerCaseExtension(path) != ".vrma") {
            CheckMotionFormat(path);
        }
        CheckWritable(path, inputs);
    }
    if (!command.json.empty()) {
        CheckWritable(command.json, inputs);
    }
}

void Write(const RetargetCommand& command, const Configuration& configuration,
    const std::optional<RigFile>& character, const Output& output, std::vector<Remark>& notes) {
    if (character && LowerCaseExtension(output.path) != ".bvh") {
        CheckWritable(output.path, {{character->path}});
        WriteCharacter(output.path, configuration, *character, output.clips, notes);
        fmt::print("'{}' is '{}' with", output.path, character->path);
    } else {
        if (LowerCaseExtension(output.path) == ".vrma") {
            throw Failure(
                "a .vrma is the motion of a VRM character; give the character's file with --character");
        }
        if (output.clips.size() > 1) {
            throw UsageFailure(
                "several clips need a directory to write to, such as -o out/, or a character's "
                "file that can hold them all");
        }
        const RetargetedClip& clip = output.clips.front().clip;
        WriteMotion(output.path,
            MakeOutgoingMotion(configuration, clip, output.clips.front().name, clip.poses),
            static_cast<float>(1.0 / command.metresPerBVHUnit));
        fmt::print("'{}' has", output.path);
    }
    for (const NamedClip& named : output.clips) {
        fmt::print(" {} frames of {} joints{}", named.clip.source.frameCount, named.clip.jointCount,
            &named == &output.clips.back() ? "\n" : ",");
    }
}

void Run(RetargetCommand& command) {
    CheckOutput(command);
    const Configuration configuration = LoadForRetargeting(command.configuration, command.options);
    SayWarnings();
    const NamingHabits names = LoadNames(command.namesFile);
    std::vector<Remark> notes;
    const std::optional<RigFile> character = FindCharacter(command, names, notes);
    std::vector<Output> outputs;
    std::vector<ClipScore> scores;
    for (const std::string& path : command.clips) {
        const Motion motion = ReadMotion(path, notes, command.options.clip.reading);
        NamedClip named = {std::filesystem::path(path).stem().string(),
            RetargetClip(configuration, motion, command.options, notes)};
        if (command.reports) {
            PrintReport(configuration, named.clip);
        }
        scores.push_back({path, ScoreClip(configuration, named.clip, names), motion.isIncomplete,
            named.clip.source.doubts});
        const std::string outputPath = OutputPath(command, path);
        if (outputs.empty() || outputs.back().path != outputPath) {
            outputs.push_back({outputPath, {}});
        }
        outputs.back().clips.push_back(std::move(named));
        if (outputPath != command.output) {
            Write(command, configuration, character, outputs.back(), notes);
            outputs.pop_back();
        }
    }
    for (const Output& output : outputs) {
        Write(command, configuration, character, output, notes);
    }
    SayNotes(notes);
    for (const ClipScore& scored : scores) {
        fmt::print(
            "'{}': {}{}\n", scored.clip, scored.isTruncated ? "cut short; " : "", Summary(scored.score));
    }
    if (!command.json.empty()) {
        WriteScores(command.json, command.configuration, scores);
    }
    // Who asks for the library's own poses wants them as they are.
    CheckScores(scores, command.acceptsBad || command.options.behavior.has_value());
}

} // namespace

void AddRetargetCommand(CLI::App& program) {
    auto command = std::make_shared<RetargetCommand>();
    CLI::App& app = *program.add_subcommand("retarget", "Retarget clips to the configuration's target");
    app.add_option("CONFIG", command->configuration, "The configuration, as 'velkori prepare' writes it")
        ->required();
    app.add_option("CLIP", command->clips, "The captured clips of the source's rig")->required();
    app.add_option("-o,--output", command->output,
           "The result: .glb, .bvh, .vrma for a VRM character, or a directory that gets a .glb for each clip")
        ->required();
    app.add_option("--character", command->character,
        "The character's file, which the result is written into with its meshes and all else; by default "
        "the file that the configuration's target was made of");
    app.add_flag("--bones", command->writesBones, "Write a skeleton alone and not the character's file")
        ->excludes("--character");
    app.add_option("--metres-per-bvh-unit", command->metresPerBVHUnit,
           "The unit of a BVH; by default 0.01, a centimetre")
        ->check(NumberWithin(smallestUnit, largestUnit));
    app.add_option("--json", command->json, "Write the results' measures as JSON; - for standard output");
    app.add_flag("--force", command->acceptsBad, "Exit with 0 even if a result is bad");
    app.add_option(
        "--names", command->namesFile, "A file of words that joints are named by, see docs/rigs.md");
    AddRetargetOptions(app, command->options);
    app.add_flag("--report", command->reports, "Print how far the feet of source and target slide");
    app.footer("Example:\n  velkori retarget walk_to_hero.json walk.bvh run.bvh -o hero_moves.glb");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
