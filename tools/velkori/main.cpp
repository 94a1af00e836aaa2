#include "Failure.h"
#include "commands/Commands.h"
#include "commands/Remedies.h"
#include "library/Library.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <new>

int main(int argumentCount, char** arguments) {
    constexpr int failed = 1;
    constexpr int usedWrongly = 2;
    try {
        CLI::App program(
            "Makes configurations of rigs, retargets captured clips and shows the result.", "velkori");
        program.require_subcommand(1);
        program.get_formatter()->column_width(36);
        Velkori_Tool::AddRigCommand(program);
        Velkori_Tool::AddPrepareCommand(program);
        Velkori_Tool::AddRetargetCommand(program);
        Velkori_Tool::AddScoreCommand(program);
        Velkori_Tool::AddStreamCommand(program);
        Velkori_Tool::AddDrawCommand(program);
        Velkori_Tool::AddCheckCommand(program);
        program.footer("Each command has its own --help with an example.");
        Velkori_Tool::StartLog();
        try {
            program.parse(argumentCount, arguments);
        } catch (const CLI::ParseError& error) {
            return program.exit(error) == 0 ? 0 : usedWrongly;
        }
    } catch (const Velkori_Tool::UsageFailure& failure) {
        fmt::print(stderr, "velkori: {}\n", Velkori_Tool::InWords(failure.AsRemark()));
        return usedWrongly;
    } catch (const Velkori_Tool::Failure& failure) {
        fmt::print(stderr, "velkori: {}\n", Velkori_Tool::InWords(failure.AsRemark()));
        return failed;
    } catch (const std::bad_alloc&) {
        fmt::print(stderr, "velkori: there isn't enough memory for this; cut the clip or the skeleton\n");
        return failed;
    } catch (const std::exception& error) {
        fmt::print(stderr, "velkori: {}\n", error.what());
        return failed;
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        fmt::print(stderr, "velkori: can't write to standard output: {}\n", std::strerror(errno));
        return failed;
    }
    return 0;
}
