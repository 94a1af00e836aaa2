// A sender and a receiver of the full sample with a bad network in between.

#include "Velkori_Utility.h"
#include "support/AllocationCount.h"
#include "support/GuardedMemory.h"
#include "support/InterfaceNames.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <numeric>
#include <random>
#include <tuple>
#include <vector>

namespace {

using Words = std::vector<std::uint32_t>;

constexpr auto Standard = velkori_CompressionType_Standard;
constexpr auto Finest = velkori_CompressionType_Max;
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
        : rest{RestPose(handle, Source), RestPose(handle, Target), {}}, joints(1000) {
        int32_t shapeCount = 0;
        EXPECT_EQ(
            velkori_getInterpolatedFacePose(handle, 0, nullptr, &shapeCount, 0), velkori_Result_Success);
        rest.face.resize(shapeCount);
        std::iota(joints.begin(), joints.end(), 0);
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

    // All joints that a skeleton can have, of which a pose takes its own.
    const std::vector<int32_t>& Joints() const { return joints; }

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
    std::vector<int32_t> joints;
};

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
float WorstShare(const Transforms& sent, const Transforms& received, velkori_CompressionType type) {
    const Bounds bounds = BoundsOf(type);
    float worst = 0.0F;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        worst = std::max({worst, Distance(sent[i].position, received[i].position) / bounds.position,
            Angle(sent[i].orientation, received[i].orientation) / bounds.angle});
    }
    return worst;
}

// Packets that are lost, late, doubled and out of order, and acks that go the same way back.
class BadWay {
  public:
    BadWay(float lossShare, unsigned seed) : loss(lossShare), random(seed) {}

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

// The two ends, with what was sent and received last.
struct Link {
    explicit Link(velkori_CompressionType type = Finest) {
        const velkori_SerializationSettings_ settings = {type, PositionThreshold, 0.01F, 0.01F, 254};
        EXPECT_EQ(velkori_updateSerializationSettings(sender.Get(), &settings), velkori_Result_Success);
    }

    void Send(const Frame& frame, int ack, const velkori_FrameData_* data = nullptr, bool hasSource = true,
        bool hasTarget = true, bool hasFace = true) {
        EXPECT_EQ(velkori_createSnapshot(sender.Get(), ack, frame.time), velkori_Result_Success);
        for (const auto& [isSent, type, pose] :
            {std::tuple(hasSource, Source, &frame.source), {hasTarget, Target, &frame.target}}) {
            if (isSent) {
                EXPECT_EQ(velkori_snapshotSkeleton(sender.Get(), type, pose->data(), body.Joints().data(),
                              static_cast<int32_t>(pose->size())),
                    velkori_Result_Success);
            }
        }
        if (hasFace) {
            EXPECT_EQ(
                velkori_snapshotFace(sender.Get(), frame.face.data(), nullptr, 0), velkori_Result_Success);
        }
        if (data != nullptr) {
            EXPECT_EQ(velkori_snapshotFrameData(sender.Get(), data), velkori_Result_Success);
        }
        int32_t size = 0;
        EXPECT_EQ(velkori_serializeSnapshot(sender.Get(), nullptr, &size), velkori_Result_Success);
        record.resize(size / 4);
        EXPECT_EQ(velkori_serializeSnapshot(sender.Get(), record.data(), &size), velkori_Result_Success);
    }

    // Returns the ack to send back.
    int Receive(const void* bytes) {
        velkori_CompressionType type = Standard;
        int32_t ack = -1;
        EXPECT_EQ(velkori_deserializeSnapshot(receiver.Get(), bytes, &received.time, &type, &ack,
                      received.target.data(), received.face.data(), received.source.data(), &receivedData),
            velkori_Result_Success);
        return ack;
    }

    LoadedConfig sender{ReadSample("full.json")};
    LoadedConfig receiver{ReadSample("full.json")};
    StreamedBody body{sender.Get()};
    Words record;
    Frame received = body.At(0);
    velkori_FrameData_ receivedData = {};
};

} // namespace

