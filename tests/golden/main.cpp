// Runs a fixed workload through the library and compares what every stage puts out, as one hash, with a file.
// The file is the same for all compilers and processors.

#include "Stages.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace {

bool Read(const std::string& path, std::string& text) {
    std::ifstream file(path, std::ios::binary);
    text.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (!file) {
        std::fprintf(stderr, "velkori_golden: can't read %s\n", path.c_str());
    }
    return !file.fail();
}

std::string Text(const Hash& hash) {
    std::string text;
    for (int shift = 60; shift >= 0; shift -= 4) {
        text += "0123456789abcdef"[hash.Value() >> shift & 15U];
    }
    return text;
}

Stages Run(const Samples& samples) {
    Stages stages;
    RunDocumentStages(stages, samples);
    RunPoseStages(stages, samples);
    RunFrameStages(stages, samples);
    RunPreparationStages(stages, samples);
    RunStreamStages(stages, samples);
    RunLogStages(stages, samples);
    return stages;
}

// Whether each stage put something out that can be compared.
bool AreSound(const Stages& stages) {
    bool areSound = true;
    for (const auto& [name, hash] : stages) {
        if (hash.HoldsNaN() || hash.IsEmpty()) {
            std::printf("%s %s\n", hash.HoldsNaN() ? "nan    " : "empty  ", name.c_str());
            areSound = false;
        }
    }
    return areSound;
}

bool Write(const char* path, const Stages& stages) {
    std::ofstream file(path, std::ios::binary);
    for (const auto& [name, hash] : stages) {
        file << name << ' ' << Text(hash) << '\n';
    }
    file.close();
    if (!file) {
        std::fprintf(stderr, "velkori_golden: can't write %s\n", path);
    }
    return !file.fail();
}

// How many stages differ from the file's, are missing in it, or are there without being run.
std::size_t CountDifferences(const std::string& golden, const Stages& stages) {
    std::map<std::string, std::string> expected;
    std::istringstream lines(golden);
    std::string name;
    std::string value;
    // Reading words takes any line end.
    while (lines >> name >> value) {
        expected[name] = value;
    }
    std::size_t differences = 0;
    for (const auto& [stage, hash] : stages) {
        const auto found = expected.find(stage);
        const bool isMissing = found == expected.end();
        if (isMissing || found->second != Text(hash)) {
            std::printf("%s %s %s\n", isMissing ? "missing" : "differs", stage.c_str(), Text(hash).c_str());
            ++differences;
        }
        if (!isMissing) {
            expected.erase(found);
        }
    }
    for (const auto& entry : expected) {
        std::printf("extra   %s\n", entry.first.c_str());
    }
    return differences + expected.size();
}

} // namespace

int main(int argc, char** argv) {
    const bool isWriting = argc == 4 && std::strcmp(argv[3], "--write") == 0;
    Samples samples;
    std::string golden;
    if (argc != 3 && !isWriting) {
        std::fputs("usage: velkori_golden GOLDEN_FILE SAMPLES_DIRECTORY [--write]\n", stderr);
        return 1;
    }
    const std::string directory = argv[2];
    if (!Read(directory + "/simple.json", samples.simple) || !Read(directory + "/full.json", samples.full) ||
        (!isWriting && !Read(argv[1], golden))) {
        return 1;
    }
    const Stages stages = Run(samples);
    if (!AreSound(stages)) {
        return 1;
    }
    if (isWriting) {
        return Write(argv[1], stages) ? 0 : 1;
    }
    const std::size_t differences = CountDifferences(golden, stages);
    std::printf("%u stages, %u differences\n", static_cast<unsigned>(stages.size()),
        static_cast<unsigned>(differences));
    return differences == 0 ? 0 : 1;
}
