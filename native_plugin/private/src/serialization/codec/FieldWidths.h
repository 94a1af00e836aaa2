#pragma once

#include "serialization/codec/Precision.h"

#include <array>

namespace Velkori_Utility {

// How many bits each field of a compressed value has: Standard, Delta, High, Max.
using FieldWidths = PerPrecision<int>;

// Of the three smaller components of a rotation. The index of the largest has IndexBits at any precision.
inline constexpr FieldWidths RotationWidths{{10, 7, 15, 20}};
inline constexpr FieldWidths PositionWidths{{13, 7, 18, 23}};
inline constexpr FieldWidths LengthWidths{{9, 6, 14, 18}};
inline constexpr FieldWidths WeightWidths{{9, 6, 14, 18}};
inline constexpr FieldWidths TimestampWidths{{16, 16, 19, 22}};

inline constexpr int IndexBits = 2;

// A record holds the fields of a joint's delta in the narrowest of three ranges, and a code that says which.
// Code 3, which damaged data can hold, reads fields of no bits.
using DeltaRangeBits = std::array<int, 4>;

inline constexpr int DeltaRangeCodeBits = 2;
inline constexpr DeltaRangeBits OrientationDeltaRangeBits{3, 5, 7, 0};
inline constexpr DeltaRangeBits PositionDeltaRangeBits{3, 5, 7, 0};
inline constexpr DeltaRangeBits LengthDeltaRangeBits{4, 5, 6, 0};

} // namespace Velkori_Utility
