#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;
using Transforms = std::vector<velkori_Transform_>;

constexpr auto Target = velkori_SkeletonType_Target;
constexpr velkori_Transform_ Identity = {{0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}};

std::string Error(const std::string& text) {
    return "[ERROR]: " + text;
}

int32_t RecordSize(velkori_Handle handle) {
    int32_t size = -1;
    EXPECT_EQ(velkori_serializeSnapshot(handle, nullptr, &size), velkori_Result_Success);
    return size;
}

std::vector<unsigned char> Record(velkori_Handle handle) {
    int32_t size = RecordSize(handle);
    std::vector<unsigned char> record(size);
    EXPECT_EQ(velkori_serializeSnapshot(handle, record.data(), &size), velkori_Result_Success);
    return record;
}

Transforms RestPose(velkori_Handle handle) {
    int32_t count = 0;
    velkori_getSkeletonTPose(handle, Target, velkori_SkeletonTPoseType_Unscaled,
        velkori_JointRelativeSpaceType_Local, nullptr, &count);
    Transforms pose(count);
    velkori_getSkeletonTPose(handle, Target, velkori_SkeletonTPoseType_Unscaled,
        velkori_JointRelativeSpaceType_Local, pose.data(), &count);
    return pose;
}

std::vector<int32_t> AllJoints(const Transforms& pose) {
    std::vector<int32_t> joints(pose.size());
    std::iota(joints.begin(), joints.end(), 0);
    return joints;
}

velkori_FrameData_ MakeFrameData(float x) {
    velkori_FrameData_ data = {};
    data.header = 5;
    data.weight = 1.0F;
    data.value0 = 3;
    data.value1 = 2;
    data.value2 = 0xCAFEF00D;
    data.flag1 = true;
    data.tracker0 = data.tracker1 = data.tracker2 = Identity;
    data.tracker0.position.x = x;
    data.tracker1.position.x = 2 * x;
    data.tracker2.position.x = 3 * x;
    return data;
}

// What a reader writes that a test doesn't look at.
struct Received {
    double time = -1.0;
    velkori_CompressionType type = velkori_CompressionType_Standard;
    int32_t ack = -7;
    velkori_FrameData_ frameData = {};
    Transforms target;

    velkori_Result Read(velkori_Handle handle, const void* record) {
        return velkori_deserializeSnapshot(handle, record, &time, &type, &ack,
            target.empty() ? nullptr : target.data(), nullptr, nullptr, &frameData);
    }
};

} // namespace

TEST(StreamSettings, AreClampedAndRestartTheStream) {
    const LoadedConfig config(ReadSample("simple.json"));
    velkori_SerializationSettings_ settings = {};
    ASSERT_EQ(velkori_getSerializationSettings(config.Get(), &settings), velkori_Result_Success);
    EXPECT_EQ(settings.compressionType, velkori_CompressionType_Max);
    EXPECT_EQ(settings.positionThreshold, 0.01F);
    EXPECT_EQ(settings.rotationAngleThreshold, 0.01F);
    EXPECT_EQ(settings.shapeThreshold, 0.01F);
    EXPECT_EQ(settings.snapshotCount, 254);

    const struct { int32_t given, kept; } counts[] = {{10, 254}, {1000, 800}, {500, 500}, {-5, 254}};

    for (const auto& [given, kept] : counts) {
        const velkori_SerializationSettings_ wild = {static_cast<velkori_CompressionType>(3), -1.0F,
            std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN(), given};
        ASSERT_EQ(velkori_createSnapshot(config.Get(), 3, 0.0), velkori_Result_Success);
        ASSERT_EQ(velkori_updateSerializationSettings(config.Get(), &wild), velkori_Result_Success);
        ASSERT_EQ(velkori_getSerializationSettings(config.Get(), &settings), velkori_Result_Success);
        EXPECT_EQ(settings.compressionType, 3);
        EXPECT_EQ(settings.positionThreshold, 0.0F);
        EXPECT_EQ(settings.rotationAngleThreshold, FLT_MAX);
        EXPECT_EQ(settings.shapeThreshold, 0.0F);
        EXPECT_EQ(settings.snapshotCount, kept);
        int32_t ack = 0;
        EXPECT_EQ(velkori_getCurrentAck(config.Get(), &ack), velkori_Result_Success);
        EXPECT_EQ(ack, -1);
    }
}

