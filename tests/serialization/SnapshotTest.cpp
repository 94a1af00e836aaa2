#include "serialization/Snapshot.h"

#include "core/SkeletonData.h"
#include "serialization/Serialization.h"
#include "support/AllocationCount.h"
#include "support/BitText.h"
#include "support/GuardedMemory.h"
#include "support/PoseMatchers.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

using namespace Velkori_Utility;

namespace {

constexpr auto Standard = velkori_CompressionType_Standard;
constexpr auto High = velkori_CompressionType_High;
constexpr auto Max = velkori_CompressionType_Max;

constexpr auto FullJoint = JointSerializationOption_RotationFull | JointSerializationOption_PositionFull;
constexpr auto LengthJoint = JointSerializationOption_RotationFull | JointSerializationOption_LengthFull;

// A joint at the origin and one, its child, at (0, 2, 0).
TargetSkeletonData MakeTwoJoints() {
    return TargetSkeletonData(TestSkeletons::MakeParams({{"a", -1, {0, 0, 0}}, {"b", 0, {0, 2, 0}}}, {0, 1}));
}

Snapshot MakeSnapshot(velkori_CompressionType type, double time, int jointCount, int shapeCount) {
    const std::vector<JointPose> pose(jointCount);
    return {type, time, pose, pose, std::vector<float>(shapeCount)};
}

// What is sent of a part's element is what it holds, in full.
template <typename Part, typename Option>
void SendFull(Part& part, std::size_t element, Option option) {
    part.compress(element);
    part.serialized[element] = {part.compressed[element], option};
    part.hasData = true;
}

std::string HeaderBits(Snapshot& snapshot) {
    snapshot.calculateHeaderSize();
    BitWriter writer(4096);
    snapshot.writeHeaderToStream(writer);
    EXPECT_EQ(snapshot.getHeaderSerializationSizeBits(), static_cast<unsigned>(writer.getBitsWritten()));
    return ToBitText(writer);
}

template <typename Part>
std::string PartBits(const Part& part) {
    BitWriter writer(4096);
    part.writeToStream(writer);
    return ToBitText(writer);
}

// Reads a body record of these bits over the baseline's pose.
BodySnapshot ReadBody(const SkeletonData& skeleton, const std::string& bits, const BodySnapshot& baseline) {
    const std::vector<std::uint32_t> words = ToWords(bits + std::string(64, '1'));
    BitReader reader(words.data(), static_cast<int>(words.size() * 4));
    BodySnapshot body(baseline.compressionType, baseline.elements, 1.0);
    body.readFromStream(reader, static_cast<std::uint32_t>(WithoutBlanks(bits).size()),
        skeleton.GetJointCount(), baseline.compressionType, skeleton, baseline);
    EXPECT_EQ(reader.getBitsRead(), std::ssize(WithoutBlanks(bits)));
    EXPECT_FALSE(body.hasData);
    return body;
}

const std::string IdentityRotation = "11 0111111111 0111111111 0111111111";
const std::string ZeroPosition = "1000000000000 1000000000000 1000000000000";

} // namespace

TEST(Snapshot, HeaderImages) {
    ASSERT_EQ(Serialization::getNumSnapshots(), 254);
    // Nothing but type, time (half of the range), three flags and acks, of which -1 travels as 0.
    Snapshot empty = MakeSnapshot(Standard, 900.0, 2, 1);
    empty.ack = 3;
    EXPECT_EQ(HeaderBits(empty), WithoutBlanks("00 1000000000000000 000 00000000 00000011"));
    EXPECT_EQ(empty.getSerializationSizeBits(), 37U);

    // The source's record is 1 + 5 + 32 + 39 bits and one for the joint that isn't sent: 78. No record of two
    // joints is larger than 2 * 77 bits, so the field has 8.
    Snapshot source = MakeSnapshot(Standard, 0.0, 2, 1);
    SendFull(*source.sourceBody, 0, FullJoint);
    source.baselineAck = 7;
    source.ack = 253;
    EXPECT_EQ(HeaderBits(source),
        WithoutBlanks("00 0000000000000000 100" + std::string("01001110 00001000 11111101")));
    EXPECT_EQ(source.getSerializationSizeBits(), 21U + 8U + 16U + 78U);

    // At Max 1 + 5 + 62 + 69 = 137 and one more bit in a field for 2 * 137; the face goes along, without a
    // weight to send: one bit in a field for 1 * 21.
    Snapshot target = MakeSnapshot(Max, 1800.0, 2, 1);
    SendFull(*target.targetBody, 1, FullJoint);
    target.addFramedata(FrameData());
    EXPECT_EQ(HeaderBits(target),
        WithoutBlanks("10 1111111111111111111111 011" + std::string("010001010 00001 00000000 00000000")));
    EXPECT_EQ(target.getSerializationSizeBits(), 27U + 9U + 5U + 16U + 138U + 1U + 71U);
}

