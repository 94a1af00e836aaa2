#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "support/BitText.h"
#include "support/GuardedMemory.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <span>
#include <stdexcept>

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
    // What comes after a flush carries the flushed bits a second time.
    writer.writeBits(0, 24);
    writer.flush();
    EXPECT_EQ(writer.getWords()[2], 0xCDEF0100U);

    // Whatever the limit says, a record ends where its memory ends: no word is loaded before it is needed.
    GuardedMemory memory;
    BitReader reader(memory.PutAtEnd(std::as_bytes(std::span(image))), 4096);
    EXPECT_EQ(reader.readBits(3), 5U);
    EXPECT_EQ(reader.readBits(5), 31U);
    EXPECT_EQ(reader.readBits(16), 0x1234U);
    EXPECT_EQ(reader.readBits(0), 0U);
    EXPECT_EQ(reader.readBits(32), 0xABCDEF01U);
    EXPECT_EQ(reader.readBits(8), 0U);
    EXPECT_EQ(reader.getBitsRead(), 64);
    // And it begins at any address.
    EXPECT_EQ(BitReader(image.data() + 1, 4).readBits(32), 0x00BF1234U);
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
    ASSERT_EQ(writer.getSize(), 8U);
    EXPECT_EQ(writer.getWords()[1], 1U);

    BitReader reader(writer.getWords(), 11);
    EXPECT_EQ(reader.readBits(32), 0xFFFFFFFFU);
    EXPECT_EQ(reader.readBits(31), 0U);
    EXPECT_EQ(reader.readBits(2), 0U);
    EXPECT_EQ(reader.readBits(1), 1U);
    EXPECT_EQ(reader.readBits(1), 0U);

    for (int size = -3; size <= 3; ++size) {
        BitWriter none(size);
        none.writeBits(1, 1);
        none.flush();
        EXPECT_EQ(none.getSize(), 0U) << size;
        EXPECT_EQ(BitReader(nullptr, size).readBits(1), 0U) << size;
    }
    EXPECT_THROW(BitWriter(-4), std::length_error);
}

TEST(BitStream, ByteRunsAreWrittenAnywhereButReadFromWholeBytes) {
    const std::array<unsigned char, 32> run{0xA5, 0x0F};
    BitWriter writer(4096);
    writer.writeBits(5, 3);
    writer.writeBytes(std::span(run).first(2));
    EXPECT_EQ(ToBitText(writer), "101 10100101 00001111"_bits);

    const std::vector<std::uint32_t> words = ToWords("111 00000 11110000 00001111 10101010");
    BitReader reader(words.data(), 4);
    std::array<unsigned char, 2> bytes{};
    reader.readBits(3);
    reader.deserializeBytes(bytes);
    EXPECT_EQ(bytes, (std::array<unsigned char, 2>{0xF0, 0x0F}));
    reader.deserializeBytes(bytes);
    EXPECT_EQ(bytes, (std::array<unsigned char, 2>{0, 0}));
    reader.deserializeBytes(std::span(bytes).first(1));
    EXPECT_EQ(bytes[0], 0xAA);

    // A run that doesn't fit is left out whole.
    for (const int before : {0, 1}) {
        BitWriter full(32);
        full.writeBits(0, before);
        full.writeBytes(run);
        EXPECT_EQ(full.getBitsWritten(), before == 0 ? 256 : 1);
    }
}
