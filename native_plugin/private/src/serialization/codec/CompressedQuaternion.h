#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/FieldWidths.h"
#include "shared/DataTypes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

namespace Velkori_Utility {

// A rotation by its smallest three: the largest component is left out and recovered from the unit length, so
// the others lie within half the square root of 2 of zero. It is counted as positive, since q and -q are the
// same rotation.
struct CompressedQuaternionf {
    // The index of the largest component, 0 to 3 for x to w, then the other three in their order.
    std::array<std::uint32_t, 4> fields{};
    Precision precision = Precision::Standard;

    friend bool operator==(const CompressedQuaternionf&, const CompressedQuaternionf&) = default;
};

// Half the square root of 2, and one over the square root of 2. They differ in their last bits, which are
// part of the stream's format.
inline constexpr float RotationOffset = 0x1.6A09DEp-1F;
inline constexpr float RotationScale = 0x1.6A09EEp-1F;

inline constexpr auto LargestRotationField = makePerPrecision(
    [](Precision precision) { return static_cast<float>(largestField(RotationWidths[precision])); });
inline constexpr auto RotationStep =
    makePerPrecision([](Precision precision) { return 1.0F / LargestRotationField[precision]; });

// Takes the components as they are: normalising is left to the caller.
inline CompressedQuaternionf compressRotation(Precision precision, const Quaternionf& q) {
    const std::array<float, 4> components{q.x, q.y, q.z, q.w};
    std::uint32_t largest = 0;
    for (std::uint32_t i = 1; i < 4; ++i) {
        if (std::abs(components[i]) > std::abs(components[largest])) {
            largest = i;
        }
    }
    const float sign = components[largest] < 0.0F ? -1.0F : 1.0F;
    const float limit = LargestRotationField[precision];
    CompressedQuaternionf result{{largest}, precision};
    for (std::uint32_t i = 0; i < 3; ++i) {
        const float component = components[i < largest ? i : i + 1] * sign;
        const float field = (component + RotationOffset) * RotationScale * limit + 0.5F;
        // Not std::clamp, which hands on a nan.
        result.fields[i + 1] = field > 0.0F ? static_cast<std::uint32_t>(std::min(field, limit)) : 0;
    }
    return result;
}

inline Quaternionf decompress(const CompressedQuaternionf& rotation) {
    const float step = RotationStep[rotation.precision];
    const auto decompressComponent = [&](std::size_t i) {
        return static_cast<float>(rotation.fields[i]) * step * (2.0F * RotationOffset) - RotationOffset;
    };
    const float a = decompressComponent(1);
    const float b = decompressComponent(2);
    const float c = decompressComponent(3);
    // Fields that no unit quaternion gives can have more than unit length.
    const float largest = std::sqrt(std::max(1.0F - (a * a + b * b + c * c), 0.0F));
    switch (rotation.fields[0]) {
    case 0:
        return {largest, a, b, c};
    case 1:
        return {a, largest, b, c};
    case 2:
        return {a, b, largest, c};
    default:
        return {a, b, c, largest};
    }
}

} // namespace Velkori_Utility
