#include "Velkori_Utility.h"
#include "support/HostPoses.h"
#include "support/LogCapture.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace {

int32_t RecordSize(velkori_Handle handle) {
    int32_t size = -1;
    EXPECT_EQ(velkori_serializeSnapshot(handle, nullptr, &size), Success);
    return size;
}

std::vector<unsigned char> Record(velkori_Handle handle) {
    int32_t size = RecordSize(handle);
    std::vector<unsigned char> record(size, 0xAB);
    EXPECT_EQ(velkori_serializeSnapshot(handle, record.data(), &size), Success);
    return record;
}

Transforms RestPose(velkori_Handle handle) {
    return TPose(handle, Target, Unscaled, velkori_JointRelativeSpaceType_Local);
}

// A frame of the target's joints that are listed, or of all.
void TakeSnapshot(
    velkori_Handle handle, int32_t ack, const Transforms& pose, std::vector<int32_t> joints = {}) {
    if (joints.empty()) {
        joints.resize(pose.size());
        std::iota(joints.begin(), joints.end(), 0);
    }
    ASSERT_EQ(velkori_createSnapshot(handle, ack, 1.0), Success);
    ASSERT_EQ(velkori_snapshotSkeleton(
                  handle, Target, pose.data(), joints.data(), static_cast<int32_t>(joints.size())),
        Success);
}

// A frame of tracking state, whose trackers stand at 1, 2 and 3 times x.
void TakeSnapshot(velkori_Handle handle, double time, float x) {
    velkori_FrameData_ data = {};
    data.header = 5;
    data.weight = 1.0F;
    data.value0 = 3;
    data.value1 = 2;
    data.value2 = 0xCAFEF00D;
    data.flag1 = true;
    data.tracker0 = At(x, 0, 0);
    data.tracker1 = At(2 * x, 0, 0);
    data.tracker2 = At(3 * x, 0, 0);
    ASSERT_EQ(velkori_createSnapshot(handle, -1, time), Success);
    // Of several in one frame the last one counts.
    const velkori_FrameData_ earlier = {};
    ASSERT_EQ(velkori_snapshotFrameData(handle, &earlier), Success);
    ASSERT_EQ(velkori_snapshotFrameData(handle, &data), Success);
}

// What a record gives its reader.
struct Received {
    double time = -1.0;
    velkori_CompressionType type = velkori_CompressionType_Standard;
    int32_t ack = -7;
    velkori_FrameData_ frameData = {};
    Transforms target;

    velkori_Result Read(velkori_Handle handle, const std::vector<unsigned char>& record) {
        return velkori_deserializeSnapshot(handle, record.data(), &time, &type, &ack,
            target.empty() ? nullptr : target.data(), nullptr, nullptr, &frameData);
    }
};

float InterpolatedTrackerX(velkori_Handle handle, int tracker, double time) {
    velkori_Transform_ pose = {};
    EXPECT_EQ(velkori_getInterpolatedTrackerJointPose(handle, tracker, &pose, time), Success);
    EXPECT_EQ(pose.orientation.w, 1.0F);
    return pose.position.x;
}

} // namespace

TEST(StreamSettings, AreClampedAndRestartTheStream) {
    const LoadedConfig config(ReadSample("simple.json"));
    velkori_SerializationSettings_ settings = {};
    const auto expect = [&](velkori_CompressionType type, float position, float rotation, float shape,
                            int32_t count) {
        ASSERT_EQ(velkori_getSerializationSettings(config.Get(), &settings), Success);
        EXPECT_EQ(settings.compressionType, type);
        EXPECT_EQ(settings.positionThreshold, position);
        EXPECT_EQ(settings.rotationAngleThreshold, rotation);
        EXPECT_EQ(settings.shapeThreshold, shape);
        EXPECT_EQ(settings.snapshotCount, count);
    };
    expect(velkori_CompressionType_Max, 0.01F, 0.01F, 0.01F, 254);

    const struct { int32_t given, kept; } counts[] = {{10, 254}, {1000, 800}, {500, 500}, {-5, 254}};

    for (const auto& [given, kept] : counts) {
        const auto noType = static_cast<velkori_CompressionType>(3);
        const velkori_SerializationSettings_ wild = {noType, -1.0F, std::numeric_limits<float>::infinity(),
            std::numeric_limits<float>::quiet_NaN(), given};
        ASSERT_EQ(velkori_createSnapshot(config.Get(), 3, 0.0), Success);
        ASSERT_EQ(velkori_updateSerializationSettings(config.Get(), &wild), Success);
        expect(noType, 0.0F, FLT_MAX, 0.0F, kept);
        int32_t ack = 0;
        EXPECT_EQ(velkori_getCurrentAck(config.Get(), &ack), Success);
        EXPECT_EQ(ack, -1);
    }
}

