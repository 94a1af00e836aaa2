#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/FieldWidths.h"
#include "shared/DataTypes.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace Velkori_Utility {

// A position, in metres: each axis in even steps over a range around zero, beyond which it is clamped.
struct CompressedVector3f {
    std::array<std::uint32_t, 3> fields{};
    Precision precision = Precision::Standard;

    friend bool operator==(const CompressedVector3f&, const CompressedVector3f&) = default;
};

inline constexpr PerPrecision<float> PositionRange{{4.0F, 4.0F, 4.0F, 40.0F}};
inline constexpr auto PositionStep = makePerPrecision([](Precision precision) {
    return 2.0F * PositionRange[precision] / static_cast<float>(largestField(PositionWidths[precision]));
});

inline CompressedVector3f compressPosition(Precision precision, const Vector3f& position) {
    const float range = PositionRange[precision];
    const float step = PositionStep[precision];
    const std::uint32_t mask = largestField(PositionWidths[precision]);
    const auto compressAxis = [&](float value) {
        return value < -range ? 0 : roundToField((std::min(value, range) + range) / step) & mask;
    };
    return {{compressAxis(position.x), compressAxis(position.y), compressAxis(position.z)}, precision};
}

inline Vector3f decompress(const CompressedVector3f& position) {
    const double range = PositionRange[position.precision];
    const double step = PositionStep[position.precision];
    // Single precision with one rounding for product and difference together. In double precision both are
    // exact: a field has at most 23 bits and the step 24.
    const auto decompressAxis = [&](std::uint32_t field) { return static_cast<float>(field * step - range); };
    const auto [x, y, z] = position.fields;
    return {decompressAxis(x), decompressAxis(y), decompressAxis(z)};
}

} // namespace Velkori_Utility
