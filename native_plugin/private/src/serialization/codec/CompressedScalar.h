#pragma once

#include "serialization/bits/FieldRounding.h"
#include "serialization/codec/CompressedValue.h"

#include <array>
#include <cstdint>

namespace Velkori_Utility::Internal {

// One number in one field of N bits, by the rule of its handler.
template <int N, typename T, typename Handler>
class CompressedValueBase {
  public:
    void compress(T value) { field = Handler::template compress<N>(value) & MaxField<N>; }

    T decompress() const { return Handler::template decompress<N>(field); }

    std::array<std::uint32_t, 1> getComponents() const { return {field}; }

    void setComponents(const std::array<std::uint32_t, 1>& components) {
        field = components[0] & MaxField<N>;
    }

  private:
    std::uint32_t field : N = 0;
};

template <typename T, typename Handler, int bitsS, int bitsH, int bitsM, int bitsD>
using CompressedScalar = CompressedValue<T, CompressedValueBase<bitsS, T, Handler>,
    CompressedValueBase<bitsH, T, Handler>, CompressedValueBase<bitsM, T, Handler>,
    CompressedValueBase<bitsD, T, Handler>, bitsS, bitsH, bitsM, bitsD, true, false, false, false>;

} // namespace Velkori_Utility::Internal
