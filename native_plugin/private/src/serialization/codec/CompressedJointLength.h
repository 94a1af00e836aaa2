#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/FieldWidths.h"

#include <algorithm>
#include <cstdint>

namespace Velkori_Utility {

// How far a joint is from its parent, in metres: in even steps from 0 to a largest length, beyond which it is
// clamped.
struct CompressedJointLength {
    std::uint32_t field = 0;
    Precision precision = Precision::Standard;

    friend bool operator==(const CompressedJointLength&, const CompressedJointLength&) = default;
};

inline constexpr PerPrecision<float> LargestLength{{0.6F, 0.6F, 0.6F, 6.0F}};
inline constexpr auto LargestLengthField = makePerPrecision(
    [](Precision precision) { return static_cast<float>(largestField(LengthWidths[precision])); });

inline CompressedJointLength compressLength(Precision precision, float length) {
    const float largest = LargestLength[precision];
    const float field = std::min(length, largest) / largest * LargestLengthField[precision];
    const std::uint32_t mask = largestField(LengthWidths[precision]);
    return {length < 0.0F ? 0 : roundToField(field) & mask, precision};
}

inline float decompress(const CompressedJointLength& length) {
    return static_cast<float>(length.field) / LargestLengthField[length.precision] *
           LargestLength[length.precision];
}

} // namespace Velkori_Utility
