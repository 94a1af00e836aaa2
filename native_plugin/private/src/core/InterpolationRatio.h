#pragma once

#include "shared/DataTypes.h"

namespace Velkori_Utility {

// Where a measure lies between its smallest and its largest value: 0 at the first, 1 at the second, and not
// limited to that range. What doesn't grow between the two counts as the largest.
inline float CalculateInterpolationRatio(float value, float min, float max) {
    const float difference = max - min;
    return difference > 0.0F ? (value - min) / difference : 1.0F;
}

inline Vector3f CalculateInterpolationRatio(const Vector3f& value, const Vector3f& min, const Vector3f& max) {
    return {CalculateInterpolationRatio(value.x, min.x, max.x),
        CalculateInterpolationRatio(value.y, min.y, max.y),
        CalculateInterpolationRatio(value.z, min.z, max.z)};
}

inline Vector3f LerpPerAxis(const Vector3f& a, const Vector3f& b, const Vector3f& t) {
    return a + (b - a).Multiply(t);
}

} // namespace Velkori_Utility
