// A sender and a receiver of the full sample with a bad network in between.

#include "Velkori_Utility.h"
#include "support/AllocationCount.h"
#include "support/GuardedMemory.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <numeric>
#include <random>
#include <vector>

namespace {

using Words = std::vector<std::uint32_t>;

constexpr float PositionThreshold = 0.01F;

// What a host has of one end of the stream.
struct Frame {
    Transforms source;
    Transforms target;
    std::vector<float> face;
    double time = 0.0;
};

class StreamedBody {
  public:
    explicit StreamedBody(velkori_Handle handle)
        : rest{RestPose(handle, velkori_SkeletonType_Source), RestPose(handle, velkori_SkeletonType_Target),
              {}} {
        int32_t shapeCount = 0;
        EXPECT_EQ(
            velkori_getInterpolatedFacePose(handle, 0, nullptr, &shapeCount, 0), velkori_Result_Success);
        rest.face.resize(shapeCount);
        for (const Transforms* pose : {&rest.source, &rest.target}) {
            std::vector<int32_t>& joints = pose == &rest.source ? sourceJoints : targetJoints;
            joints.resize(pose->size());
            std::iota(joints.begin(), joints.end(), 0);
        }
    }

    // Every joint sways in its own way, the roots walk, and bones grow and shrink along themselves.
    Frame At(int number) const {
        Frame frame = rest;
        const auto seconds = static_cast<float>(number) / 72.0F;
        for (Transforms* pose : {&frame.source, &frame.target}) {
            for (std::size_t i = 0; i < pose->size(); ++i) {
                const float phase = seconds * (0.5F + 0.1F * static_cast<float>(i % 40));
                const float angle = 0.7F * std::sin(phase + static_cast<float>(i));
                velkori_Transform_& joint = (*pose)[i];
                joint.orientation = Multiply(joint.orientation, {std::sin(angle), 0, 0, std::cos(angle)});
                const float size = 1.0F + 0.05F * std::sin(phase);
                joint.position = {joint.position.x * size, joint.position.y * size, joint.position.z * size};
            }
            (*pose)[0].position.z += std::sin(0.3F * seconds);
        }
        for (std::size_t i = 0; i < frame.face.size(); ++i) {
            frame.face[i] = 0.5F + 0.4F * std::sin(seconds + static_cast<float>(i));
        }
        frame.time = static_cast<double>(number) / 72.0;
        return frame;
    }

    std::vector<int32_t> sourceJoints;
    std::vector<int32_t> targetJoints;

  private:
    static Transforms RestPose(velkori_Handle handle, velkori_SkeletonType type) {
        int32_t count = 0;
        const auto get = [&](velkori_Transform_* pose) {
            return velkori_getSkeletonTPose(handle, type, velkori_SkeletonTPoseType_Unscaled,
                velkori_JointRelativeSpaceType_Local, pose, &count);
        };
        EXPECT_EQ(get(nullptr), velkori_Result_Success);
        Transforms pose(count);
        EXPECT_EQ(get(pose.data()), velkori_Result_Success);
        return pose;
    }