// The ring's length is one for the process: a frame whose slot is gone can't be told to anyone.
TEST(Stream, AFrameBeyondAShortenedRingIsNotSerialized) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LoadedConfig other(ReadSample("simple.json"));
    velkori_SerializationSettings_ settings = {velkori_CompressionType_Max, 0.01F, 0.01F, 0.01F, 800};
    ASSERT_EQ(velkori_updateSerializationSettings(config.Get(), &settings), Success);
    for (int frame = 0; frame < 300; ++frame) {
        ASSERT_EQ(velkori_createSnapshot(config.Get(), -1, 0.0), Success);
    }
    settings.snapshotCount = 254;
    ASSERT_EQ(velkori_updateSerializationSettings(other.Get(), &settings), Success);
    const LogCapture capture;
    int32_t size = 0;
    EXPECT_EQ(velkori_serializeSnapshot(config.Get(), nullptr, &size), velkori_Result_OperationFailed);
    EXPECT_EQ(LogCapture::TakeTexts(),
        std::vector<std::string>{"[ERROR]: Cannot serialize the current snapshot because the snapshot count "
                                 "has changed since."});
    ASSERT_EQ(velkori_createSnapshot(config.Get(), -1, 0.0), Success);
    EXPECT_GT(RecordSize(config.Get()), 0);
}

TEST(Stream, BeforeAnyFrameTheInterpolatorsGiveNothing) {
    const RecordedConfig config(SmallRecords().Config());
    Transforms pose(5);
    int32_t count = 5;
    EXPECT_EQ(velkori_getInterpolatedSkeletonPose(config.handle, Target, pose.data(), &count, 1.0), Success);
    EXPECT_EQ(count, 0);
    float weights[2] = {};
    count = 2;
    EXPECT_EQ(
        velkori_getInterpolatedFacePose(config.handle, 0, weights, &count, 1.0), velkori_Result_Failure);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(InterpolatedTrackerX(config.handle, 0, 1.0), 0.0F);
}

TEST(Stream, AFrameOfTrackingStateAloneGoesAcross) {
    const LoadedConfig sender(ReadSample("simple.json"));
    const LoadedConfig receiver(ReadSample("simple.json"));
    TakeSnapshot(sender.Get(), 2.0, 0.5F);
    const std::vector<unsigned char> record = Record(sender.Get());
    Received received;
    ASSERT_EQ(received.Read(receiver.Get(), record), Success);
    EXPECT_NEAR(received.time, 2.0, 1800.0 / 4194303);
    EXPECT_EQ(received.type, velkori_CompressionType_Max);
    EXPECT_EQ(received.ack, 0);
    EXPECT_EQ(received.frameData.header, 5);
    EXPECT_TRUE(received.frameData.flag0) << "always";
    EXPECT_EQ(received.frameData.weight, 1.0F);
    EXPECT_EQ(received.frameData.value0, 3);
    EXPECT_EQ(received.frameData.value1, 2);
    EXPECT_EQ(received.frameData.value2, 0xCAFEF00DU);
    EXPECT_TRUE(received.frameData.flag1);
    EXPECT_FALSE(received.frameData.flag2);
    EXPECT_NEAR(received.frameData.tracker1.position.x, 1.0F, 1e-5F);

    // Each interpolator plays a tracker of its own.
    const float expected[] = {1.5F, 0.5F, 1.0F};
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(InterpolatedTrackerX(receiver.Get(), i, 3.0), expected[i], 1e-5F) << i;
    }
    ASSERT_EQ(velkori_resetInterpolators(receiver.Get()), Success);
    EXPECT_EQ(InterpolatedTrackerX(receiver.Get(), 0, 4.0), 0.0F);

    double time = 0.0;
    EXPECT_EQ(velkori_deserializeSnapshotTimestamp(record.data(), &time), Success);
    EXPECT_EQ(time, received.time);
    // A record with frame data isn't read where there is no room for it.
    EXPECT_EQ(velkori_deserializeSnapshot(receiver.Get(), record.data(), &received.time, &received.type,
                  &received.ack, nullptr, nullptr, nullptr, nullptr),
        velkori_Result_NullParameter);
}

// What a handle receives must not become what its own frames are coded against.
TEST(Stream, AHandleMaySendAndReceive) {
    const LoadedConfig other(ReadSample("simple.json"));
    const LoadedConfig both(ReadSample("simple.json"));
    const LoadedConfig fresh(ReadSample("simple.json"));
    for (const LoadedConfig* sender : {&other, &both, &fresh}) {
        TakeSnapshot(sender->Get(), 1.0, 0.5F);
        if (sender == &other) {
            ASSERT_EQ(Received().Read(both.Get(), Record(other.Get())), Success);
        }
    }
    EXPECT_EQ(Record(both.Get()), Record(fresh.Get()));
}

TEST(Stream, AnAckThatNamesNoSnapshotIsReportedButCodedAsNone) {
    const LoadedConfig sender(ReadSample("simple.json"));
    const LoadedConfig receiver(ReadSample("simple.json"));
    const Transforms pose = RestPose(sender.Get());
    for (const int ack : {57, 254, 100000, -2, std::numeric_limits<int>::min()}) {
        TakeSnapshot(sender.Get(), ack, pose);
        int32_t current = 0;
        EXPECT_EQ(velkori_getCurrentAck(sender.Get(), &current), Success);
        EXPECT_EQ(current, ack);
        Received received;
        received.target.resize(pose.size());
        ASSERT_EQ(received.Read(receiver.Get(), Record(sender.Get())), Success);
        for (std::size_t i = 0; i < pose.size(); ++i) {
            EXPECT_NEAR(received.target[i].position.y, pose[i].position.y, 1e-5F);
        }
    }
}

