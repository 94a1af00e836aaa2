#pragma once

#include "serialization/codec/CompressedShapePose.h"
#include "serialization/record/SnapshotTemplate.h"

#include <cstdint>

namespace Velkori_Utility {

class SkeletonData;

struct ShapeBitCalculator {
    // The exact size of a shape's record, without its presence bit.
    std::uint32_t operator()(ShapeSerializationOption option, velkori_CompressionType type,
        const CompressedShapePose& shape) const;

    // With the presence bit.
    static std::uint32_t getLargestRecordBits(Precision precision);
};

struct ShapeElementCompressor {
    CompressedShapePose operator()(Precision precision, float weight) const {
        return {CompressedWeight(precision, weight)};
    }
};

// The weights of a face's blend shapes.
class FaceSnapshot : public SnapshotTemplate<float, CompressedShapePose, ShapeSerializationOption,
                         ShapeBitCalculator, ShapeElementCompressor> {
  public:
    using SnapshotTemplate::SnapshotTemplate;

    void writeToStream(BitWriter& writer) const;
    // As a body's, but weights are read at Standard precision whatever the stream's is: the format is such
    // that a face reads back correctly only from streams of Standard. A face has no need of the skeleton.
    void readFromStream(BitReader& reader, std::uint32_t bits, int count, velkori_CompressionType type,
        const SkeletonData& skeleton, const FaceSnapshot& baseline);
};

} // namespace Velkori_Utility