TEST(StreamExports, RefuseInTheOrderOfTheirChecks) {
    const LoadedConfig config(ReadSample("simple.json"));
    const velkori_Handle handle = config.Get();
    const Transforms pose = RestPose(handle);
    Transforms badPose = pose;
    badPose[3].orientation = {0, 0, 0, 0};
    const std::vector<float> face(8);
    int32_t number = 0;
    double time = 0.0;
    velkori_CompressionType type = {};
    velkori_FrameData_ frameData = MakeFrameData(0.0F);
    const unsigned char bytes[4096] = {};
    const auto noSnapshot = [](const std::string& what) {
        return "Cannot " + what + " the current snapshot because it doesn't exist yet.";
    };
    const auto null = [](const std::string& name) { return "Parameter " + name + " must not be Null"; };
    const LogCapture capture;
    const auto expect = [](velkori_Result result, velkori_Result expected, const Texts& lines) {
        EXPECT_EQ(result, expected) << lines.front();
        Texts errors;
        for (const std::string& line : lines) {
            errors.push_back(Error(line));
        }
        EXPECT_EQ(LogCapture::TakeTexts(), errors);
    };
    expect(velkori_getSerializationSettings(handle, nullptr), velkori_Result_NullParameter,
        {null("out_serializationSettings")});
    expect(velkori_updateSerializationSettings(handle, nullptr), velkori_Result_InvalidParameter,
        {null("in_serializationSettings")});
    expect(velkori_getCurrentAck(handle, nullptr), velkori_Result_NullParameter,
        {"Parameter out_ack must not be null!"});
    expect(velkori_snapshotSkeleton(handle, Target, nullptr, nullptr, 1), velkori_Result_InvalidParameter,
        {null("skeletonPose")});
    expect(velkori_snapshotSkeleton(handle, Target, badPose.data(), nullptr, 1), velkori_Result_InvalidValue,
        {"Transform Array contains either nan/inf values or an invalid (Zero) Quaternion"});
    expect(velkori_snapshotSkeleton(handle, Target, pose.data(), nullptr, 1), velkori_Result_InvalidParameter,
        {null("indices")});
    expect(velkori_snapshotSkeleton(handle, Target, pose.data(), nullptr, 0), velkori_Result_OperationFailed,
        {noSnapshot("add a pose to")});
    expect(velkori_snapshotFace(handle, nullptr, nullptr, 0), velkori_Result_InvalidParameter,
        {null("facePose")});
    expect(velkori_snapshotFace(handle, face.data(), nullptr, 1), velkori_Result_InvalidParameter,
        {null("indices")});
    expect(velkori_snapshotFace(handle, face.data(), nullptr, 0), velkori_Result_OperationFailed,
        {noSnapshot("add a face to")});
    expect(velkori_snapshotFrameData(handle, nullptr), velkori_Result_InvalidParameter, {null("frameData")});
    expect(velkori_snapshotFrameData(handle, &frameData), velkori_Result_OperationFailed,
        {"Cannot add framedata to current snapshot because it doesn't exist yet.",
            "Could not add framedata."});
    expect(velkori_serializeSnapshot(handle, nullptr, nullptr), velkori_Result_NullParameter,
        {null("in_out_bufferSizeInBytes")});
    expect(velkori_serializeSnapshot(handle, nullptr, &number), velkori_Result_OperationFailed,
        {noSnapshot("serialize")});
    expect(velkori_serializeStartHeader({}, nullptr), velkori_Result_NullParameter, {null("out_header")});
    expect(velkori_serializeEndHeader({}, nullptr), velkori_Result_NullParameter, {null("out_header")});
    expect(velkori_deserializeStartHeader(nullptr, {}), velkori_Result_NullParameter, {null("out_header")});
    expect(velkori_deserializeEndHeader(nullptr, {}), velkori_Result_NullParameter, {null("out_header")});
    expect(velkori_deserializeSnapshotTimestamp(nullptr, &time), velkori_Result_InvalidParameter,
        {null("data")});
    expect(velkori_deserializeSnapshotTimestamp(bytes, nullptr), velkori_Result_NullParameter,
        {null("out_timestamp")});
    const auto read = [&](const void* data, double* outTime, velkori_CompressionType* outType,
                          int32_t* outAck) {
        return velkori_deserializeSnapshot(
            handle, data, outTime, outType, outAck, nullptr, nullptr, nullptr, nullptr);
    };
    expect(read(nullptr, &time, &type, &number), velkori_Result_InvalidParameter, {null("data")});
    expect(read(bytes, nullptr, &type, &number), velkori_Result_NullParameter, {null("out_timestamp")});
    expect(read(bytes, &time, nullptr, &number), velkori_Result_NullParameter, {null("out_compressionType")});
    expect(read(bytes, &time, &type, nullptr), velkori_Result_NullParameter, {null("out_ack")});

    expect(velkori_getInterpolatedSkeletonPose(handle, Target, nullptr, nullptr, 0.0),
        velkori_Result_NullParameter, {null("in_out_jointCount")});
    Transforms out = pose;
    number = static_cast<int32_t>(pose.size()) - 1;
    const std::string lengths = " large enough for body pose. Required length " +
                                std::to_string(pose.size()) + ", Actual length " + std::to_string(number);
    expect(velkori_getInterpolatedSkeletonPose(handle, Target, out.data(), &number, 0.0),
        velkori_Result_BufferTooSmall, {"Parameter out_bodyPose is not" + lengths});
    number = static_cast<int32_t>(pose.size());
    expect(velkori_getInterpolatedSkeletonPose(handle, Target, out.data(), &number, INFINITY),
        velkori_Result_InvalidValue, {"Parameter time must be a finite number of seconds"});
    expect(velkori_getInterpolatedFacePose(handle, 0, nullptr, nullptr, 0.0), velkori_Result_NullParameter,
        {null("in_out_shapeCount")});
    expect(velkori_getInterpolatedTrackerJointPose(handle, 0, nullptr, 0.0), velkori_Result_NullParameter,
        {null("out_pose")});
    expect(velkori_resetInterpolators(999), velkori_Result_InvalidHandle,
        {"Could not find utilityIntance with handle.", "Could not find handle 3e7 to load as instance"});
}