    Frame rest;
};

void SendBody(velkori_Handle handle, velkori_SkeletonType type, const Transforms& pose,
    const std::vector<int32_t>& joints) {
    EXPECT_EQ(velkori_snapshotSkeleton(
                  handle, type, pose.data(), joints.data(), static_cast<int32_t>(joints.size())),
        velkori_Result_Success);
}

void Send(velkori_Handle handle, const StreamedBody& body, const Frame& frame, int ack,
    const velkori_FrameData_* frameData, Words& out_record) {
    EXPECT_EQ(velkori_createSnapshot(handle, ack, frame.time), velkori_Result_Success);
    SendBody(handle, velkori_SkeletonType_Source, frame.source, body.sourceJoints);
    SendBody(handle, velkori_SkeletonType_Target, frame.target, body.targetJoints);
    EXPECT_EQ(velkori_snapshotFace(handle, frame.face.data(), nullptr, 0), velkori_Result_Success);
    if (frameData != nullptr) {
        EXPECT_EQ(velkori_snapshotFrameData(handle, frameData), velkori_Result_Success);
    }
    int32_t size = 0;
    EXPECT_EQ(velkori_serializeSnapshot(handle, nullptr, &size), velkori_Result_Success);
    out_record.resize(size / 4);
    EXPECT_EQ(velkori_serializeSnapshot(handle, out_record.data(), &size), velkori_Result_Success);
}

// Returns the ack to send back.
int Receive(velkori_Handle handle, const void* record, Frame& out_frame, velkori_FrameData_& out_frameData) {
    velkori_CompressionType type = velkori_CompressionType_Standard;
    int32_t ack = -1;
    EXPECT_EQ(velkori_deserializeSnapshot(handle, record, &out_frame.time, &type, &ack,
                  out_frame.target.data(), out_frame.face.data(), out_frame.source.data(), &out_frameData),
        velkori_Result_Success);
    return ack;
}

void UseType(velkori_Handle handle, velkori_CompressionType type) {
    const velkori_SerializationSettings_ settings = {type, PositionThreshold, 0.01F, 0.01F, 254};
    ASSERT_EQ(velkori_updateSerializationSettings(handle, &settings), velkori_Result_Success);
}

// How far a received joint may be from the sent one.
struct Bounds {
    // Thresholds and half a step, on all three axes.
    float position;
    // Half a step in three components of up to half the length of 1, from which the largest is found: at most
    // four times the error of the three. Then the threshold, which lies below what single precision tells: a
    // dot product that is off by 5e-7 hides an angle of the root of 8 times that.
    float angle;
};

Bounds BoundsOf(velkori_CompressionType type) {
    constexpr float Root3 = 1.7320508F;
    constexpr float AngleThreshold = 0.002F;
    const float steps[] = {8.0F / 8191, 8.0F / 262143, 80.0F / 8388607};
    const float turns[] = {1.4142135F / 1023, 1.4142135F / 32767, 1.4142135F / 1048575};
    return {
        Root3 * (PositionThreshold + steps[type] / 2 + 1e-5F), 4 * Root3 * turns[type] / 2 + AngleThreshold};
}

// The worst that any joint of the frame is off, as a share of the bounds.
float WorstShare(const Transforms& sent, const Transforms& received, const Bounds& bounds) {
    float worst = 0.0F;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        worst = std::max({worst, Distance(sent[i].position, received[i].position) / bounds.position,
            Angle(sent[i].orientation, received[i].orientation) / bounds.angle});
    }
    return worst;
}

// Packets that are lost, late, doubled and out of order, and acks that go the same way back.
class BadLink {
  public:
    BadLink(float lossShare, unsigned seed) : loss(lossShare), random(seed) {}

    template <typename Packet>
    void Post(std::multimap<int, Packet>& way, int now, const Packet& packet) {
        const int copies = Chance(loss) ? 0 : Chance(0.05F) ? 2 : 1;
        for (int i = 0; i < copies; ++i) {
            way.emplace(now + 1 + static_cast<int>(random() % 20), packet);
        }
    }

  private:
    bool Chance(float share) { return static_cast<float>(random() % 10000) < share * 10000.0F; }

    float loss;
    std::mt19937 random;
};

} // namespace

TEST(StreamLink, WhatArrivesIsWithinTheBoundsAndNeverDrifts) {
    const std::string sample = ReadSample("full.json");
    std::size_t standardJointFrames = 0;
    for (const auto type :
        {velkori_CompressionType_Standard, velkori_CompressionType_High, velkori_CompressionType_Max}) {
        for (const float loss : {0.0F, 0.05F, 0.3F}) {
            const LoadedConfig sender(sample);
            const LoadedConfig receiver(sample);
            UseType(sender.Get(), type);
            UseType(receiver.Get(), type);
            const StreamedBody body(sender.Get());
            const Bounds bounds = BoundsOf(type);
            BadLink link(loss, 7);
            std::multimap<int, std::pair<int, Words>> records;
            std::multimap<int, std::pair<int, int>> acks;
            std::pair<int, int> latest(-1, -1);
            Frame received = body.At(0);
            velkori_FrameData_ frameData;
            // More of the coarsest, where rounding has the most to go wrong with.
            const int frameCount = type == velkori_CompressionType_Standard ? 2600 : 1000;
            int arrived = 0;
            for (int number = 0; number < frameCount; ++number) {
                while (!acks.empty() && acks.begin()->first <= number) {
                    latest = std::max(latest, acks.begin()->second);
                    acks.erase(acks.begin());
                }
                std::pair<int, Words> packet(number, {});
                Send(sender.Get(), body, body.At(number), latest.second, nullptr, packet.second);
                link.Post(records, number, packet);
                while (!records.empty() && records.begin()->first <= number) {
                    const auto& [sentNumber, record] = records.begin()->second;
                    const int ack = Receive(receiver.Get(), record.data(), received, frameData);
                    EXPECT_EQ(ack, sentNumber % 254);
                    const Frame sent = body.At(sentNumber);
                    const float worst = std::max(WorstShare(sent.source, received.source, bounds),
                        WorstShare(sent.target, received.target, bounds));
                    ASSERT_LT(worst, 1.0F)
                        << "type " << type << ", loss " << loss << ", frame " << sentNumber;
                    link.Post(acks, number, std::make_pair(sentNumber, ack));
                    records.erase(records.begin());
                    ++arrived;
                }
            }
            EXPECT_GT(arrived, frameCount / 2);
            EXPECT_NE(latest.second, -1);
            if (type == velkori_CompressionType_Standard) {
                standardJointFrames += arrived * (received.source.size() + received.target.size());
            }
        }
    }
    EXPECT_GT(standardJointFrames, 1000000U);
}

