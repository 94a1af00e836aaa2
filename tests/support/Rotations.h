#pragma once

#include "shared/DataTypes.h"

#include <cmath>

// The rotation about an axis, given as the axis times the angle in radians.
inline Velkori_Utility::Quaternionf RotationOf(const Velkori_Utility::Vector3f& rotationVector) {
    const float angle = rotationVector.Length();
    const Velkori_Utility::Vector3f axis = rotationVector.Normalize() * std::sin(angle / 2.0F);
    return {axis.x, axis.y, axis.z, std::cos(angle / 2.0F)};
}