// The ring's length is one for the process: a frame whose slot is gone can't be told to anyone.
TEST(Stream, AFrameBeyondAShortenedRingIsNotSerialized) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LoadedConfig other(ReadSample("simple.json"));
    velkori_SerializationSettings_ settings = {velkori_CompressionType_Max, 0.01F, 0.01F, 0.01F, 800};
    ASSERT_EQ(velkori_updateSerializationSettings(config.Get(), &settings), velkori_Result_Success);
    for (int frame = 0; frame < 300; ++frame) {
        ASSERT_EQ(velkori_createSnapshot(config.Get(), -1, 0.0), velkori_Result_Success);
    }
    settings.snapshotCount = 254;
    ASSERT_EQ(velkori_updateSerializationSettings(other.Get(), &settings), velkori_Result_Success);
    const LogCapture capture;
    int32_t size = 0;
    EXPECT_EQ(velkori_serializeSnapshot(config.Get(), nullptr, &size), velkori_Result_OperationFailed);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts{Error("Cannot serialize the current snapshot because the snapshot count has changed since.")});
    ASSERT_EQ(velkori_createSnapshot(config.Get(), -1, 0.0), velkori_Result_Success);
    EXPECT_GT(RecordSize(config.Get()), 0);
}

TEST(Stream, BeforeAnyFrameTheInterpolatorsGiveNothing) {
    const LoadedConfig config(ReadSample("full.json"));
    Transforms pose = RestPose(config.Get());
    auto count = static_cast<int32_t>(pose.size());
    EXPECT_EQ(velkori_getInterpolatedSkeletonPose(config.Get(), Target, pose.data(), &count, 1.0),
        velkori_Result_Success);
    EXPECT_EQ(count, 0);
    int32_t shapeCount = 0;
    ASSERT_EQ(
        velkori_getInterpolatedFacePose(config.Get(), 0, nullptr, &shapeCount, 1.0), velkori_Result_Success);
    ASSERT_GT(shapeCount, 0);
    const int32_t needed = shapeCount;
    std::vector<float> weights(shapeCount);
    EXPECT_EQ(velkori_getInterpolatedFacePose(config.Get(), 0, weights.data(), &shapeCount, 1.0),
        velkori_Result_Failure);
    EXPECT_EQ(shapeCount, needed);
    velkori_Transform_ tracker = {};
    EXPECT_EQ(
        velkori_getInterpolatedTrackerJointPose(config.Get(), 0, &tracker, 1.0), velkori_Result_Success);
    EXPECT_EQ(tracker.orientation.w, 1.0F);
}

