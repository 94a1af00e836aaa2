#include "core/UtilityConfigData.h"

#include "shared/JSONKeywords.h"
#include "shared/ProcessSpace.h"
#include "shared/RapidJSONHelpers.h"

#include <rapidjson/prettywriter.h>
#include <rapidjson/writer.h>

namespace Velkori_Utility {

namespace {

constexpr std::size_t InitialTextCapacity = 256;

using CompactWriter = rapidjson::Writer<JSONText, rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator>;
using PrettyWriter =
    rapidjson::PrettyWriter<JSONText, rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator>;

// The object of both mappings, empty where there is none. Each of the two looks it up, and what is wrong with
// it is told for each; a member of another kind is left to their reader to refuse.
const JSONValue& FindMappings(const JSONValue& document) {
    if (!document.IsObject()) {
        return RapidJSONHelpers::GetObject(document, JSONKeywords::Mapping, false);
    }
    static const JSONValue none(rapidjson::kObjectType);
    const JSONValue* mappings =
        RapidJSONHelpers::FindMemberByKey(document, JSONKeywords::Mapping, rapidjson::kObjectType, false);
    return mappings != nullptr ? *mappings : none;
}

bool IsSameSpace(const CoordinateSpace& a, const CoordinateSpace& b) {
    return a.up == b.up && a.forward == b.forward && a.right == b.right;
}

template <typename Writer>
std::string ToText(const JSONDocument& document) {
    ThrowingAllocator allocator;
    JSONText buffer(&allocator, InitialTextCapacity);
    Writer writer(buffer, &allocator);
    document.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

} // namespace

UtilityConfigInitializationParams UtilityConfigInitializationParams::CreateFromJSON(
    LogMsgMap& messages, const JSONValue& document) {
    using namespace RapidJSONHelpers;
    Configuration config(GetObject(document, JSONKeywords::Config, true));
    // What the document says of its own space is judged here: from now on the configuration has the
    // process's.
    config.CheckIsValid(messages);
    const CoordinateSpace processSpace(ProcessSpace());
    const JointPose conversion = config.coordinateSpace.CalculateCoordinateSpaceConversion(processSpace);
    config.coordinateSpace = processSpace;

    // One of the two skeletons is enough.
    const bool hasSource = RapidJSONHelpers::HasKey(document, JSONKeywords::Source);
    const bool hasTarget = RapidJSONHelpers::HasKey(document, JSONKeywords::Target);
    auto source = SkeletonInitializationParams::CreateFromJSON(messages,
        GetObject(document, JSONKeywords::Source, !hasTarget), velkori_SkeletonType_Source, conversion);
    auto target = SkeletonInitializationParams::CreateFromJSON(messages,
        GetObject(document, JSONKeywords::Target, !hasSource), velkori_SkeletonType_Target, conversion);
    std::string name = GetString(document, JSONKeywords::Name, "", true);

    auto minMappings =
        JointMappingData::CreateFromJSON(messages, JSONKeywords::Min, FindMappings(document), source, target);
    auto maxMappings =
        JointMappingData::CreateFromJSON(messages, JSONKeywords::Max, FindMappings(document), source, target);
    return {std::move(name), config, std::move(source), std::move(target), std::move(minMappings),
        std::move(maxMappings)};
}

bool UtilityConfigInitializationParams::CheckIsValid(LogMsgMap& messages) const {
    const bool configIsValid = config.CheckIsValid(messages);
    const bool sourceIsValid = sourceSkeleton.CheckIsValid(messages);
    const bool targetIsValid = targetSkeleton.CheckIsValid(messages);
    if (!configIsValid || !sourceIsValid || !targetIsValid) {
        return false;
    }
    const bool minIsValid = JointMappingData::ValidateSerializedMappingData(
        sourceSkeleton, targetSkeleton, minMappings, messages);
    const bool maxIsValid = JointMappingData::ValidateSerializedMappingData(
        sourceSkeleton, targetSkeleton, maxMappings, messages);
    return minIsValid && maxIsValid;
}

UtilityConfigData::UtilityConfigData(const InitializationParams& params)
    : name(params.name),
      config(params.config),
      sourceSkeleton(params.sourceSkeleton),
      targetSkeleton(params.targetSkeleton),
      minMappingData(sourceSkeleton, targetSkeleton, params.minMappings),
      maxMappingData(sourceSkeleton, targetSkeleton, params.maxMappings),
      lastWrittenCoordinateSpace(VELKORI_DEFAULT_COORDINATE_SPACE) {
    // A target joint that one set maps is mapped in both; where they disagree, the minimum set prevails.
    const std::vector<std::string>& jointNames = targetSkeleton.GetJointNames();
    JointMappingData::PopulateUnmappedJoints(jointNames, minMappingData, maxMappingData);
    JointMappingData::PopulateUnmappedJoints(jointNames, maxMappingData, minMappingData);
}

const SkeletonData& UtilityConfigData::GetSkeletonData(velkori_SkeletonType type) const {
    if (type == velkori_SkeletonType_Source) {
        return sourceSkeleton;
    }
    return targetSkeleton;
}

UtilityConfigData::InitializationParams UtilityConfigData::GenerateInitializationParams() const {
    return {name, config, sourceSkeleton.GenerateInitializationParams(false),
        targetSkeleton.GenerateInitializationParams(false), minMappingData.ToSerializedJointMappings(),
        maxMappingData.ToSerializedJointMappings()};
}

const std::string& UtilityConfigData::WriteToJSONString(
    const velkori_CoordinateSpace_& coordinateSpace, bool compact) const {
    const CoordinateSpace space(coordinateSpace);
    if (lastWrittenJSON.empty() || lastWrittenCompact != compact ||
        !IsSameSpace(lastWrittenCoordinateSpace, space)) {
        lastWrittenJSON.clear();
        lastWrittenCoordinateSpace = space;
        lastWrittenCompact = compact;
        JSONDocument document;
        WriteToJSON(document, space);
        lastWrittenJSON = compact ? ToText<CompactWriter>(document) : ToText<PrettyWriter>(document);
    }
    return lastWrittenJSON;
}

void UtilityConfigData::WriteToJSON(
    JSONDocument& out_document, const CoordinateSpace& coordinateSpace) const {
    JSONAllocator& allocator = out_document.GetAllocator();
    Configuration writtenConfig = config;
    writtenConfig.coordinateSpace = coordinateSpace;
    const JointPose conversion = config.coordinateSpace.CalculateCoordinateSpaceConversion(coordinateSpace);

    out_document.SetObject();
    out_document.AddMember(
        rapidjson::StringRef(JSONKeywords::Name), RapidJSONHelpers::MakeString(name, allocator), allocator);
    out_document.AddMember(
        rapidjson::StringRef(JSONKeywords::Config), writtenConfig.WriteToJSON(allocator), allocator);
    if (!sourceSkeleton.IsEmpty()) {
        out_document.AddMember(rapidjson::StringRef(JSONKeywords::Source),
            sourceSkeleton.WriteToJSON(conversion, allocator), allocator);
    }
    if (!targetSkeleton.IsEmpty()) {
        out_document.AddMember(rapidjson::StringRef(JSONKeywords::Target),
            targetSkeleton.WriteToJSON(conversion, allocator), allocator);
    }
    if (minMappingData.GetMappingCount() > 0 || maxMappingData.GetMappingCount() > 0) {
        out_document.AddMember(
            rapidjson::StringRef(JSONKeywords::Mapping), WriteJointMappingsToJSON(allocator), allocator);
    }
}

JSONValue UtilityConfigData::WriteJointMappingsToJSON(JSONAllocator& allocator) const {
    JSONValue mappings(rapidjson::kObjectType);
    mappings.AddMember(
        rapidjson::StringRef(JSONKeywords::Min), minMappingData.WriteToJSON(allocator), allocator);
    mappings.AddMember(
        rapidjson::StringRef(JSONKeywords::Max), maxMappingData.WriteToJSON(allocator), allocator);
    return mappings;
}

} // namespace Velkori_Utility
