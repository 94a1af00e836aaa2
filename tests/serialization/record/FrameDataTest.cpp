#include "serialization/record/FrameData.h"

#include "support/BitText.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace Velkori_Utility;

namespace {

constexpr auto Standard = velkori_CompressionType_Standard;
constexpr auto Max = velkori_CompressionType_Max;
constexpr auto Full = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;

FrameData MakeFrame(double time) {
    return {0xA5, time, false, 0.5F, 7, 2, 0x80000001U, true, false, {}, {}, {}};
}

void Send(FrameData& frame, int tracker, JointSerializationOption option, const CompressedJointPose& value) {
    frame.trackers[tracker].option = option;
    frame.trackers[tracker].serialized = value;
    frame.skipsTracker[tracker] = false;
}

FrameData ReadBack(const FrameData& frame, const FrameData& baseline, FrameData result = {}) {
    BitWriter writer(4096);
    frame.writeToStream(writer);
    writer.flush();
    BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
    result.readFromStream(reader, baseline);
    EXPECT_EQ(reader.getBitsRead(), writer.getBitsWritten());
    return result;
}

} // namespace

TEST(FrameData, HeaderImage) {
    // Low bits of each: header A5 (5), time, flag0 (false), weight 0.5 (255), value0 7 (3), value1 2, value2,
    // flag1, flag2; then three trackers that are skipped.
    const std::pair<double, std::string> times[] = {
        // 8388607.5 goes up to 8388608, whose low 16 bits are zero.
        {0.0, "0000000000000000"},
        // 8388607.5 + 16777215 / 86400 = 8388801.7, which is 194 more.
        {1.0, "0000000011000010"},
        {43200.0, "1111111111111111"},
        {1e300, "0000000000000000"},
    };
    for (const auto& [time, bits] : times) {
        BitWriter writer(4096);
        MakeFrame(time).writeToStream(writer);
        EXPECT_EQ(ToBitText(writer),
            "0101" + bits + "0 011111111 11 10 10000000000000000000000000000001 1 0 000"_bits);
    }
    EXPECT_EQ(ReadBack(MakeFrame(0.0), FrameData()).timestamp, -43200.0);
}

TEST(FrameData, SizesCountDeltasAtTheirWidest) {
    FrameData frame;
    EXPECT_EQ(frame.getFramedataSizeBits(Max), 71U);
    EXPECT_EQ(frame.getOptionSizeBits(JointSerializationOption_None, Max), 5U);
    EXPECT_EQ(frame.getOptionSizeBits(Full, Standard), 37U + 39U);
    EXPECT_EQ(frame.getOptionSizeBits(Full, velkori_CompressionType_High), 52U + 54U);
    EXPECT_EQ(frame.getOptionSizeBits(Full, Max), 67U + 69U);
    const auto deltas = JointSerializationOption_RotationDelta | JointSerializationOption_PositionDelta;
    EXPECT_EQ(frame.getOptionSizeBits(deltas, Max), 30U + 23U);
    EXPECT_EQ(frame.getOptionSizeBits(JointSerializationOption_LengthFull, Standard), 5U + 9U);
    EXPECT_EQ(frame.getOptionSizeBits(JointSerializationOption_LengthDelta, Standard), 5U + 8U);
    Send(frame, 1, Full, CompressedJointPose(Precision::Max));
    EXPECT_EQ(frame.getFramedataSizeBits(Max), 71U + 136U);
}

TEST(FrameData, TrackersReadBackOrKeepTheBaselinesPose) {
    const JointPose pose({0.5F, -0.5F, 0.5F, 0.5F}, {30, -0.25F, 1});
    FrameData baseline;
    baseline.trackers[1].pose = JointPose({0, 0.6F, 0, 0.8F}, {1, 2, 3}, {2, 2, 2});
    FrameData frame;
    Send(frame, 0, Full, CompressedJointPose(Precision::Max, pose, 1.0F));
    // Position fields of 0, 4194304, moved by -3 (code 5), 3 and 0.
    CompressedJointPose delta(Precision::Delta);
    delta.position.setComponents({5, 6, 0});
    Send(frame, 2, JointSerializationOption_PositionDelta, delta);

    const FrameData read = ReadBack(frame, baseline);
    const FrameData::TrackerPose& full = read.trackers[0];
    ExpectNear(full.pose.position, pose.position, 2e-5F);
    EXPECT_LE(AngleBetween(full.pose.orientation, pose.orientation), 1e-5F);
    EXPECT_EQ(full.compressed.position.toString(),
        CompressedVector3f(Precision::High, full.pose.position).toString());
    EXPECT_EQ(full.option, Full);
    EXPECT_EQ(read.trackers[1].pose, baseline.trackers[1].pose);
    CompressedVector3f moved(Precision::Max);
    moved.setComponents({4194301, 4194307, 4194304});
    EXPECT_EQ(read.trackers[2].pose.position, moved.decompress());
    // The last tracker's option isn't taken over.
    EXPECT_EQ(read.trackers[2].option, JointSerializationOption_None);

    // A record can be its own baseline.
    FrameData ring = baseline;
    const std::vector<std::uint32_t> words(3);
    BitReader reader(words.data(), 12);
    ring.readFromStream(reader, ring);
    EXPECT_EQ(ring.trackers[1].pose, baseline.trackers[1].pose);
}
