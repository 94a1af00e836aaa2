#include "Velkori_Utility.h"
#include "core/PoseConversion.h"
#include "core/SkeletonInitializationParams.h"
#include "shared/FastRangedIntegralContainers.h"
#include "shared/JSONKeywords.h"
#include "shared/RapidJSONHelpers.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace Velkori_Utility {

namespace {

bool HasContent(const JSONValue& value) {
    if (value.IsObject()) {
        return !value.ObjectEmpty();
    }
    if (value.IsArray()) {
        return !value.Empty();
    }
    if (value.IsString()) {
        return value.GetStringLength() > 0;
    }
    return !value.IsNull();
}

bool HasMembers(const JSONValue& value) {
    return value.IsObject() && !value.ObjectEmpty();
}

// How long a list by joint index must be. A refused name leaves a gap in the indices, so this can be more
// than the number of names in the map.
int JointSlotCount(const NameToIndexMap& nameToIndex) {
    int count = 0;
    for (const auto& [name, index] : nameToIndex) {
        count = std::max(count, index + 1);
    }
    return count;
}

} // namespace

SkeletonInitializationParams SkeletonInitializationParams::CreateFromJSON(
    LogMsgMap& messages, const JSONValue& object, int skeletonType, const JointPose& conversion) {
    using namespace RapidJSONHelpers;
    const auto parsePose = [&](const SkeletonInitializationParams& params, const char* key, bool required) {
        return ParseRootSpacePoseData(
            messages, GetObject(object, key, required), params.jointNameToIndex, conversion);
    };

    SkeletonInitializationParams params;
    const bool hasContent = HasContent(object);
    params.jointNames = GetStringArray(object, JSONKeywords::Joints, hasContent);
    params.jointNameToIndex = StringArrayToLookupMap(messages, params.jointNames);
    params.unscaledTPose = parsePose(params, JSONKeywords::TPose, skeletonType == 1 && hasContent);
    params.blendShapeNames = GetStringArray(object, JSONKeywords::BlendShapes, false);
    params.parentJointNames = ParseParentJointNames(
        messages, GetObject(object, JSONKeywords::Hierarchy, false), params.jointNameToIndex);
    params.knownJointNames = ParseKnownJointsJSONData(GetObject(object, JSONKeywords::KnownJoints, false));
    params.autoMappingExcludedJoints = GetStringArray(object, JSONKeywords::AutoMappingExcludedJoints, false);
    params.manifestations =
        ParseManifestationData(messages, GetObject(object, JSONKeywords::Manifestations, false));
    if (RapidJSONHelpers::HasKey(object, JSONKeywords::TPoseMin) ||
        RapidJSONHelpers::HasKey(object, JSONKeywords::TPoseMax)) {
        params.minTPose = parsePose(params, JSONKeywords::TPoseMin, true);
        params.maxTPose = parsePose(params, JSONKeywords::TPoseMax, true);
    } else {
        params.minTPose = params.unscaledTPose;
        params.maxTPose = params.unscaledTPose;
    }
    return params;
}

NameToIndexMap SkeletonInitializationParams::StringArrayToLookupMap(
    LogMsgMap& messages, std::span<const std::string> names) {
    NameToIndexMap map;
    map.Reserve(names.size());
    int index = 0;
    for (const std::string& name : names) {
        if (map.Contains(name)) {
            AddMessage(messages, LogMsgCategory::Error,
                {"[SkeletonData::CreateFromJSON] Duplicate joint/blendshape name found in string array: \"",
                    name, "\""});
        } else if (name.empty()) {
            AddMessage(messages, LogMsgCategory::Error,
                {"[SkeletonData::CreateFromJSON] Name/label in joint/blendshape name array cannot be an "
                 "empty string"});
        } else {
            map.Insert(name, index);
        }
        ++index;
    }
    return map;
}

