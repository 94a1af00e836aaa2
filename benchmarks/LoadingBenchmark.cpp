// Loading and writing a document of two skeletons with full mappings, by its number of joints.

#include "Velkori_Utility.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

std::string MakeDocument(int jointCount) {
    std::vector<std::string> names;
    names.reserve(jointCount);
    for (int i = 0; i < jointCount; ++i) {
        names.push_back("joint_with_a_usual_name_" + std::to_string(i));
    }
    std::vector<const char*> namePointers;
    std::vector<const char*> parents;
    std::vector<velkori_Transform_> pose;
    std::vector<velkori_JointMapping_> mappings;
    std::vector<velkori_JointMappingEntry_> entries;
    for (int i = 0; i < jointCount; ++i) {
        namePointers.push_back(names[i].c_str());
        parents.push_back(i == 0 ? nullptr : names[i % 10 == 0 ? 0 : i - 1].c_str());
        pose.push_back({{0, 0, 0, 1}, {0.01F * static_cast<float>(i), 1, 0}, {1, 1, 1}});
        mappings.push_back({i, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 2});
        entries.push_back({i, 0.5F, 0.5F});
        entries.push_back({(i + 1) % jointCount, 0.5F, 0.5F});
    }
    velkori_UtilityConfigInitParams_ params = {};
    params.sourceSkeleton.jointCount = jointCount;
    params.sourceSkeleton.jointNames = namePointers.data();
    params.sourceSkeleton.parentJointNames = parents.data();
    params.sourceSkeleton.unscaledTPose = pose.data();
    params.targetSkeleton = params.sourceSkeleton;
    params.minMappings = params.maxMappings = {jointCount, 2 * jointCount, mappings.data(), entries.data()};
    velkori_Handle handle = 0;
    velkori_createOrUpdateUtilityConfig("document", &params, &handle);
    int32_t size = 0;
    velkori_writeConfigDataToJSON(handle, nullptr, nullptr, &size);
    std::string text(size, '\0');
    velkori_writeConfigDataToJSON(handle, nullptr, text.data(), &size);
    velkori_destroy(handle);
    return text;
}

void LoadDocument(benchmark::State& state) {
    const std::string document = MakeDocument(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        velkori_Handle handle = 0;
        velkori_createOrUpdateHandle(document.c_str(), &handle);
        velkori_destroy(handle);
    }
    state.counters["us/joint"] = benchmark::Counter(
        static_cast<double>(state.iterations()) * 2e-6 * static_cast<double>(state.range(0)),
        benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

} // namespace

BENCHMARK(LoadDocument)->RangeMultiplier(2)->Range(31, 500)->Unit(benchmark::kMillisecond)->ArgName("joints");
