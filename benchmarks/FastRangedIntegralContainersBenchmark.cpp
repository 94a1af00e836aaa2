// Lookups in the ranged containers beside a hash map and beside a plain list, which nothing can beat.

#include "shared/FastRangedIntegralContainers.h"

#include <benchmark/benchmark.h>

#include <random>
#include <unordered_map>
#include <vector>

namespace {

using namespace Velkori_Utility;

// Half of the looked-up keys are there.
struct Keys {
    explicit Keys(int count) {
        std::mt19937 random(1);
        for (int i = 0; i < 1024; ++i) {
            lookups.push_back(static_cast<int>(random() % static_cast<unsigned>(count)));
        }
        for (int key = 0; key < count; key += 2) {
            present.push_back(key);
        }
    }

    std::vector<int> lookups;
    std::vector<int> present;
};

template <typename Lookup>
void RunLookups(benchmark::State& state, const Keys& keys, const Lookup& lookup) {
    for ([[maybe_unused]] auto _ : state) {
        int sum = 0;
        for (const int key : keys.lookups) {
            sum += lookup(key);
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(keys.lookups.size()));
}

void RangedMap(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const Keys keys(count);
    FastRangedIntegralMap<int, int> map;
    map.initialize(0, count);
    for (const int key : keys.present) {
        map.insert(key, key);
    }
    RunLookups(state, keys, [&](int key) {
        const int* value = map.Find(key);
        return value != nullptr ? *value : 0;
    });
}

void RangedSet(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const Keys keys(count);
    const FastRangedIntegralSet<int> set(0, count, keys.present);
    RunLookups(state, keys, [&](int key) { return set.contains(key) ? key : 0; });
}

void UnorderedMap(benchmark::State& state) {
    const Keys keys(static_cast<int>(state.range(0)));
    std::unordered_map<int, int> map;
    for (const int key : keys.present) {
        map.emplace(key, key);
    }
    RunLookups(state, keys, [&](int key) {
        const auto found = map.find(key);
        return found != map.end() ? found->second : 0;
    });
}

void PlainVector(benchmark::State& state) {
    const int count = static_cast<int>(state.range(0));
    const Keys keys(count);
    std::vector<int> values(static_cast<std::size_t>(count), 0);
    for (const int key : keys.present) {
        values[static_cast<std::size_t>(key)] = key;
    }
    RunLookups(state, keys, [&](int key) { return values[static_cast<std::size_t>(key)]; });
}

} // namespace

BENCHMARK(PlainVector)->Arg(80)->Arg(500);
BENCHMARK(RangedSet)->Arg(80)->Arg(500);
BENCHMARK(RangedMap)->Arg(80)->Arg(500);
BENCHMARK(UnorderedMap)->Arg(80)->Arg(500);