TEST(StreamLink, WhatArrivesIsWithinTheBoundsAndNeverDrifts) {
    for (const auto type : {Standard, velkori_CompressionType_High, Finest}) {
        for (const float loss : {0.0F, 0.05F, 0.3F}) {
            Link link(type);
            BadWay way(loss, 7);
            std::multimap<int, std::pair<int, Words>> records;
            std::multimap<int, std::pair<int, int>> acks;
            std::pair<int, int> latest(-1, -1);
            // More of the coarsest, where rounding has the most to go wrong with.
            const int frameCount = type == Standard ? 2600 : 1000;
            int arrived = 0;
            for (int number = 0; number < frameCount; ++number) {
                while (!acks.empty() && acks.begin()->first <= number) {
                    latest = std::max(latest, acks.begin()->second);
                    acks.erase(acks.begin());
                }
                link.Send(link.body.At(number), latest.second);
                way.Post(records, number, std::pair(number, link.record));
                while (!records.empty() && records.begin()->first <= number) {
                    const auto& [sentNumber, record] = records.begin()->second;
                    const int ack = link.Receive(record.data());
                    EXPECT_EQ(ack, sentNumber % 254);
                    const Frame sent = link.body.At(sentNumber);
                    ASSERT_LT(std::max(WorstShare(sent.source, link.received.source, type),
                                  WorstShare(sent.target, link.received.target, type)),
                        1.0F)
                        << "type " << type << ", loss " << loss << ", frame " << sentNumber;
                    way.Post(acks, number, std::make_pair(sentNumber, ack));
                    records.erase(records.begin());
                    ++arrived;
                }
            }
            EXPECT_GT(arrived, frameCount / 2);
            EXPECT_NE(latest.second, -1);
        }
    }
}

// Source, target and face come and go while the ring goes round, and the receiver has settings of its own.
TEST(StreamLink, PartsThatComeAndGoStayInStep) {
    Link link(Standard);
    int ack = -1;
    std::mt19937 random(5);
    for (int number = 0; number < 700; ++number) {
        // Slow: most joints don't move between frames.
        const Frame sent = link.body.At(number / 3);
        const bool hasSource = random() % 3 != 0;
        const bool hasTarget = random() % 3 != 0;
        link.Send(sent, ack, nullptr, hasSource, hasTarget, hasTarget && random() % 2 == 0);
        // A record is lost now and then.
        if (random() % 10 != 0) {
            ack = link.Receive(link.record.data());
            if (hasSource) {
                ASSERT_LT(WorstShare(sent.source, link.received.source, Standard), 1.0F) << number;
            }
            if (hasTarget) {
                ASSERT_LT(WorstShare(sent.target, link.received.target, Standard), 1.0F) << number;
            }
        }
    }
}

TEST(StreamLink, OfACompressionTypeTheTwoLowestBitsCount) {
    Link link(static_cast<velkori_CompressionType>(6));
    const Frame sent = link.body.At(5);
    link.Send(sent, -1);
    link.Receive(link.record.data());
    EXPECT_LT(WorstShare(sent.target, link.received.target, Finest), 1.0F);
}

TEST(StreamLink, ResettingTheInterpolatorsForgetsBothBodies) {
    Link link;
    const LogCapture capture;
    link.Send(link.body.At(5), -1);
    link.Receive(link.record.data());
    for (const bool isReset : {false, true}) {
        for (Transforms* pose : {&link.received.source, &link.received.target}) {
            auto count = static_cast<int32_t>(pose->size());
            EXPECT_EQ(velkori_getInterpolatedSkeletonPose(link.receiver.Get(),
                          pose == &link.received.source ? Source : Target, pose->data(), &count, 1.0),
                Success);
            EXPECT_EQ(count, isReset ? 0 : std::ssize(*pose));
        }
        EXPECT_EQ(velkori_resetInterpolators(link.receiver.Get()), Success);
    }
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}

