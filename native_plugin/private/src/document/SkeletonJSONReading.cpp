#include "core/PoseConversion.h"
#include "document/JSONKeywords.h"
#include "document/MathJSON.h"
#include "document/RapidJSONHelpers.h"
#include "document/SkeletonJSON.h"
#include "shared/FastRangedIntegralContainers.h"

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

// Root-space poses by joint index; a joint that the object doesn't name keeps the identity.
std::vector<JointPose> ReadRootSpacePose(LogMsgMap& messages, const JSONValue& object,
    const NameToIndexMap& nameToIndex, const JointPose& conversion) {
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
            poses[*index] = ReadJointPose(member.value);
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

std::vector<std::string> ReadParentJointNames(
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

// Always one name per known joint, empty where the object assigns none.
std::vector<std::string> ReadKnownJoints(const JSONValue& object) {
    std::vector<std::string> names(VELKORI_KNOWN_JOINT_COUNT);
    if (HasMembers(object)) {
        for (std::size_t i = 0; i < names.size(); ++i) {
            names[i] = RapidJSONHelpers::GetString(object, VELKORI_KNOWN_JOINT_NAMES[i], "", false);
        }
    }
    return names;
}

SkeletonInitializationParams::ManifestationMap ReadManifestations(
    LogMsgMap& messages, const JSONValue& object) {
    SkeletonInitializationParams::ManifestationMap manifestations;
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

} // namespace

SkeletonInitializationParams ReadSkeleton(LogMsgMap& messages, const JSONValue& object,
    velkori_SkeletonType skeletonType, const JointPose& conversion) {
    using namespace RapidJSONHelpers;
    const auto readPose = [&](const SkeletonInitializationParams& params, const char* key, bool required) {
        return ReadRootSpacePose(
            messages, GetObject(object, key, required), params.jointNameToIndex, conversion);
    };

    SkeletonInitializationParams params;
    const bool hasContent = HasContent(object);
    params.jointNames = GetStringArray(object, JSONKeywords::Joints, hasContent);
    params.jointNameToIndex =
        SkeletonInitializationParams::StringArrayToLookupMap(messages, params.jointNames);
    params.unscaledTPose =
        readPose(params, JSONKeywords::TPose, skeletonType == velkori_SkeletonType_Target && hasContent);
    params.blendShapeNames = GetStringArray(object, JSONKeywords::BlendShapes, false);
    params.parentJointNames = ReadParentJointNames(
        messages, GetObject(object, JSONKeywords::Hierarchy, false), params.jointNameToIndex);
    params.knownJointNames = ReadKnownJoints(GetObject(object, JSONKeywords::KnownJoints, false));
    params.autoMappingExcludedJoints = GetStringArray(object, JSONKeywords::AutoMappingExcludedJoints, false);
    params.manifestations =
        ReadManifestations(messages, GetObject(object, JSONKeywords::Manifestations, false));
    if (HasKey(object, JSONKeywords::TPoseMin) || HasKey(object, JSONKeywords::TPoseMax)) {
        params.minTPose = readPose(params, JSONKeywords::TPoseMin, true);
        params.maxTPose = readPose(params, JSONKeywords::TPoseMax, true);
    } else {
        params.minTPose = params.unscaledTPose;
        params.maxTPose = params.unscaledTPose;
    }
    return params;
}

} // namespace Velkori_Utility
