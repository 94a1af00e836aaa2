#include "serialization/record/FrameData.h"

#include "support/BitText.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using namespace Velkori_Utility;

namespace {

constexpr auto Max = velkori_CompressionType_Max;
constexpr auto Full = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;

FrameData MakeFrame(double time) {
    FrameData frame;
    frame.header = 0xA5;
    frame.timestamp = time;
    frame.weight = 0.5F;
    frame.value0 = 7;
    frame.value1 = 2;
    frame.value2 = 0x80000001U;
    frame.flag1 = true;
    return frame;
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
    // Low bits of each: header A5 (5), time, flag0, weight 0.5 (255), value0 7 (3), value1 2, value2,
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
        FrameData frame = MakeFrame(time);
        frame.flag0 = time > 1.0;
        BitWriter writer(4096);
        frame.writeToStream(writer);
        EXPECT_EQ(ToBitText(writer), "0101" + bits + (frame.flag0 ? "1" : "0") +
                                         "011111111 11 10 10000000000000000000000000000001 1 0 000"_bits);
    }
    EXPECT_EQ(ReadBack(MakeFrame(0.0), FrameData()).timestamp, -43200.0);
}

TEST(FrameData, SizesCountDeltasAtTheirWidest) {
    constexpr auto Deltas = JointSerializationOption_RotationDelta | JointSerializationOption_PositionDelta;
    EXPECT_EQ(getLargestJointRecordBits(JointSerializationOption_None, Precision::Max), 5U);
    EXPECT_EQ(getLargestJointRecordBits(Full, Precision::Standard), 37U + 39U);
    EXPECT_EQ(getLargestJointRecordBits(Full, Precision::High), 52U + 54U);
    EXPECT_EQ(getLargestJointRecordBits(Deltas, Precision::Max), 30U + 23U);
    EXPECT_EQ(getLargestJointRecordBits(JointSerializationOption_LengthFull, Precision::Standard), 5U + 9U);
    EXPECT_EQ(getLargestJointRecordBits(JointSerializationOption_LengthDelta, Precision::Standard), 5U + 8U);
    FrameData frame;
    EXPECT_EQ(frame.getFramedataSizeBits(Max), 71U);
    frame.trackers[1].encoded.option = Full;
    EXPECT_EQ(frame.getFramedataSizeBits(Max), 71U + 67U + 69U);
}

TEST(FrameData, TrackersReadBackOrKeepTheBaselinesPose) {
    const JointPose pose({0.5F, -0.5F, 0.5F, 0.5F}, {30, -0.25F, 1});
    FrameData baseline;
    baseline.trackers[1].pose = JointPose({0, 0.6F, 0, 0.8F}, {1, 2, 3}, {2, 2, 2});
    FrameData frame;
    frame.trackers[0].encoded = {compressJoint(Precision::Max, pose, 1.0F), Full};
    // Position fields of 0, 4194304, moved by -3 (code 5), 3 and 0.
    frame.trackers[2].encoded.value.position = {{5, 6, 0}, Precision::Delta};
    frame.trackers[2].encoded.option = JointSerializationOption_PositionDelta;

    const FrameData read = ReadBack(frame, baseline);
    const TrackerPose& full = read.trackers[0];
    ExpectNear(full.pose.position, pose.position, 2e-5F);
    EXPECT_LE(AngleBetween(full.pose.orientation, pose.orientation), 1e-5F);
    EXPECT_EQ(full.compressed.position, compressPosition(Precision::High, full.pose.position));
    EXPECT_EQ(read.trackers[1].pose, baseline.trackers[1].pose);
    EXPECT_EQ(read.trackers[2].pose.position,
        decompress(CompressedVector3f{{4194301, 4194307, 4194304}, Precision::Max}));

    // A record can be its own baseline.
    FrameData ring = baseline;
    const std::vector<std::uint32_t> words(3);
    BitReader reader(words.data(), 12);
    ring.readFromStream(reader, ring);
    EXPECT_EQ(ring.trackers[1].pose, baseline.trackers[1].pose);
}
