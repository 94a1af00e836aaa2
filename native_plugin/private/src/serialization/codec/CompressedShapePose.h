#pragma once

#include "serialization/codec/CompressedWeight.h"

#include <cstdint>

namespace Velkori_Utility {

// What of a blend shape a record holds. Two bits on the wire, so a reader meets 3, too.
enum ShapeSerializationOption : std::uint8_t {
    // The shape keeps its baseline's weight.
    ShapeSerializationOption_None = 0,
    ShapeSerializationOption_Delta = 1,
    ShapeSerializationOption_Full = 2,
};

inline constexpr int ShapeSerializationOptionBits = 2;

struct CompressedShapePose {
    CompressedWeight weight{Precision::Standard};
};

} // namespace Velkori_Utility