// Source, target and face come and go while the ring goes round, and the receiver has settings of its own.
TEST(StreamLink, PartsThatComeAndGoStayInStep) {
    const std::string sample = ReadSample("full.json");
    const LoadedConfig sender(sample);
    const LoadedConfig receiver(sample);
    UseType(sender.Get(), velkori_CompressionType_Standard);
    const StreamedBody body(sender.Get());
    const Bounds bounds = BoundsOf(velkori_CompressionType_Standard);
    Frame received = body.At(0);
    velkori_FrameData_ frameData;
    int ack = -1;
    std::mt19937 random(5);
    for (int number = 0; number < 700; ++number) {
        // Slow: most joints don't move between frames.
        const Frame sent = body.At(number / 3);
        const bool hasSource = random() % 3 != 0;
        const bool hasTarget = random() % 3 != 0;
        ASSERT_EQ(velkori_createSnapshot(sender.Get(), ack, sent.time), velkori_Result_Success);
        if (hasSource) {
            SendBody(sender.Get(), velkori_SkeletonType_Source, sent.source, body.sourceJoints);
        }
        if (hasTarget) {
            SendBody(sender.Get(), velkori_SkeletonType_Target, sent.target, body.targetJoints);
            if (random() % 2 == 0) {
                ASSERT_EQ(
                    velkori_snapshotFace(sender.Get(), sent.face.data(), nullptr, 0), velkori_Result_Success);
            }
        }
        int32_t size = 0;
        ASSERT_EQ(velkori_serializeSnapshot(sender.Get(), nullptr, &size), velkori_Result_Success);
        Words record(size / 4);
        ASSERT_EQ(velkori_serializeSnapshot(sender.Get(), record.data(), &size), velkori_Result_Success);
        // A record is lost now and then.
        if (random() % 10 != 0) {
            ack = Receive(receiver.Get(), record.data(), received, frameData);
            if (hasSource) {
                ASSERT_LT(WorstShare(sent.source, received.source, bounds), 1.0F) << number;
            }
            if (hasTarget) {
                ASSERT_LT(WorstShare(sent.target, received.target, bounds), 1.0F) << number;
            }
        }
    }
}

// The link is down for longer than the ring goes round, and the host passes the last ack all along.
TEST(StreamLink, AnAckOlderThanTheRingCodesAgainstNothing) {
    const std::string sample = ReadSample("full.json");
    const LoadedConfig sender(sample);
    const LoadedConfig receiver(sample);
    const StreamedBody body(sender.Get());
    Frame received = body.At(0);
    velkori_FrameData_ frameData;
    Words record;
    Send(sender.Get(), body, body.At(0), -1, nullptr, record);
    const int ack = Receive(receiver.Get(), record.data(), received, frameData);
    for (int number = 1; number < 600; ++number) {
        const Frame sent = body.At(number);
        Send(sender.Get(), body, sent, ack, nullptr, record);
        if (number >= 254) {
            Receive(receiver.Get(), record.data(), received, frameData);
            ASSERT_LT(WorstShare(sent.target, received.target, BoundsOf(velkori_CompressionType_Max)), 1.0F)
                << number;
        }
    }
}

