#include "core/JointMappingData.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <limits>
#include <optional>
#include <tuple>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;
using Mappings = std::vector<SerializedJointMapping>;
// {joint, rotation weight, position weight}
using Entries = std::vector<std::tuple<int, float, float>>;
// All fields of a serialized mapping.
using Row = std::tuple<int, JointMappingType, JointMappingBehaviorType, Entries>;
using Rows = std::vector<Row>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto Normal = velkori_JointMappingBehaviorType_Normal;
constexpr auto Twist = velkori_JointMappingBehaviorType_Twist;
constexpr auto AlignedTwist = velkori_JointMappingBehaviorType_ChildAlignedTwist;
constexpr auto IKDerived = velkori_JointMappingBehaviorType_IKDerived;

const std::string Prefix = "[JointMappingData::CreateFromJSON] ";

TestSkeletons::Params MakeChain(const Texts& names) {
    std::vector<TestSkeletons::Joint> joints;
    for (const std::string& name : names) {
        joints.push_back({name, static_cast<int>(joints.size()) - 1, {0, 0.5F, 0.1F}});
    }
    return TestSkeletons::MakeParams(joints, TestSkeletons::InOrder(joints.size()));
}

const TestSkeletons::Params& SourceParams() {
    static const TestSkeletons::Params params = MakeChain({"hips", "spine", "head"});
    return params;
}

const TestSkeletons::Params& TargetParams() {
    static const TestSkeletons::Params params = MakeChain({"Pelvis", "Torso", "Skull", "Jaw"});
    return params;
}

const SourceSkeletonData& SourceSkeleton() {
    static const SourceSkeletonData skeleton(SourceParams());
    return skeleton;
}

const TargetSkeletonData& TargetSkeleton() {
    static const TargetSkeletonData skeleton(TargetParams());
    return skeleton;
}

SerializedJointMapping Map(
    int joint, JointMappingType type, JointMappingBehaviorType behavior, float weight = 1) {
    return {joint, type, behavior, {{0, weight, weight}}};
}

// Mappings between the two chains.
struct Data : JointMappingData {
    explicit Data(const Mappings& mappings)
        : JointMappingData(SourceSkeleton(), TargetSkeleton(), mappings) {}
};

Mappings Read(const std::string& document, LogMsgMap& messages) {
    return JointMappingData::CreateFromJSON(messages, "min", Parse(document), SourceParams(), TargetParams());
}

std::string Write(const JointMappingData& data) {
    JSONDocument document;
    return ToText(data.WriteToJSON(document.GetAllocator()));
}

Entries EntriesOf(const SerializedJointMapping& mapping) {
    Entries entries;
    for (const velkori_JointMappingEntry_& entry : mapping.entries) {
        entries.emplace_back(entry.jointIndex, entry.rotationWeight, entry.positionWeight);
    }
    return entries;
}

Rows RowsOf(const Mappings& mappings) {
    Rows rows;
    for (const SerializedJointMapping& mapping : mappings) {
        rows.emplace_back(mapping.targetJointIndex, mapping.type, mapping.behavior, EntriesOf(mapping));
    }
    return rows;
}

} // namespace

TEST(SerializedJointMapping, TakesTheFlatListOfEntriesInTurn) {
    const velkori_JointMapping_ heads[] = {{3, Source, Twist, 2}, {1, Target, Normal, 0},
        {0, static_cast<velkori_SkeletonType>(7), IKDerived, 1}};
    const velkori_JointMappingEntry_ entries[] = {{2, 0.1F, 0.2F}, {1, 0.3F, 0.4F}, {0, 0.5F, 0.6F}};
    // Any type but the source's is the target's.
    EXPECT_EQ(RowsOf(ConvertVelkoriMappingDefinitionToSerializedMapping({3, 3, heads, entries})),
        (Rows{{3, Source, Twist, {{2, 0.1F, 0.2F}, {1, 0.3F, 0.4F}}}, {1, Target, Normal, {}},
            {0, Target, IKDerived, {{0, 0.5F, 0.6F}}}}));
    EXPECT_TRUE(ConvertVelkoriMappingDefinitionToSerializedMapping({0, 0, nullptr, nullptr}).empty());
}

