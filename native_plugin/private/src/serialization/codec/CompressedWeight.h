#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/FieldWidths.h"
#include "shared/Arithmetic.h"

#include <cstdint>

namespace Velkori_Utility {

// A blend shape's weight: even steps from 0 to 1, rounded down. Unlike all other values a weight isn't
// clamped: outside of the range it wraps around.
struct CompressedWeight {
    std::uint32_t field = 0;
    Precision precision = Precision::Standard;

    friend bool operator==(const CompressedWeight&, const CompressedWeight&) = default;
};

inline constexpr auto LargestWeightField = makePerPrecision(
    [](Precision precision) { return static_cast<float>(largestField(WeightWidths[precision])); });
inline constexpr auto WeightStep =
    makePerPrecision([](Precision precision) { return 1.0F / LargestWeightField[precision]; });

inline CompressedWeight compressWeight(Precision precision, float weight) {
    const std::uint32_t field = wrapToField(RoundDown(weight * LargestWeightField[precision]));
    return {field & largestField(WeightWidths[precision]), precision};
}

inline float decompress(const CompressedWeight& weight) {
    return static_cast<float>(weight.field) * WeightStep[weight.precision];
}

} // namespace Velkori_Utility
