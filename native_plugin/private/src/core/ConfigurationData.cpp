#include "core/ConfigurationData.h"

#include "shared/JSONKeywords.h"
#include "shared/Log.h"
#include "shared/RapidJSONHelpers.h"

#include <cmath>

namespace Velkori_Utility {

namespace {

void LogIfOffAxis(const Vector3f& axis, const char* name) {
    if (!axis.IsAxisAligned()) {
        Log(velkori_LogLevel_Error, "Coordinate Space %s Vector is not Axis Aligned: %s", name,
            axis.ToString().c_str());
    }
}

// The sign that a mirrored axis gets from one component of the other space's right vector.
float MirroringScale(float component) {
    return component == 0.0F ? 1.0F : -std::abs(component);
}

velkori_RetargetingBehaviorFlags ParseRetargetingBehaviorFlags(const JSONValue& value) {
    const JSONValue& flags =
        RapidJSONHelpers::GetObject(value, JSONKeywords::RetargetingBehaviorFlags, false);
    return RapidJSONHelpers::GetBool(flags, JSONKeywords::ApplyJointOrientationFixup, false, false)
               ? velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup
               : velkori_RetargetingBehaviorFlags_None;
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

CoordinateSpace::CoordinateSpace(const JSONValue& value)
    : up(Vector3f(RapidJSONHelpers::GetObject(value, JSONKeywords::Up, true)).Normalize()),
      forward(Vector3f(RapidJSONHelpers::GetObject(value, JSONKeywords::Forward, true)).Normalize()),
      right(Vector3f(RapidJSONHelpers::GetObject(value, JSONKeywords::Right, true)).Normalize()) {
    InitializeOrientation();
    LogIfOffAxis(up, "Up");
    LogIfOffAxis(forward, "Forward");
    LogIfOffAxis(right, "Right");
}

void CoordinateSpace::InitializeOrientation() {
    orientation = Quaternionf::LookAtLH(forward, up).Normalize();
}

JSONValue CoordinateSpace::WriteToJSON(JSONAllocator& allocator) const {
    JSONValue object(rapidjson::kObjectType);
    object.AddMember(rapidjson::StringRef(JSONKeywords::Up), up.WriteToJSON(allocator), allocator);
    object.AddMember(rapidjson::StringRef(JSONKeywords::Forward), forward.WriteToJSON(allocator), allocator);
    object.AddMember(rapidjson::StringRef(JSONKeywords::Right), right.WriteToJSON(allocator), allocator);
    return object;
}

JointPose CoordinateSpace::CalculateCoordinateSpaceConversion(const CoordinateSpace& other) const {
    if (up == other.up && forward == other.forward && right == other.right) {
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

Configuration::Configuration(const JSONValue& value)
    : version(RapidJSONHelpers::GetDouble(value, JSONKeywords::Version, 0.0, true)),
      retargetingBehaviorFlags(ParseRetargetingBehaviorFlags(value)),
      coordinateSpace(RapidJSONHelpers::GetObject(value, JSONKeywords::CoordinateSpace, true)) {}

bool Configuration::CheckIsValid(LogMsgMap& messages) const {
    if (!coordinateSpace.IsAxisAligned()) {
        AddMessage(
            messages, LogMsgCategory::Error, {"CONFIG: Provided coordinate space is not Axis Aligned"});
        return false;
    }
    return true;
}

JSONValue Configuration::WriteToJSON(JSONAllocator& allocator) const {
    JSONValue object(rapidjson::kObjectType);
    object.AddMember(rapidjson::StringRef(JSONKeywords::Version), version, allocator);
    if (retargetingBehaviorFlags != velkori_RetargetingBehaviorFlags_None) {
        JSONValue flags(rapidjson::kObjectType);
        if ((retargetingBehaviorFlags & velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup) != 0) {
            flags.AddMember(rapidjson::StringRef(JSONKeywords::ApplyJointOrientationFixup), true, allocator);
        }
        object.AddMember(rapidjson::StringRef(JSONKeywords::RetargetingBehaviorFlags), flags, allocator);
    }
    object.AddMember(rapidjson::StringRef(JSONKeywords::CoordinateSpace),
        coordinateSpace.WriteToJSON(allocator), allocator);
    return object;
}

} // namespace Velkori_Utility
