// Rest-pose alignment and mapping generation: the sample's two rigs, and mappings by the number of joints.

#include "FullSample.h"
#include "JointTree.h"
#include "Velkori_Utility.h"

#include <benchmark/benchmark.h>

namespace {

constexpr auto AllSteps = static_cast<velkori_AlignmentFlags>(1 | 2 | 4 | 8 | 16);

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
    const velkori_Handle handle = MakeJointTree(static_cast<int>(state.range(0)), 0);
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
