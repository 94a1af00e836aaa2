// The pose stream: one frame of the sample's source, coded against the frame before, out and in, beside a
// plain copy of the pose as the floor that nothing can beat.

#include "FullSample.h"
#include "Velkori_Utility.h"

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstring>
#include <numeric>
#include <vector>

namespace {

using Transforms = std::vector<velkori_Transform_>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr double FrameTime = 1.0 / 72.0;

// How fast a body moves: the swing of its joints in radians, and swings a second.
struct Motion {
    const char* name;
    float swing;
    float frequency;
};

constexpr std::array<Motion, 3> Motions = {
    Motion{"standing", 0.0F, 0.0F}, Motion{"walking", 0.3F, 1.0F}, Motion{"fast", 0.8F, 3.0F}};

// One second of motion, over and over.
std::vector<Transforms> MakeFrames(velkori_Handle handle, const Motion& motion) {
    int32_t count = 0;
    const auto get = [&](velkori_Transform_* pose) {
        velkori_getSkeletonTPose(handle, Source, velkori_SkeletonTPoseType_Min,
            velkori_JointRelativeSpaceType_Local, pose, &count);
    };
    get(nullptr);
    Transforms rest(count);
    get(rest.data());
    std::vector<Transforms> frames(72, rest);
    for (std::size_t number = 0; number < frames.size(); ++number) {
        const float phase = 6.2831853F * motion.frequency * static_cast<float>(number) / 72.0F;
        for (std::size_t i = 0; i < rest.size(); ++i) {
            const float half = motion.swing * std::sin(phase + static_cast<float>(i)) / 2.0F;
            const velkori_Quaternionf_& q = rest[i].orientation;
            const float s = std::sin(half);
            const float c = std::cos(half);
            frames[number][i].orientation = {
                q.x * c + q.w * s, q.y * c + q.z * s, q.z * c - q.y * s, q.w * c - q.x * s};
        }
        frames[number][0].position.y += 0.1F * motion.swing * std::sin(2.0F * phase);
    }
    return frames;
}

class Stream {
  public:
    Stream(int type, const Motion& motion)
        : sender(LoadFullSample()),
          receiver(LoadFullSample()),
          frames(MakeFrames(sender, motion)),
          joints(frames.front().size()),
          received(frames.front()),
          record(1024) {
        std::iota(joints.begin(), joints.end(), 0);
        const velkori_SerializationSettings_ settings = {
            static_cast<velkori_CompressionType>(type), 0.001F, 0.1F, 0.01F, 254};
        velkori_updateSerializationSettings(sender, &settings);
        velkori_updateSerializationSettings(receiver, &settings);
    }

    ~Stream() {
        velkori_destroy(sender);
        velkori_destroy(receiver);
    }

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    // Returns the record's size in bytes.
    int32_t Encode() {
        const Transforms& pose = frames[number % frames.size()];
        velkori_createSnapshot(sender, ack, static_cast<double>(number % 100000) * FrameTime);
        velkori_snapshotSkeleton(
            sender, Source, pose.data(), joints.data(), static_cast<int32_t>(joints.size()));
        int32_t size = 0;
        velkori_serializeSnapshot(sender, nullptr, &size);
        velkori_serializeSnapshot(sender, record.data(), &size);
        ++number;
        ack = static_cast<int32_t>((number - 1) % 254);
        return size;
    }

    void Decode() {
        double time = 0.0;
        velkori_CompressionType type = {};
        int32_t readAck = 0;
        velkori_deserializeSnapshot(
            receiver, record.data(), &time, &type, &readAck, nullptr, nullptr, received.data(), nullptr);
    }

    std::size_t GetJointCount() const { return joints.size(); }

  private:
    velkori_Handle sender;
    velkori_Handle receiver;
    std::vector<Transforms> frames;
    std::vector<int32_t> joints;
    Transforms received;
    std::vector<std::uint32_t> record;
    std::size_t number = 0;
    int32_t ack = -1;
};

void Report(benchmark::State& state, std::size_t jointCount) {
    state.counters["ns/joint"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(jointCount) * 1e-9,
            benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

void EncodeFrame(benchmark::State& state) {
    const Motion& motion = Motions[static_cast<std::size_t>(state.range(1))];
    Stream stream(static_cast<int>(state.range(0)), motion);
    double bytes = 0.0;
    for ([[maybe_unused]] auto _ : state) {
        bytes += stream.Encode();
    }
    Report(state, stream.GetJointCount());
    state.SetLabel(motion.name);
    state.counters["bytes/frame"] = bytes / static_cast<double>(state.iterations());
    state.counters["raw"] = static_cast<double>(stream.GetJointCount() * 7 * sizeof(float));
}

// Each record is read over and over: a ring of one frame does what a longer one does.
void DecodeFrame(benchmark::State& state) {
    const Motion& motion = Motions[static_cast<std::size_t>(state.range(1))];
    Stream stream(static_cast<int>(state.range(0)), motion);
    for (int i = 0; i < 300; ++i) {
        stream.Encode();
        stream.Decode();
    }
    for ([[maybe_unused]] auto _ : state) {
        stream.Decode();
    }
    Report(state, stream.GetJointCount());
    state.SetLabel(motion.name);
}

void CopyFrame(benchmark::State& state) {
    const velkori_Handle handle = LoadFullSample();
    const std::vector<Transforms> frames = MakeFrames(handle, Motions[1]);
    velkori_destroy(handle);
    Transforms copy(frames.front().size());
    std::size_t number = 0;
    for ([[maybe_unused]] auto _ : state) {
        const Transforms& frame = frames[number++ % frames.size()];
        std::memcpy(copy.data(), frame.data(), frame.size() * sizeof frame.front());
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    Report(state, copy.size());
}

} // namespace

BENCHMARK(CopyFrame);
BENCHMARK(EncodeFrame)->ArgNames({"type", "motion"})->ArgsProduct({{0, 1, 2}, {0, 1, 2}});
BENCHMARK(DecodeFrame)->ArgNames({"type", "motion"})->ArgsProduct({{0, 1, 2}, {0, 1, 2}});