TEST(Snapshot, SizeFieldsHoldTheLargestRecord) {
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(80, Max), 14);      // 80 * 137 = 10960
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(80, High), 14);     // 80 * 107 = 8560
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(80, Standard), 13); // 80 * 77 = 6160
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(0, Max), 1);
    EXPECT_EQ(BodySnapshot::getSizeFieldBits(-3, Max), 1);
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(63, Standard), 10); // 63 * 12 = 756
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(63, High), 11);     // 63 * 17 = 1071
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(63, Max), 11);      // 63 * 21 = 1323
    EXPECT_EQ(FaceSnapshot::getSizeFieldBits(0, Max), 1);
}

TEST(Snapshot, HeadersReadBack) {
    for (const auto type : {Standard, High, Max}) {
        Snapshot snapshot = MakeSnapshot(type, 12.5, 3, 4);
        SendFull(*snapshot.sourceBody, 0, FullJoint);
        SendFull(*snapshot.targetBody, 1, JointSerializationOption_PositionFull);
        SendFull(*snapshot.targetFace, 2, ShapeSerializationOption_Full);
        snapshot.baselineAck = 253;
        snapshot.ack = 17;
        const std::vector<std::uint32_t> words = ToWords(HeaderBits(snapshot));
        BitReader reader(words.data(), 4096);
        const SnapshotHeader header = Snapshot::parseHeaderFromStream(reader, 254, 3, 3, 4);
        EXPECT_EQ(reader.getBitsRead(), static_cast<int>(snapshot.getHeaderSerializationSizeBits()));
        EXPECT_EQ(header.compressionType, type);
        EXPECT_NEAR(header.timestamp, 12.5, 0.014);
        EXPECT_TRUE(header.hasSourceBody);
        EXPECT_TRUE(header.hasTargetBody);
        EXPECT_FALSE(header.hasFrameData);
        EXPECT_EQ(header.sourceBodyBits, snapshot.sourceBody->getSerializationSizeBits());
        EXPECT_EQ(header.targetBodyBits, snapshot.targetBody->getSerializationSizeBits());
        EXPECT_EQ(header.targetFaceBits, snapshot.targetFace->getSerializationSizeBits());
        EXPECT_EQ(header.baselineAck, 253);
        EXPECT_EQ(header.ack, 17);
        BitReader timeReader(words.data(), 4096);
        const SnapshotTime time = Snapshot::parseCompressionTimestampFromStream(timeReader);
        EXPECT_EQ(time.compressionType, type);
        EXPECT_EQ(time.timestamp, header.timestamp);
        EXPECT_LE(timeReader.getBitsRead(), 24);
    }
}

TEST(Snapshot, AcksOutsideOfTheRingAreNone) {
    // Type 3 is read as Standard; baseline field 255 is 254, one past the ring, and so is ack 254.
    const std::vector<std::uint32_t> words = ToWords("11 1111111111111111 000 11111111 11111110");
    BitReader reader(words.data(), 8);
    const SnapshotHeader header = Snapshot::parseHeaderFromStream(reader, 254, 2, 2, 2);
    EXPECT_EQ(header.compressionType, 3);
    EXPECT_EQ(header.timestamp, 1800.0);
    EXPECT_EQ(header.baselineAck, -1);
    EXPECT_EQ(header.ack, 0);
    EXPECT_EQ(header.targetBodyBits, 0U);
    EXPECT_EQ(header.targetFaceBits, 0U);
}

TEST(Snapshot, RingLengthsAreClampedAndDecideAckWidths) {
    Snapshot snapshot = MakeSnapshot(Standard, 0.0, 1, 0);
    for (const auto& [asked, length, bits] :
        {std::array{1000, 800, 41}, std::array{500, 500, 39}, std::array{10, 254, 37}}) {
        Serialization::setAndClampCurrentNumberOfSnapshots(asked);
        EXPECT_EQ(Serialization::getNumSnapshots(), length);
        EXPECT_EQ(std::ssize(HeaderBits(snapshot)), bits);
    }
}

