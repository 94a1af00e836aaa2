// Log lines, by level and text.

#include "Host.h"
#include "Stages.h"

namespace {

Hash* lines = nullptr;

// The lines of the calls that `run` makes, and what else it adds.
template <typename Run>
Hash Listen(const Run& run) {
    Hash hash;
    lines = &hash;
    velkori_initializeLogging(
        [](velkori_LogLevel level, const char* message) { lines->Add(level, std::string(message)); });
    run(hash);
    velkori_initializeLogging(nullptr);
    return hash;
}

Hash LoadingLines(const std::string& text) {
    return Listen([&](Hash& hash) {
        velkori_Handle handle = 0;
        hash.Add(velkori_createOrUpdateHandle(text.c_str(), &handle));
        hash.Add(velkori_destroy(handle));
    });
}

void RefusalLines(Hash& hash, velkori_Handle handle) {
    // No handle of a run is as high, and the lines name it.
    const velkori_Handle unknown = 0xFFFFFFFFFFU;
    Transforms invalid(20, velkori_Transform_{});
    velkori_Transform_* const pose = invalid.data();
    std::int32_t count = Count(invalid);
    std::int32_t few = 1;
    float length = 0;
    const velkori_CoordinateSpace_ skewed = {{0, 2, 0}, {0, 0, 1}, {1, 0, 0}};
    hash.Add(velkori_initialize(&skewed));
    hash.Add(velkori_destroy(unknown));
    hash.Add(velkori_getVersion(handle, nullptr));
    hash.Add(velkori_getJointsInManifestation(handle, Source, "none", nullptr, &count));
    hash.Add(
        velkori_getSkeletonTPose(handle, Source, velkori_SkeletonTPoseType_Current, RootSpace, pose, &count));
    hash.Add(velkori_getSkeletonTPose(handle, Source, Min, RootSpace, pose, &few));
    hash.Add(velkori_convertJointPose(handle, Target, RootSpace, LocalSpace, pose, count));
    hash.Add(velkori_scalePoseToHeight(handle, Target, RootSpace, 1, 3, pose));
    hash.Add(velkori_applyWorldSpaceCoordinateSpaceConversion(
        pose, count, VELKORI_DEFAULT_COORDINATE_SPACE, skewed));
    hash.Add(velkori_getLengthBetweenJoints(handle, Target, Min, 0, 99, &length));
    hash.Add(velkori_updateSourceReferenceTPose(handle, pose, count, "none"));
    hash.Add(velkori_retargetFromSourceFrameData(handle, {}, pose, count, pose, &count, "", ""));
    hash.Add(velkori_getLastProcessedFramePose(handle, Target, RootSpace, pose, &count, nullptr));
    hash.Add(velkori_generateMappings(unknown, velkori_AutoMappingFlags_None));
    hash.Add(velkori_serializeSnapshot(handle, nullptr, &few));
}

} // namespace

void RunLogStages(Stages& stages, const Samples& samples) {
    const std::string& simple = samples.simple;
    stages.emplace_back("log/sound", LoadingLines(samples.full));
    stages.emplace_back("log/no-text", LoadingLines("{"));
    stages.emplace_back("log/no-object", LoadingLines("[]"));
    stages.emplace_back("log/unknown-parent", LoadingLines(Replace(simple, ": \"chest\"", ": \"nobody\"")));
    stages.emplace_back("log/unknown-behavior", LoadingLines(Replace(simple, "\"normal\"", "\"odd\"")));
    stages.emplace_back("log/no-axis", LoadingLines(Replace(simple, "\"forward\": {", "\"forwards\": {")));
    stages.emplace_back("log/no-rest-poses", LoadingLines(Replace(simple, "\"tpose", "\"pose")));
    const Instance instance(simple);
    stages.emplace_back("log/refusals", Listen([&](Hash& hash) { RefusalLines(hash, instance.handle); }));
}
