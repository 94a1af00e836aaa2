#include "commands/ScoreReport.h"

#include "Failure.h"
#include "OutputFile.h"
#include "commands/Remedies.h"

#include <fmt/format.h>

#include <cstdio>
#include <nlohmann/json.hpp>

namespace Velkori_Tool {

void PrintScore(const ClipScore& scored) {
    fmt::print("{}{}\n", scored.clip, scored.isTruncated ? " (cut short: frames are missing)" : "");
    fmt::print("  {:<36} {:>9} {:>9} {:>9}  {}\n", "measure", "value", "good to", "bad from", "");
    for (const Measure& measure : scored.score.measures) {
        fmt::print("  {:<36} {:>9.3g} {:>9.3g} {:>9.3g}  {}\n",
            measure.unit.empty() ? measure.name : fmt::format("{} [{}]", measure.name, measure.unit),
            measure.value, measure.good, measure.bad, NameOf(measure.Judged()));
    }
    fmt::print("  verdict: {}\n", NameOf(scored.score.Judged()));
}

void WriteScores(
    const std::string& path, const std::string& configuration, const std::vector<ClipScore>& scores) {
    using JSON = nlohmann::ordered_json;
    JSON clips = JSON::array();
    for (const ClipScore& scored : scores) {
        JSON measures = JSON::object();
        for (const Measure& measure : scored.score.measures) {
            measures[measure.key] = {{"value", measure.value}, {"unit", measure.unit}, {"good", measure.good},
                {"bad", measure.bad}, {"verdict", NameOf(measure.Judged())}};
        }
        JSON doubts = JSON::array();
        for (const Remark& doubt : scored.doubts) {
            doubts.push_back(InWords(doubt));
        }
        clips.push_back({{"clip", scored.clip}, {"verdict", NameOf(scored.score.Judged())},
            {"truncated", scored.isTruncated}, {"doubts", doubts}, {"measures", std::move(measures)}});
    }
    const JSON report = {{"configuration", configuration}, {"clips", std::move(clips)}};
    WriteTextFile(path, report.dump(2, ' ', false, JSON::error_handler_t::replace) + "\n");
}

void CheckScores(const std::vector<ClipScore>& scores, bool acceptsBad) {
    std::string problems;
    for (const ClipScore& scored : scores) {
        const auto add = [&](const std::string& problem) {
            problems += fmt::format("{}'{}' {}", problems.empty() ? "" : "\n", scored.clip, problem);
        };
        if (scored.isTruncated) {
            add("is cut short: frames that it states are missing");
        }
        for (const Remark& doubt : scored.doubts) {
            if (acceptsBad) {
                fmt::print(stderr, "warning: '{}': {}\n", scored.clip, InWords(doubt));
            } else {
                add("is in doubt: " + InWords(doubt) + "; --force takes it as it is");
            }
        }
        if (scored.score.Judged() == Verdict::Bad && !acceptsBad) {
            add(fmt::format(
                "gives a bad result ({}); look at it with 'velkori draw', and mend the mapping or "
                "the rigs; --force takes it as it is",
                Summary(scored.score)));
        }
    }
    if (!problems.empty()) {
        std::fflush(stdout);
        throw Failure(problems);
    }
}

} // namespace Velkori_Tool