TEST(JointMappingDataJSON, ReadsTheSimpleAndTheDoubleForm) {
    const LogCapture capture;
    LogMsgMap messages;
    const Mappings mappings = Read(R"({"min":{
        "Skull":{"target":{"behavior":"ikDerived",
                           "mappings":{"Jaw":{"weightPosition":0.5,"weightRotation":0}}},
                 "source":{"behavior":"twist",
                           "mappings":{"head":{"weightRotation":0.25,"weightPosition":2},
                                       "hips":{"weightRotation":1e300,"weightPosition":0}}}},
        "Pelvis":{"mappings":{"hips":{"weightRotation":1,"weightPosition":1}}},
        "Torso":{"type":"target","behavior":"childAlignedTwist",
                 "mappings":{"Pelvis":{"weightRotation":1,"weightPosition":-3}}}}})",
        messages);
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogCapture::TakeLines().empty());
    constexpr float Infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(RowsOf(mappings),
        (Rows{{2, Source, Twist, {{2, 0.25F, 2.0F}, {0, Infinity, 0.0F}}},
            {0, Source, Normal, {{0, 1.0F, 1.0F}}}, {2, Target, IKDerived, {{3, 0.0F, 0.5F}}},
            {1, Target, AlignedTwist, {{0, 1.0F, -3.0F}}}}));
}

TEST(JointMappingDataJSON, ReportsWhatItCannotUseAndGoesOn) {
    const std::string good = R"("mappings":{"hips":{"weightRotation":1,"weightPosition":1}})";
    const std::string noneLeft =
        Prefix + "No Valid Mapping Entries defined for min joint mapping. Skipping joint mapping.";

    struct Case {
        std::string mapping;
        Texts errors;
        Texts warnings;
        // Of the mappings, besides the one that always follows.
        std::size_t usable;
    };

    const Case cases[] = {
        {R"("Jaw":[])",
            {Prefix + "Mapping Entries must be JSON object / map type. Found type arrayfor key \"Jaw\""}, {},
            0},
        {R"("Nose":{)" + good + "}", {Prefix + "Mapping Entry - Cannot find Target Joint named \"Nose\""}, {},
            0},
        // A name doesn't end at its first NUL.
        {R"("Jaw\u0000":{)" + good + "}",
            {Prefix + "Mapping Entry - Cannot find Target Joint named \"Jaw" + std::string(1, '\0') + "\""},
            {}, 0},
        {R"("Jaw":{"type":"middle",)" + good + "}",
            {Prefix + "Unknown Input Skeleton Type \"middle\" for min joint mapping."}, {}, 0},
        {R"("Jaw":{"behavior":"wild",)" + good + "}", {},
            {Prefix +
                "Unknown Blend Behavior \"wild\" for min joint mapping.  Falling back to use Normal Blend "
                "Behavior."},
            1},
        {R"("Jaw":{"source":{)" + good + R"(},"type":"target"})", {},
            {Prefix + "Unexpected key \"type\" in Mapping Entry for Target Joint named \"Jaw\".  Skipping "
                      "Entry."},
            1},
        {R"("Jaw":{)" + good + R"(},"Jaw":{"source":{)" + good + "}}", {},
            {Prefix + "Duplicate min Mapping Entry for Target Joint named \"Jaw\".  Skipping Duplicate."}, 1},
        {R"("Jaw":{"source":{)" + good + R"(},"target":7})", {}, {noneLeft}, 1},
        {R"("Jaw":{"source":7,)" + good + "}", {}, {}, 1},
        {R"("Jaw":{"mappings":{}})", {}, {noneLeft}, 0},
        {R"("Jaw":{"mappings":{"Skull":{},"spine":{"weightRotation":0,"weightPosition":1e-60}}})",
            {Prefix + "Could not find source joint named \"Skull\" in min joint mapping."},
            {Prefix + "Mapping entry for source joint named \"spine\" in min joint mapping has zero position "
                      "weight and zero rotation weight.  Skipping entry.",
                noneLeft},
            0},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        LogMsgMap messages;
        const Mappings mappings =
            Read(R"({"min":{)" + each.mapping + R"(,"Torso":{)" + good + "}}}", messages);
        EXPECT_EQ(messages[LogMsgCategory::Error], each.errors) << each.mapping;
        EXPECT_EQ(messages[LogMsgCategory::Warning], each.warnings) << each.mapping;
        EXPECT_EQ(mappings.size(), each.usable + 1) << each.mapping;
    }
}

