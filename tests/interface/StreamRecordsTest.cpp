// Whole records as bytes: what two builds of the library have to agree on.

#include "Velkori_Utility.h"
#include "support/BitText.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// A root, its child, and a leaf that can only move along its bone, which points forward; and one blend shape.
const char* const SmallConfig = R"({
    "name": "small",
    "config": {"version": 0, "coordinateSpace": {"up": {"x": 0, "y": 1, "z": 0},
        "forward": {"x": 0, "y": 0, "z": 1}, "right": {"x": 1, "y": 0, "z": 0}}},
    "source": {"joints": ["s"], "hierarchy": {"s": ""},
        "tpose": {"s": {"position": {"x": 0, "y": 0, "z": 0}, "rotation": {"x": 0, "y": 0, "z": 0, "w": 1}}}},
    "target": {"joints": ["root", "bone", "leaf"], "hierarchy": {"bone": "root", "leaf": "bone"},
        "knownJoints": {"root": "root"}, "blendShapes": ["smile"],
        "tpose": {
            "root": {"position": {"x": 0, "y": 0, "z": 0}, "rotation": {"x": 0, "y": 0, "z": 0, "w": 1}},
            "bone": {"position": {"x": 0, "y": 1, "z": 0}, "rotation": {"x": 0, "y": 0, "z": 0, "w": 1}},
            "leaf": {"position": {"x": 0, "y": 1, "z": 0.5},
                "rotation": {"x": 0, "y": 0, "z": 0, "w": 1}}}}})";

using Transforms = std::vector<velkori_Transform_>;

const std::vector<int32_t> AllJoints = {0, 1, 2};

std::string Bits(unsigned value, int width) {
    std::string bits;
    for (int bit = width - 1; bit >= 0; --bit) {
        bits += (value >> bit & 1U) != 0 ? '1' : '0';
    }
    return bits;
}

std::string Bits(std::initializer_list<unsigned> values, int width) {
    std::string bits;
    for (const unsigned value : values) {
        bits += Bits(value, width);
    }
    return bits;
}

void SetType(velkori_Handle handle, velkori_CompressionType type) {
    const velkori_SerializationSettings_ settings = {type, 0.0004F, 0.1F, 0.01F, 254};
    ASSERT_EQ(velkori_updateSerializationSettings(handle, &settings), velkori_Result_Success);
}

// The record of one frame of the target, without the bits that fill up its last word.
std::string Record(velkori_Handle handle, int ack, double time, const Transforms& pose, float smile) {
    EXPECT_EQ(velkori_createSnapshot(handle, ack, time), velkori_Result_Success);
    EXPECT_EQ(velkori_snapshotSkeleton(handle, velkori_SkeletonType_Target, pose.data(), AllJoints.data(), 3),
        velkori_Result_Success);
    EXPECT_EQ(velkori_snapshotFace(handle, &smile, nullptr, 0), velkori_Result_Success);
    int32_t size = 0;
    EXPECT_EQ(velkori_serializeSnapshot(handle, nullptr, &size), velkori_Result_Success);
    std::vector<std::uint32_t> words(size / 4);
    EXPECT_EQ(velkori_serializeSnapshot(handle, words.data(), &size), velkori_Result_Success);
    std::string bits;
    for (const std::uint32_t word : words) {
        bits += Bits(word, 32);
    }
    return bits;
}

// As a record has them: without blanks, in whole words.
std::string ToBitText(std::string bits) {
    std::erase(bits, ' ');
    bits.resize((bits.size() + 31) / 32 * 32, '0');
    return bits;
}

} // namespace

TEST(StreamRecords, HeadersAreTheseBytes) {
    velkori_StartHeader_ header = {};
    std::memset(header.text0, 'A', sizeof header.text0);
    std::strcpy(header.text1, "b");
    header.id = 0x1122334455667788;
    header.value16 = 0xF1234;
    header.value24 = 0xF00ABCDE;
    header.time = 0.0;
    header.value10 = 0x402;
    velkori_SerializedStartHeader_ image;
    ASSERT_EQ(velkori_serializeStartHeader(header, &image), velkori_Result_Success);
    // The first text loses its last letter. Noon, in the middle of the day, is 8388608 of 16777215 and rounds
    // up from one half. 10 bits of 0x402 are 2.
    std::string bits;
    for (int i = 0; i < 31; ++i) {
        bits += Bits('A', 8);
    }
    bits += Bits(0, 8) + Bits('b', 8) + std::string(31 * 8 + 3 * 256, '0');
    bits += Bits(0x55667788, 32) + Bits(0x11223344, 32) + Bits(0x1234, 16) + Bits(0x0ABCDE, 24) +
            Bits(8388608, 24) + Bits(2, 10);
    const std::vector<std::uint32_t> words = ToWords(bits);
    ASSERT_EQ(words.size() * 4, sizeof image.data);
    EXPECT_EQ(std::memcmp(image.data, words.data(), sizeof image.data), 0);

    velkori_StartHeader_ read = {};
    ASSERT_EQ(velkori_deserializeStartHeader(&read, image), velkori_Result_Success);
    EXPECT_EQ(read.text0, std::string(31, 'A'));
    EXPECT_STREQ(read.text1, "b");
    EXPECT_EQ(read.id, header.id);
    EXPECT_EQ(read.value16, 0x1234U);
    EXPECT_EQ(read.value24, 0x0ABCDEU);
    EXPECT_NEAR(read.time, 0.0, 0.0026);
    EXPECT_EQ(read.value10, 2U);

    velkori_SerializedEndHeader_ end;
    ASSERT_EQ(velkori_serializeEndHeader({0x0102030405060708}, &end), velkori_Result_Success);
    const unsigned char expected[] = {8, 7, 6, 5, 4, 3, 2, 1};
    EXPECT_EQ(std::memcmp(end.data, expected, sizeof expected), 0);
    velkori_EndHeader_ readEnd = {};
    ASSERT_EQ(velkori_deserializeEndHeader(&readEnd, end), velkori_Result_Success);
    EXPECT_EQ(readEnd.value, 0x0102030405060708U);
}

