// Drives as many handles from as many threads at once, and compares what comes out with what one thread gets
// of the same. A host and nothing more, so that the thread sanitizer sees what handles share.

#include "golden/Host.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <latch>
#include <memory>
#include <numeric>
#include <thread>

namespace {

constexpr int WorkerCount = 4;
constexpr int FrameCount = 24;
constexpr velkori_Handle NoHandle = 0xFFFFFFFFFFU;

std::atomic<int> errorLineCount = 0;

void CountErrorLine(velkori_LogLevel level, const char* line) {
    // Relaxed: the count must not order what the threads do.
    errorLineCount.fetch_add(
        level == velkori_LogLevel_Error && std::strncmp(line, "[ERROR]: ", 9) == 0 ? 1 : 0,
        std::memory_order_relaxed);
}

std::string ReadSample(const char* directory, const char* name) {
    std::ifstream file(std::string(directory) + '/' + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// Both ends of a stream, with everything that calls on them may touch.
class Worker {
  public:
    Worker(const std::string& document, std::uint32_t seed)
        : sender(document), receiver(document), person(MakeBody(sender.handle, Source, seed)) {}

    Hash Run() {
        for (int frame = 0; frame < FrameCount; ++frame) {
            MakeFrame(frame);
            Stream(frame);
            Query(frame);
            Fail();
        }
        return hash;
    }

  private:
    void MakeFrame(int frame) {
        const Transforms source = person.Frame(frame);
        if (frame % 8 == 5) {
            MUST(velkori_updateSourceReferenceTPose(sender.handle, source.data(), Count(source), nullptr));
        }
        pose = Retarget(sender.handle, {frame % 4, frame % 3, frame % 2}, source);
        hash.Add(pose, Retarget(sender.handle, {frame % 4, frame % 3, frame % 2, 1}, source));
    }

    void Stream(int frame) {
        std::vector<std::int32_t> joints(pose.size());
        std::iota(joints.begin(), joints.end(), 0);
        std::vector<std::uint8_t> record(VELKORI_MAX_SNAPSHOT_SIZE);
        std::int32_t size = Count(record);
        double time = frame / 32.0;
        velkori_CompressionType type = {};
        velkori_FrameData_ data = {};
        MUST(velkori_createSnapshot(sender.handle, ack, time));
        MUST(velkori_snapshotSkeleton(sender.handle, Target, pose.data(), joints.data(), Count(joints)));
        MUST(velkori_serializeSnapshot(sender.handle, record.data(), &size));
        MUST(velkori_deserializeSnapshot(
            receiver.handle, record.data(), &time, &type, &ack, pose.data(), nullptr, nullptr, &data));
        hash.AddBytes(record.data(), size);
        hash.Add(time, type, ack, pose,
            ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                return velkori_getInterpolatedSkeletonPose(receiver.handle, Target, out, count, time - 0.05);
            }));
    }

    void Query(int frame) {
        AddRestPoses(hash, sender.handle);
        AddMappings(hash, receiver.handle);
        hash.Add(WriteDocument(sender.handle, frame % 2 == 0 ? &ZUpSpace : nullptr),
            Parents(receiver.handle, Target));
        for (const velkori_Handle handle : {sender.handle, receiver.handle}) {
            hash.Add(ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                return velkori_calculateSkeletonTPose(
                    handle, Source, LocalSpace, static_cast<float>(frame) / FrameCount, out, count);
            }));
        }
        Transforms matched = RestPose(sender.handle, Source, Max);
        MUST(velkori_matchPose(sender.handle, Source, velkori_MatchBehavior_Scale, RootSpace, Count(matched),
            person.Frame(frame).data(), matched.data()));
        velkori_CoordinateSpace_ space = {};
        MUST(velkori_getCoordinateSpace(&space));
        hash.Add(matched, space.up);
    }

    // Each of these logs a line, the first one two.
    void Fail() {
        std::int32_t count = 1;
        velkori_Transform_ transform = {};
        hash.Add(velkori_getSkeletonTPose(NoHandle, Source, Min, RootSpace, &transform, &count),
            velkori_getSkeletonTPose(sender.handle, Source, Min, RootSpace, &transform, &count),
            velkori_getJointsInManifestation(receiver.handle, Target, "nobody", nullptr, &count),
            velkori_snapshotSkeleton(sender.handle, Target, &transform, &count, 1),
            velkori_getInterpolatedTrackerJointPose(receiver.handle, 0, nullptr, 0));
    }

    const Instance sender;
    const Instance receiver;
    const MovingBody person;
    Transforms pose;
    std::int32_t ack = -1;
    Hash hash;
};

// What each worker's frames come to, and how many errors were logged.
std::vector<std::uint64_t> Run(const std::vector<std::string>& documents, bool isAtOnce) {
    // Handles are made and destroyed by this thread, while no other runs.
    std::vector<std::unique_ptr<Worker>> workers;
    for (std::uint32_t i = 0; i < WorkerCount; ++i) {
        workers.push_back(std::make_unique<Worker>(documents[i % documents.size()], i));
    }
    errorLineCount = 0;
    std::vector<std::uint64_t> results(WorkerCount);
    std::latch start(WorkerCount);
    std::vector<std::thread> threads;
    for (int i = 0; i < WorkerCount; ++i) {
        const auto work = [&, i] { results[i] = workers[i]->Run().Value(); };
        if (isAtOnce) {
            threads.emplace_back([&start, work] {
                start.arrive_and_wait();
                work();
            });
        } else {
            work();
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    results.push_back(errorLineCount);
    return results;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: velkori_threads SAMPLES_DIRECTORY\n", stderr);
        return 1;
    }
    MUST(velkori_initializeLogging(CountErrorLine));
    const std::vector<std::string> documents = {
        ReadSample(argv[1], "simple.json"), ReadSample(argv[1], "full.json")};
    const std::vector<std::uint64_t> expected = Run(documents, false);
    const std::vector<std::uint64_t> results = Run(documents, true);
    const bool isEveryFailureLogged = expected.back() == std::uint64_t{WorkerCount} * FrameCount * 6;
    std::printf("%d threads: the results are %s those of one, with %u error lines\n", WorkerCount,
        results == expected ? "equal to" : "other than", static_cast<unsigned>(results.back()));
    return results == expected && isEveryFailureLogged ? 0 : 1;
}
