// Lives like a busy server for a while: soak CYCLES. Creates, replaces, retargets, streams and destroys on
// 64 handles, and ends with an error if the process has more memory at the end than it had after a tenth of
// the cycles.

#include "Velkori_Utility.h"

#include <malloc.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <numeric>
#include <random>
#include <string>
#include <vector>

namespace {

using Transforms = std::vector<velkori_Transform_>;

constexpr int HandleCount = 64;
constexpr int FrameCount = 20;

void Require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "soak: %s failed\n", what);
        std::exit(1);
    }
}

std::string ReadSample(const std::string& name) {
    std::ifstream file(std::string(VELKORI_SAMPLES_DIRECTORY) + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// In pages. What the process has given back to its allocator doesn't count.
long ResidentPages() {
    malloc_trim(0);
    std::ifstream file("/proc/self/statm");
    long total = 0;
    long resident = 0;
    file >> total >> resident;
    return resident;
}

Transforms RestPose(velkori_Handle handle, velkori_SkeletonType type, velkori_JointRelativeSpaceType space) {
    int32_t count = 0;
    velkori_calculateSkeletonTPose(handle, type, space, 0.5F, nullptr, &count);
    Transforms pose(count);
    Require(velkori_calculateSkeletonTPose(handle, type, space, 0.5F, pose.data(), &count) ==
                velkori_Result_Success,
        "a rest pose");
    return pose;
}

class Server {
  public:
    Server() : documents{ReadSample("simple.json"), ReadSample("full.json")} {}

    ~Server() {
        for (const velkori_Handle handle : handles) {
            velkori_destroy(handle);
        }
    }

    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // Each handle is made anew or replaced, and drives its character through a stream to its neighbour.
    void RunCycle() {
        for (int i = 0; i < HandleCount; ++i) {
            velkori_Handle& handle = handles[i];
            if (random() % 4 == 0 && handle != 0) {
                Require(velkori_destroy(handle) == velkori_Result_Success, "destroying");
                handle = 0;
            }
            // Neighbours share a document, since one receives what the other sends.
            Require(
                velkori_createOrUpdateHandle(documents[i / 2 % 2].c_str(), &handle) == velkori_Result_Success,
                "creating");
        }
        for (int i = 0; i < HandleCount; i += 2) {
            Stream(handles[i], handles[i + 1]);
        }
        int32_t size = 0;
        velkori_writeConfigDataToJSON(handles[0], nullptr, nullptr, &size);
        velkori_generateMappings(handles[1], velkori_AutoMappingFlags_None);
        velkori_alignTargetToSource("aligned", static_cast<velkori_AlignmentFlags>(31), handles[2],
            velkori_SkeletonType_Source, handles[2], &handles[2]);
    }

  private:
    void Stream(velkori_Handle sender, velkori_Handle receiver) {
        constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
        Transforms source = RestPose(sender, velkori_SkeletonType_Source, RootSpace);
        Transforms target =
            RestPose(sender, velkori_SkeletonType_Target, velkori_JointRelativeSpaceType_Local);
        std::vector<int32_t> joints(target.size());
        std::iota(joints.begin(), joints.end(), 0);
        std::vector<std::uint8_t> record(8192);
        std::vector<float> face(256);
        velkori_FrameData_ frameData = {};
        int32_t ack = -1;
        for (int frame = 0; frame < FrameCount; ++frame) {
            source[0].position.x = static_cast<float>(random() % 100) / 100.0F;
            const velkori_RetargetingBehaviorInfo_ info = {velkori_JointRelativeSpaceType_Local,
                static_cast<velkori_RetargetingBehavior>(frame % 4),
                velkori_RetargetingRootMotionBehavior_RootFromHips,
                static_cast<velkori_RetargetingBehaviorFlags>(frame % 2)};
            auto count = static_cast<int32_t>(target.size());
            Require(velkori_retargetFromSourceFrameData(sender, info, source.data(),
                        static_cast<int32_t>(source.size()), target.data(), &count, nullptr,
                        nullptr) == velkori_Result_Success,
                "retargeting");
            const double time = frame / 72.0;
            velkori_createSnapshot(sender, ack, time);
            velkori_snapshotSkeleton(
                sender, velkori_SkeletonType_Target, target.data(), joints.data(), count);
            velkori_snapshotFace(sender, face.data(), nullptr, 0);
            auto size = static_cast<int32_t>(record.size());
            Require(velkori_serializeSnapshot(sender, record.data(), &size) == velkori_Result_Success,
                "serializing");
            double readTime = 0.0;
            velkori_CompressionType type = {};
            Require(velkori_deserializeSnapshot(receiver, record.data(), &readTime, &type, &ack,
                        target.data(), face.data(), nullptr, &frameData) == velkori_Result_Success,
                "deserializing");
            velkori_getInterpolatedSkeletonPose(
                receiver, velkori_SkeletonType_Target, target.data(), &count, time);
        }
    }

    std::array<std::string, 2> documents;
    std::array<velkori_Handle, HandleCount> handles{};
    std::mt19937 random{3};
};

} // namespace

int main(int argc, char** argv) {
    const int cycles = argc == 2 ? std::atoi(argv[1]) : 0;
    Require(cycles >= 10, "usage: soak CYCLES, at least 10: reading the arguments");
    Server server;
    long pagesAtStart = 0;
    for (int cycle = 1; cycle <= cycles; ++cycle) {
        server.RunCycle();
        if (cycle == cycles / 10) {
            pagesAtStart = ResidentPages();
        }
    }
    const long pages = ResidentPages();
    const double growth =
        100.0 * static_cast<double>(pages - pagesAtStart) / static_cast<double>(pagesAtStart);
    std::printf("%d cycles, resident memory %ld KiB after a tenth of them, %ld KiB at the end (%+.2f %%)\n",
        cycles, pagesAtStart * sysconf(_SC_PAGESIZE) / 1024, pages * sysconf(_SC_PAGESIZE) / 1024, growth);
    Require(growth < 1.0, "keeping the memory");
    return 0;
}
