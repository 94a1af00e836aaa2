#pragma once

#include "serialization/codec/CompressedScalar.h"
#include "shared/Arithmetic.h"

#include <cstdint>
#include <string>

namespace Velkori_Utility {

namespace Internal {

// Even steps from 0 to 1, rounded down. Unlike all other values a weight isn't clamped: outside of the range
// it wraps around.
struct NormalizedFloatCompressionHandler {
    template <int N>
    static constexpr float LargestField = MaxField<N>;

    template <int N>
    static std::uint32_t compress(float value) {
        return wrapToField(RoundDown(value * LargestField<N>));
    }

    template <int N>
    static float decompress(std::uint32_t field) {
        return static_cast<float>(field) * (1.0F / LargestField<N>);
    }
};

} // namespace Internal

// A blend shape's weight, from 0 to 1.
class CompressedWeight final
    : public Internal::CompressedScalar<float, Internal::NormalizedFloatCompressionHandler, 9, 14, 18, 6> {
  public:
    using CompressedValue::CompressedValue;

    std::string toString() const override { return "Weight(" + CompressedValue::toString() + ')'; }
};

} // namespace Velkori_Utility
