#include "serialization/record/Snapshot.h"

#include "serialization/Serialization.h"
#include "support/BitText.h"
#include "support/GuardedMemory.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <type_traits>

using namespace Velkori_Utility;

namespace {

constexpr auto Standard = velkori_CompressionType_Standard;
constexpr auto High = velkori_CompressionType_High;
constexpr auto Max = velkori_CompressionType_Max;
constexpr auto FullJoint = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;

const std::string IdentityRotation = "11 0111111111 0111111111 0111111111";
const std::string ZeroPosition = "1000000000000 1000000000000 1000000000000";

// A joint at the origin and one, its child, at (0, 2, 0).
const std::vector<JointPose> RestPose{{}, {Quaternionf::Identity, {0, 2, 0}}};

Snapshot MakeSnapshot(velkori_CompressionType type, double time, int jointCount, int shapeCount) {
    const std::vector<JointPose> pose(jointCount);
    Snapshot snapshot(type, time, pose, pose, std::vector<float>(shapeCount));
    snapshot.restart(type, time);
    return snapshot;
}

// What is sent of a part's element is what it holds, in full.
template <typename Part, typename Option>
void SendFull(Part& part, std::size_t element, Option option) {
    part.serialized[element] = {part.compressed[element], option};
    part.hasData = true;
}

// Of a snapshot of these counts, in a ring of this length.
std::string HeaderBits(const SnapshotHeader& header, const HeaderLayout& layout) {
    BitWriter writer(4096);
    writeHeader(writer, header, layout);
    EXPECT_EQ(getHeaderBits(header, layout), static_cast<unsigned>(writer.getBitsWritten()));
    return ToBitText(writer);
}

template <typename Part>
std::string PartBits(const Part& part) {
    BitWriter writer(4096);
    part.writeToStream(writer);
    std::string bits = ToBitText(writer);
    EXPECT_EQ(part.getSerializationSizeBits(), std::max<std::size_t>(bits.size(), 1));
    return bits;
}

// Reads a record of these bits into the part, against the baseline. Returns how many of them were read.
template <typename Part>
int Read(Part& part, std::string bits, const Part& baseline, int limit = -1) {
    std::erase(bits, ' ');
    const std::vector<std::uint32_t> words = ToWords(bits + std::string(64, '1'));
    BitReader reader(words.data(), static_cast<int>(words.size() * 4));
    const auto size = static_cast<std::uint32_t>(limit < 0 ? std::ssize(bits) : limit);
    if constexpr (std::is_same_v<Part, BodySnapshot>) {
        part.readFromStream(reader, size, RestPose, baseline);
    } else {
        part.readFromStream(reader, size, baseline);
    }
    EXPECT_FALSE(part.hasData);
    return reader.getBitsRead();
}

BodySnapshot ReadBody(const std::string& bits, const BodySnapshot& baseline) {
    BodySnapshot body(baseline.compressionType, baseline.elements, 1.0);
    EXPECT_EQ(Read(body, bits, baseline), std::ssize(bits) - std::ranges::count(bits, ' '));
    return body;
}

} // namespace