TEST(Snapshot, BodyRecordImages) {
    Snapshot snapshot = MakeSnapshot(Standard, 0.0, 3, 0);
    BodySnapshot& body = *snapshot.targetBody;
    EXPECT_EQ(PartBits(body), "000");
    EXPECT_EQ(body.getSerializationSizeBits(), 3U);
    SendFull(body, 0, FullJoint);
    // The unit scale stands in for a length that nobody gave, and is clamped.
    SendFull(body, 2, LengthJoint);
    const std::string expected =
        "1 00101" + IdentityRotation + ZeroPosition + "0 1 10101" + IdentityRotation + "111111111";
    EXPECT_EQ(PartBits(body), WithoutBlanks(expected));
    EXPECT_EQ(body.getSerializationSizeBits(), WithoutBlanks(expected).size());

    const BodySnapshot none(Standard, {}, 0.0);
    EXPECT_EQ(PartBits(none), "");
    EXPECT_EQ(none.getSerializationSizeBits(), 1U);
}

TEST(Snapshot, RecordSizesAreExact) {
    std::mt19937 random(64);
    Snapshot snapshot = MakeSnapshot(High, 0.0, 50, 50);
    for (int round = 0; round < 50; ++round) {
        for (std::size_t i = 0; i < 50; ++i) {
            const int rotation = std::uniform_int_distribution<int>(0, 2)(random);
            const int position = std::uniform_int_distribution<int>(0, 4)(random);
            auto& [joint, option] = snapshot.targetBody->serialized[i];
            joint = CompressedJointPose(Precision::High);
            option = static_cast<JointSerializationOption>(
                std::array{0, 4, 8}[rotation] | std::array{0, 1, 2, 17, 18}[position]);
            if (rotation == 2) {
                joint.rotation = CompressedQuaternionf(Precision::Delta);
                joint.rotation.setComponents({0, static_cast<std::uint32_t>(random() % 128), 0, 0});
            }
            if (position == 2) {
                joint.position = CompressedVector3f(Precision::Delta);
                joint.position.setComponents({0, static_cast<std::uint32_t>(random() % 128), 0});
            }
            if (position == 4) {
                joint.length = CompressedJointLength(Precision::Delta);
                joint.length.setComponents({static_cast<std::uint32_t>(random() % 64)});
            }
            const int shape = std::uniform_int_distribution<int>(0, 2)(random);
            snapshot.targetFace->serialized[i] = {
                {CompressedWeight(shape == 1 ? Precision::Delta : Precision::High)},
                static_cast<ShapeSerializationOption>(shape)};
        }
        EXPECT_EQ(snapshot.targetBody->getSerializationSizeBits(), PartBits(*snapshot.targetBody).size());
        EXPECT_EQ(snapshot.targetFace->getSerializationSizeBits(), PartBits(*snapshot.targetFace).size());
    }
}

TEST(Snapshot, BodiesAreReadOverTheirBaseline) {
    const TargetSkeletonData skeleton = MakeTwoJoints();
    const std::vector<JointPose> sent{
        {{0, 0.6F, 0, 0.8F}, {0.1F, 0.2F, 0.3F}}, {Quaternionf::Identity, {0, 0.25F, 0}}};
    const BodySnapshot baseline(Standard, sent, 0.0);

    // What isn't there keeps its exact floats.
    EXPECT_EQ(ReadBody(skeleton, "0 0", baseline).elements, sent);

    // In full, from no baseline to speak of. A length puts the joint in its rest pose's direction: 256 / 511
    // of 0.6 along y.
    const BodySnapshot full = ReadBody(skeleton,
        "1 00101" + IdentityRotation + ZeroPosition + "1 10101" + IdentityRotation + "100000000", baseline);
    ExpectNear(full.elements[0].position, Vector3f::One * (4.0F / 8191), 1e-6F);
    ExpectNear(full.elements[1].position, {0, 0.3005871F, 0}, 1e-6F);
    EXPECT_EQ(full.elements[1].position.x, 0.0F);
    EXPECT_LE(AngleBetween(full.elements[0].orientation, Quaternionf::Identity), 3e-3F);
    EXPECT_EQ(full.elements[0].scale, Vector3f::One);
    EXPECT_EQ(full.compressed[0].position.toString(), "Vector3f(Standard{13} 4096, 4096, 4096)");

    // A delta moves the baseline's fields: x by -3 (5), y by 3 (6). The rotation, which isn't mentioned, is
    // what the baseline's fields give.
    CompressedVector3f moved(Precision::Standard, sent[0].position);
    auto fields = moved.getComponents();
    moved.setComponents({fields[0] - 3, fields[1] + 3, fields[2]});
    const BodySnapshot delta = ReadBody(skeleton, "1 00010 00 101 110 000 0", baseline);
    EXPECT_EQ(delta.elements[0].position, moved.decompress());
    EXPECT_EQ(delta.elements[0].orientation, baseline.compressed[0].rotation.decompress());
    EXPECT_EQ(delta.elements[1], sent[1]);

    // A rotation's delta keeps the baseline's index, whatever the record says: here b by 1 (2).
    CompressedQuaternionf turned = baseline.compressed[0].rotation;
    auto components = turned.getComponents();
    ++components[2];
    turned.setComponents(components);
    EXPECT_EQ(ReadBody(skeleton, "1 01000 00 01 000 010 000 0", baseline).elements[0].orientation,
        turned.decompress());
}

