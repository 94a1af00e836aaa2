#include "document/ConfigDocument.h"

#include "document/ConfigurationJSON.h"
#include "document/JSONKeywords.h"
#include "document/JointMappingJSON.h"
#include "document/RapidJSONHelpers.h"
#include "document/SkeletonJSON.h"

#include <rapidjson/prettywriter.h>

namespace Velkori_Utility {

using RapidJSONHelpers::AddMember;
using RapidJSONHelpers::GetObject;

namespace {

constexpr std::size_t InitialTextCapacity = 256;

using PrettyWriter =
    rapidjson::PrettyWriter<JSONText, rapidjson::UTF8<>, rapidjson::UTF8<>, ThrowingAllocator>;

// The object of both mappings, empty where there is none. Each of the two looks it up, and what is wrong with
// it is told for each; a member of another kind is left to their reader to refuse.
const JSONValue& FindMappings(const JSONValue& document) {
    if (!document.IsObject()) {
        return GetObject(document, JSONKeywords::Mapping, false);
    }
    static const JSONValue none(rapidjson::kObjectType);
    const JSONValue* mappings =
        RapidJSONHelpers::FindMemberByKey(document, JSONKeywords::Mapping, rapidjson::kObjectType, false);
    return mappings != nullptr ? *mappings : none;
}

UtilityConfigInitializationParams ReadConfig(
    LogMsgMap& messages, const JSONValue& document, const CoordinateSpace& processSpace) {
    Configuration config = ReadConfiguration(GetObject(document, JSONKeywords::Config, true));
    // What the document says of its own space is judged here: from now on the configuration has the
    // process's.
    config.CheckIsValid(messages);
    const JointPose conversion = config.coordinateSpace.CalculateCoordinateSpaceConversion(processSpace);
    config.coordinateSpace = processSpace;

    // One of the two skeletons is enough.
    const bool hasSource = RapidJSONHelpers::HasKey(document, JSONKeywords::Source);
    const bool hasTarget = RapidJSONHelpers::HasKey(document, JSONKeywords::Target);
    auto source = ReadSkeleton(messages, GetObject(document, JSONKeywords::Source, !hasTarget),
        velkori_SkeletonType_Source, conversion);
    auto target = ReadSkeleton(messages, GetObject(document, JSONKeywords::Target, !hasSource),
        velkori_SkeletonType_Target, conversion);
    std::string name = RapidJSONHelpers::GetString(document, JSONKeywords::Name, "", true);

    auto minMappings = ReadJointMappings(messages, JSONKeywords::Min, FindMappings(document), source, target);
    auto maxMappings = ReadJointMappings(messages, JSONKeywords::Max, FindMappings(document), source, target);
    return {std::move(name), config, std::move(source), std::move(target), std::move(minMappings),
        std::move(maxMappings)};
}

JSONValue WriteMinAndMaxMappings(const UtilityConfigData& config, JSONAllocator& allocator) {
    const auto write = [&](const JointMappingData& mappings) {
        return WriteJointMappings(
            mappings, config.GetSourceSkeleton(), config.GetTargetSkeleton(), allocator);
    };
    JSONValue object(rapidjson::kObjectType);
    AddMember(object, JSONKeywords::Min, write(config.GetMinMappingData()), allocator);
    AddMember(object, JSONKeywords::Max, write(config.GetMaxMappingData()), allocator);
    return object;
}

void WriteConfig(
    JSONDocument& out_document, const UtilityConfigData& config, const CoordinateSpace& coordinateSpace) {
    JSONAllocator& allocator = out_document.GetAllocator();
    Configuration head = config.GetConfiguration();
    const JointPose conversion = head.coordinateSpace.CalculateCoordinateSpaceConversion(coordinateSpace);
    head.coordinateSpace = coordinateSpace;

    out_document.SetObject();
    AddMember(out_document, JSONKeywords::Name, RapidJSONHelpers::MakeString(config.GetName(), allocator),
        allocator);
    AddMember(out_document, JSONKeywords::Config, WriteConfiguration(head, allocator), allocator);
    if (!config.GetSourceSkeleton().IsEmpty()) {
        AddMember(out_document, JSONKeywords::Source,
            WriteSkeleton(config.GetSourceSkeleton(), conversion, allocator), allocator);
    }
    if (!config.GetTargetSkeleton().IsEmpty()) {
        AddMember(out_document, JSONKeywords::Target,
            WriteSkeleton(config.GetTargetSkeleton(), conversion, allocator), allocator);
    }
    if (config.GetMinMappingData().GetMappingCount() > 0 ||
        config.GetMaxMappingData().GetMappingCount() > 0) {
        AddMember(out_document, JSONKeywords::Mapping, WriteMinAndMaxMappings(config, allocator), allocator);
    }
}

} // namespace

std::optional<UtilityConfigInitializationParams> ReadConfigDocument(
    LogMsgMap& messages, const char* text, const CoordinateSpace& processSpace) {
    JSONDocument document;
    if (!RapidJSONHelpers::ParseDocument(document, text)) {
        return std::nullopt;
    }
    return ReadConfig(messages, document, processSpace);
}

std::string WriteConfigDocument(const UtilityConfigData& config, const CoordinateSpace& coordinateSpace) {
    JSONDocument document;
    WriteConfig(document, config, coordinateSpace);
    ThrowingAllocator allocator;
    JSONText buffer(&allocator, InitialTextCapacity);
    PrettyWriter writer(buffer, &allocator);
    document.Accept(writer);
    return {buffer.GetString(), buffer.GetSize()};
}

} // namespace Velkori_Utility
