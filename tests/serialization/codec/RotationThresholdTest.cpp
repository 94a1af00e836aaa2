#include "serialization/codec/RotationThreshold.h"

#include "support/Rotations.h"

#include <gtest/gtest.h>

namespace Velkori_Utility {
namespace {

TEST(RotationThreshold, IsReachedFromItsAngleOnWhicheverQuaternionsStandForTheRotations) {
    constexpr float RadiansPerDegree = 0.017453292F;
    const Vector3f axis(0.48F, 0.6F, 0.64F);
    const Quaternionf from = RotationOf({0.3F, -0.4F, 0.5F});
    for (const float degrees : {0.5F, 5.0F, 90.0F, 170.0F}) {
        const RotationThreshold threshold(degrees);
        EXPECT_EQ(threshold.GetDegrees(), degrees);
        for (const float sign : {1.0F, -1.0F}) {
            const auto isReachedAt = [&](float turn) {
                return threshold.IsReached(from, from * RotationOf(axis * (turn * RadiansPerDegree)) * sign);
            };
            // Half a degree's cosine is 160 float steps from 1: it tells angles apart by half a percent.
            EXPECT_FALSE(isReachedAt(degrees * 0.995F)) << degrees;
            EXPECT_TRUE(isReachedAt(degrees * 1.005F)) << degrees;
            EXPECT_FALSE(isReachedAt(360.0F - degrees * 0.995F)) << degrees;
        }
    }
}

TEST(RotationThreshold, OfNoneIsAlwaysReachedAndBeyondHalfATurnNever) {
    const Quaternionf nan(std::numeric_limits<float>::quiet_NaN(), 0, 0, 1), halfTurn(1, 0, 0, 0);
    const Quaternionf longer(0, 0, 0, 1.000004F);
    EXPECT_TRUE(RotationThreshold(0.0F).IsReached(longer, longer));
    EXPECT_TRUE(RotationThreshold(179.9F).IsReached(Quaternionf::Identity, halfTurn));
    EXPECT_FALSE(RotationThreshold(180.1F).IsReached(Quaternionf::Identity, halfTurn));
    EXPECT_FALSE(RotationThreshold(0.01F).IsReached(longer, longer));
    EXPECT_FALSE(RotationThreshold(0.0F).IsReached(nan, longer));
}

} // namespace
} // namespace Velkori_Utility
