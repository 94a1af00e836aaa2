#include "document/MathJSON.h"

#include "document/JSONKeywords.h"
#include "document/RapidJSONHelpers.h"

namespace Velkori_Utility {

using RapidJSONHelpers::AddMember;
using RapidJSONHelpers::MakeNumber;

// Braces, not parentheses, around the numbers that are read below: they fix the order of reading, and so the
// order of the lines about missing keys.

namespace {

float GetFloat(const JSONValue& object, const char* key, float defaultValue) {
    return RapidJSONHelpers::NarrowToFloat(RapidJSONHelpers::GetDouble(object, key, defaultValue, true));
}

} // namespace

Vector3f ReadVector3f(const JSONValue& object) {
    return {GetFloat(object, JSONKeywords::X, 0.0F), GetFloat(object, JSONKeywords::Y, 0.0F),
        GetFloat(object, JSONKeywords::Z, 0.0F)};
}

JSONValue WriteVector3f(const Vector3f& vector, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    AddMember(object, JSONKeywords::X, MakeNumber(vector.x), allocator);
    AddMember(object, JSONKeywords::Y, MakeNumber(vector.y), allocator);
    AddMember(object, JSONKeywords::Z, MakeNumber(vector.z), allocator);
    return object;
}

Quaternionf ReadQuaternionf(const JSONValue& object) {
    constexpr Quaternionf Default = Quaternionf::Identity;
    return {GetFloat(object, JSONKeywords::X, Default.x), GetFloat(object, JSONKeywords::Y, Default.y),
        GetFloat(object, JSONKeywords::Z, Default.z), GetFloat(object, JSONKeywords::W, Default.w)};
}

JSONValue WriteQuaternionf(const Quaternionf& rotation, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    AddMember(object, JSONKeywords::X, MakeNumber(rotation.x), allocator);
    AddMember(object, JSONKeywords::Y, MakeNumber(rotation.y), allocator);
    AddMember(object, JSONKeywords::Z, MakeNumber(rotation.z), allocator);
    AddMember(object, JSONKeywords::W, MakeNumber(rotation.w), allocator);
    return object;
}

JointPose ReadJointPose(const JSONValue& object) {
    const Quaternionf rotation =
        ReadQuaternionf(RapidJSONHelpers::GetObject(object, JSONKeywords::Rotation, true));
    const Vector3f position = ReadVector3f(RapidJSONHelpers::GetObject(object, JSONKeywords::Position, true));
    const auto scale =
        RapidJSONHelpers::NarrowToFloat(RapidJSONHelpers::GetDouble(object, JSONKeywords::Scale, 1.0, false));
    return {rotation, position, Vector3f(scale, scale, scale)};
}

JSONValue WriteJointPose(const JointPose& pose, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    AddMember(object, JSONKeywords::Position, WriteVector3f(pose.position, allocator), allocator);
    AddMember(object, JSONKeywords::Rotation, WriteQuaternionf(pose.orientation, allocator), allocator);
    if (pose.scale != Vector3f::One) {
        AddMember(object, JSONKeywords::Scale, MakeNumber(pose.scale.x), allocator);
    }
    return object;
}

} // namespace Velkori_Utility