TEST(Stream, AFrameOfTrackingStateAloneGoesAcross) {
    const LoadedConfig sender(ReadSample("simple.json"));
    const LoadedConfig receiver(ReadSample("simple.json"));
    const velkori_FrameData_ sent = MakeFrameData(0.5F);
    ASSERT_EQ(velkori_createSnapshot(sender.Get(), -1, 2.0), velkori_Result_Success);
    ASSERT_EQ(velkori_snapshotFrameData(sender.Get(), &sent), velkori_Result_Success);
    const std::vector<unsigned char> record = Record(sender.Get());
    Received received;
    ASSERT_EQ(received.Read(receiver.Get(), record.data()), velkori_Result_Success);
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
        velkori_Transform_ tracker = {};
        velkori_getInterpolatedTrackerJointPose(receiver.Get(), i, &tracker, 3.0);
        EXPECT_NEAR(tracker.position.x, expected[i], 1e-5F) << i;
    }

    ASSERT_EQ(velkori_resetInterpolators(receiver.Get()), velkori_Result_Success);
    velkori_Transform_ forgotten = {};
    velkori_getInterpolatedTrackerJointPose(receiver.Get(), 0, &forgotten, 4.0);
    EXPECT_EQ(forgotten.position.x, 0.0F);

    double time = 0.0;
    EXPECT_EQ(velkori_deserializeSnapshotTimestamp(record.data(), &time), velkori_Result_Success);
    EXPECT_EQ(time, received.time);
    // A record with frame data isn't read where there is no room for it.
    const LogCapture capture;
    EXPECT_EQ(velkori_deserializeSnapshot(receiver.Get(), record.data(), &received.time, &received.type,
                  &received.ack, nullptr, nullptr, nullptr, nullptr),
        velkori_Result_NullParameter);
}

// What a handle receives must not become what its own frames are coded against.
TEST(Stream, AHandleMaySendAndReceive) {
    const LoadedConfig other(ReadSample("simple.json"));
    const LoadedConfig both(ReadSample("simple.json"));
    const LoadedConfig fresh(ReadSample("simple.json"));
    const velkori_FrameData_ data = MakeFrameData(0.5F);
    for (const LoadedConfig* sender : {&other, &both, &fresh}) {
        ASSERT_EQ(velkori_createSnapshot(sender->Get(), -1, 1.0), velkori_Result_Success);
        ASSERT_EQ(velkori_snapshotFrameData(sender->Get(), &data), velkori_Result_Success);
        if (sender == &other) {
            Received received;
            ASSERT_EQ(received.Read(both.Get(), Record(other.Get()).data()), velkori_Result_Success);
        }
    }
    EXPECT_EQ(Record(both.Get()), Record(fresh.Get()));
}

TEST(Stream, AnAckThatNamesNoSnapshotIsReportedButCodedAsNone) {
    const LoadedConfig sender(ReadSample("simple.json"));
    const LoadedConfig receiver(ReadSample("simple.json"));
    const Transforms pose = RestPose(sender.Get());
    const std::vector<int32_t> joints = AllJoints(pose);
    for (const int ack : {57, 254, 100000, -2, std::numeric_limits<int>::min()}) {
        ASSERT_EQ(velkori_createSnapshot(sender.Get(), ack, 1.0), velkori_Result_Success);
        ASSERT_EQ(velkori_snapshotSkeleton(
                      sender.Get(), Target, pose.data(), joints.data(), static_cast<int32_t>(joints.size())),
            velkori_Result_Success);
        int32_t current = 0;
        EXPECT_EQ(velkori_getCurrentAck(sender.Get(), &current), velkori_Result_Success);
        EXPECT_EQ(current, ack);
        Received received;
        received.target.resize(pose.size());
        ASSERT_EQ(received.Read(receiver.Get(), Record(sender.Get()).data()), velkori_Result_Success);
        for (std::size_t i = 0; i < pose.size(); ++i) {
            EXPECT_NEAR(received.target[i].position.y, pose[i].position.y, 1e-5F);
        }
    }
}

