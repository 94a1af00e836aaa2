#include "serialization/FrameData.h"

#include "support/BitText.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <string>

using namespace Velkori_Utility;

namespace {

constexpr auto Standard = velkori_CompressionType_Standard;
constexpr auto Max = velkori_CompressionType_Max;

FrameData MakeFrame(double time, float weight) {
    return {0xA5, time, false, weight, 7, 2, 0x80000001U, true, false, {}, {}, {}};
}

// Sends a tracker at Max precision.
void Send(FrameData& frame, int tracker, JointSerializationOption option, const CompressedJointPose& value) {
    frame.trackers[tracker].option = option;
    frame.trackers[tracker].serialized = value;
    frame.skipsTracker[tracker] = false;
}

FrameData ReadBack(const FrameData& frame, const FrameData& baseline, FrameData result = {}) {
    BitWriter writer(4096);
    frame.writeToStream(writer);
    const int bits = writer.getBitsWritten();
    EXPECT_GE(frame.getFramedataSizeBits(Max), static_cast<std::uint32_t>(bits));
    writer.flush();
    BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
    result.readFromStream(reader, baseline);
    EXPECT_EQ(reader.getBitsRead(), bits);
    return result;
}

} // namespace

TEST(FrameData, HeaderImage) {
    // Low bits of each: header A5 (5), flag0 (false), weight 0.5 (255), value0 7 (3), value1 2, value2,
    // flag1, flag2; then three trackers that are skipped.
    const std::string behindTime = "0 011111111 11 10 10000000000000000000000000000001 1 0 000";

    struct Case {
        double time;
        std::string bits;
    };

    const Case cases[] = {
        // 8388607.5 goes up to 8388608, whose low 16 bits are zero.
        {0.0, "0000000000000000"},
        // 8388607.5 + 16777215 / 86400 = 8388801.7, which is 194 more.
        {1.0, "0000000011000010"},
        {43200.0, "1111111111111111"},
        {-43200.0, "0000000000000000"},
        {1e300, "0000000000000000"},
    };
    for (const Case& c : cases) {
        const FrameData frame = MakeFrame(c.time, 0.5F);
        BitWriter writer(4096);
        frame.writeToStream(writer);
        EXPECT_EQ(ToBitText(writer), WithoutBlanks("0101" + c.bits + behindTime)) << c.time;
        EXPECT_EQ(frame.getFramedataSizeBits(Max), 71U);
    }
}

TEST(FrameData, HeaderReadsBackButForTimeAndOneFlag) {
    const FrameData read = ReadBack(MakeFrame(0.0, 0.5F), FrameData());
    EXPECT_EQ(read.header, 5);
    EXPECT_EQ(read.timestamp, -43200.0);
    EXPECT_TRUE(read.flag0);
    EXPECT_EQ(read.weight, 255 * 0.0019569471F);
    EXPECT_EQ(read.value0, 3);
    EXPECT_EQ(read.value1, 2);
    EXPECT_EQ(read.value2, 0x80000001U);
    EXPECT_TRUE(read.flag1);
    EXPECT_FALSE(read.flag2);
    EXPECT_FLOAT_EQ(ReadBack(MakeFrame(0.0, 1.0F), FrameData()).weight, 1.0F);
    // 194 steps of 86400 / 16777215.
    EXPECT_NEAR(ReadBack(MakeFrame(1.0, 0.0F), FrameData()).timestamp, -43200.0 + 0.99907, 1e-5);
}

TEST(FrameData, SizesCountDeltasAtTheirWidest) {
    const FrameData frame;
    const auto both = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;
    EXPECT_EQ(frame.getOptionSizeBits(both, Standard), 76U);
    EXPECT_EQ(frame.getOptionSizeBits(both, velkori_CompressionType_High), 106U);
    EXPECT_EQ(frame.getOptionSizeBits(both, Max), 136U);
    EXPECT_EQ(frame.getOptionSizeBits(
                  JointSerializationOption_RotationDelta | JointSerializationOption_PositionDelta, Max),
        53U);
    EXPECT_EQ(frame.getOptionSizeBits(JointSerializationOption_None, Max), 5U);
    EXPECT_EQ(frame.getOptionSizeBits(JointSerializationOption_LengthFull, Standard), 14U);
    EXPECT_EQ(frame.getOptionSizeBits(JointSerializationOption_LengthDelta, Standard), 13U);
    FrameData sending;
    Send(sending, 1, both, CompressedJointPose(Precision::Max));
    EXPECT_EQ(sending.getFramedataSizeBits(Max), 71U + 136U);
}

TEST(FrameData, TrackersReadBackOrKeepTheBaselinesPose) {
    const JointPose pose({0.5F, -0.5F, 0.5F, 0.5F}, {30, -0.25F, 1});
    const JointPose old({0, 0.6F, 0, 0.8F}, {1, 2, 3}, {2, 2, 2});
    FrameData baseline;
    for (FrameData::TrackerPose& tracker : baseline.trackers) {
        tracker.pose = old;
        tracker.compressed = CompressedJointPose(Precision::High, old, 1.0F);
    }
    const auto both = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;
    FrameData frame;
    Send(frame, 0, both, CompressedJointPose(Precision::Max, pose, 1.0F));
    Send(frame, 2, both, CompressedJointPose(Precision::Max, pose, 1.0F));
    FrameData ring;
    ring.trackers[2].option = JointSerializationOption_PositionDelta;
    const FrameData read = ReadBack(frame, baseline, ring);
    for (const int i : {0, 2}) {
        ExpectNear(read.trackers[i].pose.position, pose.position, 2e-5F);
        EXPECT_LE(AngleBetween(read.trackers[i].pose.orientation, pose.orientation), 1e-5F);
        EXPECT_EQ(read.trackers[i].compressed.position.toString(),
            CompressedVector3f(Precision::High, read.trackers[i].pose.position).toString());
    }
    EXPECT_EQ(read.trackers[1].pose, old);
    // The last tracker's option isn't taken over.
    EXPECT_EQ(read.trackers[0].option, both);
    EXPECT_EQ(read.trackers[2].option, JointSerializationOption_PositionDelta);
}

TEST(FrameData, TrackerDeltasAddToTheBaselinesFields) {
    FrameData baseline;
    // Position fields 4194304 at Max, moved by -3 (code 5), 3 and 0; the rotation stays.
    CompressedJointPose delta(Precision::Delta);
    delta.position.setComponents({5, 6, 0});
    FrameData frame;
    Send(frame, 1, JointSerializationOption_PositionDelta, delta);
    CompressedVector3f expected(Precision::Max);
    expected.setComponents({4194301, 4194307, 4194304});
    const FrameData read = ReadBack(frame, baseline);
    EXPECT_EQ(read.trackers[1].pose.position, expected.decompress());
    EXPECT_LE(AngleBetween(read.trackers[1].pose.orientation, Quaternionf::Identity), 5e-6F);
    EXPECT_EQ(read.trackers[1].pose.scale, Vector3f::One);
}

TEST(FrameData, ARecordCanBeItsOwnBaseline) {
    FrameData ring;
    ring.trackers[0].pose = JointPose(Quaternionf::Identity, {1, 2, 3});
    const std::vector<std::uint32_t> words(3);
    BitReader reader(words.data(), 12);
    ring.readFromStream(reader, ring);
    EXPECT_EQ(ring.trackers[0].pose.position, Vector3f(1, 2, 3));
}
