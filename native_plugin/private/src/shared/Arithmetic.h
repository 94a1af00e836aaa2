#pragma once

// The functions beyond + - * / and the square root that results depend on.
//
// The C library's differ from platform to platform in their last bits, and with them poses and streams would.
// These are polynomials in plain arithmetic, evaluated in the order that is written, so that they give the
// same bits wherever float and double are IEEE 754's. The coefficients are minimax fits of the relative error
// (linear programming on Chebyshev nodes, rounded to float one after the other and the rest fitted anew).
// Errors are stated in units in the last place (ulp) of a float result, as measured against double precision.

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdint>

namespace Velkori_Utility {

static_assert(
    FLT_EVAL_METHOD == 0, "float and double expressions must not be widened: build with SSE2 or newer");

struct SineAndCosine {
    float sine = 0.0f;
    float cosine = 1.0f;
};

/// Sine and cosine of an angle in radians, each within 1.6 ulp up to a whole turn and within 1.5e-7 beyond.
/// Angles from 2^30 on count as 0: a float that large steps over whole turns and holds no direction.
///
/// The angle less its nearest multiple k of a quarter turn is within an eighth of a turn, where
/// sin r = r + r³ S(r²) and cos r = 1 - r²/2 + r⁴ C(r²); k says which of the two is which, and the signs.
inline SineAndCosine ComputeSineAndCosine(double angle) {
    constexpr double LargestAngle = 1073741824.0;
    constexpr double QuarterTurn = 1.5707963267948966;
    // Adding 1.5 * 2^52 leaves no room for a fraction, so the sum is rounded to the nearest integer.
    constexpr double IntegerShift = 6755399441055744.0;

    if (!(std::abs(angle) < LargestAngle)) {
        return {};
    }
    const double quarterTurns = (angle * (1.0 / QuarterTurn) + IntegerShift) - IntegerShift;
    const auto k = static_cast<std::int32_t>(quarterTurns);
    const auto r = static_cast<float>(angle - quarterTurns * QuarterTurn);
    const float r2 = r * r;
    const float sine = r + r * r2 * ((-0x1.995404p-13f * r2 + 0x1.110778p-7f) * r2 - 0x1.555546p-3f);
    const float cosine =
        (1.0f - 0.5f * r2) + r2 * r2 * ((0x1.99e80cp-16f * r2 - 0x1.6c0c28p-10f) * r2 + 0x1.55554ap-5f);
    const bool isOddQuarter = (k & 1) != 0;
    const float turnedSine = isOddQuarter ? cosine : sine;
    const float turnedCosine = isOddQuarter ? sine : cosine;
    return {(k & 2) != 0 ? -turnedSine : turnedSine, ((k + 1) & 2) != 0 ? -turnedCosine : turnedCosine};
}

/// The angle of a right triangle between its adjacent side and the hypotenuse, from 0 to a quarter turn, in
/// radians: within 2.6 ulp in float, within 3e-9 of itself in double. Neither side may be negative, nor both
/// be 0.
///
/// atan r = r + r³ A(r²) for the smaller side over the larger one.
template <typename T>
T ComputeAngle(T opposite, T adjacent) {
    constexpr double ExactQuarterTurn = 1.5707963267948966;
    constexpr T QuarterTurn = static_cast<T>(ExactQuarterTurn);
    constexpr T QuarterTurnRest = static_cast<T>(ExactQuarterTurn - static_cast<double>(QuarterTurn));

    const T r = std::min(opposite, adjacent) / std::max(opposite, adjacent);
    const T r2 = r * r;
    const T r4 = r2 * r2;
    const T even =
        (((-0x1.d3614ep-10f * r4 - 0x1.fd8004p-6f) * r4 - 0x1.580930p-4f) * r4 - 0x1.242086p-3f) * r4 -
        0x1.55553ep-2f;
    const T odd = ((0x1.6427e0p-7f * r4 + 0x1.da2aa0p-5f) * r4 + 0x1.c08c50p-4f) * r4 + 0x1.9991e4p-3f;
    const T angle = r + r * r2 * (odd * r2 + even);
    return opposite > adjacent ? (QuarterTurn - angle) + QuarterTurnRest : angle;
}

/// The angle, from 0 to a quarter turn, that has this cosine, from 0 to 1, in radians, within 0.6 ulp. In
/// double until its end, so that it never rises with the cosine: whoever compares angles can as well compare
/// cosines with the one where the comparison turns.
inline float ComputeArcCosine(float cosine) {
    const double adjacent = cosine;
    return static_cast<float>(ComputeAngle(std::sqrt((1.0 - adjacent) * (1.0 + adjacent)), adjacent));
}

/// The largest integer that isn't above the value. Infinities and nan are their own.
inline double RoundDown(double value) {
    constexpr double FirstWithoutFraction = 4503599627370496.0;
    if (!(std::abs(value) < FirstWithoutFraction)) {
        return value;
    }
    const auto truncated = static_cast<double>(static_cast<std::int64_t>(value));
    return std::copysign(truncated > value ? truncated - 1.0 : truncated, value);
}

/// The nearest integer, of two the one farther from zero. Infinities and nan are their own.
inline double RoundHalfAway(double value) {
    const double magnitude = std::abs(value);
    const double below = RoundDown(magnitude);
    return std::copysign(magnitude - below >= 0.5 ? below + 1.0 : below, value);
}

} // namespace Velkori_Utility