TEST(Snapshot, ReadingEndsWithTheRecord) {
    const TargetSkeletonData skeleton = MakeTwoJoints();
    const std::vector<std::uint32_t> words = ToWords("1 00000 1 00000" + std::string(52, '1'));
    for (const auto& [bits, count, read] : {std::array{0, 2, 0}, std::array{12, 0, 0}, std::array{1, 2, 6},
             std::array{12, 1, 6}, std::array{12, 2, 12}, std::array{1000, 99, 12}}) {
        BitReader reader(words.data(), 8);
        BodySnapshot body(Standard, std::vector<JointPose>(2), 0.0);
        body.readFromStream(reader, static_cast<std::uint32_t>(bits), count, Standard, skeleton, body);
        EXPECT_EQ(reader.getBitsRead(), read) << bits << ", " << count;
    }
}

TEST(Snapshot, FacesReadBackFromStandardStreamsOnly) {
    const TargetSkeletonData skeleton = MakeTwoJoints();
    const auto read = [&](velkori_CompressionType type, const std::string& bits, FaceSnapshot& face) {
        const std::vector<std::uint32_t> words = ToWords(bits);
        BitReader reader(words.data(), 4096);
        face.readFromStream(
            reader, static_cast<std::uint32_t>(WithoutBlanks(bits).size()), 2, type, skeleton, face);
        return reader.getBitsRead();
    };
    FaceSnapshot standard(Standard, {0, 0.5F}, 0.0);
    // 511, and 255 + 3 (6).
    EXPECT_EQ(read(Standard, "1 10 111111111 1 01 000110", standard), 21);
    EXPECT_EQ(standard.elements, (std::vector<float>{511 * (1.0F / 511), 258 * (1.0F / 511)}));
    EXPECT_EQ(standard.compressed[1].weight.toString(), "Weight(Standard{9} 258)");

    // At Max a weight has 18 bits, of which 9 are read as if they were all: 0.75 is 196607 and comes out as
    // 383 / 511. What is left is taken for the next shape: 1, option 11, and 511 added as -256 to the low 9
    // bits of 0.5's 131071, which are 511.
    FaceSnapshot max(Max, {0, 0.5F}, 0.0);
    SendFull(max, 0, ShapeSerializationOption_Full);
    EXPECT_EQ(read(Max, "1 10 101111111 111 111111111 0", max), 24);
    EXPECT_EQ(max.elements[0], 383 * (1.0F / 511));
    EXPECT_EQ(
        max.compressed[0].weight.toString(), CompressedWeight(Precision::Max, 383 * (1.0F / 511)).toString());
}

