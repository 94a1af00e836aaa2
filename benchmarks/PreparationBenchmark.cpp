// Rest-pose alignment and mapping generation: the sample's two rigs, and mappings by the number of joints.

#include "FullSample.h"
#include "Velkori_Utility.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

constexpr auto AllSteps = static_cast<velkori_AlignmentFlags>(1 | 2 | 4 | 8 | 16);

// Two equal bodies of limbs of ten joints each, side by side in space.
velkori_Handle MakeTree(int jointCount) {
    std::vector<std::string> names;
    names.reserve(jointCount);
    for (int i = 0; i < jointCount; ++i) {
        names.push_back("joint" + std::to_string(i));
    }
    std::vector<const char*> namePointers;
    std::vector<const char*> parents;
    std::vector<velkori_Transform_> pose;
    for (int i = 0; i < jointCount; ++i) {
        namePointers.push_back(names[i].c_str());
        parents.push_back(i == 0 ? nullptr : names[i % 10 == 0 ? 0 : i - 1].c_str());
        const int limb = i / 10;
        pose.push_back({{0, 0, 0, 1},
            {0.1F * static_cast<float>(i % 10), 1.0F + 0.1F * static_cast<float>(limb % 8),
                0.1F * static_cast<float>(limb)},
            {1, 1, 1}});
    }
    velkori_UtilityConfigInitParams_ params = {};
    params.sourceSkeleton.jointCount = jointCount;
    params.sourceSkeleton.jointNames = namePointers.data();
    params.sourceSkeleton.parentJointNames = parents.data();
    params.sourceSkeleton.unscaledTPose = pose.data();
    params.targetSkeleton = params.sourceSkeleton;
    velkori_Handle handle = 0;
    velkori_createOrUpdateUtilityConfig("tree", &params, &handle);
    return handle;
}

void AlignSample(benchmark::State& state) {
    const velkori_Handle sample = LoadFullSample();
    velkori_Handle aligned = 0;
    for ([[maybe_unused]] auto _ : state) {
        velkori_alignTargetToSource(
            "aligned", AllSteps, sample, velkori_SkeletonType_Source, sample, &aligned);
    }
    velkori_destroy(aligned);
    velkori_destroy(sample);
}

void GenerateSampleMappings(benchmark::State& state) {
    const velkori_Handle sample = LoadFullSample();
    for ([[maybe_unused]] auto _ : state) {
        velkori_generateMappings(sample, velkori_AutoMappingFlags_None);
    }
    velkori_destroy(sample);
}

void GenerateMappings(benchmark::State& state) {
    const velkori_Handle handle = MakeTree(static_cast<int>(state.range(0)));
    for ([[maybe_unused]] auto _ : state) {
        velkori_generateMappings(handle, velkori_AutoMappingFlags_None);
    }
    velkori_destroy(handle);
}

} // namespace

BENCHMARK(AlignSample)->Unit(benchmark::kMillisecond);
BENCHMARK(GenerateSampleMappings)->Unit(benchmark::kMillisecond);
BENCHMARK(GenerateMappings)
    ->RangeMultiplier(2)
    ->Range(31, 500)
    ->Unit(benchmark::kMillisecond)
    ->ArgName("joints");
