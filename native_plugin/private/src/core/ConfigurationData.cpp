#include "core/ConfigurationData.h"

#include <cmath>

namespace Velkori_Utility {

namespace {

// The sign that a mirrored axis gets from one component of the other space's right vector.
float MirroringScale(float component) {
    return component == 0.0F ? 1.0F : -std::abs(component);
}

} // namespace

CoordinateSpace::CoordinateSpace(const Vector3f& forward, const Vector3f& upHint)
    : forward(forward), right(forward.Cross(upHint).Normalize()) {
    up = right.Cross(forward).Normalize();
    InitializeOrientation();
}

CoordinateSpace::CoordinateSpace(const velkori_CoordinateSpace_& space)
    : up(space.up), forward(space.forward), right(space.right) {
    InitializeOrientation();
}

void CoordinateSpace::InitializeOrientation() {
    orientation = Quaternionf::LookAtLH(forward, up).Normalize();
}

bool CoordinateSpace::operator==(const CoordinateSpace& other) const {
    return up == other.up && forward == other.forward && right == other.right;
}

JointPose CoordinateSpace::CalculateCoordinateSpaceConversion(const CoordinateSpace& other) const {
    if (*this == other) {
        return JointPose::Identity;
    }
    JointPose conversion;
    conversion.orientation = (other.orientation * orientation.Inverse()).Normalize();
    if (conversion.orientation.Rotate(right).Dot(other.right) < 0.0F) {
        conversion.scale = Vector3f(
            MirroringScale(other.right.x), MirroringScale(other.right.y), MirroringScale(other.right.z));
    }
    return conversion;
}

bool CoordinateSpace::IsAxisAligned() const {
    return std::abs(up.x) + std::abs(forward.x) + std::abs(right.x) == 1.0F &&
           std::abs(up.y) + std::abs(forward.y) + std::abs(right.y) == 1.0F &&
           std::abs(up.z) + std::abs(forward.z) + std::abs(right.z) == 1.0F && up.Dot(up) == 1.0F &&
           forward.Dot(forward) == 1.0F && right.Dot(right) == 1.0F;
}

bool HasUnitAxisSums(const velkori_CoordinateSpace_& space) {
    return std::abs(space.up.x + space.forward.x + space.right.x) == 1.0F &&
           std::abs(space.up.y + space.forward.y + space.right.y) == 1.0F &&
           std::abs(space.up.z + space.forward.z + space.right.z) == 1.0F;
}

Configuration::Configuration(const CoordinateSpace& coordinateSpace, velkori_RetargetingBehaviorFlags flags)
    : retargetingBehaviorFlags(flags), coordinateSpace(coordinateSpace) {}

bool Configuration::CheckIsValid(LogMsgMap& messages) const {
    if (!coordinateSpace.IsAxisAligned()) {
        AddMessage(
            messages, LogMsgCategory::Error, {"CONFIG: Provided coordinate space is not Axis Aligned"});
        return false;
    }
    return true;
}

} // namespace Velkori_Utility
