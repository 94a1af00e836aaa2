#include "serialization/BitReader.h"
#include "serialization/BitWriter.h"
#include "serialization/CompressedTimestamp.h"
#include "serialization/JointRecordBits.h"
#include "support/BitText.h"
#include "support/PoseMatchers.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

using namespace Velkori_Utility;

namespace {

constexpr float Nan = std::numeric_limits<float>::quiet_NaN();
constexpr float Infinity = std::numeric_limits<float>::infinity();

constexpr Precision Precisions[] = {Precision::Standard, Precision::Delta, Precision::High, Precision::Max};

template <typename Compressed, typename T>
struct FieldCase {
    Precision precision;
    T value;
    const char* fields;
};

template <typename Compressed, typename T, std::size_t N>
void ExpectFields(const char* name, const FieldCase<Compressed, T> (&cases)[N]) {
    for (const auto& [precision, value, fields] : cases) {
        EXPECT_EQ(Compressed(precision, value).toString(), std::string(name) + '(' + fields + ')');
    }
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
    delta.rotation = WithFields<CompressedQuaternionf>(Precision::Delta, rotation);
    delta.position = WithFields<CompressedVector3f>(Precision::Delta, position);
    delta.length = WithFields<CompressedJointLength>(Precision::Delta, {length});
    return delta;
}

Quaternionf RandomRotation(std::mt19937& random) {
    std::normal_distribution<float> normal;
    const float x = normal(random);
    const float y = normal(random);
    const float z = normal(random);
    return Quaternionf(x, y, z, normal(random)).Normalize();
}

} // namespace

TEST(CompressedValues, RotationFields) {
    using Case = FieldCase<CompressedQuaternionf, Quaternionf>;
    // 0.0 is scaled to 0.5 - 2^-25, a hair below the middle, so that its field is that below the middle.
    const Case cases[] = {
        {Precision::Standard, Quaternionf::Identity, "Standard{10} [3], 511, 511, 511"},
        {Precision::High, Quaternionf::Identity, "High{15} [3], 16383, 16383, 16383"},
        {Precision::Max, Quaternionf::Identity, "Max{20} [3], 524287, 524287, 524287"},
        {Precision::Delta, Quaternionf::Identity, "Delta{7} [3], 63, 63, 63"},
        // Of equal magnitudes the first: (0.5 + 0.70711) * 0.70711 * 1023 + 0.5 = 873.7, and
        // 150.3 for -0.5.
        {Precision::Standard, {0.5F, 0.5F, 0.5F, 0.5F}, "Standard{10} [0], 873, 873, 873"},
        {Precision::Standard, {0.5F, -0.5F, 0.5F, -0.5F}, "Standard{10} [0], 150, 873, 150"},
        // A negative largest component turns the signs: (-0.1 + 0.70711) * 0.70711 * 1023 + 0.5 = 439.7.
        {Precision::Standard, {0.1F, 0, -0.99498744F, 0}, "Standard{10} [2], 439, 511, 511"},
        {Precision::Standard, {0.1F, 0, 0.99498744F, 0}, "Standard{10} [2], 584, 511, 511"},
        // Not normalised, but clamped.
        {Precision::Standard, {0, 9, 8, -8}, "Standard{10} [1], 511, 1023, 0"},
        {Precision::Max, {0, 9, 8, -8}, "Max{20} [1], 524287, 1048575, 0"},
        {Precision::Standard, {0, Nan, Infinity, 0}, "Standard{10} [2], 511, 0, 511"},
    };
    ExpectFields("Quaternionf", cases);
}

TEST(CompressedValues, PositionFields) {
    using Case = FieldCase<CompressedVector3f, Vector3f>;
    const Case cases[] = {
        // 0 lies on a half, which goes up.
        {Precision::Standard, {0, 0, 0}, "Standard{13} 4096, 4096, 4096"},
        {Precision::Standard, {-4.1F, 4.1F, 4}, "Standard{13} 0, 8191, 8191"},
        // 5 * 8191 / 8 = 5119.4 and 2.5 * 8191 / 8 = 2559.7
        {Precision::Standard, {1, -1.5F, -4}, "Standard{13} 5119, 2560, 0"},
        {Precision::High, {0, 4.1F, -Infinity}, "High{18} 131072, 262143, 0"},
        {Precision::Delta, {0, 4.1F, -4.1F}, "Delta{7} 64, 127, 0"},
        {Precision::Max, {0, 40, -41}, "Max{23} 4194304, 8388607, 0"},
        // 40.125 * 8388607 / 80 = 4207410.7
        {Precision::Max, {0.125F, Infinity, Nan}, "Max{23} 4207411, 8388607, 0"},
    };
    ExpectFields("Vector3f", cases);
}