TEST(JointMappingDataJSON, WeightsThatAreMissingAreOneAndSaidSo) {
    const LogCapture capture;
    LogMsgMap messages;
    const Mappings mappings =
        Read(R"({"min":{"Jaw":{"mappings":{"head":{"weightPosition":0.5},"hips":true}}}})", messages);
    ASSERT_EQ(mappings.size(), 1U);
    EXPECT_EQ(EntriesOf(mappings[0]), (Entries{{2, 1.0F, 0.5F}, {0, 1.0F, 1.0F}}));
    const std::string mistyped =
        "[ERROR]: Cannot retrieve JSON double Value, rapidJson Value is of type bool";
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{"[ERROR]: Cannot find key named \"weightRotation\" in JSON Object/Map", mistyped, mistyped}));
    EXPECT_TRUE(messages.empty());
}

TEST(JointMappingDataJSON, AnAbsentPartIsSilentAndAMistypedOneIsAnError) {
    const std::string mistyped =
        Prefix + "Cannot parse Joint Mapping data.Must be an Object / Map JSON type.Type is ";

    struct Case {
        const char* document;
        Texts lines;
        Texts errors;
    };

    const Case cases[] = {
        {"{}", {}, {}},
        {R"({"max":{}})", {"[ERROR]: Cannot find key named \"min\" in JSON Object/Map"}, {}},
        {"[]", {}, {Prefix + "Invalid mapping data.  Structure is not a JSON object/map."}},
        {R"({"min":5})", {}, {mistyped + "number"}},
        {R"({"min":null})", {}, {mistyped + "nullType"}},
        {R"({"min":true})",
            {"[ERROR]: JSON value for key \"min\" type mismatch.  Expected object, found bool."}, {}},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        LogMsgMap messages;
        EXPECT_TRUE(Read(each.document, messages).empty()) << each.document;
        EXPECT_EQ(LogCapture::TakeTexts(), each.lines) << each.document;
        EXPECT_EQ(messages[LogMsgCategory::Error], each.errors) << each.document;
    }
}

TEST(JointMappingDataJSON, ReferencesToAnEmptySkeletonAreErrors) {
    const std::string mapping = R"({"mappings":{"hips":{"weightRotation":1,"weightPosition":1}}})";
    const JSONDocument document = Parse(R"({"max":{"Jaw":)" + mapping + R"(,"Torso":)" + mapping + "}}");
    LogMsgMap messages;
    const TestSkeletons::Params empty;
    EXPECT_TRUE(JointMappingData::CreateFromJSON(messages, "max", document, SourceParams(), empty).empty());
    EXPECT_EQ(
        messages[LogMsgCategory::Error], Texts{Prefix + "Invalid mapping data. Target Skeleton is empty."})
        << "said once, not per mapping";
    messages.clear();
    EXPECT_TRUE(JointMappingData::CreateFromJSON(messages, "max", document, empty, TargetParams()).empty());
    EXPECT_EQ(messages[LogMsgCategory::Error],
        (Texts{Prefix + "Mapping Entry for Target Joint named \"Jaw\" has references to empty \"source\" "
                        "skeleton.",
            Prefix + "Mapping Entry for Target Joint named \"Torso\" has references to empty \"source\" "
                     "skeleton."}));
}

TEST(JointMappingDataJSON, WhatIsWrittenIsReadAndWrittenAgain) {
    // A joint with both sets stands where its source-type set came.
    const Data data({Map(3, Source, Twist, 0.1F), Map(0, Source, Normal), Map(1, Target, Normal),
        Map(3, Target, IKDerived, 0.5F)});
    const std::string text = Write(data);
    const auto mappings = [](const std::string& joint, const std::string& weight) {
        return R"("mappings":{")" + joint + R"(":{"weightPosition":)" + weight + R"(,"weightRotation":)" +
               weight + "}}}";
    };
    EXPECT_EQ(text, R"({"Jaw":{"source":{"behavior":"twist",)" + mappings("hips", "0.10000000149011612") +
                        R"(,"target":{"behavior":"ikDerived",)" + mappings("Pelvis", "0.5") +
                        R"(},"Pelvis":{"type":"source","behavior":"normal",)" + mappings("hips", "1.0") +
                        R"(,"Torso":{"type":"target","behavior":"normal",)" + mappings("Pelvis", "1.0") +
                        "}");
    LogMsgMap messages;
    EXPECT_EQ(Write(Data(Read(R"({"min":)" + text + "}", messages))), text);
    EXPECT_TRUE(messages.empty());
    EXPECT_EQ(Write(Data(data.ToSerializedJointMappings())), text);
}

