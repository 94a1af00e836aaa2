#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/CompressedTimestamp.h"
#include "serialization/record/BodySnapshot.h"
#include "support/BitText.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <tuple>
#include <utility>

using namespace Velkori_Utility;
using enum Precision;
using namespace std::string_literals;

namespace {

constexpr float Nan = std::numeric_limits<float>::quiet_NaN();
constexpr float Infinity = std::numeric_limits<float>::infinity();

template <typename Compressed, typename T>
std::string Fields(Precision precision, const T& value) {
    return Compressed(precision, value).toString();
}

template <typename Compressed>
Compressed WithFields(Precision precision, const typename Compressed::Components& components) {
    Compressed value(precision);
    value.setComponents(components);
    return value;
}

// Deltas in all three members.
CompressedJointPose MakeDelta(const CompressedQuaternionf::Components& rotation,
    const CompressedVector3f::Components& position, std::uint32_t length) {
    CompressedJointPose delta;
    delta.rotation = WithFields<CompressedQuaternionf>(Delta, rotation);
    delta.position = WithFields<CompressedVector3f>(Delta, position);
    delta.length = WithFields<CompressedJointLength>(Delta, {length});
    return delta;
}

} // namespace

TEST(CompressedValues, RotationsAndPositionsBecomeFields) {
    const std::tuple<Precision, Quaternionf, const char*> rotations[] = {
        // 0.0 is scaled to 0.5 - 2^-25, a hair below the middle, and so is its field.
        {Standard, Quaternionf::Identity, "Standard{10} [3], 511, 511, 511"},
        {Delta, Quaternionf::Identity, "Delta{7} [3], 63, 63, 63"},
        // Of equal magnitudes the first: (0.5 + 0.70711) * 0.70711 * 1023 + 0.5 = 873.7, and 150.3 for -0.5.
        {Standard, {0.5F, -0.5F, 0.5F, -0.5F}, "Standard{10} [0], 150, 873, 150"},
        // A negative largest component turns the signs: (-0.1 + 0.70711) * 0.70711 * 1023 + 0.5 = 439.7.
        {Standard, {0.1F, 0, -0.99498744F, 0}, "Standard{10} [2], 439, 511, 511"},
        // Not normalised, but clamped.
        {Standard, {0, 9, 8, -8}, "Standard{10} [1], 511, 1023, 0"},
        {Max, {0, 9, 8, -8}, "Max{20} [1], 524287, 1048575, 0"},
        {Standard, {0, Nan, Infinity, 0}, "Standard{10} [2], 511, 0, 511"},
    };
    for (const auto& [precision, value, fields] : rotations) {
        EXPECT_EQ(CompressedQuaternionf(precision, value).toString(), "Quaternionf("s + fields + ')');
    }
    const std::tuple<Precision, Vector3f, const char*> positions[] = {
        // 0 lies on a half, which goes up.
        {Standard, {-4.1F, 4.1F, 0}, "Standard{13} 0, 8191, 4096"},
        // 5 * 8191 / 8 = 5119.4 and 2.5 * 8191 / 8 = 2559.7
        {Standard, {1, -1.5F, -4}, "Standard{13} 5119, 2560, 0"},
        {High, {0, 4.1F, -Infinity}, "High{18} 131072, 262143, 0"},
        {Delta, {0, 4.1F, -4.1F}, "Delta{7} 64, 127, 0"},
        // 40.125 * 8388607 / 80 = 4207410.7
        {Max, {0.125F, Infinity, Nan}, "Max{23} 4207411, 8388607, 0"},
        // 40 + 7 * 2^-18 over the step of single precision is 4194306.4, whose nearest float is 4194306.5.
        {Max, {2.67e-5F, 0, -41}, "Max{23} 4194307, 4194304, 0"},
    };
    for (const auto& [precision, value, fields] : positions) {
        EXPECT_EQ(CompressedVector3f(precision, value).toString(), "Vector3f("s + fields + ')');
    }
}

TEST(CompressedValues, NumbersBecomeFields) {
    const std::pair<std::string, const char*> cases[] = {
        {Fields<CompressedJointLength>(Standard, 0.3F), "Len(Standard{9} 256)"}, // 255.5
        {Fields<CompressedJointLength>(High, 0.3F), "Len(High{14} 8192)"},       // 8191.5
        {Fields<CompressedJointLength>(Delta, 0.3F), "Len(Delta{6} 32)"},        // 31.5
        {Fields<CompressedJointLength>(Standard, 0.7F), "Len(Standard{9} 511)"},
        {Fields<CompressedJointLength>(Max, 0.7F), "Len(Max{18} 30583)"}, // 0.7 / 6 * 262143 = 30583.4
        {Fields<CompressedJointLength>(Max, 7.0F), "Len(Max{18} 262143)"},
        {Fields<CompressedJointLength>(Standard, -1.0F), "Len(Standard{9} 0)"},
        {Fields<CompressedJointLength>(Standard, Nan), "Len(Standard{9} 0)"},
        // Rounded down.
        {Fields<CompressedWeight>(Standard, 0.5F), "Weight(Standard{9} 255)"},
        {Fields<CompressedWeight>(Delta, 0.5F), "Weight(Delta{6} 31)"},
        // Not clamped: 766 - 512, and -1 + 512.
        {Fields<CompressedWeight>(Standard, 1.5F), "Weight(Standard{9} 254)"},
        {Fields<CompressedWeight>(Standard, -0.001F), "Weight(Standard{9} 511)"},
        {Fields<CompressedWeight>(Standard, 3e38F), "Weight(Standard{9} 0)"},
        {Fields<CompressedWeight>(Standard, Nan), "Weight(Standard{9} 0)"},
        {Fields<CompressedTimestamp>(Standard, 900.0), "Timestamp(Standard{16} 32768)"}, // 32767.5
        {Fields<CompressedTimestamp>(Delta, 2000.0), "Timestamp(Delta{16} 65535)"},
        {Fields<CompressedTimestamp>(Standard, -1.0), "Timestamp(Standard{16} 0)"},
        {Fields<CompressedTimestamp>(Standard, double{Nan}), "Timestamp(Standard{16} 0)"},
    };
    for (const auto& [fields, expected] : cases) {
        EXPECT_EQ(fields, expected);
    }
}

