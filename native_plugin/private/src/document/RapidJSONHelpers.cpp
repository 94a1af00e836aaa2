#include "document/RapidJSONHelpers.h"

#include "shared/Log.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace Velkori_Utility::RapidJSONHelpers {

namespace {

bool IsBooleanType(rapidjson::Type type) {
    return type == rapidjson::kFalseType || type == rapidjson::kTrueType;
}

// A key may come from a document and is not NUL-terminated: it is printed with "%.*s", this being the width.
// A hostile key of any length must not be repeated whole in thousands of lines.
int PrintedLength(std::string_view text) {
    constexpr std::size_t MaxPrintedLength = 1024;
    return static_cast<int>(std::min(text.size(), MaxPrintedLength));
}

bool IsUsableKey(std::string_view key, rapidjson::Type expectedType) {
    if (key.empty()) {
        Log(velkori_LogLevel_Error, "Cannot retrieve JSON %s - invalid Key or empty string passed for Key",
            GetDataTypeString(expectedType));
        return false;
    }
    return true;
}

bool IsAcceptedType(const JSONValue& member, std::string_view key, rapidjson::Type expectedType) {
    if (member.GetType() == expectedType || IsBooleanType(expectedType) == member.IsBool()) {
        return true;
    }
    Log(velkori_LogLevel_Error, "JSON value for key \"%.*s\" type mismatch.  Expected %s, found %s.",
        PrintedLength(key), key.data(), GetDataTypeString(expectedType), GetDataTypeString(member.GetType()));
    return false;
}

const JSONValue& EmptyArray() {
    static const JSONValue empty(rapidjson::kArrayType);
    return empty;
}

const JSONValue& EmptyObject() {
    static const JSONValue empty(rapidjson::kObjectType);
    return empty;
}

// What IsAcceptedType lets through may be of any other kind, so each use of a member checks its kind first.
const JSONValue& RefuseArray(const JSONValue& value) {
    Log(velkori_LogLevel_Error, "Cannot retrieve JSON Array, passed rapidJson Value is of type %s",
        GetDataTypeString(value.GetType()));
    return EmptyArray();
}

const JSONValue& RefuseObject(const JSONValue& value) {
    Log(velkori_LogLevel_Error, "Cannot retrieve JSON Object, rapidJson Value is of type %s",
        GetDataTypeString(value.GetType()));
    return EmptyObject();
}

const JSONValue& ArrayOrEmpty(const JSONValue& member) {
    return member.IsArray() ? member : RefuseArray(member);
}

const JSONValue& ObjectOrEmpty(const JSONValue& member) {
    return member.IsObject() ? member : RefuseObject(member);
}

std::string TextOrDefault(const JSONValue& value, std::string_view defaultText) {
    return value.IsString() ? std::string(value.GetString(), value.GetStringLength())
                            : std::string(defaultText);
}

std::vector<std::string> ToStrings(const JSONValue& array, std::string_view key) {
    std::vector<std::string> strings;
    strings.reserve(array.Size());
    for (const JSONValue& element : array.GetArray()) {
        if (element.IsString()) {
            strings.emplace_back(element.GetString(), element.GetStringLength());
        } else {
            Log(velkori_LogLevel_Error,
                "Invalid Data - element named %.*s must be a string type, element is a %s JSON type",
                PrintedLength(key), key.data(), GetDataTypeString(element.GetType()));
        }
    }
    return strings;
}

} // namespace

bool ParseDocument(JSONDocument& out_document, const char* text) {
    return !out_document.Parse<rapidjson::kParseIterativeFlag>(text).HasParseError();
}

const char* GetDataTypeString(rapidjson::Type type) {
    switch (type) {
    case rapidjson::kFalseType:
    case rapidjson::kTrueType:
        return "bool";
    case rapidjson::kObjectType:
        return "object";
    case rapidjson::kArrayType:
        return "array";
    case rapidjson::kStringType:
        return "string";
    case rapidjson::kNumberType:
        return "number";
    case rapidjson::kNullType:
        break;
    }
    return "nullType";
}