std::vector<JointPose> SkeletonInitializationParams::ParseRootSpacePoseData(LogMsgMap& messages,
    const JSONValue& object, const NameToIndexMap& nameToIndex, const JointPose& conversion) {
    if (!HasMembers(object)) {
        return {};
    }
    if (nameToIndex.IsEmpty()) {
        AddMessage(messages, LogMsgCategory::Error,
            {"[SkeletonData::CreateFromJSON] Cannot Parse PoseData - config has valid entries, but no joint "
             "names "
             "are defined."});
        return {};
    }

    std::vector<JointPose> poses(JointSlotCount(nameToIndex), JointPose::Identity);
    FastRangedIntegralSet<int> parsed(
        0, static_cast<int>(poses.size()) - 1, FastRangedIntegralSet<int>::EmptyInitialValues);
    for (const auto& member : object.GetObject()) {
        const std::string_view name = RapidJSONHelpers::TextOf(member.name);
        if (const int* index = nameToIndex.Find(name)) {
            poses[*index] = JointPose(member.value);
            parsed.insertInternal(*index);
        } else {
            AddMessage(messages, LogMsgCategory::Error,
                {"[SkeletonData::CreateFromJSON] Cannot find joint named \"", name,
                    "\" in config data when parsing TPose Data"});
        }
    }
    for (const auto& [name, index] : nameToIndex) {
        if (!parsed.contains(index)) {
            AddMessage(messages, LogMsgCategory::Warning,
                {"[SkeletonData::CreateFromJSON] TPose Data does not contain postion/rotation information "
                 "for joint "
                 "named: \"",
                    name, "\""});
        }
    }
    const PoseConversion convert(conversion);
    if (!convert.IsIdentity()) {
        for (JointPose& pose : poses) {
            pose = convert.Apply(pose);
        }
    }
    return poses;
}

std::vector<std::string> SkeletonInitializationParams::ParseParentJointNames(
    LogMsgMap& messages, const JSONValue& object, const NameToIndexMap& nameToIndex) {
    if (!HasMembers(object)) {
        return {};
    }
    std::vector<std::string> parentNames(JointSlotCount(nameToIndex));
    for (const auto& member : object.GetObject()) {
        const std::string_view child = RapidJSONHelpers::TextOf(member.name);
        if (const int* index = nameToIndex.Find(child)) {
            parentNames[*index] = RapidJSONHelpers::ReadString(member.value, child, "");
        } else {
            AddMessage(messages, LogMsgCategory::Error,
                {"[SkeletonData::CreateFromJSON] Cannot find child joint named \"", child,
                    "\" in config data when parsing child/parent joint pairs"});
        }
    }
    return parentNames;
}

std::vector<std::string> SkeletonInitializationParams::ParseKnownJointsJSONData(const JSONValue& object) {
    std::vector<std::string> names(VELKORI_KNOWN_JOINT_COUNT);
    if (HasMembers(object)) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            names[i] = RapidJSONHelpers::GetString(object, VELKORI_KNOWN_JOINT_NAMES[i], "", false);
        }
    }
    return names;
}

SkeletonInitializationParams::ManifestationMap SkeletonInitializationParams::ParseManifestationData(
    LogMsgMap& messages, const JSONValue& object) {
    ManifestationMap manifestations;
    if (!HasMembers(object)) {
        return manifestations;
    }
    manifestations.Reserve(object.MemberCount());
    // A name that comes again stands for the list of its first member, which isn't read again.
    std::set<std::string_view> seenNames;
    for (const auto& member : object.GetObject()) {
        const std::string_view name = RapidJSONHelpers::TextOf(member.name);
        if (manifestations.Contains(name)) {
            continue;
        }
        std::vector<std::string> jointNames;
        if (seenNames.insert(name).second) {
            jointNames = RapidJSONHelpers::ReadStringArray(member.value, name);
        }
        if (jointNames.empty()) {
            AddMessage(messages, LogMsgCategory::Warning,
                {"[SkeletonData::CreateFromJSON] Manifestation named \"", name,
                    "\" is empty or could not be parsed.  Ignoring Manifestation."});
        } else {
            manifestations.Insert(name, std::move(jointNames));
        }
    }
    return manifestations;
}

} // namespace Velkori_Utility
