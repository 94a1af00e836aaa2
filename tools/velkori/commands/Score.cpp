#include "OutputFile.h"
#include "commands/Commands.h"
#include "commands/RigTexts.h"
#include "commands/ScoreReport.h"

#include <memory>

namespace Velkori_Tool {

namespace {

struct ScoreCommand {
    std::string configuration;
    std::vector<std::string> clips;
    std::string json;
    std::string namesFile;
    bool acceptsBad = false;
    RetargetOptions options;
};

void Run(ScoreCommand& command) {
    if (!command.json.empty()) {
        std::vector<std::string> inputs = command.clips;
        inputs.insert(inputs.end(), {command.configuration, command.namesFile});
        CheckWritable(command.json, inputs);
    }
    const Configuration configuration = LoadForRetargeting(command.configuration, command.options);
    SayWarnings();
    const NamingHabits names = LoadNames(command.namesFile);
    std::vector<ClipScore> scores;
    for (const std::string& path : command.clips) {
        std::vector<Remark> notes;
        const Motion motion = ReadMotion(path, notes, command.options.clip.reading);
        const RetargetedClip clip = RetargetClip(configuration, motion, command.options, notes);
        SayNotes(notes);
        scores.push_back(
            {path, ScoreClip(configuration, clip, names), motion.isIncomplete, clip.source.doubts});
        if (command.json != "-") {
            PrintScore(scores.back());
        }
    }
    if (!command.json.empty()) {
        WriteScores(command.json, command.configuration, scores);
    }
    CheckScores(scores, command.acceptsBad);
}

} // namespace

void AddScoreCommand(CLI::App& program) {
    auto command = std::make_shared<ScoreCommand>();
    CLI::App& app = *program.add_subcommand(
        "score", "Measure how near results come to their captures; exit with 1 if one is bad");
    app.add_option("CONFIG", command->configuration, "The configuration, as 'velkori prepare' writes it")
        ->required();
    app.add_option("CLIP", command->clips, "The captured clips of the source's rig")->required();
    app.add_option("--json", command->json, "Write the measures as JSON; - for standard output alone");
    app.add_flag("--force", command->acceptsBad, "Exit with 0 even if a result is bad");
    app.add_option(
        "--names", command->namesFile, "A file of words that joints are named by, see docs/rigs.md");
    AddRetargetOptions(app, command->options);
    app.footer("Example:\n  velkori score walk_to_hero.json walk.bvh run.bvh --json scores.json");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
