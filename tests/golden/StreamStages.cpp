// The pose stream: snapshots go over a link that loses some of them, and acks come back late.

#include "Host.h"
#include "Stages.h"

#include <array>
#include <cmath>
#include <cstring>
#include <numeric>

namespace {

constexpr int StreamFrameCount = 120;
constexpr int ShapeCount = 12;

struct StreamOptions {
    const char* name;
    int compression;
    // Faces read back from Standard alone, trackers from Max alone.
    bool hasFace;
    bool hasTrackers;
    bool hasSource;
    float positionThreshold;
    float rotationThreshold;
};

velkori_FrameData_ TrackerFrame(const Transforms& pose, int frame) {
    velkori_FrameData_ data = {};
    data.header = static_cast<std::uint8_t>(frame & 15);
    data.timestamp = frame / 64.0;
    data.weight = static_cast<float>(frame & 63) / 64;
    data.value0 = static_cast<std::uint8_t>(frame & 3);
    data.value1 = static_cast<std::uint8_t>(frame >> 2 & 3);
    data.flag1 = (frame & 4) != 0;
    data.flag2 = (frame & 8) != 0;
    data.value2 = static_cast<std::uint32_t>(frame) * 2654435761U;
    data.tracker0 = pose[0];
    data.tracker1 = pose[frame % 9 < 4 ? 1 : 2];
    data.tracker2 = pose[3];
    return data;
}

// Both ends of a stream and what they put out.
class Link {
  public:
    Link(const std::string& document, const StreamOptions& linkOptions)
        : options(linkOptions),
          sender(document),
          receiver(document),
          target(MakeBody(sender.handle, Target, 41, 0, Unscaled, LocalSpace)),
          source(MakeBody(sender.handle, Source, 42, 0, Min, LocalSpace)) {
        const velkori_SerializationSettings_ settings = {
            static_cast<velkori_CompressionType>(options.compression), options.positionThreshold,
            options.rotationThreshold, 0.01F, 254};
        MUST(velkori_updateSerializationSettings(sender.handle, &settings));
    }

    void Run(Stages& stages) {
        for (int frame = 0; frame < StreamFrameCount; ++frame) {
            Send(frame);
            // A third is lost; what arrives is acknowledged with the next but one.
            if (generator.Below(3) != 0) {
                Receive();
            }
            Interpolate((8 * frame - 20) / 256.0);
        }
        const std::string name = std::string("stream/") + options.name + '/';
        stages.emplace_back(name + "records", records);
        stages.emplace_back(name + "received", received);
        stages.emplace_back(name + "interpolated", interpolated);
    }

  private:
    void Send(int frame) {
        MUST(velkori_createSnapshot(sender.handle, acks[0], frame / 32.0));
        const Transforms pose = target.LocalFrame(frame / 2);
        if (frame % 11 != 7) {
            TakeSnapshot(Target, pose, frame % 5 == 4);
        }
        if (options.hasSource && frame % 3 != 2) {
            TakeSnapshot(Source, source.LocalFrame(frame / 2), false);
        }
        if (options.hasFace) {
            std::array<float, ShapeCount> face = {};
            for (int shape = 0; shape < ShapeCount; ++shape) {
                face[shape] = static_cast<float>(frame * shape & 255) / 256;
            }
            MUST(velkori_snapshotFace(sender.handle, face.data(), nullptr, 0));
        }
        if (options.hasTrackers) {
            const velkori_FrameData_ data = TrackerFrame(pose, frame);
            MUST(velkori_snapshotFrameData(sender.handle, &data));
        }
        std::int32_t size = 0;
        MUST(velkori_serializeSnapshot(sender.handle, nullptr, &size));
        record.assign(VELKORI_MAX_SNAPSHOT_SIZE, 0);
        MUST(velkori_serializeSnapshot(sender.handle, record.data(), &size));
        records.Add(size);
        records.AddBytes(record.data(), size);
    }

    // Of all joints, or of some.
    void TakeSnapshot(velkori_SkeletonType type, const Transforms& pose, bool isPart) const {
        std::vector<std::int32_t> joints(isPart ? pose.size() / 2 : pose.size());
        std::iota(joints.begin(), joints.end(), isPart ? 3 : 0);
        MUST(velkori_snapshotSkeleton(sender.handle, type, pose.data(), joints.data(), Count(joints)));
    }

    void Receive() {
        double time = 0;
        MUST(velkori_deserializeSnapshotTimestamp(record.data(), &time));
        received.Add(time);
        velkori_CompressionType type = velkori_CompressionType_Standard;
        std::int32_t ack = -1;
        MUST(velkori_deserializeSnapshot(receiver.handle, record.data(), &time, &type, &ack,
            targetPose.data(), facePose.data(), sourcePose.data(), &frameData));
        received.Add(time, type, ack, targetPose, sourcePose, facePose, frameData);
        acks = {acks[1], ack};
    }