TEST(CompressedValues, ScalarFields) {
    const FieldCase<CompressedJointLength, float> lengths[] = {
        {Precision::Standard, 0.7F, "Standard{9} 511"},
        {Precision::Standard, 0.3F, "Standard{9} 256"}, // 255.5
        {Precision::High, 0.3F, "High{14} 8192"},       // 8191.5
        {Precision::Delta, 0.3F, "Delta{6} 32"},        // 31.5
        {Precision::Max, 0.7F, "Max{18} 30583"},        // 0.7 / 6 * 262143 = 30583.4
        {Precision::Max, 7, "Max{18} 262143"},
        {Precision::Standard, -1, "Standard{9} 0"},
        {Precision::Standard, Nan, "Standard{9} 0"},
    };
    ExpectFields("Len", lengths);
    const FieldCase<CompressedWeight, float> weights[] = {
        {Precision::Standard, 1, "Standard{9} 511"},
        {Precision::Standard, 0.5F, "Standard{9} 255"}, // rounded down
        {Precision::High, 0.5F, "High{14} 8191"},
        {Precision::Max, 0.5F, "Max{18} 131071"},
        {Precision::Delta, 0.5F, "Delta{6} 31"},
        // Not clamped: 766 - 512, and -1 + 512.
        {Precision::Standard, 1.5F, "Standard{9} 254"},
        {Precision::Standard, -0.001F, "Standard{9} 511"},
        {Precision::Standard, 3e38F, "Standard{9} 0"},
        {Precision::Standard, Nan, "Standard{9} 0"},
    };
    ExpectFields("Weight", weights);
    const FieldCase<CompressedTimestamp, double> times[] = {
        {Precision::Standard, 900, "Standard{16} 32768"}, // 32767.5
        {Precision::Delta, 900, "Delta{16} 32768"},
        {Precision::High, 900, "High{19} 262144"},
        {Precision::Max, 900, "Max{22} 2097152"},
        {Precision::Standard, 2000, "Standard{16} 65535"},
        {Precision::Standard, -1, "Standard{16} 0"},
        {Precision::Standard, Nan, "Standard{16} 0"},
    };
    ExpectFields("Timestamp", times);
}

TEST(CompressedValues, FieldsDecodeToTheirPlaceInTheRange) {
    const auto rotation = [](const CompressedQuaternionf::Components& components) {
        return WithFields<CompressedQuaternionf>(Precision::Standard, components).decompress();
    };
    // Three components at the edge leave nothing for the fourth.
    EXPECT_EQ(rotation({0, 0, 0, 0}), Quaternionf(0, -0.70710653F, -0.70710653F, -0.70710653F));
    const Quaternionf halves = rotation({2, 873, 150, 873});
    EXPECT_NEAR(halves.x, 0.5F, 7e-4F);
    EXPECT_NEAR(halves.y, -0.5F, 7e-4F);
    EXPECT_NEAR(halves.z, 0.5F, 2e-3F);
    EXPECT_NEAR(halves.w, 0.5F, 7e-4F);
    // The nearest float to 4095 * 0.0009766817 - 4, whose product no float holds.
    EXPECT_EQ(WithFields<CompressedVector3f>(Precision::Standard, {0, 8191, 4095}).decompress(),
        Vector3f(-4, 4, static_cast<float>(4095.0 * 0.0009766817F - 4.0)));
    EXPECT_EQ(WithFields<CompressedVector3f>(Precision::Max, {0, 8388607, 0}).decompress().x, -40.0F);
    EXPECT_EQ(WithFields<CompressedJointLength>(Precision::Max, {262143}).decompress(), 6.0F);
    EXPECT_EQ(WithFields<CompressedWeight>(Precision::Standard, {255}).decompress(), 255 * 0.0019569471F);
    EXPECT_EQ(WithFields<CompressedTimestamp>(Precision::High, {524287}).decompress(), 1800.0);
}