TEST(CompressedValues, FieldsDecodeToTheirPlaceInTheRange) {
    // Three components at the edge leave nothing for the fourth.
    EXPECT_EQ(WithFields<CompressedQuaternionf>(Standard, {0, 0, 0, 0}).decompress(),
        Quaternionf(0, -0.70710653F, -0.70710653F, -0.70710653F));
    // The nearest float to 4095 * 0.0009766817 - 4, whose product no float holds.
    EXPECT_EQ(WithFields<CompressedVector3f>(Standard, {0, 8191, 4095}).decompress(),
        Vector3f(-4, 4, static_cast<float>(4095.0 * 0.0009766817F - 4.0)));
    // By up to half a step the rounded step moves the end of the range.
    ExpectNear(WithFields<CompressedVector3f>(High, {0, 262143, 0}).decompress(), {-4, 4, -4}, 1.6e-5F);
    EXPECT_NEAR(WithFields<CompressedVector3f>(Max, {8388607, 0, 0}).decompress().x, 40.0F, 9.6e-6F);
    EXPECT_EQ(WithFields<CompressedJointLength>(Standard, {511}).decompress(), 0.6F);
    EXPECT_EQ(WithFields<CompressedJointLength>(High, {16383}).decompress(), 0.6F);
    EXPECT_EQ(WithFields<CompressedJointLength>(Max, {262143}).decompress(), 6.0F);
    EXPECT_EQ(WithFields<CompressedWeight>(Standard, {255}).decompress(), 255 * 0.0019569471F);
    EXPECT_FLOAT_EQ(WithFields<CompressedWeight>(Delta, {63}).decompress(), 1.0F);
    EXPECT_FLOAT_EQ(WithFields<CompressedWeight>(High, {16383}).decompress(), 1.0F);
    EXPECT_FLOAT_EQ(WithFields<CompressedWeight>(Max, {262143}).decompress(), 1.0F);
    EXPECT_EQ(WithFields<CompressedTimestamp>(High, {524287}).decompress(), 1800.0);
}

TEST(CompressedValues, JointRecords) {
    const CompressedJointPose full(Standard, JointPose::Identity, 0.6F);
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
        BitWriter writer(64);
        writer.serializeCompressedJoint(static_cast<JointSerializationOption>(option), pose);
        EXPECT_EQ(ToBitText(writer), bits);
        EXPECT_EQ(JointBitCalculator()(
                      static_cast<JointSerializationOption>(option), velkori_CompressionType_Standard, pose),
            bits.size());

        // Deltas come out as such whatever was there before; what isn't mentioned is left alone.
        BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
        JointSerializationOption read{};
        CompressedJointPose values(Standard, {{0.5F, 0.5F, 0.5F, 0.5F}, {1, 1, 1}}, 0.3F);
        const CompressedJointPose before = values;
        reader.deserializeCompressedJoint(read, values.rotation, values.position, values.length);
        EXPECT_EQ(read, option);
        EXPECT_EQ(reader.getBitsRead(), std::ssize(bits));
        const int turned = option & 12;
        const int moved = option & 19;
        EXPECT_EQ(
            values.rotation.toString(), (turned == 4 || turned == 8 ? pose : before).rotation.toString());
        EXPECT_EQ(values.position.toString(), (moved == 1 || moved == 2 ? pose : before).position.toString());
        EXPECT_EQ(values.length.toString(), (moved == 17 || moved == 18 ? pose : before).length.toString());
    }
}

TEST(CompressedValues, ADamagedRangeCodeReadsFieldsWithoutBits) {
    const std::vector<std::uint32_t> words = ToWords("01010 11 10 11" + std::string(53, '1'));
    BitReader reader(words.data(), 8);
    JointSerializationOption option{};
    CompressedJointPose values(Max);
    reader.deserializeCompressedJoint(option, values.rotation, values.position, values.length);
    EXPECT_EQ(values.rotation.toString(), "Quaternionf(Delta{7} [2], 0, 0, 0)");
    EXPECT_EQ(values.position.toString(), "Vector3f(Delta{7} 0, 0, 0)");
    EXPECT_EQ(reader.getBitsRead(), 5 + 2 + 2 + 2);
}
