#include "serialization/BitReader.h"
#include "serialization/BitWriter.h"
#include "support/AllocationCount.h"
#include "support/BitText.h"
#include "support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <array>
#include <climits>
#include <cstring>
#include <random>
#include <stdexcept>
#include <utility>

using namespace Velkori_Utility;

TEST(BitStream, FieldsFillWordsFromTheTop) {
    BitWriter writer(4096);
    writer.writeBits(5, 3);           // 101
    writer.writeBits(0xFFFFFFFF, 5);  // 1 1111, the rest of the value is cut off
    writer.writeBits(0x1234, 16);     // up to here BF1234
    writer.writeBits(0xABCDEF01, 32); // AB ends the first word
    writer.writeBits(0xFFFFFFFF, 0);
    EXPECT_EQ(writer.getSize(), 4U);
    writer.flush();
    EXPECT_EQ(writer.getBitsWritten(), 56);
    ASSERT_EQ(writer.getSize(), 8U);
    // Words 0xBF1234AB and 0xCDEF0100, little-endian.
    const std::array<unsigned char, 8> image{0xAB, 0x34, 0x12, 0xBF, 0x00, 0x01, 0xEF, 0xCD};
    EXPECT_EQ(std::memcmp(writer.getWords(), image.data(), image.size()), 0);

    BitReader reader(image.data(), 4096);
    EXPECT_EQ(reader.readBits(3), 5U);
    EXPECT_EQ(reader.readBits(5), 31U);
    EXPECT_EQ(reader.readBits(16), 0x1234U);
    EXPECT_EQ(reader.readBits(0), 0U);
    EXPECT_EQ(reader.readBits(32), 0xABCDEF01U);
    EXPECT_EQ(reader.getBitsRead(), 56);
}

TEST(BitStream, AnyFieldsReadBack) {
    std::mt19937 random(61);
    for (int round = 0; round < 200; ++round) {
        BitWriter writer(4096);
        std::vector<std::pair<std::uint32_t, int>> fields;
        for (int i = 0; i < 100; ++i) {
            const int bits = std::uniform_int_distribution<int>(0, 32)(random);
            const auto value = static_cast<std::uint32_t>(std::uint64_t{random()} >> (32 - bits));
            fields.emplace_back(value, bits);
            writer.writeBits(value, bits);
        }
        writer.flush();
        BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
        for (const auto& [value, bits] : fields) {
            std::uint32_t read = 0;
            reader.deserializeBits(read, bits);
            ASSERT_EQ(read, value) << bits << " bits";
        }
    }
}

TEST(BitStream, FlushPushesPendingBitsOnceAndLeavesThemBehind) {
    BitWriter writer(4096);
    writer.flush();
    EXPECT_EQ(writer.getSize(), 0U);
    writer.writeBits(0, 32);
    EXPECT_EQ(writer.getSize(), 4U);
    writer.writeBits(1, 1);
    writer.flush();
    writer.flush();
    ASSERT_EQ(writer.getSize(), 8U);
    EXPECT_EQ(writer.getWords()[1], 0x80000000U);
    writer.writeBits(1, 2);
    writer.flush();
    EXPECT_EQ(writer.getWords()[2], 0xC0000000U);
}

TEST(BitStream, WhatDoesNotFitIsDropped) {
    BitWriter writer(11);
    writer.writeBits(0xFFFFFFFF, 32);
    writer.writeBits(0, 31);
    writer.writeBits(3, 2);
    EXPECT_EQ(writer.getBitsWritten(), 63);
    writer.writeBits(1, 1);
    writer.writeBits(1, 1);
    EXPECT_EQ(writer.getBitsWritten(), 64);
    writer.flush();
    ASSERT_EQ(writer.getSize(), 8U);
    EXPECT_EQ(writer.getWords()[1], 1U);

    BitReader reader(writer.getWords(), 11);
    EXPECT_EQ(reader.readBits(32), 0xFFFFFFFFU);
    EXPECT_EQ(reader.readBits(31), 0U);
    EXPECT_EQ(reader.readBits(2), 0U);
    EXPECT_EQ(reader.getBitsRead(), 63);
    EXPECT_EQ(reader.readBits(1), 1U);
    EXPECT_EQ(reader.readBits(1), 0U);
}

