#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/CompressedTimestamp.h"
#include "serialization/codec/CompressedWeight.h"
#include "serialization/codec/JointRecord.h"
#include "support/BitText.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <limits>
#include <string>
#include <tuple>
#include <utility>

using namespace Velkori_Utility;
using enum Precision;

namespace {

constexpr float Nan = std::numeric_limits<float>::quiet_NaN();
constexpr float Infinity = std::numeric_limits<float>::infinity();

using RotationFields = std::array<std::uint32_t, 4>;
using PositionFields = std::array<std::uint32_t, 3>;

// Deltas in all three members.
CompressedJointPose MakeDelta(
    const RotationFields& rotation, const PositionFields& position, std::uint32_t length) {
    return {{rotation, Delta}, {position, Delta}, {length, Delta}};
}

} // namespace

TEST(CompressedValues, RotationsAndPositionsBecomeFields) {
    const std::tuple<Precision, Quaternionf, RotationFields> rotations[] = {
        // 0.0 is scaled to 0.5 - 2^-25, a hair below the middle, and so is its field.
        {Standard, Quaternionf::Identity, {3, 511, 511, 511}},
        {Delta, Quaternionf::Identity, {3, 63, 63, 63}},
        // Of equal magnitudes the first: (0.5 + 0.70711) * 0.70711 * 1023 + 0.5 = 873.7, and 150.3 for -0.5.
        {Standard, {0.5F, -0.5F, 0.5F, -0.5F}, {0, 150, 873, 150}},
        // A negative largest component turns the signs: (-0.1 + 0.70711) * 0.70711 * 1023 + 0.5 = 439.7.
        {Standard, {0.1F, 0, -0.99498744F, 0}, {2, 439, 511, 511}},
        // Not normalised, but clamped.
        {Standard, {0, 9, 8, -8}, {1, 511, 1023, 0}},
        {High, {0, 9, 8, -8}, {1, 16383, 32767, 0}},
        {Max, {0, 9, 8, -8}, {1, 524287, 1048575, 0}},
        {Standard, {0, Nan, Infinity, 0}, {2, 511, 0, 511}},
    };
    for (const auto& [precision, value, fields] : rotations) {
        EXPECT_EQ(compressRotation(precision, value).fields, fields);
    }
    const std::tuple<Precision, Vector3f, PositionFields> positions[] = {
        // 0 lies on a half, which goes up.
        {Standard, {-4.1F, 4.1F, 0}, {0, 8191, 4096}},
        // 5 * 8191 / 8 = 5119.4 and 2.5 * 8191 / 8 = 2559.7
        {Standard, {1, -1.5F, -4}, {5119, 2560, 0}},
        {High, {0, 4.1F, -Infinity}, {131072, 262143, 0}},
        {Delta, {0, 4.1F, -4.1F}, {64, 127, 0}},
        // 40.125 * 8388607 / 80 = 4207410.7
        {Max, {0.125F, Infinity, Nan}, {4207411, 8388607, 0}},
        // 40 + 7 * 2^-18 over the step of single precision is 4194306.4, whose nearest float is 4194306.5.
        {Max, {2.67e-5F, 0, -41}, {4194307, 4194304, 0}},
    };
    for (const auto& [precision, value, fields] : positions) {
        EXPECT_EQ(compressPosition(precision, value).fields, fields);
    }
}

TEST(CompressedValues, NumbersBecomeFields) {
    const std::pair<std::uint32_t, std::uint32_t> cases[] = {
        {compressLength(Standard, 0.3F).field, 256}, // 255.5
        {compressLength(High, 0.3F).field, 8192},    // 8191.5
        {compressLength(Delta, 0.3F).field, 32},     // 31.5
        {compressLength(Standard, 0.7F).field, 511},
        {compressLength(Max, 0.7F).field, 30583}, // 0.7 / 6 * 262143 = 30583.4
        {compressLength(Max, 7.0F).field, 262143},
        {compressLength(Standard, -1.0F).field, 0},
        {compressLength(Standard, Nan).field, 0},
        // Rounded down.
        {compressWeight(Standard, 0.5F).field, 255},
        {compressWeight(Delta, 0.5F).field, 31},
        // Not clamped: 766 - 512, and -1 + 512.
        {compressWeight(Standard, 1.5F).field, 254},
        {compressWeight(Standard, -0.001F).field, 511},
        {compressWeight(Standard, 3e38F).field, 0},
        {compressWeight(Standard, Nan).field, 0},
        {compressTimestamp(Standard, 900.0).field, 32768}, // 32767.5
        {compressTimestamp(Delta, 2000.0).field, 65535},
        {compressTimestamp(Standard, -1.0).field, 0},
        {compressTimestamp(Standard, double{Nan}).field, 0},
    };
    for (const auto& [field, expected] : cases) {
        EXPECT_EQ(field, expected);
    }
}