TEST(Snapshot, HeaderImages) {
    // The source's record is 1 + 5 + 62 + 69 = 137 bits and one for the joint that isn't sent. No record of
    // two joints is larger than 2 * 137 bits, so the field has 9. Likewise the target's, of joints that
    // aren't sent, and the face's, of at most 21.
    Snapshot snapshot = MakeSnapshot(Max, 1800.0, 2, 0);
    SendFull(*snapshot.sourceBody, 0, FullJoint);
    const HeaderLayout layout{254, 2, 2, 0};
    SnapshotHeader sent = snapshot.makeHeader(7, 254);
    EXPECT_EQ(HeaderBits(sent, layout), "10 1111111111111111111111 100 010001010 00001000 11111110"_bits);
    EXPECT_EQ(snapshot.getPartsBits(sent), 138U);
    snapshot.targetBody->hasData = true;
    snapshot.addFramedata(FrameData());
    sent = snapshot.makeHeader(7, 254);
    const std::string bits = HeaderBits(sent, layout);
    EXPECT_EQ(bits, "10 1111111111111111111111 111 010001010 000000010 1 00001000 11111110"_bits);
    EXPECT_EQ(snapshot.getPartsBits(sent), 138U + 2U + 1U + 71U);

    const std::vector<std::uint32_t> words = ToWords(bits);
    BitReader reader(words.data(), 4096);
    const SnapshotHeader header = readHeader(reader, layout);
    EXPECT_EQ(reader.getBitsRead(), std::ssize(bits));
    EXPECT_EQ(header.sourceBodyBits, 138U);
    EXPECT_EQ(header.targetBodyBits, 2U);
    EXPECT_EQ(header.targetFaceBits, 1U);
    EXPECT_EQ(header.baselineAck, 7);
    // One past the ring.
    EXPECT_EQ(header.ack, 0);

    // Type 3 is read as Standard; baseline field 255 is slot 254, one past the ring.
    const std::vector<std::uint32_t> damaged = ToWords("11 1111111111111111 000 11111111 00010001");
    BitReader damagedReader(damaged.data(), 8);
    const SnapshotHeader other = readHeader(damagedReader, layout);
    EXPECT_EQ(other.time.timestamp, 1800.0);
    EXPECT_EQ(other.baselineAck, -1);
    EXPECT_EQ(other.ack, 17);
}

TEST(Snapshot, FieldWidthsFollowFromTheConfiguration) {
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(80, Max), 14);      // 80 * 137 = 10960
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(77, High), 14);     // 77 * 107 = 8239
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(80, Standard), 13); // 80 * 77 = 6160
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(-3, Max), 1);
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(63, Standard), 10); // 63 * 12 = 756
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(31, High), 10);     // 31 * 17 = 527
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(63, Max), 11);      // 63 * 21 = 1323
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(0, Max), 1);
    // 21 bits and two acks.
    const SnapshotHeader empty{.time = {Standard, 0.0}};
    for (const auto& [asked, length, bits] :
        {std::array{1000, 800, 41}, std::array{500, 500, 39}, std::array{10, 254, 37}}) {
        Serialization::setAndClampCurrentNumberOfSnapshots(asked);
        EXPECT_EQ(Serialization::getNumSnapshots(), length);
        EXPECT_EQ(std::ssize(HeaderBits(empty, {length, 1, 1, 0})), bits);
    }
}

TEST(Snapshot, BodiesAreReadOverTheirBaseline) {
    const std::vector<JointPose> sent{
        {{0, 0.6F, 0, 0.8F}, {0.1F, 0.2F, 0.3F}}, {Quaternionf::Identity, {0, 0.25F, 0}}};
    const BodySnapshot baseline(Standard, sent, 0.0);

    // What isn't there keeps its exact floats.
    EXPECT_EQ(ReadBody("0 0", baseline).elements, sent);

    // In full; zero lies half a step beside its field. A length puts the joint in its rest pose's direction:
    // 256 / 511 of 0.6 along y.
    const BodySnapshot full = ReadBody(
        "1 00101" + IdentityRotation + ZeroPosition + "1 10101" + IdentityRotation + "100000000", baseline);
    ExpectNear(full.elements[0].position, Vector3f::One * (4.0F / 8191), 1e-6F);
    ExpectNear(full.elements[1].position, {0, 0.3005871F, 0}, 1e-6F);
    EXPECT_LE(AngleBetween(full.elements[0].orientation, Quaternionf::Identity), 3e-3F);
    EXPECT_EQ(full.compressed[0].position, (CompressedVector3f{{4096, 4096, 4096}, Precision::Standard}));

    // A delta moves the baseline's fields: x by -3 (5), y by 3 (6). The rotation, which isn't mentioned, is
    // what the baseline's fields give.
    CompressedVector3f moved = baseline.compressed[0].position;
    moved.fields[0] -= 3;
    moved.fields[1] += 3;
    const BodySnapshot delta = ReadBody("1 00010 00 101 110 000 0", baseline);
    EXPECT_EQ(delta.elements[0].position, decompress(moved));
    EXPECT_EQ(delta.elements[0].orientation, decompress(baseline.compressed[0].rotation));
    EXPECT_EQ(delta.elements[1], sent[1]);

    // A rotation's delta keeps the baseline's index, whatever the record says: here b by 1 (2).
    CompressedQuaternionf turned = baseline.compressed[0].rotation;
    ++turned.fields[2];
    EXPECT_EQ(ReadBody("1 01000 00 01 000 010 000 0", baseline).elements[0].orientation, decompress(turned));

    // A skeleton without rest poses gives a length no direction: the joint stays.
    const std::vector<std::uint32_t> words = ToWords("1 10001 111111111");
    BitReader reader(words.data(), 4);
    BodySnapshot own = baseline;
    own.readFromStream(reader, 15, {}, baseline);
    EXPECT_EQ(own.elements[0].position, decompress(baseline.compressed[0].position));

    // Reading ends with the record, or with the joints there are.
    for (const auto& [limit, read] : {std::pair{0, 0}, {1, 6}, {1000, 12}}) {
        EXPECT_EQ(Read(own, "1 00000 1 00000 1", own, limit), read) << limit;
    }
}