TEST(BitStream, CapacitiesAreWholeWords) {
    for (int size = -3; size <= 3; ++size) {
        BitWriter writer(size);
        writer.writeBits(1, 1);
        writer.flush();
        EXPECT_EQ(writer.getSize(), 0U) << size;
        BitReader reader(nullptr, size);
        EXPECT_EQ(reader.readBits(1), 0U) << size;
    }
    EXPECT_THROW(BitWriter(-4), std::length_error);
}

TEST(BitStream, ByteRunsAreWrittenWholeOrNotAtAll) {
    std::array<unsigned char, 32> run{};
    run.fill(0xA5);
    BitWriter writer(4096);
    for (int i = 0; i < 128; ++i) {
        writer.writeBytes(run.data(), 32);
        ASSERT_EQ(writer.getBitsWritten(), (i + 1) * 256);
    }
    writer.writeBytes(run.data(), 32);
    EXPECT_EQ(writer.getBitsWritten(), 32768);

    BitWriter unaligned(4096);
    unaligned.writeBits(5, 3);
    unaligned.writeBytes(run.data(), 1);
    EXPECT_EQ(ToBitText(unaligned), "10110100101");
}

TEST(BitStream, ByteRunsAreReadFromTheNextByteOn) {
    const std::vector<std::uint32_t> words = ToWords("111 00000 11110000 00001111 10101010");
    BitReader reader(words.data(), 4);
    reader.readBits(3);
    std::array<unsigned char, 2> bytes{};
    reader.deserializeBytes(bytes.data(), 2);
    EXPECT_EQ(bytes, (std::array<unsigned char, 2>{0xF0, 0x0F}));
    EXPECT_EQ(reader.getBitsRead(), 24);
    reader.deserializeBytes(bytes.data(), 2);
    EXPECT_EQ(bytes, (std::array<unsigned char, 2>{0, 0}));
    reader.deserializeBytes(bytes.data(), 1);
    EXPECT_EQ(bytes[0], 0xAA);
}

TEST(BitStream, IntegersTakeTheBitsOfTheirRange) {
    struct Case {
        int value;
        int min;
        int max;
        std::string bits;
        int read;
    };

    const Case cases[] = {
        {-1, -1, 254, "00000000", -1},
        {0, -1, 254, "00000001", 0},
        {0, 0, 254, "00000000", 0},
        {254, 0, 254, "11111110", 254},
        {254, -1, 255, "011111111", 254},
        {5, 5, 5, "", 5},
        // Out of range: 9 - 2 = 7 loses its high bit.
        {9, 2, 5, "11", 5},
        {INT_MAX, INT_MIN, INT_MAX, std::string(32, '1'), INT_MAX},
    };
    for (const Case& c : cases) {
        BitWriter writer(8);
        writer.serializeInteger(c.value, c.min, c.max);
        EXPECT_EQ(ToBitText(writer), c.bits) << c.value;
        BitReader reader(writer.getWords(), static_cast<int>(writer.getSize()));
        int read = 0;
        reader.deserializeInteger(read, c.min, c.max);
        EXPECT_EQ(read, c.read);
    }
}

TEST(BitStream, AReaderLoadsNoWordBeforeItIsNeeded) {
    // Whatever the limit says, the record ends where its memory ends, and begins at any address.
    GuardedMemory memory;
    const std::vector<std::uint32_t> words{0x12345678, 0x9ABCDEF0};
    BitReader reader(memory.PutAtEnd(std::as_bytes(std::span(words))), 4096);
    EXPECT_EQ(reader.readBits(8), 0x12U);
    EXPECT_EQ(reader.readBits(32), 0x3456789AU);
    EXPECT_EQ(reader.readBits(24), 0xBCDEF0U);

    std::array<unsigned char, 5> unaligned{};
    std::memcpy(unaligned.data() + 1, words.data(), 4);
    EXPECT_EQ(BitReader(unaligned.data() + 1, 4).readBits(32), 0x12345678U);
}

TEST(BitStream, WritersPassTheirMemoryOn) {
    std::vector<std::uint32_t> memory = BitWriter(4096).takeWords();
    EXPECT_EQ(CountAllocations([&] {
        BitWriter writer(4096, std::move(memory));
        EXPECT_EQ(writer.getSize(), 0U);
        for (int i = 0; i < 1024; ++i) {
            writer.writeBits(1, 32);
        }
        memory = writer.takeWords();
    }),
        0U);
    EXPECT_EQ(memory.size(), 1024U);
}