TEST(CompressedValues, RoundTripsStayWithinHalfAStep) {
    std::mt19937 random(62);
    // Roundings of single precision on the way, relative to the range.
    constexpr float Noise = 4 * std::numeric_limits<float>::epsilon();
    for (const Precision precision : Precisions) {
        const bool isMax = precision == Precision::Max;
        const auto step = [&](auto compressed) {
            return 1.0F / static_cast<float>((1 << decltype(compressed)::getBits(precision)) - 1);
        };
        const float range = isMax ? 40.0F : 4.0F;
        const float largestLength = isMax ? 6.0F : 0.6F;
        const float positionStep = step(CompressedVector3f(precision)) * 2 * range;
        const float lengthStep = step(CompressedJointLength(precision)) * largestLength;
        const float weightStep = step(CompressedWeight(precision));
        // Each of the three is off by up to half a step, the fourth by up to three halves: the square root of
        // 3 in all, and twice that in angle.
        const float angle = 2 * std::sqrt(3.0F) * std::sqrt(2.0F) * step(CompressedQuaternionf(precision));
        for (int i = 0; i < 2000; ++i) {
            const Vector3f position = TestSkeletons::RandomVector(random, -range, range);
            const Vector3f error = (CompressedVector3f(precision, position).decompress() - position).Abs();
            ASSERT_LE(std::max({error.x, error.y, error.z}), positionStep / 2 + Noise * range);
            const float length = TestSkeletons::RandomBetween(random, 0, largestLength);
            ASSERT_NEAR(CompressedJointLength(precision, length).decompress(), length,
                lengthStep / 2 + Noise * largestLength);
            const float weight = TestSkeletons::RandomBetween(random, 0, 1);
            const float lost = weight - CompressedWeight(precision, weight).decompress();
            ASSERT_GE(lost, -Noise);
            ASSERT_LE(lost, weightStep + Noise);
            const Quaternionf rotation = RandomRotation(random);
            ASSERT_LE(AngleBetween(CompressedQuaternionf(precision, rotation).decompress(), rotation),
                angle + 8 * Noise);
            const double time = std::uniform_real_distribution<>(0, 1800)(random);
            const int timeBits = CompressedTimestamp::getBits(precision);
            ASSERT_NEAR(CompressedTimestamp(precision, time).decompress(), time,
                900.0 / ((1 << timeBits) - 1) + 1e-9);
        }
    }
}

TEST(CompressedValues, DeltasAreZigzagCodes) {
    EXPECT_EQ(encodeDelta(97, 100), 5U); // -3
    EXPECT_EQ(encodeDelta(103, 100), 6U);
    EXPECT_EQ(encodeDelta(36, 100), 127U);
    EXPECT_EQ(encodeDelta(164, 100), 128U);
    for (const std::uint32_t current : {0U, 1U, 4095U, 8388607U}) {
        for (const std::uint32_t baseline : {0U, 7U, 8388607U}) {
            EXPECT_EQ(applyDelta(baseline, encodeDelta(current, baseline)), current);
        }
    }
}

TEST(CompressedValues, JointRecords) {
    struct Case {
        int option;
        CompressedJointPose pose;
        std::string bits;
    };

    const CompressedJointPose full(Precision::Standard, JointPose::Identity, 0.6F);
    const std::string rotation = "11 0111111111 0111111111 0111111111";
    const std::string position = "1000000000000 1000000000000 1000000000000";
    const Case cases[] = {
        {0, full, "00000"},
        {4, full, "00100" + rotation},
        {1, full, "00001" + position},
        {5, full, "00101" + rotation + position},
        {21, full, "10101" + rotation + "111111111"},
        // Deltas take the narrowest range that holds their largest field: an index, then 7 and 3 in 3 bits;
        // 8 and 31 in 5; 32 and 127 in 7.
        {8, MakeDelta({2, 7, 3, 0}, {}, 0), "01000 00 10 111 011 000"},
        {8, MakeDelta({1, 0, 8, 0}, {}, 0), "01000 01 01 00000 01000 00000"},
        {8, MakeDelta({0, 127, 0, 8}, {}, 0), "01000 10 00 1111111 0000000 0001000"},
        {2, MakeDelta({}, {7, 0, 1}, 0), "00010 00 111 000 001"},
        {2, MakeDelta({}, {0, 31, 0}, 0), "00010 01 00000 11111 00000"},
        {2, MakeDelta({}, {0, 31, 32}, 0), "00010 10 0000000 0011111 0100000"},
        {18, MakeDelta({}, {}, 15), "10010 00 1111"},
        {18, MakeDelta({}, {}, 16), "10010 01 10000"},
        {18, MakeDelta({}, {}, 63), "10010 10 111111"},
        {26, MakeDelta({3, 1, 1, 1}, {}, 1), "11010 00 11 001 001 001 00 0001"},
        // The precision of each value decides its width.
        {5, MakeDelta({3, 0, 0, 1}, {1, 0, 0}, 0),
            "00101 11 0000000 0000000 0000001 0000001 0000000 0000000"},
    };
    for (const auto& [option, pose, bits] : cases) {
        BitWriter writer(64);
        writer.serializeCompressedJoint(static_cast<JointSerializationOption>(option), pose);
        EXPECT_EQ(ToBitText(writer), WithoutBlanks(bits));

        BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
        JointSerializationOption read{};
        // Deltas come out as deltas whatever was there before; other values have their precision already.
        CompressedJointPose values(option == 5 ? pose.rotation.getPrecision() : Precision::Standard);
        reader.deserializeCompressedJoint(read, values.rotation, values.position, values.length);
        EXPECT_EQ(read, option);
        EXPECT_EQ(reader.getBitsRead(), std::ssize(WithoutBlanks(bits)));
        BitWriter again(64);
        again.serializeCompressedJoint(read, values);
        EXPECT_EQ(ToBitText(again), WithoutBlanks(bits));
    }
}