TEST(Snapshot, FacesReadBackFromStandardStreamsOnly) {
    FaceSnapshot face(Standard, {0, 0.5F}, 0.0);
    face.restart(Standard, 0.0);
    SendFull(face, 1, ShapeSerializationOption_Full);
    EXPECT_EQ(PartBits(face), "0 1 10 011111111"_bits);
    face.hasData = false;
    // 511, and 255 + 3 (6).
    EXPECT_EQ(Read(face, "1 10 111111111 1 01 000110", face), 21);
    EXPECT_EQ(face.elements, (std::vector<float>{511 * (1.0F / 511), 258 * (1.0F / 511)}));
    EXPECT_EQ(face.compressed[1], (CompressedWeight{258, Precision::Standard}));

    // At Max a weight has 18 bits, of which 9 are read as if they were all: 0.75 is 196607 and comes out as
    // 383 / 511. What is left is taken for the next shape: 1, option 11, and 511 added as -256 to the low 9
    // bits of 0.5's 131071, which are 511.
    FaceSnapshot max(Max, {0.75F, 0.5F}, 0.0);
    max.restart(Max, 0.0);
    SendFull(max, 0, ShapeSerializationOption_Full);
    EXPECT_EQ(PartBits(max), "1 10 101111111 111111111 0"_bits);
    max.hasData = false;
    EXPECT_EQ(Read(max, "1 10 101111111 111 111111111", max), 24);
    EXPECT_EQ(max.elements, (std::vector<float>{383 * (1.0F / 511), 255 * (1.0F / 511)}));
    EXPECT_EQ(max.compressed[0], compressWeight(Precision::Max, 383 * (1.0F / 511)));
}

// Weights that are read at another precision than they were written at must not reach behind the record: here
// the third one would end at bit 36.
TEST(Snapshot, AFaceIsReadUpToTheEndOfItsRecord) {
    GuardedMemory memory;
    const std::vector<std::uint32_t> words = ToWords("1 10 000000000 1 10 000000000 1 10 11111");
    FaceSnapshot face(Max, {0.5F, 0.5F, 0.5F}, 0.0);
    BitReader reader(memory.PutAtEnd(std::as_bytes(std::span(words))), 4096);
    face.readFromStream(reader, 32, face);
    EXPECT_EQ(face.elements, std::vector<float>(3, 0.0F));
}

TEST(Snapshot, StartingAnewLeavesNothingOfTheOldFrame) {
    Snapshot snapshot = MakeSnapshot(Max, 1.0, 20, 5);
    SendFull(*snapshot.targetBody, 3, FullJoint);
    SendFull(*snapshot.targetFace, 3, ShapeSerializationOption_Full);
    snapshot.addFramedata(FrameData());
    snapshot.restart(Standard, 2.0);
    const SnapshotHeader header = snapshot.makeHeader(-1, 0);
    EXPECT_EQ(header.time.compressionType, Standard);
    EXPECT_EQ(header.time.timestamp, 2.0);
    EXPECT_FALSE(header.hasSourceBody || header.hasTargetBody || header.hasFrameData);
    EXPECT_EQ(snapshot.getPartsBits(header), 0U);
    EXPECT_EQ(PartBits(*snapshot.targetBody), std::string(20, '0'));
    EXPECT_EQ(PartBits(*snapshot.targetFace), std::string(5, '0'));
}