TEST(Snapshot, StartingAnewKeepsTheMemory) {
    const std::vector<JointPose> rest(20, {Quaternionf::Identity, {1, 2, 3}});
    const std::vector<float> weights(5, 0.25F);
    Snapshot snapshot(Max, 1.0, rest, rest, weights);
    SendFull(*snapshot.sourceBody, 3, FullJoint);
    SendFull(*snapshot.targetBody, 3, FullJoint);
    SendFull(*snapshot.targetFace, 3, ShapeSerializationOption_Full);
    snapshot.addFramedata(FrameData());
    snapshot.baselineAck = 5;
    snapshot.ack = 6;
    Snapshot fresh(Standard, 2.0, rest, rest, weights);
    const std::string freshHeader = HeaderBits(fresh);
    const FrameData frame;
    EXPECT_EQ(CountAllocations([&] { snapshot.reset(Standard, 2.0, rest, rest, weights); }), 0U);
    EXPECT_EQ(snapshot.frameData, nullptr);
    EXPECT_EQ(HeaderBits(snapshot), freshHeader);
    EXPECT_EQ(PartBits(*snapshot.targetBody), std::string(20, '0'));
    EXPECT_EQ(PartBits(*snapshot.targetFace), std::string(5, '0'));
    EXPECT_EQ(snapshot.sourceBody->elements, rest);
    EXPECT_EQ(snapshot.sourceBody->compressed[3].position.toString(),
        CompressedVector3f(Precision::Standard, rest[3].position).toString());
    EXPECT_EQ(CountAllocations([&] { snapshot.addFramedata(frame); }), 0U);
    EXPECT_NE(snapshot.frameData, nullptr);

    // From its own elements, which is what a record does that is coded against its own slot.
    BodySnapshot& body = *snapshot.targetBody;
    EXPECT_EQ(CountAllocations([&] { body.initialize(Max, body.elements, 3.0); }), 0U);
    EXPECT_EQ(body.elements, rest);
    EXPECT_EQ(body.initialElements, rest);
    EXPECT_EQ(body.timestamp, 3.0);
}

TEST(Snapshot, FrameDataIsCopiedAndReplaced) {
    Snapshot snapshot = MakeSnapshot(Max, 0.0, 1, 0);
    FrameData frame;
    frame.value2 = 7;
    snapshot.addFramedata(frame);
    const std::shared_ptr<const FrameData> held = snapshot.frameData;
    frame.value2 = 8;
    EXPECT_EQ(snapshot.frameData->value2, 7U);
    snapshot.addFramedata(frame);
    EXPECT_EQ(snapshot.frameData->value2, 8U);
    EXPECT_EQ(held->value2, 7U);
}

TEST(Snapshot, AnyBytesAreReadWithoutHarm) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeBipedParams());
    const int joints = skeleton.GetJointCount();
    constexpr int Shapes = 30;
    std::mt19937 random(65);
    GuardedMemory memory;
    std::vector<std::byte> bytes(4096);
    Snapshot ring[] = {MakeSnapshot(Max, 0, joints, Shapes), MakeSnapshot(Max, 0, joints, Shapes)};
    FrameData frame;
    for (int round = 0; round < 3000; ++round) {
        // Dense ones make for large sizes, sparse ones for much that is absent.
        const unsigned mask = round % 3 == 0 ? ~0U : static_cast<unsigned>(random() & random());
        for (std::byte& byte : bytes) {
            byte = static_cast<std::byte>(round % 5 == 0 ? random() | random() : random() & mask);
        }
        BitReader reader(memory.PutAtEnd(bytes), 4096);
        const SnapshotHeader header = Snapshot::parseHeaderFromStream(reader, 254, joints, joints, Shapes);
        ASSERT_TRUE(
            header.ack >= 0 && header.ack < 254 && header.baselineAck >= -1 && header.baselineAck < 254);
        const auto type = static_cast<velkori_CompressionType>(header.compressionType);
        Snapshot& own = ring[header.ack % 2];
        const Snapshot& baseline = ring[(header.baselineAck + 1) % 2];
        frame.readFromStream(reader, frame);
        own.targetBody->initialize(type, baseline.targetBody->elements, header.timestamp);
        own.targetFace->initialize(type, baseline.targetFace->elements, header.timestamp);
        own.targetBody->readFromStream(reader, header.targetBodyBits | header.sourceBodyBits, joints, type,
            skeleton, *baseline.targetBody);
        own.targetFace->readFromStream(
            reader, header.targetFaceBits | 0x80000000U, Shapes, type, skeleton, *baseline.targetFace);
        ASSERT_LE(reader.getBitsRead(), 32768);
        for (const JointPose& joint : own.targetBody->elements) {
            // Fields that no rotation gives have up to the square root of 1.5 for their length.
            ASSERT_LE(joint.orientation.LengthSquared(), 1.6F);
            ASSERT_LE(joint.position.Length(), 70.0F);
        }
        for (const float weight : own.targetFace->elements) {
            ASSERT_TRUE(weight >= 0.0F && weight <= 1.0F);
        }
    }
}
