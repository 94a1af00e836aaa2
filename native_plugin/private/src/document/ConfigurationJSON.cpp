#include "document/ConfigurationJSON.h"

#include "document/JSONKeywords.h"
#include "document/MathJSON.h"
#include "document/RapidJSONHelpers.h"
#include "shared/Log.h"

namespace Velkori_Utility {

using RapidJSONHelpers::AddMember;
using RapidJSONHelpers::GetObject;

namespace {

Vector3f ReadDirection(const JSONValue& object, const char* key) {
    return ReadVector3f(GetObject(object, key, true)).Normalize();
}

void LogIfOffAxis(const Vector3f& axis, const char* name) {
    if (!axis.IsAxisAligned()) {
        Log(velkori_LogLevel_Error, "Coordinate Space %s Vector is not Axis Aligned: %s", name,
            axis.ToString().c_str());
    }
}

velkori_RetargetingBehaviorFlags ReadBehaviorFlags(const JSONValue& object) {
    return RapidJSONHelpers::GetBool(object, JSONKeywords::ApplyJointOrientationFixup, false, false)
               ? velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup
               : velkori_RetargetingBehaviorFlags_None;
}

JSONValue WriteBehaviorFlags(velkori_RetargetingBehaviorFlags flags, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    if ((flags & velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup) != 0) {
        AddMember(object, JSONKeywords::ApplyJointOrientationFixup, JSONValue(true), allocator);
    }
    return object;
}

} // namespace

CoordinateSpace ReadCoordinateSpace(const JSONValue& object) {
    const Vector3f up = ReadDirection(object, JSONKeywords::Up);
    const Vector3f forward = ReadDirection(object, JSONKeywords::Forward);
    const Vector3f right = ReadDirection(object, JSONKeywords::Right);
    LogIfOffAxis(up, "Up");
    LogIfOffAxis(forward, "Forward");
    LogIfOffAxis(right, "Right");
    return CoordinateSpace({static_cast<velkori_Vector3f_>(up), static_cast<velkori_Vector3f_>(forward),
        static_cast<velkori_Vector3f_>(right)});
}

JSONValue WriteCoordinateSpace(const CoordinateSpace& space, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    AddMember(object, JSONKeywords::Up, WriteVector3f(space.up, allocator), allocator);
    AddMember(object, JSONKeywords::Forward, WriteVector3f(space.forward, allocator), allocator);
    AddMember(object, JSONKeywords::Right, WriteVector3f(space.right, allocator), allocator);
    return object;
}

Configuration ReadConfiguration(const JSONValue& object) {
    const double version = RapidJSONHelpers::GetDouble(object, JSONKeywords::Version, 0.0, true);
    const velkori_RetargetingBehaviorFlags flags =
        ReadBehaviorFlags(GetObject(object, JSONKeywords::RetargetingBehaviorFlags, false));
    Configuration configuration(
        ReadCoordinateSpace(GetObject(object, JSONKeywords::CoordinateSpace, true)), flags);
    configuration.version = version;
    return configuration;
}

JSONValue WriteConfiguration(const Configuration& configuration, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    AddMember(object, JSONKeywords::Version, JSONValue(configuration.version), allocator);
    if (configuration.retargetingBehaviorFlags != velkori_RetargetingBehaviorFlags_None) {
        AddMember(object, JSONKeywords::RetargetingBehaviorFlags,
            WriteBehaviorFlags(configuration.retargetingBehaviorFlags, allocator), allocator);
    }
    AddMember(object, JSONKeywords::CoordinateSpace,
        WriteCoordinateSpace(configuration.coordinateSpace, allocator), allocator);
    return object;
}

} // namespace Velkori_Utility
