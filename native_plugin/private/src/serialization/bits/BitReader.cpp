#include "serialization/bits/BitReader.h"

#include "serialization/bits/IntegerRange.h"

#include <algorithm>
#include <limits>

namespace Velkori_Utility {

BitReader::BitReader(const void* inWords, int bytes)
    : words(static_cast<const unsigned char*>(inWords)), maxWords(bytes / 4) {
    constexpr std::int64_t MaxInt = std::numeric_limits<int>::max();
    maxBits = static_cast<int>(std::min(std::int64_t{maxWords} * 32, MaxInt));
    if (maxWords > 0) {
        loadWord();
    }
}

std::uint32_t BitReader::readAcrossWords(int bits) {
    const int leading = 32 - scratchBits;
    const std::uint64_t high = (scratch >> 32) & lowBits(leading);
    ++wordIndex;
    if (wordIndex >= maxWords) {
        overflow = true;
        return 0;
    }
    loadWord();
    scratchBits = bits - leading;
    return static_cast<std::uint32_t>(high << scratchBits | scratch >> (64 - scratchBits));
}

void BitReader::deserializeInteger(int& out, int min, int max) {
    out = static_cast<int>(readBits(getIntegerBits(min, max)) + static_cast<unsigned>(min));
}

void BitReader::deserializeBytes(unsigned char* out, int count) {
    const int bitsIntoByte = bitsRead % 8;
    if (bitsIntoByte != 0) {
        readBits(8 - bitsIntoByte);
    }
    if (std::int64_t{count} * 8 > maxBits - bitsRead) {
        overflow = true;
        std::fill_n(out, count, static_cast<unsigned char>(0));
        return;
    }
    for (int i = 0; i < count; ++i) {
        out[i] = static_cast<unsigned char>(readBits(8));
    }
}

void BitReader::deserializeCompressedQuaternion(CompressedQuaternionf& q, int bits) {
    CompressedQuaternionf::Components components{readBits(2)};
    for (std::size_t i = 1; i < components.size(); ++i) {
        components[i] = readBits(bits);
    }
    q.setComponents(components);
}

void BitReader::deserializeCompressedVector3(CompressedVector3f& v, int bits) {
    CompressedVector3f::Components components{};
    for (std::uint32_t& axis : components) {
        axis = readBits(bits);
    }
    v.setComponents(components);
}

void BitReader::deserializeCompressedJoint(JointSerializationOption& option, CompressedQuaternionf& rotation,
    CompressedVector3f& position, CompressedJointLength& length) {
    option = static_cast<JointSerializationOption>(readBits(JointSerializationOptionBits));
    const JointSerializationOption rotationOption = getRotationOption(option);
    if (rotationOption == JointSerializationOption_RotationFull) {
        deserializeCompressedQuaternion(rotation, rotation.getBits());
    } else if (rotationOption == JointSerializationOption_RotationDelta) {
        rotation = CompressedQuaternionf(Precision::Delta);
        deserializeCompressedQuaternion(rotation, readDeltaRangeBits(OrientationDeltaRangeBits));
    }
    const JointSerializationOption positionOption = getPositionOption(option);
    if (positionOption == JointSerializationOption_PositionFull) {
        deserializeCompressedVector3(position, position.getBits());
    } else if (positionOption == JointSerializationOption_PositionDelta) {
        position = CompressedVector3f(Precision::Delta);
        deserializeCompressedVector3(position, readDeltaRangeBits(PositionDeltaRangeBits));
    } else if (positionOption == JointSerializationOption_LengthFull) {
        length.setComponents({readBits(length.getBits())});
    } else if (positionOption == JointSerializationOption_LengthDelta) {
        length = CompressedJointLength(Precision::Delta);
        length.setComponents({readBits(readDeltaRangeBits(LengthDeltaRangeBits))});
    }
}

void BitReader::deserializeCompressedShape(ShapeSerializationOption& option, CompressedWeight& weight) {
    option = static_cast<ShapeSerializationOption>(readBits(ShapeSerializationOptionBits));
    if (option == ShapeSerializationOption_Delta) {
        weight = CompressedWeight(Precision::Delta);
    }
    weight.setComponents({readBits(weight.getBits())});
}

} // namespace Velkori_Utility
