#include "Failure.h"
#include "OutputFile.h"
#include "commands/Commands.h"
#include "draw/Canvas.h"
#include "draw/Sheet.h"
#include "host/ResultFile.h"

#include <fmt/format.h>

#include <cmath>
#include <filesystem>
#include <memory>

namespace Velkori_Tool {

namespace {

struct DrawCommand {
    std::string configuration;
    std::string clip;
    std::string output;
    int momentCount = 5;
    std::vector<double> times;
    RetargetOptions options;
};

constexpr int mostMoments = 24;

std::vector<int> ChooseMoments(const DrawCommand& command, const SourceClip& clip) {
    if (command.times.size() > mostMoments) {
        throw UsageFailure(fmt::format("--at: a sheet has at most {} moments", mostMoments));
    }
    std::vector<int> moments;
    for (const double time : command.times) {
        const double frame = std::round(time / clip.frameSeconds);
        if (!(frame >= 0.0 && frame < clip.frameCount)) {
            throw Failure(fmt::format("--at {}: the clip goes from 0 to {:.2f} s", time,
                (clip.frameCount - 1) * clip.frameSeconds));
        }
        moments.push_back(static_cast<int>(frame));
    }
    for (int i = 0; command.times.empty() && i < command.momentCount; ++i) {
        moments.push_back(static_cast<int>((i + 0.5) * clip.frameCount / command.momentCount));
    }
    return moments;
}

void Run(DrawCommand& command) {
    CheckPictureFormat(command.output);
    CheckWritable(command.output, {{command.configuration, command.clip}});
    const Configuration configuration = LoadForRetargeting(command.configuration, command.options);
    SayWarnings();
    std::vector<Remark> notes;
    const Motion motion = ReadMotion(command.clip, notes, command.options.clip.reading);
    const RetargetedClip clip = RetargetClip(configuration, motion, command.options, notes);
    SayNotes(notes);
    const std::string clipName = std::filesystem::path(command.clip).filename().string();
    const std::optional<RigFile> character = FindTargetFile(ReadTextFile(command.configuration));
    std::error_code isntThere;
    const bool hasSkin = character && CanCarryMotion(character->path) &&
                         std::filesystem::exists(character->path, isntThere) && clip.keepsBones;
    const SheetContent content = {configuration.Name(), clipName, clip,
        MakeFigure(configuration, velkori_SkeletonType_Source),
        MakeFigure(configuration, velkori_SkeletonType_Target),
        hasSkin ? LoadSkin(configuration, *character) : SkinnedMesh(), ChooseMoments(command, clip.source)};
    WriteFileWhole(command.output, [&](const std::string& place) { DrawSheet(place, content); });
}

} // namespace

void AddDrawCommand(CLI::App& program) {
    auto command = std::make_shared<DrawCommand>();
    CLI::App& app =
        *program.add_subcommand("draw", "Draw a contact sheet of a clip and of what becomes of it");
    app.add_option("CONFIG", command->configuration, "The configuration, as 'velkori prepare' writes it")
        ->required();
    app.add_option("CLIP", command->clip, "The captured clip of the source's rig")->required();
    app.add_option("-o,--output", command->output, "The picture: .png, .svg or .pdf")->required();
    app.add_option("--moments", command->momentCount, "How many moments, evenly spread; 5 by default")
        ->check(CLI::Range(1, mostMoments));
    app.add_option("--at", command->times, "The moments themselves, in seconds: 0.5,1.25,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    AddRetargetOptions(app, command->options);
    app.footer("Example:\n  velkori draw walk_to_hero.json walk.bvh -o sheet.png --at 0.5,1,1.5,2");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
