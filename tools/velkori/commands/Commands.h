#pragma once

#include "Remark.h"
#include "host/RetargetedClip.h"

#include <CLI/CLI.hpp>
#include <string>
#include <string_view>
#include <vector>

// Each sub-command adds itself to the program: its arguments, and what it does once they are parsed.
namespace Velkori_Tool {

void AddRigCommand(CLI::App& program);
void AddPrepareCommand(CLI::App& program);
void AddRetargetCommand(CLI::App& program);
void AddScoreCommand(CLI::App& program);
void AddStreamCommand(CLI::App& program);
void AddDrawCommand(CLI::App& program);
void AddCheckCommand(CLI::App& program);

/** Adds the options that decide how a clip is read and retargeted. */
void AddRetargetOptions(CLI::App& command, RetargetOptions& options);

/** Adds the options that say which part of a file's motion is read. */
void AddReadOptions(CLI::App& command, ReadOptions& options);

/** Reads a configuration to retarget with, and what its document says of the target's feet. */
Configuration LoadForRetargeting(const std::string& path, RetargetOptions& options);

/** Takes finite numbers of a range; the arguments' own checks let nan through. */
CLI::Validator NumberWithin(double lowest, double highest);

/** What a unit of length can be, in metres. */
inline constexpr double smallestUnit = 1e-6;
inline constexpr double largestUnit = 1e6;

/** Says something that isn't the command's result, on standard error. */
void SayNotes(const std::vector<Remark>& notes);

/** Says what the library warned of since the last time. */
void SayWarnings();

} // namespace Velkori_Tool
