#pragma once

#include "shared/Arithmetic.h"
#include "shared/BitCast.h"
#include "shared/DataTypes.h"

#include <cmath>
#include <cstdint>
#include <limits>

namespace Velkori_Utility {

// From which angle between two rotations on a joint has turned.
//
// An angle reaches the threshold exactly where its cosine is at most a certain one, since arc cosines never
// rise. That one is searched once; after that no angle is computed any more.
class RotationThreshold {
  public:
    explicit RotationThreshold(float inDegrees)
        : degrees(inDegrees), largestCosine(FindLargestCosine(inDegrees)) {}

    float GetDegrees() const { return degrees; }

    // Takes the angle by the short way round. A nan reaches nothing.
    bool IsReached(const Quaternionf& a, const Quaternionf& b) const {
        return std::abs(a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w) <= largestCosine;
    }

  private:
    static float AngleInDegrees(float halfAnglesCosine) {
        constexpr float DegreesPerRadian = 57.295776F;
        return 2.0F * ComputeArcCosine(halfAnglesCosine) * DegreesPerRadian;
    }

    static float FindLargestCosine(float degrees) {
        if (!(AngleInDegrees(0.0F) >= degrees)) {
            return -1.0F;
        }
        if (AngleInDegrees(1.0F) >= degrees) {
            return std::numeric_limits<float>::infinity();
        }
        // Positive floats are ordered as their bits are.
        std::uint32_t reached = 0;
        std::uint32_t missed = BitCast<std::uint32_t>(1.0F);
        while (missed - reached > 1) {
            const std::uint32_t middle = reached + (missed - reached) / 2;
            (AngleInDegrees(BitCast<float>(middle)) >= degrees ? reached : missed) = middle;
        }
        return BitCast<float>(reached);
    }

    float degrees;
    float largestCosine;
};

} // namespace Velkori_Utility