// A first frame, and one coded against it, at every type. Fields of a value v, with 2^n - 1 as largest field:
//
// - a rotation's components are (v + sqrt(1/2)) * sqrt(1/2) * largest, rounded; 0 falls just below one half
//   and gives 511, 16383 and 524287, and 0.6 gives 946, 30285 and 969160;
// - a position's are (v + range) / (2 range) * largest, rounded, over a range of 4, 4 and 40: (1, 2, -3)
//   gives 5119.38, 6143.25, 1023.88 and so on. With 23 bits the quotient has room for halves only, so that
//   1 + 2^-11, which should give 4299212.4, gives 4299212.5 and is rounded up;
// - a length's is v / 0.6 * 511, rounded: 0.25 gives 212.9;
// - a weight's is v * largest, rounded down: 0.5 gives 255.5 and so on, and 0.52 gives 265.7, 8519.2 and
//   136314.4;
// - a time's is v / 1800 * largest, rounded: 1.5 and 900.25 give 54.6 and 32776.6 and so on.
TEST(StreamRecords, SnapshotsAreTheseBits) {
    struct Case {
        velkori_CompressionType type;
        int timeBits, rotationBits, positionBits, weightBits, bodySizeBits, faceSizeBits;
        unsigned times[2];
        unsigned noTurn, turn;
        unsigned root[3];
        // By how much the field of 1 + 2^-11 exceeds that of 1, in zigzag code, with its range before.
        std::string delta, noDelta;
        unsigned half;
        std::string more;
    };

    const Case cases[] = {
        // 3 joints of at most 77 bits and 1 shape of at most 12. The delta is 1, the face's 10.
        {velkori_CompressionType_Standard, 16, 10, 13, 9, 8, 4, {55, 32777}, 511, 946, {5119, 6143, 1024},
            "00 010", "000", 255, "01" + Bits(20, 6)},
        // 107 and 17. The delta is 16, which is one too much for 5 bits; the face's fits none.
        {velkori_CompressionType_High, 19, 15, 18, 14, 9, 5, {437, 262216}, 16383, 30285,
            {163839, 196607, 32768}, "10 0100000", "0000000", 8191, "10" + Bits(8519, 14)},
        // 137 and 21. The delta is 52.
        {velkori_CompressionType_Max, 22, 20, 23, 18, 9, 5, {3495, 2097734}, 524287, 969160,
            {4299161, 4404019, 3879731}, "10 1101000", "0000000", 131071, "10" + Bits(136314, 18)},
    };
    for (const Case& each : cases) {
        const LoadedConfig config(SmallConfig);
        SetType(config.Get(), each.type);
        const bool hasLength = each.type == velkori_CompressionType_Standard;
        const velkori_Vector3f_ place = {1, 2, -3};
        Transforms pose = {{{0, 0, 0, 1}, place, {1, 1, 1}}, {{0.6F, 0, 0, 0.8F}, place, {1, 1, 1}},
            {{0, 0, 0, 1}, hasLength ? velkori_Vector3f_{0, 0, 0.25F} : place, {1, 1, 1}}};
        const auto rotation = [&](unsigned x) {
            return Bits(3, 2) + Bits({x, each.noTurn, each.noTurn}, each.rotationBits);
        };
        const std::string position = Bits({each.root[0], each.root[1], each.root[2]}, each.positionBits);
        // Of type, time, which parts there are, their sizes, the baseline's slot plus one and the own one.
        const auto record = [&](unsigned time, const std::string& joints, const std::string& face,
                                unsigned baseline, unsigned slot) {
            const auto size = [](const std::string& bits) {
                return static_cast<unsigned>(std::ssize(bits) - std::ranges::count(bits, ' '));
            };
            return Bits(each.type, 2) + Bits(time, each.timeBits) + "010" +
                   Bits(size(joints), each.bodySizeBits) + Bits(size(face), each.faceSizeBits) +
                   Bits(baseline, 8) + Bits(slot, 8) + joints + face;
        };

        // Presence and option, rotation and position in full; the leaf's position is its length.
        const std::string leaf = hasLength ? "1 10101" + rotation(each.noTurn) + Bits(213, 9)
                                           : "1 00101" + rotation(each.noTurn) + position;
        const std::string first = record(each.times[0],
            "1 00101" + rotation(each.noTurn) + position + "1 00101" + rotation(each.turn) + position + leaf,
            "1 10" + Bits(each.half, each.weightBits), 0, 0);
        EXPECT_EQ(Record(config.Get(), -1, 1.5, pose, 0.5F), ToBitText(first)) << each.type;

        // The root moves along x, and nothing else does but the smile.
        pose[0].position.x += 0x1p-11F;
        const std::string second = record(each.times[1],
            "1 00010" + each.delta + each.noDelta + each.noDelta + "0 0", "1" + each.more, 1, 1);
        EXPECT_EQ(Record(config.Get(), 0, 900.25, pose, 0.52F), ToBitText(second)) << each.type;

        // Nothing moves, and the joints cost a bit each. But a weight's delta is kept as if it were a weight,
        // here as 20 / 63, from which the smile is far: it is sent anew.
        const std::string third = record(each.times[1], "000", hasLength ? "1 10" + Bits(265, 9) : "0", 2, 2);
        EXPECT_EQ(Record(config.Get(), 1, 900.25, pose, 0.52F), ToBitText(third)) << each.type;
    }
}
