// One retargeted frame, beside the floor that nothing can beat: one plain pass that composes as many target
// joints from local to root space.

#include "FullSample.h"
#include "JointTree.h"
#include "Velkori_Utility.h"
#include "shared/DataTypes.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <vector>

namespace {

using Transforms = std::vector<velkori_Transform_>;
using Velkori_Utility::JointPose;

constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto LocalSpace = velkori_JointRelativeSpaceType_Local;
constexpr int FrameCount = 64;

Transforms RestPose(velkori_Handle handle, velkori_SkeletonType type, velkori_JointRelativeSpaceType space) {
    int32_t count = 0;
    velkori_calculateSkeletonTPose(handle, type, space, 0.5F, nullptr, &count);
    Transforms pose(count);
    velkori_calculateSkeletonTPose(handle, type, space, 0.5F, pose.data(), &count);
    return pose;
}

// The source's rest pose with every joint swaying in its own way.
std::vector<Transforms> SwayingFrames(velkori_Handle handle) {
    const Transforms rest = RestPose(handle, velkori_SkeletonType_Source, LocalSpace);
    std::vector<Transforms> frames;
    for (int frame = 0; frame < FrameCount; ++frame) {
        Transforms local = rest;
        for (std::size_t i = 1; i < local.size(); ++i) {
            const float angle = 0.1F * std::sin(0.1F * static_cast<float>(frame) + static_cast<float>(i));
            const Velkori_Utility::Quaternionf sway(std::sin(angle), 0, 0, std::cos(angle));
            local[i].orientation =
                static_cast<velkori_Quaternionf_>(sway * Velkori_Utility::Quaternionf(local[i].orientation));
        }
        velkori_convertJointPose(handle, velkori_SkeletonType_Source, LocalSpace, RootSpace, local.data(),
            static_cast<int32_t>(local.size()));
        frames.push_back(std::move(local));
    }
    return frames;
}

void ReportPerJoint(benchmark::State& state, std::size_t jointCount) {
    state.counters["joints"] = static_cast<double>(jointCount);
    state.counters["ns/joint"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(jointCount) * 1e-9,
            benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void RunFloor(benchmark::State& state, velkori_Handle handle) {
    const Transforms local = RestPose(handle, velkori_SkeletonType_Target, LocalSpace);
    std::vector<int32_t> parents(local.size());
    auto count = static_cast<int32_t>(parents.size());
    velkori_getParentJointIndexes(handle, velkori_SkeletonType_Target, parents.data(), &count);
    const std::vector<JointPose> localPose(local.begin(), local.end());
    std::vector<JointPose> rootPose(local.size());
    for ([[maybe_unused]] auto _ : state) {
        for (std::size_t i = 0; i < localPose.size(); ++i) {
            rootPose[i] =
                parents[i] == -1 ? localPose[i] : rootPose[parents[i]].ApplyWithoutScale(localPose[i]);
        }
        benchmark::DoNotOptimize(rootPose.data());
        benchmark::ClobberMemory();
    }
    ReportPerJoint(state, local.size());
    velkori_destroy(handle);
}

void RunFrames(benchmark::State& state, velkori_Handle handle, int behavior, bool fixup) {
    const std::vector<Transforms> frames = SwayingFrames(handle);
    const Transforms reference = RestPose(handle, velkori_SkeletonType_Source, RootSpace);
    velkori_updateSourceReferenceTPose(
        handle, reference.data(), static_cast<int32_t>(reference.size()), nullptr);
    Transforms result(RestPose(handle, velkori_SkeletonType_Target, RootSpace).size());
    const velkori_RetargetingBehaviorInfo_ info = {RootSpace,
        static_cast<velkori_RetargetingBehavior>(behavior),
        velkori_RetargetingRootMotionBehavior_RootFromHips,
        static_cast<velkori_RetargetingBehaviorFlags>(fixup ? 1 : 0)};
    std::size_t frame = 0;
    for ([[maybe_unused]] auto _ : state) {
        const Transforms& source = frames[frame++ % frames.size()];
        auto count = static_cast<int32_t>(result.size());
        velkori_retargetFromSourceFrameData(handle, info, source.data(), static_cast<int32_t>(source.size()),
            result.data(), &count, nullptr, nullptr);
        benchmark::DoNotOptimize(result.data());
    }
    ReportPerJoint(state, result.size());
    velkori_destroy(handle);
}

void SampleFloor(benchmark::State& state) {
    RunFloor(state, LoadFullSample());
}

void SampleFrame(benchmark::State& state) {
    RunFrames(state, LoadFullSample(), static_cast<int>(state.range(0)), state.range(1) != 0);
}

void TreeFloor(benchmark::State& state) {
    RunFloor(state, MakeJointTree(static_cast<int>(state.range(0)), 1));
}

void TreeFrame(benchmark::State& state) {
    RunFrames(state, MakeJointTree(static_cast<int>(state.range(0)), 1), 0, false);
}

} // namespace

BENCHMARK(SampleFloor);
BENCHMARK(SampleFrame)->ArgsProduct({{0, 1, 2, 3}, {0, 1}})->ArgNames({"behavior", "fixup"});
BENCHMARK(TreeFloor)->RangeMultiplier(2)->Range(20, 320)->ArgName("joints");
BENCHMARK(TreeFrame)->RangeMultiplier(2)->Range(20, 320)->ArgName("joints");