TEST(CompressedValues, FieldsDecodeToTheirPlaceInTheRange) {
    // Three components at the edge leave nothing for the fourth.
    EXPECT_EQ(decompress(CompressedQuaternionf{{0, 0, 0, 0}, Standard}),
        Quaternionf(0, -0.70710653F, -0.70710653F, -0.70710653F));
    // The nearest float to 4095 * 0.0009766817 - 4, whose product no float holds.
    EXPECT_EQ(decompress(CompressedVector3f{{0, 8191, 4095}, Standard}),
        Vector3f(-4, 4, static_cast<float>(4095.0 * 0.0009766817F - 4.0)));
    // By up to half a step the rounded step moves the end of the range.
    ExpectNear(decompress(CompressedVector3f{{0, 262143, 0}, High}), {-4, 4, -4}, 1.6e-5F);
    EXPECT_NEAR(decompress(CompressedVector3f{{8388607, 0, 0}, Max}).x, 40.0F, 9.6e-6F);
    EXPECT_EQ(decompress(CompressedJointLength{511, Standard}), 0.6F);
    EXPECT_EQ(decompress(CompressedJointLength{16383, High}), 0.6F);
    EXPECT_EQ(decompress(CompressedJointLength{262143, Max}), 6.0F);
    EXPECT_EQ(decompress(CompressedWeight{255, Standard}), 255 * 0.0019569471F);
    EXPECT_FLOAT_EQ(decompress(CompressedWeight{63, Delta}), 1.0F);
    EXPECT_FLOAT_EQ(decompress(CompressedWeight{16383, High}), 1.0F);
    EXPECT_FLOAT_EQ(decompress(CompressedWeight{262143, Max}), 1.0F);
    EXPECT_EQ(decompress(CompressedTimestamp{524287, High}), 1800.0);
}

TEST(CompressedValues, JointRecords) {
    const CompressedJointPose full = compressJoint(Standard, JointPose::Identity, 0.6F);
    const std::string rotation = "11 0111111111 0111111111 0111111111";
    const std::string position = "1000000000000 1000000000000 1000000000000";
    const std::tuple<int, CompressedJointPose, std::string> cases[] = {
        {0, full, "00000"},
        {4, full, "00100" + rotation},
        {1, full, "00001" + position},
        {21, full, "10101" + rotation + "111111111"},
        // Deltas take the narrowest range that holds their largest field: an index, then 7 and 3 in 3 bits; 8
        // in 5; 127 in 7. Lengths have 4, 5 and 6.
        {8, MakeDelta({2, 7, 3, 0}, {}, 0), "01000 00 10 111 011 000"},
        {8, MakeDelta({1, 0, 8, 0}, {}, 0), "01000 01 01 00000 01000 00000"},
        {8, MakeDelta({0, 127, 0, 8}, {}, 0), "01000 10 00 1111111 0000000 0001000"},
        {2, MakeDelta({}, {7, 0, 1}, 0), "00010 00 111 000 001"},
        {2, MakeDelta({}, {0, 31, 0}, 0), "00010 01 00000 11111 00000"},
        {2, MakeDelta({}, {0, 31, 32}, 0), "00010 10 0000000 0011111 0100000"},
        {18, MakeDelta({}, {}, 15), "10010 00 1111"},
        {18, MakeDelta({}, {}, 16), "10010 01 10000"},
        {26, MakeDelta({3, 1, 1, 1}, {}, 63), "11010 00 11 001 001 001 10 111111"},
        // Options that aren't any say nothing.
        {12 | 19, full, "11111"},
        {16, full, "10000"},
    };
    for (auto [option, pose, bits] : cases) {
        std::erase(bits, ' ');
        const EncodedJoint joint{pose, static_cast<JointSerializationOption>(option)};
        BitWriter writer(64);
        writeJoint(writer, joint);
        EXPECT_EQ(ToBitText(writer), bits);
        EXPECT_EQ(getJointRecordBits(joint, Standard), bits.size());

        // What the option speaks of comes out as it was, deltas as such.
        BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
        const EncodedJoint read = readJoint(reader, Standard);
        EXPECT_EQ(read.option, option);
        EXPECT_EQ(reader.getBitsRead(), std::ssize(bits));
        const int turned = option & 12;
        const int moved = option & 19;
        EXPECT_TRUE((turned != 4 && turned != 8) || read.value.rotation == pose.rotation);
        EXPECT_TRUE((moved != 1 && moved != 2) || read.value.position == pose.position);
        EXPECT_TRUE((moved != 17 && moved != 18) || read.value.length == pose.length);
    }
}

TEST(CompressedValues, ADamagedRangeCodeReadsFieldsWithoutBits) {
    const std::vector<std::uint32_t> words = ToWords("01010 11 10 11" + std::string(53, '1'));
    BitReader reader(words.data(), 8);
    const EncodedJoint read = readJoint(reader, Max);
    EXPECT_EQ(read.value.rotation, (CompressedQuaternionf{{2, 0, 0, 0}, Delta}));
    EXPECT_EQ(read.value.position, (CompressedVector3f{{0, 0, 0}, Delta}));
    EXPECT_EQ(reader.getBitsRead(), 5 + 2 + 2 + 2);
}