const JSONValue* FindMemberByKey(
    const JSONValue& value, std::string_view key, rapidjson::Type expectedType, bool required) {
    if (!IsUsableKey(key, expectedType)) {
        return nullptr;
    }
    if (!value.IsObject()) {
        Log(velkori_LogLevel_Error, "Cannot retrieve JSON key \"%.*s\" - JSON Value is not an Object/Map",
            PrintedLength(key), key.data());
        return nullptr;
    }
    const JSONValue name(rapidjson::StringRef(key.data(), static_cast<rapidjson::SizeType>(key.size())));
    const auto member = value.FindMember(name);
    if (member == value.MemberEnd()) {
        if (required) {
            Log(velkori_LogLevel_Error, "Cannot find key named \"%.*s\" in JSON Object/Map",
                PrintedLength(key), key.data());
        }
        return nullptr;
    }
    return IsAcceptedType(member->value, key, expectedType) ? &member->value : nullptr;
}

std::string GetString(
    const JSONValue& value, std::string_view key, std::string_view defaultText, bool required) {
    if (!value.IsObject()) {
        Log(velkori_LogLevel_Error, "Cannot retrieve JSON String, rapidJson Value is of type %s",
            GetDataTypeString(value.GetType()));
        return std::string(defaultText);
    }
    const JSONValue* member = FindMemberByKey(value, key, rapidjson::kStringType, required);
    return member == nullptr ? std::string(defaultText) : TextOrDefault(*member, defaultText);
}

double GetDouble(const JSONValue& value, std::string_view key, double defaultValue, bool required) {
    if (!value.IsObject()) {
        Log(velkori_LogLevel_Error, "Cannot retrieve JSON double Value, rapidJson Value is of type %s",
            GetDataTypeString(value.GetType()));
        return defaultValue;
    }
    const JSONValue* member = FindMemberByKey(value, key, rapidjson::kNumberType, required);
    return member == nullptr || !member->IsNumber() ? defaultValue : member->GetDouble();
}

bool GetBool(const JSONValue& value, std::string_view key, bool defaultValue, bool required) {
    if (!value.IsObject()) {
        Log(velkori_LogLevel_Error, "Cannot retrieve JSON Bool, rapidJson Value is of type %s",
            GetDataTypeString(value.GetType()));
        return defaultValue;
    }
    const JSONValue* member = FindMemberByKey(value, key, rapidjson::kTrueType, required);
    return member == nullptr ? defaultValue : member->IsTrue();
}

const JSONValue& GetArray(const JSONValue& value, std::string_view key, bool required) {
    if (!value.IsObject()) {
        return RefuseArray(value);
    }
    const JSONValue* member = FindMemberByKey(value, key, rapidjson::kArrayType, required);
    return member == nullptr ? EmptyArray() : ArrayOrEmpty(*member);
}

const JSONValue& GetObject(const JSONValue& value, std::string_view key, bool required) {
    if (!value.IsObject()) {
        return RefuseObject(value);
    }
    const JSONValue* member = FindMemberByKey(value, key, rapidjson::kObjectType, required);
    return member == nullptr ? EmptyObject() : ObjectOrEmpty(*member);
}

std::vector<std::string> GetStringArray(const JSONValue& value, std::string_view key, bool required) {
    return ToStrings(GetArray(value, key, required), key);
}

std::string ReadString(const JSONValue& member, std::string_view key, std::string_view defaultText) {
    return IsUsableKey(key, rapidjson::kStringType) && IsAcceptedType(member, key, rapidjson::kStringType)
               ? TextOrDefault(member, defaultText)
               : std::string(defaultText);
}

std::vector<std::string> ReadStringArray(const JSONValue& member, std::string_view key) {
    if (IsUsableKey(key, rapidjson::kArrayType) && IsAcceptedType(member, key, rapidjson::kArrayType)) {
        return ToStrings(ArrayOrEmpty(member), key);
    }
    return {};
}

JSONValue MakeString(std::string_view text, JSONAllocator& allocator) {
    return JSONValue(text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator);
}

JSONValue MakeNumber(float number) {
    constexpr float Largest = std::numeric_limits<float>::max();
    return JSONValue(static_cast<double>(std::isnan(number) ? 0.0F : std::clamp(number, -Largest, Largest)));
}

float NarrowToFloat(double number) {
    // What lies above rounds to infinity.
    constexpr double LargestThatRoundsDown = 0x1.fffffefffffffp127;
    if (std::abs(number) > LargestThatRoundsDown) {
        return std::copysign(std::numeric_limits<float>::infinity(), number > 0 ? 1.0F : -1.0F);
    }
    return static_cast<float>(number);
}

} // namespace Velkori_Utility::RapidJSONHelpers
