#pragma once

#include "document/RapidJSON.h"

#include <string>
#include <string_view>
#include <vector>

// Typed reading of a document that may hold anything. Nothing here throws on data or fails: a missing or
// mistyped value gives an error line in the log and a default, and validation of what was read rejects the
// document later.
//
// Every getter takes a value that is expected to be an object, and a key. `required` decides one thing only:
// whether a missing key is logged.
namespace Velkori_Utility::RapidJSONHelpers {

// Parses a whole text. False if it isn't valid JSON. Neither parsing nor tearing the document down recurses,
// so that a text may be nested as deeply as it likes on a thread with a small stack.
bool ParseDocument(JSONDocument& out_document, const char* text);

// The word that messages use for a type; "nullType" for whatever isn't in the table.
const char* GetDataTypeString(rapidjson::Type type);

// The member's value, or null. The first of several members with the key wins. A member of another type than
// `expectedType` is refused, with a line, only if exactly one of the two is a boolean: readers check for
// themselves what kind they really got.
const JSONValue* FindMemberByKey(
    const JSONValue& value, std::string_view key, rapidjson::Type expectedType, bool required);

std::string GetString(
    const JSONValue& value, std::string_view key, std::string_view defaultText, bool required);
double GetDouble(const JSONValue& value, std::string_view key, double defaultValue, bool required);
bool GetBool(const JSONValue& value, std::string_view key, bool defaultValue, bool required);

// References into `value`, or to a static empty array or object, so that a chain of getters needs no null
// checks.
const JSONValue& GetArray(const JSONValue& value, std::string_view key, bool required);
const JSONValue& GetObject(const JSONValue& value, std::string_view key, bool required);

// The strings of an array. An element that isn't a string is reported and skipped, and later ones move up.
std::vector<std::string> GetStringArray(const JSONValue& value, std::string_view key, bool required);

// The same readers for a member that is at hand already, as a walk over an object's members gives it.
std::string ReadString(const JSONValue& member, std::string_view key, std::string_view defaultText);
std::vector<std::string> ReadStringArray(const JSONValue& member, std::string_view key);

// False for what is no object.
inline bool HasKey(const JSONValue& value, const char* key) {
    return value.IsObject() && value.HasMember(key);
}

// The characters of a string, which may hold NULs.
inline std::string_view TextOf(const JSONValue& text) {
    return {text.GetString(), text.GetStringLength()};
}

// Appends a member to an object. The key outlives the document: it is one of JSONKeywords or of the public
// header's tables.
inline void AddMember(JSONValue& object, const char* key, JSONValue&& value, JSONAllocator& allocator) {
    object.AddMember(rapidjson::StringRef(key), value, allocator);
}

// A value for an allocator's document that owns a copy of the text.
JSONValue MakeString(std::string_view text, JSONAllocator& allocator);

// A document can't hold nan or infinities: nan is written as 0, an infinity as the largest number of its
// sign.
JSONValue MakeNumber(float number);

// Beyond the range of float, the infinity of the number's sign.
float NarrowToFloat(double number);

} // namespace Velkori_Utility::RapidJSONHelpers