TEST(JointMappingData, ValidationReportsEveryIndexThatIsNoJoint) {
    LogMsgMap messages;
    const auto isValid = [&](const Mappings& mappings) {
        return JointMappingData::ValidateSerializedMappingData(
            SourceParams(), TargetParams(), mappings, messages);
    };
    EXPECT_TRUE(isValid({}));
    EXPECT_TRUE(isValid({{3, Source, Normal, {{2, 1, 1}}}, {0, Target, Normal, {{3, 1, 1}}}}));
    EXPECT_TRUE(messages.empty());
    EXPECT_FALSE(isValid({{4, Source, Normal, {}}}));
    EXPECT_EQ(
        messages[LogMsgCategory::Error], Texts{"MAPPING: Invalid Target Joint Index found (out of range): 4"})
        << "only a negative index can be a name that wasn't found";
    messages.clear();
    EXPECT_FALSE(isValid({{4, Source, Normal, {{3, 1, 1}}}, {-2, Target, Normal, {{4, 1, 1}, {-1, 1, 1}}},
        {-1, Source, Normal, {}}}));
    const std::string misspelled = " - typically joint name not found in skeleton (spelling error)";
    EXPECT_EQ(messages[LogMsgCategory::Error],
        (Texts{"MAPPING: Invalid Target Joint Index found (out of range): 4",
            "MAPPING ENTRY: Invalid source Joint Index found: 3",
            "MAPPING: Invalid Target Joint Index found (out of range): -2",
            "MAPPING ENTRY: Invalid target Joint Index found: 4",
            "MAPPING: Invalid Target Joint Index found (out of range): -1",
            "MAPPING: Invalid Target Joint indexes found in mappings" + misspelled,
            "MAPPING ENTRIES: Invalid Source/Target Joint indexes found in mapping entries" + misspelled}));
}

TEST(JointMappingData, TheFirstOfSeveralMappingsOfOneJointCounts) {
    const LogCapture capture;
    const Data data({Map(2, Target, Twist), Map(2, Source, Normal), Map(2, Target, Normal),
        Map(4, Source, Normal), Map(-1, Source, Normal)});
    EXPECT_EQ(
        LogCapture::TakeTexts(), Texts{"[WARNING]: Duplicate target Mapping Entry for Target Joint named "
                                       "\"Skull\".  Skipping Duplicate."});
    EXPECT_EQ(data.GetTargetMappings().Find(2)->GetBehavior(), Twist);
    EXPECT_EQ(data.GetMappingCount(), 2) << "what is no target joint isn't mapped";
    EXPECT_EQ(data.GetMappedTargetJoints().ToKeyVector(), std::vector<int>{2});
    EXPECT_EQ(data.GetUnmappedTargetJoints().ToKeyVector(), (std::vector<int>{0, 1, 3}));
}

TEST(JointMappingData, TheTargetsOwnJointsDriveWhereTheirBehaviorIsNormal) {
    struct Case {
        std::optional<JointMappingBehaviorType> source;
        std::optional<JointMappingBehaviorType> target;
        JointMappingType driver = Source;
        bool isTwist = false;
    };

    const Case cases[] = {
        {Normal, {}, Source, false},
        {Twist, {}, Source, true},
        {AlignedTwist, {}, Source, true},
        {IKDerived, {}, Source, false},
        {{}, Normal, Target, false},
        {{}, AlignedTwist, Target, true},
        {{}, IKDerived, Target, false},
        {Normal, Normal, Target, false},
        {Twist, Normal, Target, false},
        {Twist, Twist, Source, true},
        {AlignedTwist, Twist, Source, true},
        {Normal, Twist, Source, false},
        {Normal, IKDerived, Source, false},
        {Twist, IKDerived, Source, false},
    };
    for (const Case& each : cases) {
        Mappings mappings;
        if (each.target) {
            mappings.push_back(Map(1, Target, *each.target));
        }
        if (each.source) {
            mappings.push_back(Map(1, Source, *each.source));
        }
        const Data data(mappings);
        ASSERT_NE(data.FindCombinedMapping(1), nullptr);
        EXPECT_EQ(data.FindCombinedMapping(1)->GetType(), each.driver);
        EXPECT_EQ(data.GetTwistTargetJoints().ToKeyVector(),
            each.isTwist ? std::vector<int>{1} : std::vector<int>{});
    }
}

