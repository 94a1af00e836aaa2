#include "OutputFile.h"
#include "commands/Commands.h"
#include "host/ResultFile.h"
#include "host/StreamLink.h"

#include <fmt/format.h>

#include <array>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>

namespace Velkori_Tool {

namespace {

struct StreamCommand {
    std::string configuration;
    std::string clip;
    std::string output;
    std::string type;
    bool printsJSON = false;
    LinkOptions link;
    RetargetOptions retarget;
};

struct NamedType {
    const char* name;
    velkori_CompressionType type;
};

constexpr std::array<NamedType, 3> types = {NamedType{"standard", velkori_CompressionType_Standard},
    {"high", velkori_CompressionType_High}, {"max", velkori_CompressionType_Max}};

constexpr double millimetres = 1000.0;
constexpr double millisecondsPerSecond = 1000.0;

void PrintRow(const char* type, const LinkResult& result) {
    fmt::print(
        "{:<9} {:>8.1f} {:>8} {:>9.1f} {:>6}/{:<6} {:>9.2f} {:>9.2f} {:>9.3f} {:>9.3f} {:>7.0f} {:>11.2f}\n",
        type, result.bytesPerFrame, result.largestFrame, result.kilobitsPerSecond, result.framesLost,
        result.framesSent, result.meanPositionError * millimetres, result.largestPositionError * millimetres,
        result.meanRotationError, result.largestRotationError, result.lagSeconds * millisecondsPerSecond,
        result.meanPositionErrorWithoutLag * millimetres);
}

nlohmann::ordered_json ToJSON(const char* type, const LinkResult& result) {
    return {{"type", type}, {"framesSent", result.framesSent}, {"framesLost", result.framesLost},
        {"bytesPerFrame", result.bytesPerFrame}, {"largestFrameBytes", result.largestFrame},
        {"kilobitsPerSecond", result.kilobitsPerSecond}, {"latencySeconds", result.latencySeconds},
        {"lagSeconds", result.lagSeconds},
        {"meanPositionErrorWithoutLagMetres", result.meanPositionErrorWithoutLag},
        {"meanPositionErrorMetres", result.meanPositionError},
        {"largestPositionErrorMetres", result.largestPositionError},
        {"meanRotationErrorDegrees", result.meanRotationError},
        {"largestRotationErrorDegrees", result.largestRotationError}};
}

void Run(StreamCommand& command) {
    if (!command.output.empty()) {
        CheckMotionFormat(command.output);
        CheckWritable(command.output, {{command.configuration, command.clip}});
    }
    const Configuration configuration = LoadForRetargeting(command.configuration, command.retarget);
    SayWarnings();
    std::vector<Remark> notes;
    const Motion motion = ReadMotion(command.clip, notes, command.retarget.clip.reading);
    const RetargetedClip clip = RetargetClip(configuration, motion, command.retarget, notes);
    SayNotes(notes);
    if (!command.printsJSON) {
        fmt::print("{:<9} {:>8} {:>8} {:>9} {:>13} {:>19} {:>19} {:>19}\n", "", "bytes a", "largest", "", "",
            "position error, mm", "rotation error, deg", "easing's lag");
        fmt::print("{:<9} {:>8} {:>8} {:>9} {:>13} {:>9} {:>9} {:>9} {:>9} {:>7} {:>11}\n", "type", "frame",
            "frame", "kbit/s", "lost/sent", "mean", "largest", "mean", "largest", "ms", "mm without");
    }
    nlohmann::ordered_json rows = nlohmann::ordered_json::array();
    for (const NamedType& named : types) {
        if (!command.type.empty() && command.type != named.name) {
            continue;
        }
        LinkOptions link = command.link;
        link.type = named.type;
        const LinkResult result = SendOverLink(configuration, clip, link);
        if (command.printsJSON) {
            rows.push_back(ToJSON(named.name, result));
        } else {
            PrintRow(named.name, result);
        }
        if (!command.output.empty()) {
            WriteMotion(command.output,
                MakeOutgoingMotion(configuration, clip, configuration.Name(), result.receivedPoses));
        }
    }
    if (command.printsJSON) {
        WriteTextFile("-", rows.dump(2) + "\n");
    }
}

} // namespace

void AddStreamCommand(CLI::App& program) {
    auto command = std::make_shared<StreamCommand>();
    CLI::App& app = *program.add_subcommand(
        "stream", "Send a retargeted clip over a simulated link and measure what arrives");
    app.add_option("CONFIG", command->configuration, "The configuration, as 'velkori prepare' writes it")
        ->required();
    app.add_option("CLIP", command->clip, "The captured clip of the source's rig")->required();
    CLI::Option* type = app.add_option("--type", command->type,
        "How finely the stream quantises: standard, high or max; all three by default");
    type->check(CLI::IsMember({"standard", "high", "max"}));
    app.add_option("--loss", command->link.loss, "The share of packets that is lost; 0.05 by default")
        ->check(NumberWithin(0.0, 1.0));
    constexpr int mostDelay = 1000;
    app.add_option(
           "--delay-frames", command->link.delayFrames, "How many frames a packet takes; 6 by default")
        ->check(CLI::Range(0, mostDelay));
    app.add_option("--jitter-ms", command->link.jitterMilliseconds,
           "How many milliseconds more a packet may take; 8 by default")
        ->check(NumberWithin(0.0, 10000.0));
    app.add_option("--seed", command->link.seed, "Which packets are lost and late; 1 by default");
    app.add_option("-o,--output", command->output, "Write the motion that was received: .bvh or .glb")
        ->needs(type);
    app.add_flag("--json", command->printsJSON, "Print the table as JSON");
    AddRetargetOptions(app, command->retarget);
    app.footer(
        "Errors leave out the first quarter of a second, in which the receiver eases in.\n"
        "Example:\n  velkori stream walk_to_hero.json walk.bvh --type high --loss 0.1 --delay-frames 12");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
