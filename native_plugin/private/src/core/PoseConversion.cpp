#include "core/PoseConversion.h"

#include "shared/Arithmetic.h"

namespace Velkori_Utility {

namespace {

// Rotated unit axes that are this near to an axis are one, but for rounding.
constexpr float AxisTolerance = 1e-5F;

bool IsNear(const Vector3f& a, const Vector3f& b) {
    return (a - b).Length() < AxisTolerance;
}

Vector3f RoundToAxis(const Vector3f& v) {
    const auto round = [](float component) { return static_cast<float>(RoundHalfAway(component)); };
    return {round(v.x), round(v.y), round(v.z)};
}

} // namespace

PoseConversion::PoseConversion(const JointPose& conversionPose)
    : conversion(conversionPose),
      isIdentity(conversionPose == JointPose::Identity),
      rotatedX(conversionPose.orientation.Rotate(Vector3f::Identity_right_LH)),
      rotatedY(conversionPose.orientation.Rotate(Vector3f::Identity_up_LH)),
      rotatedZ(conversionPose.orientation.Rotate(Vector3f::Identity_forward_LH)) {
    const Vector3f snappedX = RoundToAxis(rotatedX);
    const Vector3f snappedY = RoundToAxis(rotatedY);
    const Vector3f snappedZ = RoundToAxis(rotatedZ);
    isAxisAligned = IsNear(rotatedX, snappedX) && IsNear(rotatedY, snappedY) && IsNear(rotatedZ, snappedZ);
    if (isAxisAligned) {
        rotatedX = snappedX;
        rotatedY = snappedY;
        rotatedZ = snappedZ;
    }
}

JointPose PoseConversion::Apply(const JointPose& pose) const {
    JointPose converted = conversion.ApplyWithScale(pose);
    if (isAxisAligned) {
        const Vector3f scaled = pose.position.Multiply(conversion.scale);
        converted.position =
            conversion.position + (rotatedX * scaled.x + rotatedY * scaled.y + rotatedZ * scaled.z);
    }
    return converted;
}

} // namespace Velkori_Utility