TEST(CompressedValues, WhatARecordDoesNotMentionIsLeftAlone) {
    // A position only, and options that aren't any.
    for (const std::string option : {"00001", "10000", "10011", "01100", "00011"}) {
        const std::vector<std::uint32_t> words = ToWords(option + std::string(59, '1'));
        BitReader reader(words.data(), 8);
        CompressedJointPose values(Precision::Standard, {{0.5F, 0.5F, 0.5F, 0.5F}, {1, 1, 1}}, 0.3F);
        const std::string rotation = values.rotation.toString();
        JointSerializationOption read{};
        reader.deserializeCompressedJoint(read, values.rotation, values.position, values.length);
        EXPECT_EQ(values.rotation.toString(), rotation);
        EXPECT_EQ(values.length.toString(), "Len(Standard{9} 256)");
        EXPECT_EQ(reader.getBitsRead(), option == "00001" ? 5 + 39 : 5);
    }
}

TEST(CompressedValues, ADamagedRangeCodeReadsFieldsWithoutBits) {
    const std::vector<std::uint32_t> words = ToWords("01010 11 10 11 1111" + std::string(64, '1'));
    BitReader reader(words.data(), 8);
    JointSerializationOption option{};
    CompressedJointPose values(Precision::Max);
    reader.deserializeCompressedJoint(option, values.rotation, values.position, values.length);
    EXPECT_EQ(values.rotation.toString(), "Quaternionf(Delta{7} [2], 0, 0, 0)");
    EXPECT_EQ(values.position.toString(), "Vector3f(Delta{7} 0, 0, 0)");
    EXPECT_EQ(reader.getBitsRead(), 5 + 2 + 2 + 2);
}

TEST(CompressedValues, ShapeRecords) {
    struct Case {
        ShapeSerializationOption option;
        CompressedWeight weight;
        std::string bits;
    };

    const Case cases[] = {
        {ShapeSerializationOption_Full, CompressedWeight(Precision::Standard, 0.5F), "10 011111111"},
        {ShapeSerializationOption_Full, CompressedWeight(Precision::High, 0.5F), "10 01111111111111"},
        {ShapeSerializationOption_Full, CompressedWeight(Precision::Max, 1), "10 111111111111111111"},
        {ShapeSerializationOption_Delta, WithFields<CompressedWeight>(Precision::Delta, {5}), "01 000101"},
    };
    for (const auto& [option, weight, bits] : cases) {
        BitWriter writer(64);
        writer.serializeCompressedShape(option, {weight});
        EXPECT_EQ(ToBitText(writer), WithoutBlanks(bits));
        BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
        ShapeSerializationOption read{};
        CompressedWeight value(
            option == ShapeSerializationOption_Delta ? Precision::Max : weight.getPrecision());
        reader.deserializeCompressedShape(read, value);
        EXPECT_EQ(read, option);
        EXPECT_EQ(value.toString(), weight.toString());
    }
}

TEST(CompressedValues, JointRecordSizes) {
    struct Case {
        int option;
        Precision precision;
        int bits;
    };

    const Case cases[] = {
        {0, Precision::Max, 5},
        // A rotation with the option's 5 bits.
        {4, Precision::Standard, 37},
        {4, Precision::Delta, 28},
        {4, Precision::High, 52},
        {4, Precision::Max, 67},
        // A rotation and a position.
        {5, Precision::Standard, 37 + 39},
        {5, Precision::Delta, 28 + 21},
        {5, Precision::High, 52 + 54},
        {5, Precision::Max, 67 + 69},
        // A length alone.
        {17, Precision::Standard, 5 + 9},
        {17, Precision::Delta, 5 + 6},
        {17, Precision::High, 5 + 14},
        {17, Precision::Max, 5 + 18},
        // Deltas at their widest.
        {8, Precision::Max, 30},
        {10, Precision::Max, 30 + 23},
        {26, Precision::Max, 30 + 8},
    };
    for (const auto& [option, precision, bits] : cases) {
        EXPECT_EQ(getJointRecordBits(static_cast<JointSerializationOption>(option), precision), bits);
    }
}
