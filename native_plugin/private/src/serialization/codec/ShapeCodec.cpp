#include "serialization/codec/ShapeCodec.h"

#include "serialization/codec/DeltaCoding.h"

#include <cmath>

namespace Velkori_Utility {

namespace {

constexpr int OptionBits = 2;

} // namespace

EncodedShape encodeShapeInFull(const StreamSettings& settings, float weight) {
    return {compressWeight(toPrecision(settings.compressionType), weight), ShapeSerializationOption_Full};
}

EncodedShape encodeShape(const StreamSettings& settings, float weight, const ShapeBaseline& baseline) {
    // A nan hasn't changed.
    if (!(std::abs(weight - baseline.weight) >= settings.shapeThreshold)) {
        return {baseline.compressed, ShapeSerializationOption_None};
    }
    const EncodedShape full = encodeShapeInFull(settings, weight);
    const std::uint32_t delta = encodeDelta(full.value.field, baseline.compressed.field);
    if (delta > largestField(WeightWidths[Precision::Delta])) {
        return full;
    }
    return {{delta, Precision::Delta}, ShapeSerializationOption_Delta};
}

float decodeShape(const EncodedShape& shape, Precision precision, const CompressedWeight& baseline) {
    if (shape.option == ShapeSerializationOption_Full) {
        return decompress(shape.value);
    }
    const std::uint32_t field = applyDelta(baseline.field, shape.value.field);
    return decompress(CompressedWeight{field & largestField(WeightWidths[precision]), precision});
}

void writeShape(BitWriter& writer, const EncodedShape& shape) {
    writer.writeBits(shape.option, OptionBits);
    writer.writeBits(shape.value.field, WeightWidths[shape.value.precision]);
}

EncodedShape readShape(BitReader& reader, Precision precision) {
    const auto option = static_cast<ShapeSerializationOption>(reader.readBits(OptionBits));
    const Precision read = option == ShapeSerializationOption_Delta ? Precision::Delta : precision;
    return {{reader.readBits(WeightWidths[read]), read}, option};
}

std::uint32_t getShapeRecordBits(ShapeSerializationOption option, Precision precision) {
    const Precision written = option == ShapeSerializationOption_Delta ? Precision::Delta : precision;
    return static_cast<std::uint32_t>(OptionBits + WeightWidths[written]);
}

} // namespace Velkori_Utility