TEST(Stream, ABufferThatIsTooShortIsLeftAlone) {
    const LoadedConfig config(ReadSample("simple.json"));
    const Transforms pose = RestPose(config.Get());
    const std::vector<int32_t> joints = AllJoints(pose);
    ASSERT_EQ(velkori_createSnapshot(config.Get(), -1, 1.0), velkori_Result_Success);
    ASSERT_EQ(velkori_snapshotSkeleton(
                  config.Get(), Target, pose.data(), joints.data(), static_cast<int32_t>(joints.size())),
        velkori_Result_Success);
    const int32_t size = RecordSize(config.Get());
    EXPECT_EQ(size % 4, 0);
    std::vector<unsigned char> buffer(size, 0xAB);
    int32_t given = size - 1;
    const LogCapture capture;
    EXPECT_EQ(velkori_serializeSnapshot(config.Get(), buffer.data(), &given), velkori_Result_BufferTooSmall);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts{Error("out_buffer Buffer is too small, require " + std::to_string(size) + " bytes, provided " +
                    std::to_string(size - 1) + " bytes")});
    EXPECT_EQ(buffer, std::vector<unsigned char>(size, 0xAB));
}

// Joints that aren't listed aren't sent, whatever the list holds.
TEST(Stream, IndexListsOfAnyContentAreSafe) {
    const LoadedConfig config(ReadSample("simple.json"));
    const Transforms pose = RestPose(config.Get());
    const auto sizeWith = [&](const std::vector<int32_t>& joints) {
        EXPECT_EQ(velkori_createSnapshot(config.Get(), -1, 1.0), velkori_Result_Success);
        EXPECT_EQ(velkori_snapshotSkeleton(
                      config.Get(), Target, pose.data(), joints.data(), static_cast<int32_t>(joints.size())),
            velkori_Result_Success);
        return RecordSize(config.Get());
    };
    const int32_t nothing = sizeWith({-1});
    EXPECT_EQ(sizeWith({100000, 0, 1}), nothing);
    EXPECT_GT(sizeWith({0, 1}), nothing);
    EXPECT_EQ(sizeWith({0, 0, 1}), sizeWith({0})) << "in ascending order";
}

// 4,096 bytes are the most that a record holds. A larger snapshot is announced with its whole size, and its
// tail is lost.
TEST(Stream, ASnapshotBeyondTheLimitLosesItsTail) {
    std::string joints;
    std::string hierarchy;
    std::string poses;
    for (int i = 0; i < 300; ++i) {
        const std::string name = "\"j" + std::to_string(i) + "\"";
        joints += (i == 0 ? "" : ", ") + name;
        hierarchy += (i == 0 ? "" : ", ") + name + (i == 0 ? ": \"\"" : ": \"j0\"");
        poses += (i == 0 ? "" : ", ") + name +
                 R"(: {"position": {"x": 0, "y": 1, "z": 0}, "rotation": {"x": 0, "y": 0, "z": 0, "w": 1}})";
    }
    const std::string skeleton =
        R"({"joints": [)" + joints + R"(], "hierarchy": {)" + hierarchy + R"(}, "tpose": {)" + poses + "}}";
    const std::string document = R"({"name": "large", "config": {"version": 0, "coordinateSpace": {
        "up": {"x": 0, "y": 1, "z": 0}, "forward": {"x": 0, "y": 0, "z": 1},
        "right": {"x": 1, "y": 0, "z": 0}}}, "source": )" +
                                 skeleton + R"(, "target": )" + skeleton + "}";
    const LoadedConfig config(document);
    Transforms pose = RestPose(config.Get());
    for (std::size_t i = 0; i < pose.size(); ++i) {
        pose[i].position = {0.125F, 0.0F, static_cast<float>(i)};
    }
    const std::vector<int32_t> indices = AllJoints(pose);
    ASSERT_EQ(velkori_createSnapshot(config.Get(), -1, 1.0), velkori_Result_Success);
    ASSERT_EQ(velkori_snapshotSkeleton(
                  config.Get(), Target, pose.data(), indices.data(), static_cast<int32_t>(indices.size())),
        velkori_Result_Success);
    int32_t size = RecordSize(config.Get());
    // 300 joints of 137 bits.
    EXPECT_GT(size, 300 * 137 / 8);
    std::vector<unsigned char> record(size, 0xAB);
    ASSERT_EQ(velkori_serializeSnapshot(config.Get(), record.data(), &size), velkori_Result_Success);
    EXPECT_EQ(std::count(record.begin() + 4096, record.end(), 0xAB), size - 4096);
    Received received;
    received.target.resize(pose.size());
    ASSERT_EQ(received.Read(config.Get(), record.data()), velkori_Result_Success);
    // Whole joints fit into the first 4,096 bytes: 238 of them.
    EXPECT_NEAR(received.target[230].position.x, 0.125F, 1e-5F);
    EXPECT_NEAR(received.target[299].position.x, 0.0F, 1e-5F) << "the rest pose's";
}
