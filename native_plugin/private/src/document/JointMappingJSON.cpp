// The mapping part of a document: target joint name to its mapping, in the simple form of one set or the
// double form of two.

#include "document/JointMappingJSON.h"

#include "document/JSONKeywords.h"
#include "document/RapidJSONHelpers.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace Velkori_Utility {

using RapidJSONHelpers::AddMember;

namespace {

constexpr std::string_view Prefix = "[JointMappingData::CreateFromJSON] ";

// The enumerator that stands in a table of words for its position.
template <typename Enum, std::size_t Count>
std::optional<Enum> FindWord(const std::array<const char*, Count>& words, std::string_view text) {
    const auto found = std::find(words.begin(), words.end(), text);
    return found == words.end() ? std::nullopt : std::optional(static_cast<Enum>(found - words.begin()));
}

bool HasObjectMember(const JSONValue& value, const char* key) {
    const auto member = value.FindMember(key);
    return member != value.MemberEnd() && member->value.IsObject();
}

// Reads one of the two mapping objects of a document.
class MappingParser {
  public:
    MappingParser(LogMsgMap& log, const char* name, const SkeletonInitializationParams& sourceParams,
        const SkeletonInitializationParams& targetParams)
        : messages(log), mappingName(name), source(sourceParams), target(targetParams) {
        const int jointCount = static_cast<int>(target.jointNames.size());
        sourceMappings.initialize(0, jointCount);
        targetMappings.initialize(0, jointCount);
    }

    // False if there is nothing to map to, which ends the reading.
    bool ParseMember(std::string_view targetJointName, const JSONValue& value) {
        if (!value.IsObject()) {
            Error({Prefix, "Mapping Entries must be JSON object / map type. Found type ",
                RapidJSONHelpers::GetDataTypeString(value.GetType()), "for key \"", targetJointName, "\""});
            return true;
        }
        if (target.jointNames.empty()) {
            Error({Prefix, "Invalid mapping data. Target Skeleton is empty."});
            return false;
        }
        const int* targetJoint = target.jointNameToIndex.Find(targetJointName);
        if (targetJoint == nullptr) {
            Error({Prefix, "Mapping Entry - Cannot find Target Joint named \"", targetJointName, "\""});
        } else if (!HasObjectMember(value, JSONKeywords::Source) &&
                   !HasObjectMember(value, JSONKeywords::Target)) {
            const std::string typeName =
                RapidJSONHelpers::GetString(value, JSONKeywords::Type, JSONKeywords::Source, false);
            ParseJSONToSerializedJointMapping(value, targetJointName, *targetJoint, typeName);
        } else {
            ParseDoubleForm(value, targetJointName, *targetJoint);
        }
        return true;
    }

    std::vector<SerializedJointMapping> Finish() const {
        std::vector<SerializedJointMapping> mappings = sourceMappings.ToValueVector();
        for (const auto& [joint, mapping] : targetMappings) {
            mappings.push_back(mapping);
        }
        return mappings;
    }

  private:
    void Error(std::initializer_list<std::string_view> pieces) {
        AddMessage(messages, LogMsgCategory::Error, pieces);
    }

    void Warn(std::initializer_list<std::string_view> pieces) {
        AddMessage(messages, LogMsgCategory::Warning, pieces);
    }

    void ParseDoubleForm(const JSONValue& value, std::string_view targetJointName, int targetJoint) {
        for (const auto& member : value.GetObject()) {
            const std::string_view key = RapidJSONHelpers::TextOf(member.name);
            if (key == JSONKeywords::Source || key == JSONKeywords::Target) {
                ParseJSONToSerializedJointMapping(
                    member.value, targetJointName, targetJoint, std::string(key));
            } else {
                Warn({Prefix, "Unexpected key \"", key, "\" in Mapping Entry for Target Joint named \"",
                    targetJointName, "\".  Skipping Entry."});
            }
        }
    }

