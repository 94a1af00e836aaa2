#pragma once

#include "serialization/codec/ShapeCodec.h"
#include "serialization/record/SnapshotPart.h"

#include <cstdint>

namespace Velkori_Utility {

struct FacePart {
    using Element = float;
    using Compressed = CompressedWeight;
    using Encoded = EncodedShape;

    static CompressedWeight compress(Precision precision, float weight) {
        return compressWeight(precision, weight);
    }

    static void write(BitWriter& writer, const EncodedShape& shape) { writeShape(writer, shape); }

    static std::uint32_t getRecordBits(const EncodedShape& shape, Precision precision) {
        return getShapeRecordBits(shape.option, precision);
    }

    static std::uint32_t getLargestRecordBits(Precision precision) {
        return getShapeRecordBits(ShapeSerializationOption_Full, precision);
    }
};

// The weights of a face's blend shapes.
class FaceSnapshot : public SnapshotPart<FacePart> {
  public:
    using SnapshotPart::SnapshotPart;

    // As a body's, but weights are read at Standard precision whatever the stream's is: the format is such
    // that a face reads back correctly only from streams of Standard.
    void readFromStream(BitReader& reader, std::uint32_t bits, const FaceSnapshot& baseline);
};

} // namespace Velkori_Utility