TEST(StreamLink, NothingIsAllocatedOnceEverySlotHasBeenUsed) {
    const std::string sample = ReadSample("full.json");
    const LoadedConfig sender(sample);
    const LoadedConfig receiver(sample);
    const StreamedBody body(sender.Get());
    Frame received = body.At(0);
    Words record;
    record.reserve(2048);
    velkori_FrameData_ frameData = {};
    frameData.tracker0 = frameData.tracker1 = frameData.tracker2 = received.source[0];
    velkori_FrameData_ receivedData;
    velkori_Transform_ tracker;
    int ack = -1;
    std::size_t allocations = 0;
    for (int number = 0; number < 800; ++number) {
        const Frame frame = body.At(number);
        allocations += CountAllocations([&] {
            Send(sender.Get(), body, frame, ack, &frameData, record);
            ack = Receive(receiver.Get(), record.data(), received, receivedData);
            auto count = static_cast<int32_t>(received.target.size());
            velkori_getInterpolatedSkeletonPose(
                receiver.Get(), velkori_SkeletonType_Target, received.target.data(), &count, frame.time);
            count = static_cast<int32_t>(received.source.size());
            velkori_getInterpolatedSkeletonPose(
                receiver.Get(), velkori_SkeletonType_Source, received.source.data(), &count, frame.time);
            count = static_cast<int32_t>(received.face.size());
            velkori_getInterpolatedFacePose(receiver.Get(), 0, received.face.data(), &count, frame.time);
            for (int index = 0; index < 3; ++index) {
                velkori_getInterpolatedTrackerJointPose(receiver.Get(), index, &tracker, frame.time);
            }
        });
        if (number == 300) {
            allocations = 0;
        }
    }
    EXPECT_EQ(allocations, 0U);
}

// Whatever the bytes, reading touches nothing outside of them, of the rings and of the caller's arrays, and
// the next good record that isn't coded against anything is read as ever.
TEST(StreamLink, AnyBytesAreReadWithoutHarm) {
    const std::string sample = ReadSample("full.json");
    const LoadedConfig sender(sample);
    const LoadedConfig receiver(sample);
    const StreamedBody body(sender.Get());
    const Frame sent = body.At(5);
    velkori_FrameData_ frameData = {};
    frameData.tracker0 = frameData.tracker1 = frameData.tracker2 = sent.source[0];
    Words good;
    Send(sender.Get(), body, sent, -1, &frameData, good);
    std::mt19937 random(11);
    GuardedMemory memory;
    Frame received = sent;
    velkori_FrameData_ receivedData;
    std::vector<std::byte> bytes(4096);
    for (int round = 0; round < 3000; ++round) {
        for (std::byte& byte : bytes) {
            byte = static_cast<std::byte>(random());
        }
        if (round % 2 == 0) {
            // A good record with a few wrong bits.
            std::memcpy(bytes.data(), good.data(), good.size() * 4);
            for (int i = 0; i < 1 + round % 7; ++i) {
                bytes[random() % (good.size() * 4)] ^= static_cast<std::byte>(1U << random() % 8);
            }
        }
        Receive(receiver.Get(), memory.PutAtEnd(bytes), received, receivedData);
        for (const velkori_Transform_& joint : received.target) {
            ASSERT_TRUE(std::isfinite(joint.position.x) && std::isfinite(joint.orientation.w));
        }
    }
    // Faces are read as if they were of Standard: that must not reach behind a record of another type.
    for (int number = 0; number < 100; ++number) {
        const Frame frame = body.At(20 * number);
        Words record;
        Send(sender.Get(), body, frame, number == 0 ? -1 : number - 1, nullptr, record);
        Receive(receiver.Get(), memory.PutAtEnd(std::as_bytes(std::span(record))), received, receivedData);
    }
    // Flush with the end of its memory.
    Receive(receiver.Get(), memory.PutAtEnd(std::as_bytes(std::span(good))), received, receivedData);
    EXPECT_LT(WorstShare(sent.source, received.source, BoundsOf(velkori_CompressionType_Max)), 1.0F);
    EXPECT_LT(WorstShare(sent.target, received.target, BoundsOf(velkori_CompressionType_Max)), 1.0F);
    EXPECT_LT(Distance(receivedData.tracker1.position, frameData.tracker1.position), 1e-5F);
}