    void ParseJSONToSerializedJointMapping(const JSONValue& entry, std::string_view targetJointName,
        int targetJoint, const std::string& typeName) {
        const auto type = FindWord<JointMappingType>(JointMappingTypeStrings, typeName);
        if (!type) {
            Error({Prefix, "Unknown Input Skeleton Type \"", typeName, "\" for ", mappingName,
                " joint mapping."});
            return;
        }
        const bool isSource = *type == velkori_SkeletonType_Source;
        const SkeletonInitializationParams& entrySkeleton = isSource ? source : target;
        if (entrySkeleton.jointNames.empty()) {
            Error({Prefix, "Mapping Entry for Target Joint named \"", targetJointName,
                "\" has references to empty \"", typeName, "\" skeleton."});
            return;
        }
        FastRangedIntegralMap<int, SerializedJointMapping>& map = isSource ? sourceMappings : targetMappings;
        if (map.contains(targetJoint)) {
            Warn({Prefix, "Duplicate ", mappingName, " Mapping Entry for Target Joint named \"",
                targetJointName, "\".  Skipping Duplicate."});
            return;
        }
        const SerializedJointMapping mapping = {
            targetJoint, *type, ParseBehavior(entry), ParseEntries(entry, entrySkeleton, typeName)};
        if (mapping.entries.empty()) {
            Warn({Prefix, "No Valid Mapping Entries defined for ", mappingName,
                " joint mapping. Skipping joint mapping."});
        } else {
            map.insert(targetJoint, mapping);
        }
    }

    JointMappingBehaviorType ParseBehavior(const JSONValue& entry) {
        const std::string text =
            RapidJSONHelpers::GetString(entry, JSONKeywords::Behavior, JSONKeywords::Normal, false);
        const auto behavior = FindWord<JointMappingBehaviorType>(JointMappingBehaviorTypeStrings, text);
        if (!behavior) {
            Warn({Prefix, "Unknown Blend Behavior \"", text, "\" for ", mappingName,
                " joint mapping.  Falling back to use Normal Blend Behavior."});
            return velkori_JointMappingBehaviorType_Normal;
        }
        return *behavior;
    }

    std::vector<velkori_JointMappingEntry_> ParseEntries(const JSONValue& entry,
        const SkeletonInitializationParams& entrySkeleton, const std::string& typeName) {
        std::vector<velkori_JointMappingEntry_> entries;
        const JSONValue& weightsByJoint = RapidJSONHelpers::GetObject(entry, JSONKeywords::Mappings, true);
        for (const auto& member : weightsByJoint.GetObject()) {
            const std::string_view name = RapidJSONHelpers::TextOf(member.name);
            const int* joint = entrySkeleton.jointNameToIndex.Find(name);
            if (joint == nullptr) {
                Error({Prefix, "Could not find ", typeName, " joint named \"", name, "\" in ", mappingName,
                    " joint mapping."});
                continue;
            }
            const float rotationWeight = ParseWeight(member.value, JSONKeywords::WeightRotation);
            const float positionWeight = ParseWeight(member.value, JSONKeywords::WeightPosition);
            if (rotationWeight == 0.0F && positionWeight == 0.0F) {
                Warn({Prefix, "Mapping entry for ", typeName, " joint named \"", name, "\" in ", mappingName,
                    " joint mapping has zero position weight and zero rotation weight.  Skipping entry."});
            } else {
                entries.push_back({*joint, rotationWeight, positionWeight});
            }
        }
        return entries;
    }

    static float ParseWeight(const JSONValue& weights, const char* key) {
        return RapidJSONHelpers::NarrowToFloat(RapidJSONHelpers::GetDouble(weights, key, 1.0, true));
    }

