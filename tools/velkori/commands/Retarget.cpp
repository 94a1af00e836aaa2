#include "OutputFile.h"
#include "commands/Commands.h"
#include "host/FootContact.h"

#include <fmt/format.h>

#include <memory>

namespace Velkori_Tool {

namespace {

struct RetargetCommand {
    std::string configuration;
    std::string clip;
    std::string output;
    bool reports = false;
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

void Run(const RetargetCommand& command) {
    CheckMotionFormat(command.output);
    CheckWritable(command.output);
    const Configuration configuration = LoadDocumentFile(command.configuration);
    SayWarnings();
    std::vector<std::string> notes;
    const Motion motion = ReadMotion(command.clip, notes);
    const RetargetedClip clip = RetargetClip(configuration, motion, command.options, notes);
    SayNotes(notes);
    if (command.reports) {
        PrintReport(configuration, clip);
    }
    WriteMotion(command.output, MakeOutgoingMotion(configuration, clip, clip.poses));
    fmt::print("{} frames of {} joints in '{}'\n", clip.source.frameCount, clip.jointCount, command.output);
}

} // namespace

void AddRetargetCommand(CLI::App& program) {
    auto command = std::make_shared<RetargetCommand>();
    CLI::App& app = *program.add_subcommand("retarget", "Retarget a clip to the configuration's target");
    app.add_option("CONFIG", command->configuration, "The configuration, as 'velkori prepare' writes it")
        ->required();
    app.add_option("CLIP", command->clip, "The captured clip of the source's rig")->required();
    app.add_option("-o,--output", command->output, "The result: .bvh (in centimetres) or .glb")->required();
    AddRetargetOptions(app, command->options);
    app.add_flag("--report", command->reports, "Print how far the feet of source and target slide");
    app.footer("Example:\n  velkori retarget walk_to_hero.json walk.bvh -o hero_walk.glb --report");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
