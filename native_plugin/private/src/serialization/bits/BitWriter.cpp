#include "serialization/bits/BitWriter.h"

#include "serialization/bits/IntegerRange.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace Velkori_Utility {

BitWriter::BitWriter(int size, std::vector<std::uint32_t> memory)
    : words(std::move(memory)), maxWords(size / 4) {
    constexpr std::int64_t MaxInt = std::numeric_limits<int>::max();
    maxBits = static_cast<int>(std::min(std::int64_t{maxWords} * 32, MaxInt));
    words.clear();
    words.reserve(static_cast<std::size_t>(maxWords));
}

void BitWriter::writeBytes(const unsigned char* data, int count) {
    if (std::int64_t{count} * 8 > maxBits - bitsWritten) {
        overflow = true;
        return;
    }
    for (int i = 0; i < count; ++i) {
        writeBits(data[i], 8);
    }
}

void BitWriter::flush() {
    if (scratchBits == 0) {
        return;
    }
    if (wordIndex >= maxWords) {
        overflow = true;
        return;
    }
    pushWord();
    scratchBits = 0;
}

void BitWriter::serializeInteger(int value, int min, int max) {
    writeBits(static_cast<unsigned>(value) - static_cast<unsigned>(min), getIntegerBits(min, max));
}

void BitWriter::serializeCompressedQuaternion(const CompressedQuaternionf& q, int bits) {
    const auto [index, a, b, c] = q.getComponents();
    writeBits(index, 2);
    writeBits(a, bits);
    writeBits(b, bits);
    writeBits(c, bits);
}

void BitWriter::serializeCompressedVector3(const CompressedVector3f& v, int bits) {
    for (const std::uint32_t axis : v.getComponents()) {
        writeBits(axis, bits);
    }
}

void BitWriter::serializeCompressedJoint(JointSerializationOption option, const CompressedJointPose& pose) {
    writeBits(option, JointSerializationOptionBits);
    const JointSerializationOption rotation = getRotationOption(option);
    if (rotation == JointSerializationOption_RotationFull) {
        serializeCompressedQuaternion(pose.rotation, pose.rotation.getBits());
    } else if (rotation == JointSerializationOption_RotationDelta) {
        const std::uint32_t range = getDeltaRange(pose.rotation);
        writeBits(range, DeltaRangeCodeBits);
        serializeCompressedQuaternion(pose.rotation, OrientationDeltaRangeBits[range]);
    }
    const JointSerializationOption position = getPositionOption(option);
    if (position == JointSerializationOption_PositionFull) {
        serializeCompressedVector3(pose.position, pose.position.getBits());
    } else if (position == JointSerializationOption_PositionDelta) {
        const std::uint32_t range = getDeltaRange(pose.position);
        writeBits(range, DeltaRangeCodeBits);
        serializeCompressedVector3(pose.position, PositionDeltaRangeBits[range]);
    } else if (position == JointSerializationOption_LengthFull) {
        writeBits(pose.length.getComponents()[0], pose.length.getBits());
    } else if (position == JointSerializationOption_LengthDelta) {
        const std::uint32_t range = getDeltaRange(pose.length);
        writeBits(range, DeltaRangeCodeBits);
        writeBits(pose.length.getComponents()[0], LengthDeltaRangeBits[range]);
    }
}

void BitWriter::serializeCompressedShape(ShapeSerializationOption option, const CompressedShapePose& shape) {
    writeBits(option, ShapeSerializationOptionBits);
    writeBits(shape.weight.getComponents()[0], shape.weight.getBits());
}

} // namespace Velkori_Utility
