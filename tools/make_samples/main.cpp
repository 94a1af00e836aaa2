// Writes the sample configurations and the sample character: make_samples DIRECTORY
//
// It is a host like any other: it describes the bodies as records and lets the library write the documents.

#include "CharacterFile.h"
#include "Samples.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace {

void Require(velkori_Result result, const char* what) {
    if (result != velkori_Result_Success) {
        throw std::runtime_error(std::string(what) + " failed with " + std::to_string(result));
    }
}

struct FlatMappings {
    explicit FlatMappings(const Sample& sample) {
        for (const NamedMapping& mapping : sample.mappings) {
            const Rig& entryRig = mapping.type == velkori_SkeletonType_Source ? sample.source : sample.target;
            heads.push_back({sample.target.IndexOf(mapping.targetJoint), mapping.type, mapping.behavior,
                static_cast<std::int32_t>(mapping.entries.size())});
            for (const NamedMapping::Entry& entry : mapping.entries) {
                entries.push_back(
                    {entryRig.IndexOf(entry.joint), entry.rotationWeight, entry.positionWeight});
            }
        }
    }

    velkori_JointMappingDefinition_ Get() const {
        return {static_cast<std::int32_t>(heads.size()), static_cast<std::int32_t>(entries.size()),
            heads.data(), entries.data()};
    }

    std::vector<velkori_JointMapping_> heads;
    std::vector<velkori_JointMappingEntry_> entries;
};

std::string ToDocument(const Sample& sample) {
    const BodySize asWritten;
    const RigRecord source(sample.source, sample.sourceMin, sample.sourceMax, asWritten);
    const RigRecord target(sample.target, sample.targetMin, sample.targetMax, asWritten);
    const FlatMappings mappings(sample);
    const velkori_UtilityConfigInitParams_ params = {
        source.Get(), target.Get(), mappings.Get(), mappings.Get()};
    velkori_Handle handle = 0;
    Require(velkori_createOrUpdateUtilityConfig(sample.name.c_str(), &params, &handle), "creating");
    std::int32_t size = 0;
    Require(velkori_writeConfigDataToJSON(handle, nullptr, nullptr, &size), "measuring");
    std::string text(size, '\0');
    Require(velkori_writeConfigDataToJSON(handle, nullptr, text.data(), &size), "writing");
    Require(velkori_destroy(handle), "destroying");
    text.back() = '\n';
    return text;
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error("can't write " + path.string());
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_samples DIRECTORY\n");
        return 2;
    }
    try {
        velkori_initializeLogging(
            [](velkori_LogLevel, const char* line) { std::fprintf(stderr, "%s\n", line); });
        const std::filesystem::path directory = argv[1];
        WriteFile(directory / "simple.json", ToDocument(MakeSimpleSample()));
        WriteFile(directory / "full.json", ToDocument(MakeFullSample()));
        WriteFile(directory / "character.glb", MakeCharacterFile(MakeFullSample().target));
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "make_samples: %s\n", exception.what());
        return 1;
    }
    return 0;
}