    void Interpolate(double time) {
        for (const auto type : {Source, Target}) {
            interpolated.Add(ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                return velkori_getInterpolatedSkeletonPose(receiver.handle, type, out, count, time);
            }));
        }
        std::vector<float> face(ShapeCount);
        std::int32_t count = ShapeCount;
        interpolated.Add(
            velkori_getInterpolatedFacePose(receiver.handle, 0, face.data(), &count, time), face);
        for (int tracker = 0; tracker < 3; ++tracker) {
            velkori_Transform_ pose = {};
            MUST(velkori_getInterpolatedTrackerJointPose(receiver.handle, tracker, &pose, time));
            interpolated.Add(pose);
        }
    }

    const StreamOptions options;
    const Instance sender;
    const Instance receiver;
    const MovingBody target;
    const MovingBody source;
    Generator generator{43};
    // The one that the next snapshot is coded against, and the one that is still on its way.
    std::array<std::int32_t, 2> acks = {-1, -1};
    // With zeros up to what a reader may touch.
    std::vector<std::uint8_t> record;
    Transforms targetPose = target.LocalFrame(0);
    Transforms sourcePose = source.LocalFrame(0);
    std::vector<float> facePose = std::vector<float>(ShapeCount);
    velkori_FrameData_ frameData = {};
    Hash records;
    Hash received;
    Hash interpolated;
};

// From which rotation on a joint goes out, by one threshold after another: the cosine of half the turn, found
// to its last bit, as a record is longer with such a joint.
Hash RotationThresholds(const std::string& document) {
    const Instance sender(document);
    Transforms pose = RestPose(sender.handle, Target, Min, LocalSpace);
    std::vector<std::int32_t> joints(pose.size());
    std::iota(joints.begin(), joints.end(), 0);
    const auto recordSize = [&](std::int32_t ack, float cosine) {
        const auto sine = static_cast<float>(std::sqrt(1.0 - static_cast<double>(cosine) * cosine));
        for (velkori_Transform_& joint : pose) {
            joint.orientation = {sine, 0, 0, cosine};
        }
        std::int32_t size = 0;
        MUST(velkori_createSnapshot(sender.handle, ack, 0));
        MUST(velkori_snapshotSkeleton(sender.handle, Target, pose.data(), joints.data(), Count(joints)));
        MUST(velkori_serializeSnapshot(sender.handle, nullptr, &size));
        return size;
    };
    const auto fromBits = [](std::uint32_t bits) {
        float number = 0;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    };
    Hash hash;
    for (int step = 1; step <= 300; ++step) {
        const velkori_SerializationSettings_ settings = {
            velkori_CompressionType_Max, 1, static_cast<float>(step) * 0.59375F, 1, 254};
        MUST(velkori_updateSerializationSettings(sender.handle, &settings));
        recordSize(-1, 1);
        const std::int32_t sizeAtRest = recordSize(0, 1);
        // Positive floats are ordered as their bits are.
        std::uint32_t turned = 0;
        std::uint32_t resting = 0x3F800000;
        while (resting - turned > 1) {
            const std::uint32_t middle = turned + (resting - turned) / 2;
            (recordSize(0, fromBits(middle)) > sizeAtRest ? turned : resting) = middle;
        }
        hash.Add(turned);
    }
    return hash;
}

Hash Headers() {
    velkori_StartHeader_ header = {};
    std::strcpy(header.text0, "first");
    std::strcpy(header.text4, "fifth");
    header.id = 0x1122334455667788U;
    header.value16 = 0x1234;
    header.value24 = 0xABCDEF;
    header.time = 12345.625;
    header.value10 = 0x155;
    velkori_SerializedStartHeader_ start = {};
    velkori_SerializedEndHeader_ end = {};
    velkori_StartHeader_ read = {};
    MUST(velkori_serializeStartHeader(header, &start));
    MUST(velkori_serializeEndHeader({0x8877665544332211U}, &end));
    MUST(velkori_deserializeStartHeader(&read, start));
    Hash hash;
    hash.AddBytes(start.data, sizeof start.data);
    hash.AddBytes(end.data, sizeof end.data);
    hash.Add(read.id, read.time, read.value16, read.value24, read.value10, std::string(read.text4));
    return hash;
}

} // namespace

void RunStreamStages(Stages& stages, const Samples& samples) {
    const StreamOptions streams[] = {{"standard", 0, true, false, true, 0.01F, 0.01F},
        {"high", 1, false, false, true, 0.001F, 0.5F}, {"max", 2, false, true, false, 0.01F, 0.1F},
        {"max-bodies", 2, false, false, true, 0.0F, 0.0F}};
    for (const StreamOptions& options : streams) {
        Link(samples.full, options).Run(stages);
    }
    stages.emplace_back("stream/rotation-thresholds", RotationThresholds(samples.simple));
    stages.emplace_back("stream/headers", Headers());
}
