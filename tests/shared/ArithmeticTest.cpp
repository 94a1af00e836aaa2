#include "shared/Arithmetic.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>

namespace Velkori_Utility {
namespace {

using Limits = std::numeric_limits<double>;

// How far a float is from what double precision gives, in steps of the floats around the latter.
double ErrorInUlp(float actual, double exact) {
    const int exponent = std::max(std::ilogb(exact), -126);
    return std::abs(actual - exact) / std::ldexp(1.0, exponent - 23);
}

// Every float from first to last, which have the same sign, or every so many.
template <typename Visit>
void ForFloats(float first, float last, std::uint32_t step, Visit visit) {
    for (std::uint32_t bits = std::bit_cast<std::uint32_t>(first); bits <= std::bit_cast<std::uint32_t>(last);
         bits += step) {
        visit(std::bit_cast<float>(bits));
    }
}

// Holds every bit of a function still, down to the last one of its smallest coefficient: poses and records
// depend on them.
class BitHash {
  public:
    void Add(float value) { hash = (hash ^ std::bit_cast<std::uint32_t>(value)) * 0x100000001B3U; }

    std::uint64_t Get() const { return hash; }

  private:
    std::uint64_t hash = 0xCBF29CE484222325U;
};

TEST(Arithmetic, SineAndCosineAreWithinTheirBoundsAtEveryAngle) {
    double largestInUlp = 0.0, largest = 0.0;
    BitHash bits;
    const auto measure = [&](double angle) {
        const auto [sine, cosine] = ComputeSineAndCosine(angle);
        bits.Add(sine);
        bits.Add(cosine);
        const double exactSine = std::sin(angle), exactCosine = std::cos(angle);
        largestInUlp = std::max({largestInUlp, ErrorInUlp(sine, exactSine), ErrorInUlp(cosine, exactCosine)});
        largest = std::max({largest, std::abs(sine - exactSine), std::abs(cosine - exactCosine)});
    };
    ForFloats(0.25f, 0.7853981f, 1, measure);
    ForFloats(1e-30f, 0.25f, 1009, measure);
    ForFloats(0.25f, 6.2831855f, 17, [&](float angle) { measure(-angle); });
    EXPECT_LT(largestInUlp, 1.6);
    ForFloats(6.2831855f, 1073741760.0f, 1009, measure);
    EXPECT_EQ(bits.Get(), 0x497FD9D02012F5F1U);
    // The worst of some ten million.
    measure(968478674.82970071);
    measure(984240320.0);
    EXPECT_LT(largest, 1.5e-7);
    for (const double angle : {1073741824.0, -1e30, Limits::infinity(), Limits::quiet_NaN()}) {
        EXPECT_EQ(ComputeSineAndCosine(angle).sine, 0.0f);
        EXPECT_EQ(ComputeSineAndCosine(angle).cosine, 1.0f);
    }
}

TEST(Arithmetic, AnglesAreWithinTheirBoundForEveryRatioOfTheSides) {
    double largestError = 0.0;
    BitHash bits;
    const auto measure = [&](float opposite, float adjacent) {
        const float angle = ComputeAngle(opposite, adjacent);
        const double exact = std::atan2(static_cast<double>(opposite), static_cast<double>(adjacent));
        largestError = std::max(largestError, ErrorInUlp(angle, exact));
        bits.Add(angle);
    };
    ForFloats(0.25f, 4.0f, 3, [&](float side) { measure(side, 1.0f); });
    ForFloats(1e-37f, 1e37f, 4099, [&](float side) {
        measure(side, 1.0f);
        measure(side * 0.7f, side);
        measure(0.3f, side);
    });
    EXPECT_LT(largestError, 2.6);
    EXPECT_EQ(bits.Get(), 0x579005DACD511BEDU);
    EXPECT_EQ(ComputeAngle(0.0f, 2.0f), 0.0f);
    EXPECT_EQ(ComputeAngle(2.0f, 0.0f), 1.5707964f);
}

TEST(Arithmetic, ArcCosineIsWithinItsBoundAndNeverRises) {
    double largestError = 0.0;
    float previous = 2.0f;
    BitHash bits;
    const auto measure = [&](float cosine) {
        const float angle = ComputeArcCosine(cosine);
        bits.Add(angle);
        if (cosine < 1.0f) {
            largestError = std::max(largestError, ErrorInUlp(angle, std::acos(static_cast<double>(cosine))));
        }
        ASSERT_LE(angle, previous) << cosine;
        previous = angle;
    };
    ForFloats(0.0f, 0.5f, 1009, measure);
    ForFloats(0.5f, 1.0f, 1, measure);
    EXPECT_LT(largestError, 0.6);
    EXPECT_EQ(bits.Get(), 0x848444942DB3ED2AU);
    EXPECT_EQ(ComputeArcCosine(1.0f), 0.0f);
    EXPECT_EQ(ComputeArcCosine(0.0f), 1.5707964f);
}

TEST(Arithmetic, RoundingIsExactAndKeepsTheSignOfZero) {
    struct Case {
        double value, down, halfAway;
    };

    // The number below a half, whose sum with a half rounds to 1.
    const double belowHalf = std::nextafter(0.5, 0.0);
    const double large = 4503599627370495.5;
    for (const Case& c :
        std::initializer_list<Case>{{0.0, 0.0, 0.0}, {-0.0, -0.0, -0.0}, {0.3, 0.0, 0.0}, {-0.3, -1.0, -0.0},
            {belowHalf, 0.0, 0.0}, {0.5, 0.0, 1.0}, {-0.5, -1.0, -1.0}, {2.5, 2.0, 3.0}, {-2.5, -3.0, -3.0},
            {-7.0, -7.0, -7.0}, {large, large - 0.5, large + 0.5}, {-large, -large - 0.5, -large - 0.5},
            {1e300, 1e300, 1e300}, {-Limits::infinity(), -Limits::infinity(), -Limits::infinity()}}) {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(RoundDown(c.value)), std::bit_cast<std::uint64_t>(c.down))
            << c.value;
        EXPECT_EQ(
            std::bit_cast<std::uint64_t>(RoundHalfAway(c.value)), std::bit_cast<std::uint64_t>(c.halfAway))
            << c.value;
    }
    EXPECT_TRUE(std::isnan(RoundDown(Limits::quiet_NaN())));
    EXPECT_TRUE(std::isnan(RoundHalfAway(Limits::quiet_NaN())));
}

} // namespace
} // namespace Velkori_Utility
