#include "serialization/record/FaceSnapshot.h"

#include "serialization/Serialization.h"

#include <algorithm>

namespace Velkori_Utility {

std::uint32_t ShapeBitCalculator::operator()(ShapeSerializationOption option, velkori_CompressionType type,
    const CompressedShapePose& /*shape*/) const {
    const Precision precision =
        option == ShapeSerializationOption_Delta ? Precision::Delta : toPrecision(type);
    return static_cast<std::uint32_t>(ShapeSerializationOptionBits + CompressedWeight::getBits(precision));
}

std::uint32_t ShapeBitCalculator::getLargestRecordBits(Precision precision) {
    return static_cast<std::uint32_t>(
        1 + ShapeSerializationOptionBits + CompressedWeight::getBits(precision));
}

void FaceSnapshot::writeToStream(BitWriter& writer) const {
    for (const auto& [value, option] : serialized) {
        const bool isPresent = option != ShapeSerializationOption_None;
        writer.writeBits(isPresent ? 1 : 0, 1);
        if (isPresent) {
            writer.serializeCompressedShape(option, value);
        }
    }
}

void FaceSnapshot::readFromStream(BitReader& reader, std::uint32_t bits, int count,
    velkori_CompressionType type, const SkeletonData& /*skeleton*/, const FaceSnapshot& baseline) {
    const std::int64_t end = std::int64_t{reader.getBitsRead()} + bits;
    // Nothing follows the face. Weights that are read at another precision than the stream's could reach past
    // the record's own memory.
    reader.endAt(end);
    const std::size_t shapeCount =
        std::min({static_cast<std::size_t>(std::max(count, 0)), elements.size(), baseline.compressed.size()});
    for (std::size_t shape = 0; shape < shapeCount && reader.getBitsRead() < end; ++shape) {
        if (reader.readBits(1) == 0) {
            continue;
        }
        ShapeSerializationOption option{};
        CompressedWeight weight(Precision::Standard);
        reader.deserializeCompressedShape(option, weight);
        elements[shape] = Serialization::deserializeCompressedFacePose(
            option, Precision::Standard, baseline.compressed[shape], weight);
        compressed[shape] = ShapeElementCompressor()(toPrecision(type), elements[shape]);
    }
}

} // namespace Velkori_Utility
