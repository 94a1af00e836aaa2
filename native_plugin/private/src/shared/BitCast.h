#pragma once

namespace Velkori_Utility {

// std::bit_cast, which the standard libraries of Emscripten and of Clang 14 lack. Their compilers have what
// it is made of.
template <typename To, typename From>
constexpr To BitCast(const From& value) {
    return __builtin_bit_cast(To, value);
}

} // namespace Velkori_Utility
