#include "Failure.h"
#include "OutputFile.h"
#include "commands/Commands.h"
#include "commands/Remedies.h"
#include "host/Findings.h"

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>

namespace Velkori_Tool {

namespace {

struct CheckCommand {
    std::string configuration;
    bool printsJSON = false;
};

/** What the library says of a document: its errors are problems, its warnings aren't. */
std::vector<Finding> LibraryFindings() {
    std::vector<Finding> findings;
    for (const LogLine& line : TakeLog()) {
        findings.push_back({line.level == velkori_LogLevel_Error, "library",
            {fmt::format("{}{}", line.level == velkori_LogLevel_Warning ? "warning: " : "", line.text)}});
    }
    return findings;
}

std::vector<Finding> Inspect(const std::string& path) {
    const std::string document = ReadTextFile(path);
    if (document.find('\0') != std::string::npos) {
        return {{true, "library", {"there is a zero byte in the document"}}};
    }
    velkori_Handle handle = 0;
    const velkori_Result result = velkori_createOrUpdateHandle(document.c_str(), &handle);
    const Configuration configuration(handle);
    std::vector<Finding> findings = LibraryFindings();
    if (result != velkori_Result_Success) {
        findings.push_back({true, "library", {"the library doesn't take the document"}});
        return findings;
    }
    const std::vector<Finding> problems = FindProblems(configuration);
    findings.insert(findings.end(), problems.begin(), problems.end());
    return findings;
}

void Run(const CheckCommand& command) {
    const std::vector<Finding> findings = Inspect(command.configuration);
    const auto problemCount = std::count_if(
        findings.begin(), findings.end(), [](const Finding& finding) { return finding.isProblem; });
    if (command.printsJSON) {
        nlohmann::ordered_json list = nlohmann::ordered_json::array();
        for (const Finding& finding : findings) {
            list.push_back(
                {{"problem", finding.isProblem}, {"kind", finding.kind}, {"text", InWords(finding.remark)}});
        }
        const nlohmann::ordered_json report = {
            {"configuration", command.configuration}, {"problems", problemCount}, {"findings", list}};
        // A document's own words needn't be UTF-8.
        WriteTextFile(
            "-", report.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
    } else {
        for (const Finding& finding : findings) {
            fmt::print("{:<8} {}\n", finding.isProblem ? "PROBLEM" : "note", InWords(finding.remark));
        }
    }
    std::fflush(stdout);
    if (problemCount > 0) {
        throw Failure(fmt::format(
            "'{}' has {} problem{}", command.configuration, problemCount, problemCount == 1 ? "" : "s"));
    }
}

} // namespace

void AddCheckCommand(CLI::App& program) {
    auto command = std::make_shared<CheckCommand>();
    CLI::App& app =
        *program.add_subcommand("check", "Look a configuration over; exit with 1 if it has problems");
    app.add_option("CONFIG", command->configuration, "The configuration, as 'velkori prepare' writes it")
        ->required();
    app.add_flag("--json", command->printsJSON, "Print the findings as JSON");
    app.footer("Example:\n  velkori check walk_to_hero.json");
    app.callback([command] { Run(*command); });
}

} // namespace Velkori_Tool
