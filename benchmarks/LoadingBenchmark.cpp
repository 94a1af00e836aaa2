// Loading and writing a document of two skeletons with full mappings, by its number of joints.

#include "JointTree.h"
#include "Velkori_Utility.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

std::string MakeDocument(int jointCount) {
    const velkori_Handle handle = MakeJointTree(jointCount, 2);
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
