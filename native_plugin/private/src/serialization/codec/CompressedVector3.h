#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/CompressedValue.h"
#include "shared/DataTypes.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>

namespace Velkori_Utility {

namespace Internal {

// A position: each axis in even steps over a range around zero, beyond which it is clamped.
template <int N>
class CompressedVec3f {
  public:
    void compress(const Vector3f& v) {
        setComponents({compressAxis(v.x), compressAxis(v.y), compressAxis(v.z)});
    }

    Vector3f decompress() const { return {decompressAxis(x), decompressAxis(y), decompressAxis(z)}; }

    std::array<std::uint32_t, 3> getComponents() const { return {x, y, z}; }

    void setComponents(const std::array<std::uint32_t, 3>& components) {
        x = components[0] & MaxField<N>;
        y = components[1] & MaxField<N>;
        z = components[2] & MaxField<N>;
    }

  private:
    static constexpr float Range = N == 23 ? 40.0F : 4.0F;
    static constexpr float Step = 2.0F * Range / static_cast<float>(MaxField<N>);

    static std::uint32_t compressAxis(float value) {
        return value < -Range ? 0 : roundToField((std::min(value, Range) + Range) / Step);
    }

    // Single precision with one rounding for product and difference together. In double precision both are
    // exact: a field has at most 23 bits and the step 24.
    static float decompressAxis(std::uint32_t field) {
        return static_cast<float>(static_cast<double>(field) * Step - Range);
    }

    std::uint32_t x : N = 0;
    std::uint32_t y : N = 0;
    std::uint32_t z : N = 0;
};

using CompressedVector3Value = CompressedValue<Vector3f, CompressedVec3f<13>, CompressedVec3f<18>,
    CompressedVec3f<23>, CompressedVec3f<7>, 13, 18, 23, 7, true, true, true, false>;

} // namespace Internal

// A position, in metres: x, y, z.
class CompressedVector3f final : public Internal::CompressedVector3Value {
  public:
    using CompressedValue::CompressedValue;

    std::string toString() const override { return "Vector3f(" + CompressedValue::toString() + ')'; }
};

} // namespace Velkori_Utility