    LogMsgMap& messages;
    const char* mappingName;
    const SkeletonInitializationParams& source;
    const SkeletonInitializationParams& target;
    FastRangedIntegralMap<int, SerializedJointMapping> sourceMappings;
    FastRangedIntegralMap<int, SerializedJointMapping> targetMappings;
};

JSONValue MakeWord(const char* word) {
    return JSONValue(rapidjson::StringRef(word));
}

JSONValue WriteEntries(
    const JointMappingSet& set, const SkeletonData& entrySkeleton, JSONAllocator& allocator) {
    JSONValue weightsByJoint(rapidjson::kObjectType);
    for (const JointMappingEntry& entry : set.GetEntries()) {
        JSONValue weights(rapidjson::kObjectType);
        AddMember(weights, JSONKeywords::WeightPosition,
            RapidJSONHelpers::MakeNumber(static_cast<float>(entry.positionWeight)), allocator);
        AddMember(weights, JSONKeywords::WeightRotation,
            RapidJSONHelpers::MakeNumber(static_cast<float>(entry.rotationWeight)), allocator);
        weightsByJoint.AddMember(
            RapidJSONHelpers::MakeString(entrySkeleton.GetJointName(entry.jointIndex), allocator), weights,
            allocator);
    }
    return weightsByJoint;
}

// The type is told where a joint has one set alone; of two, each stands under its type.
JSONValue WriteSet(
    const JointMappingSet& set, const SkeletonData& entrySkeleton, bool writeType, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    if (writeType) {
        AddMember(object, JSONKeywords::Type, MakeWord(JointMappingTypeStrings[set.GetType()]), allocator);
    }
    AddMember(object, JSONKeywords::Behavior, MakeWord(JointMappingBehaviorTypeStrings[set.GetBehavior()]),
        allocator);
    AddMember(object, JSONKeywords::Mappings, WriteEntries(set, entrySkeleton, allocator), allocator);
    return object;
}

} // namespace

std::vector<SerializedJointMapping> ReadJointMappings(LogMsgMap& messages, const char* mappingName,
    const JSONValue& object, const SkeletonInitializationParams& source,
    const SkeletonInitializationParams& target) {
    if (!object.IsObject()) {
        AddMessage(messages, LogMsgCategory::Error,
            {Prefix, "Invalid mapping data.  Structure is not a JSON object/map."});
        return {};
    }
    const JSONValue* mappings =
        RapidJSONHelpers::FindMemberByKey(object, mappingName, rapidjson::kObjectType, !object.ObjectEmpty());
    if (mappings == nullptr) {
        return {};
    }
    if (!mappings->IsObject()) {
        AddMessage(messages, LogMsgCategory::Error,
            {Prefix, "Cannot parse Joint Mapping data.Must be an Object / Map JSON type.Type is ",
                RapidJSONHelpers::GetDataTypeString(mappings->GetType())});
        return {};
    }
    MappingParser parser(messages, mappingName, source, target);
    for (const auto& member : mappings->GetObject()) {
        if (!parser.ParseMember(RapidJSONHelpers::TextOf(member.name), member.value)) {
            return {};
        }
    }
    return parser.Finish();
}

// A set whose entries were all dropped is written, too: it maps its joint, though it drives nothing.
JSONValue WriteJointMappings(const JointMappingData& mappings, const SkeletonData& source,
    const SkeletonData& target, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    for (const int joint : mappings.GetMappedTargetJoints()) {
        const JointMappingSet* sourceSet = mappings.GetSourceMappings().Find(joint);
        const JointMappingSet* targetSet = mappings.GetTargetMappings().Find(joint);
        JSONValue mapping(rapidjson::kObjectType);
        if (sourceSet == nullptr) {
            mapping = WriteSet(*targetSet, target, true, allocator);
        } else if (targetSet == nullptr) {
            mapping = WriteSet(*sourceSet, source, true, allocator);
        } else {
            AddMember(
                mapping, JSONKeywords::Source, WriteSet(*sourceSet, source, false, allocator), allocator);
            AddMember(
                mapping, JSONKeywords::Target, WriteSet(*targetSet, target, false, allocator), allocator);
        }
        object.AddMember(
            RapidJSONHelpers::MakeString(target.GetJointName(joint), allocator), mapping, allocator);
    }
    return object;
}

} // namespace Velkori_Utility
