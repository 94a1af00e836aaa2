// The JSON forms of the math types.

#include "shared/DataTypes.h"
#include "shared/JSONKeywords.h"
#include "shared/RapidJSONHelpers.h"

namespace Velkori_Utility {

// Braces, not parentheses, around the numbers that are read below: they fix the order of reading, and so the
// order of the lines about missing keys.

namespace {

float GetFloat(const JSONValue& value, const char* key, float defaultValue) {
    return RapidJSONHelpers::NarrowToFloat(RapidJSONHelpers::GetDouble(value, key, defaultValue, true));
}

void AddFloat(JSONValue& object, const char* key, float number, JSONAllocator& allocator) {
    object.AddMember(rapidjson::StringRef(key), RapidJSONHelpers::MakeNumber(number), allocator);
}

} // namespace

Vector3f::Vector3f(const JSONValue& value)
    : Vector3f{GetFloat(value, JSONKeywords::X, 0.0F), GetFloat(value, JSONKeywords::Y, 0.0F),
          GetFloat(value, JSONKeywords::Z, 0.0F)} {}

JSONValue Vector3f::WriteToJSON(JSONAllocator& allocator) const {
    JSONValue object(rapidjson::kObjectType);
    AddFloat(object, JSONKeywords::X, x, allocator);
    AddFloat(object, JSONKeywords::Y, y, allocator);
    AddFloat(object, JSONKeywords::Z, z, allocator);
    return object;
}

// A rotation of which nothing is told is the identity.
Quaternionf::Quaternionf(const JSONValue& value)
    : Quaternionf{GetFloat(value, JSONKeywords::X, Identity.x), GetFloat(value, JSONKeywords::Y, Identity.y),
          GetFloat(value, JSONKeywords::Z, Identity.z), GetFloat(value, JSONKeywords::W, Identity.w)} {}

JSONValue Quaternionf::WriteToJSON(JSONAllocator& allocator) const {
    JSONValue object(rapidjson::kObjectType);
    AddFloat(object, JSONKeywords::X, x, allocator);
    AddFloat(object, JSONKeywords::Y, y, allocator);
    AddFloat(object, JSONKeywords::Z, z, allocator);
    AddFloat(object, JSONKeywords::W, w, allocator);
    return object;
}

JointPose::JointPose(const JSONValue& value)
    : orientation(RapidJSONHelpers::GetObject(value, JSONKeywords::Rotation, true)),
      position(RapidJSONHelpers::GetObject(value, JSONKeywords::Position, true)) {
    const auto uniformScale =
        RapidJSONHelpers::NarrowToFloat(RapidJSONHelpers::GetDouble(value, JSONKeywords::Scale, 1.0, false));
    scale = Vector3f(uniformScale, uniformScale, uniformScale);
}

JSONValue JointPose::WriteToJSON(JSONAllocator& allocator) const {
    JSONValue object(rapidjson::kObjectType);
    object.AddMember(
        rapidjson::StringRef(JSONKeywords::Position), position.WriteToJSON(allocator), allocator);
    object.AddMember(
        rapidjson::StringRef(JSONKeywords::Rotation), orientation.WriteToJSON(allocator), allocator);
    if (scale != Vector3f::One) {
        AddFloat(object, JSONKeywords::Scale, scale.x, allocator);
    }
    return object;
}

} // namespace Velkori_Utility
