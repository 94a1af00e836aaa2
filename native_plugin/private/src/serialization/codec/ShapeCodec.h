#pragma once

#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/CompressedWeight.h"
#include "serialization/codec/StreamSettings.h"

#include <cstdint>

namespace Velkori_Utility {

// What of a blend shape a record holds. Two bits on the wire, so a reader meets 3, too.
enum ShapeSerializationOption : std::uint8_t {
    // The shape keeps its baseline's weight.
    ShapeSerializationOption_None = 0,
    ShapeSerializationOption_Delta = 1,
    ShapeSerializationOption_Full = 2,
};

// What of a blend shape goes on the wire. Without an option, the value is the baseline's.
struct EncodedShape {
    CompressedWeight value;
    ShapeSerializationOption option = ShapeSerializationOption_None;
};

// What a blend shape is coded against.
struct ShapeBaseline {
    float weight = 0.0F;
    CompressedWeight compressed;
};

EncodedShape encodeShapeInFull(const StreamSettings& settings, float weight);
// Whether the weight has changed since its baseline: as a delta where it fits, and in full otherwise.
EncodedShape encodeShape(const StreamSettings& settings, float weight, const ShapeBaseline& baseline);

// What a reader makes of a shape, given the baseline's field, in a stream of this precision.
float decodeShape(const EncodedShape& shape, Precision precision, const CompressedWeight& baseline);

// There is a weight behind every option.
void writeShape(BitWriter& writer, const EncodedShape& shape);
// A weight that isn't a delta is read at `precision`.
EncodedShape readShape(BitReader& reader, Precision precision);

// The exact size of a shape's record, in bits; full weights count at `precision`.
std::uint32_t getShapeRecordBits(ShapeSerializationOption option, Precision precision);

} // namespace Velkori_Utility