// A face that is updated without a target body doesn't go out. What it was meant to say is said later.
TEST(StreamLink, AFaceWithoutItsBodyIsNobodysBaseline) {
    using Parts = std::pair<bool, bool>;
    const std::vector<std::vector<Parts>> framesOfTargetAndFace = {
        {{true, true}, {false, true}, {true, true}},
        {{true, true}, {false, true}, {true, false}, {true, true}}};
    for (const std::vector<Parts>& frames : framesOfTargetAndFace) {
        Link link(Standard);
        Frame frame = link.body.At(0);
        std::ranges::fill(frame.face, 0.8F);
        int ack = -1;
        for (const auto& [hasTarget, hasFace] : frames) {
            link.Send(frame, ack, nullptr, true, hasTarget, hasFace);
            ack = link.Receive(link.record.data());
        }
        for (const float weight : link.received.face) {
            EXPECT_NEAR(weight, 0.8F, 1.0F / 511) << frames.size() << " frames";
        }
    }
}

// The link is down for longer than the ring goes round, and the host passes the last ack all along.
TEST(StreamLink, AnAckOlderThanTheRingCodesAgainstNothing) {
    Link link;
    link.Send(link.body.At(0), -1);
    const int ack = link.Receive(link.record.data());
    for (int number = 1; number < 600; ++number) {
        const Frame sent = link.body.At(number);
        link.Send(sent, ack);
        if (number >= 254) {
            link.Receive(link.record.data());
            ASSERT_LT(WorstShare(sent.target, link.received.target, Finest), 1.0F) << number;
        }
    }
}

TEST(StreamLink, NothingIsAllocatedOnceEverySlotHasBeenUsed) {
    Link link;
    link.record.reserve(2048);
    velkori_FrameData_ frameData = {};
    frameData.tracker0 = frameData.tracker1 = frameData.tracker2 = link.received.source[0];
    velkori_Transform_ tracker;
    int ack = -1;
    for (int number = 0; number < 800; ++number) {
        const Frame frame = link.body.At(number);
        const std::size_t allocations = CountAllocations([&] {
            link.Send(frame, ack, &frameData);
            ack = link.Receive(link.record.data());
            for (const auto type : {Source, Target}) {
                Transforms& pose = type == Source ? link.received.source : link.received.target;
                auto count = static_cast<int32_t>(pose.size());
                velkori_getInterpolatedSkeletonPose(
                    link.receiver.Get(), type, pose.data(), &count, frame.time);
            }
            auto count = static_cast<int32_t>(link.received.face.size());
            velkori_getInterpolatedFacePose(
                link.receiver.Get(), 0, link.received.face.data(), &count, frame.time);
            for (int index = 0; index < 3; ++index) {
                velkori_getInterpolatedTrackerJointPose(link.receiver.Get(), index, &tracker, frame.time);
            }
        });
        ASSERT_TRUE(number <= 300 || allocations == 0) << number;
    }
}

// Whatever the bytes, reading touches nothing outside of them, of the rings and of the caller's arrays, and
// the next good record that isn't coded against anything is read as ever.
TEST(StreamLink, AnyBytesAreReadWithoutHarm) {
    Link link;
    const Frame sent = link.body.At(5);
    velkori_FrameData_ frameData = {};
    frameData.tracker0 = frameData.tracker1 = frameData.tracker2 = sent.source[0];
    link.Send(sent, -1, &frameData);
    const Words good = link.record;
    std::mt19937 random(11);
    GuardedMemory memory;
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
        link.Receive(memory.PutAtEnd(bytes));
        for (const velkori_Transform_& joint : link.received.target) {
            ASSERT_TRUE(std::isfinite(joint.position.x) && std::isfinite(joint.orientation.w));
        }
    }
    // Flush with the end of its memory.
    link.Receive(memory.PutAtEnd(std::as_bytes(std::span(good))));
    EXPECT_LT(WorstShare(sent.source, link.received.source, Finest), 1.0F);
    EXPECT_LT(WorstShare(sent.target, link.received.target, Finest), 1.0F);
    EXPECT_LT(Distance(link.receivedData.tracker1.position, frameData.tracker1.position), 1e-5F);
}
