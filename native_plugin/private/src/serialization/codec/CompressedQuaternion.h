#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/CompressedValue.h"
#include "shared/DataTypes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>

namespace Velkori_Utility {

namespace Internal {

// A rotation by its smallest three: the largest component is left out and recovered from the unit length, so
// the others lie within half the square root of 2 of zero. It is counted as positive, since q and -q are the
// same rotation.
template <int N>
class CompressedQuatf {
  public:
    void compress(const Quaternionf& q) { compress(q.x, q.y, q.z, q.w); }

    // Takes the components as they are: normalising is left to the caller.
    void compress(float x, float y, float z, float w) {
        const std::array<float, 4> components{x, y, z, w};
        std::uint32_t largest = 0;
        for (std::uint32_t i = 1; i < 4; ++i) {
            if (std::abs(components[i]) > std::abs(components[largest])) {
                largest = i;
            }
        }
        const float sign = components[largest] < 0.0F ? -1.0F : 1.0F;
        std::array<std::uint32_t, 3> fields{};
        for (std::uint32_t i = 0; i < 3; ++i) {
            fields[i] = compressComponent(components[i < largest ? i : i + 1] * sign);
        }
        setComponents({largest, fields[0], fields[1], fields[2]});
    }

    Quaternionf decompress() const {
        const std::array<float, 3> smallest{
            decompressComponent(a), decompressComponent(b), decompressComponent(c)};
        const float squares =
            smallest[0] * smallest[0] + smallest[1] * smallest[1] + smallest[2] * smallest[2];
        // Fields that no unit quaternion gives can have more than unit length.
        const float largest = std::sqrt(std::max(1.0F - squares, 0.0F));
        switch (index) {
        case 0:
            return {largest, smallest[0], smallest[1], smallest[2]};
        case 1:
            return {smallest[0], largest, smallest[1], smallest[2]};
        case 2:
            return {smallest[0], smallest[1], largest, smallest[2]};
        default:
            return {smallest[0], smallest[1], smallest[2], largest};
        }
    }

    std::array<std::uint32_t, 4> getComponents() const { return {index, a, b, c}; }

    void setComponents(const std::array<std::uint32_t, 4>& components) {
        index = components[0] & 3U;
        a = components[1] & MaxField<N>;
        b = components[2] & MaxField<N>;
        c = components[3] & MaxField<N>;
    }

  private:
    // Half the square root of 2, and one over the square root of 2. They differ in their last bits, which are
    // part of the stream's format.
    static constexpr float Offset = 0x1.6A09DEp-1F;
    static constexpr float Scale = 0x1.6A09EEp-1F;
    static constexpr float LargestField = MaxField<N>;

    static std::uint32_t compressComponent(float value) {
        const float field = (value + Offset) * Scale * LargestField + 0.5F;
        // Not std::clamp, which hands on a nan.
        return field > 0.0F ? static_cast<std::uint32_t>(std::min(field, LargestField)) : 0;
    }

    static float decompressComponent(std::uint32_t field) {
        return static_cast<float>(field) * (1.0F / LargestField) * (2.0F * Offset) - Offset;
    }

    std::uint32_t index : 2 = 0;
    std::uint32_t a : N = 0;
    std::uint32_t b : N = 0;
    std::uint32_t c : N = 0;
};

using CompressedQuaternionValue = CompressedValue<Quaternionf, CompressedQuatf<10>, CompressedQuatf<15>,
    CompressedQuatf<20>, CompressedQuatf<7>, 10, 15, 20, 7, true, true, true, true>;

} // namespace Internal

// A rotation: the index of its largest component (0 to 3 for x to w), then the other three.
class CompressedQuaternionf final : public Internal::CompressedQuaternionValue {
  public:
    using CompressedValue::CompressedValue;

    std::string toString() const override { return "Quaternionf(" + CompressedValue::toString() + ')'; }
};

} // namespace Velkori_Utility
