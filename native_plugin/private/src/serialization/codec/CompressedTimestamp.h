#pragma once

#include "serialization/codec/CompressedScalar.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace Velkori_Utility {

namespace Internal {

// Even steps over half an hour, in double precision. Time doesn't wrap: all that is later is the end.
struct TimestampCompressionHandler {
    static constexpr double Range = 1800.0;

    template <int N>
    static constexpr double LargestField = MaxField<N>;

    template <int N>
    static std::uint32_t compress(double value) {
        return value < 0.0 ? 0 : roundToField(std::min(value, Range) / Range * LargestField<N>);
    }

    template <int N>
    static double decompress(std::uint32_t field) {
        return field / LargestField<N> * Range;
    }
};

} // namespace Internal

// A snapshot's time, in seconds.
class CompressedTimestamp final
    : public Internal::CompressedScalar<double, Internal::TimestampCompressionHandler, 16, 19, 22, 16> {
  public:
    using CompressedValue::CompressedValue;

    std::string toString() const override { return "Timestamp(" + CompressedValue::toString() + ')'; }
};

} // namespace Velkori_Utility
