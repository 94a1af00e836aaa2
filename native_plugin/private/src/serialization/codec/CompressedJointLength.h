#pragma once

#include "serialization/codec/CompressedScalar.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace Velkori_Utility {

namespace Internal {

// Even steps from 0 to a largest length, beyond which a length is clamped.
struct RangeCompressionHandler {
    template <int N>
    static constexpr float Range = N == 18 ? 6.0F : 0.6F;

    template <int N>
    static constexpr float LargestField = MaxField<N>;

    template <int N>
    static std::uint32_t compress(float value) {
        return value < 0.0F ? 0 : roundToField(std::min(value, Range<N>) / Range<N> * LargestField<N>);
    }

    template <int N>
    static float decompress(std::uint32_t field) {
        return static_cast<float>(field) / LargestField<N> * Range<N>;
    }
};

} // namespace Internal

// How far a joint is from its parent, in metres.
class CompressedJointLength final
    : public Internal::CompressedScalar<float, Internal::RangeCompressionHandler, 9, 14, 18, 6> {
  public:
    using CompressedValue::CompressedValue;

    std::string toString() const override { return "Len(" + CompressedValue::toString() + ')'; }
};

} // namespace Velkori_Utility