TEST(JointMappingData, WhatOneSetMapsTheOtherMapsToo) {
    const LogCapture capture;
    Data min({Map(2, Source, Twist), Map(0, Target, Normal), Map(0, Source, IKDerived),
        Map(1, Source, Normal, 3)});
    Data max({Map(3, Target, Twist), Map(2, Source, Normal), Map(1, Source, Normal, 5)});
    const Texts& names = TargetParams().jointNames;
    JointMappingData::PopulateUnmappedJoints(names, min, max);
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{"[WARNING]: Unmapped joint \"Pelvis\" identified.  Copying Mapping Record.",
            "[WARNING]: Unmapped joint \"Pelvis\" identified.  Copying Mapping Record.",
            "[WARNING]: Joint \"Skull\" has different blend behavior set for Min/Max mapping data.  Min "
            "mapping "
            "data will be used for both."}));
    JointMappingData::PopulateUnmappedJoints(names, max, min);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts{"[WARNING]: Unmapped joint \"Jaw\" identified.  Copying Mapping Record."});
    for (const JointMappingData* data : {&min, &max}) {
        EXPECT_EQ(data->GetMappingCount(), 5);
        EXPECT_TRUE(data->GetUnmappedTargetJoints().IsEmpty());
        EXPECT_EQ(data->GetTwistTargetJoints().ToKeyVector(), (std::vector<int>{2, 3}));
        // The rule that drives a joint is one of the set's own, also where it was copied or replaced.
        EXPECT_EQ(data->FindCombinedMapping(0), data->GetTargetMappings().Find(0));
        EXPECT_EQ(data->FindCombinedMapping(2), data->GetSourceMappings().Find(2));
        EXPECT_EQ(data->FindCombinedMapping(2)->GetBehavior(), Twist);
    }
    EXPECT_NE(min.FindCombinedMapping(3), max.FindCombinedMapping(3));
    EXPECT_EQ(max.FindCombinedMapping(1)->GetEntries()[0].positionWeight, 5)
        << "weights may differ, and stay what they are";
}

TEST(JointMappingData, RecordsComeByJointAndNeverOverrunTheirArrays) {
    const Data data({{3, Target, Twist, {{1, 0.25F, 0.5F}, {2, 1, 0}}}, {3, Source, Normal, {{2, 0.1F, 1}}},
        {1, Target, IKDerived, {{0, 0, 1}}}});
    ASSERT_EQ(data.GetMappingCount(), 3);
    ASSERT_EQ(data.GetTotalMappingEntryCount(), 4);
    std::vector<velkori_JointMapping_> heads(3, {77, Source, Normal, 77});
    EXPECT_EQ(data.PopulateJointMappingData(2, heads.data()), 0);
    EXPECT_EQ(heads[0].jointIndex, 77);
    EXPECT_EQ(data.PopulateJointMappingData(3, heads.data()), 3);
    const auto head = [&](int i) {
        return std::tuple(heads[i].jointIndex, heads[i].type, heads[i].behavior, heads[i].entryCount);
    };
    EXPECT_EQ(head(0), std::tuple(1, Target, IKDerived, 1));
    EXPECT_EQ(head(1), std::tuple(3, Source, Normal, 1));
    EXPECT_EQ(head(2), std::tuple(3, Target, Twist, 2));

    SerializedJointMapping all;
    all.entries.assign(4, {77, 0, 0});
    EXPECT_EQ(data.PopulateJointMappingEntryData(3, all.entries.data()), 0);
    EXPECT_EQ(all.entries[0].jointIndex, 77);
    EXPECT_EQ(data.PopulateJointMappingEntryData(4, all.entries.data()), 4);
    EXPECT_EQ(EntriesOf(all), (Entries{{0, 0.0F, 1.0F}, {2, 0.1F, 1.0F}, {1, 0.25F, 0.5F}, {2, 1.0F, 0.0F}}));
}