// A host may give a frame its own number as its ack. Nothing has moved then, as if no joint were listed.
TEST(Stream, AFrameThatIsCodedAgainstItselfSendsNoJoint) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LoadedConfig other(ReadSample("simple.json"));
    // The default threshold is one that a joint at rest may reach.
    const velkori_SerializationSettings_ settings = {velkori_CompressionType_Max, 0.01F, 1.0F, 0.01F, 254};
    ASSERT_EQ(velkori_updateSerializationSettings(config.Get(), &settings), Success);
    ASSERT_EQ(velkori_updateSerializationSettings(other.Get(), &settings), Success);
    TakeSnapshot(config.Get(), 0, RestPose(config.Get()));
    TakeSnapshot(other.Get(), 0, RestPose(other.Get()), {-1});
    EXPECT_EQ(Record(config.Get()), Record(other.Get()));
}

// The coarsest type sends lengths in place of the positions of joints that stay on their bone.
TEST(Stream, OnlyAnOnlyChildIsKeptOnItsBone) {
    SmallRecords records;
    records.parents[4] = nullptr;
    const RecordedConfig config(records.Config());
    const velkori_SerializationSettings_ settings = {velkori_CompressionType_Standard, 0, 0, 0, 254};
    ASSERT_EQ(velkori_updateSerializationSettings(config.handle, &settings), Success);
    Transforms pose = RestPose(config.handle);
    for (velkori_Transform_& joint : pose) {
        joint.position.x += 0.25F;
    }
    TakeSnapshot(config.handle, -1, pose);
    Received received;
    received.target.resize(pose.size());
    ASSERT_EQ(received.Read(config.handle, Record(config.handle)), Success);
    // The root and what hangs on it, two only children, and a joint without a parent that isn't the root.
    const float expected[] = {0.25F, 0.25F, 0, 0, 1.25F};
    for (int i = 0; i < 5; ++i) {
        EXPECT_NEAR(received.target[i].position.x, expected[i], 1e-3F) << i;
    }
}

// Joints that aren't listed aren't sent, whatever the list holds.
TEST(Stream, IndexListsOfAnyContentAreSafe) {
    const LoadedConfig config(ReadSample("simple.json"));
    const auto sizeWith = [&](const std::vector<int32_t>& joints) {
        TakeSnapshot(config.Get(), -1, RestPose(config.Get()), joints);
        return RecordSize(config.Get());
    };
    const int32_t nothing = sizeWith({-1});
    EXPECT_EQ(nothing % 4, 0);
    EXPECT_EQ(sizeWith({100000, 0, 1}), nothing);
    EXPECT_GT(sizeWith({0, 1}), nothing);
    EXPECT_EQ(sizeWith({0, 0, 1}), sizeWith({0})) << "in ascending order";
}

// 4,096 bytes are the most that a record holds. A larger snapshot is announced with its whole size, and its
// tail is lost.
TEST(Stream, ASnapshotBeyondTheLimitLosesItsTail) {
    std::vector<std::string> names(300);
    SmallRecords records;
    records.names.resize(names.size());
    records.parents.assign(names.size(), "j0");
    records.parents[0] = nullptr;
    records.pose.assign(names.size(), At(0, 1, 0));
    records.excluded = records.manifestations = {};
    records.mappings = {};
    records.entries = {};
    for (std::size_t i = 0; i < names.size(); ++i) {
        names[i] = "j" + std::to_string(i);
        records.names[i] = names[i].c_str();
    }
    velkori_UtilityConfigInitParams_ params = records.Config();
    params.sourceSkeleton.knownJoints = params.targetSkeleton.knownJoints = nullptr;
    const RecordedConfig config(params);
    Transforms pose;
    for (std::size_t i = 0; i < names.size(); ++i) {
        pose.push_back(At(0.125F, 0, static_cast<float>(i)));
    }
    TakeSnapshot(config.handle, -1, pose);
    const std::vector<unsigned char> record = Record(config.handle);
    // 300 joints of 137 bits.
    EXPECT_GT(record.size(), 300U * 137 / 8);
    EXPECT_EQ(std::count(record.begin() + 4096, record.end(), 0xAB), std::ssize(record) - 4096);
    Received received;
    received.target.resize(pose.size());
    ASSERT_EQ(received.Read(config.handle, record), Success);
    // Whole joints fit into the first 4,096 bytes: 238 of them.
    EXPECT_NEAR(received.target[230].position.x, 0.125F, 1e-5F);
    EXPECT_NEAR(received.target[299].position.x, 0.0F, 1e-5F) << "the rest pose's";
}
