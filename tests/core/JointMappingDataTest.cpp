#include "core/JointMappingData.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <limits>
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

Texts Prefixed(Texts messages) {
    for (std::string& message : messages) {
        message.insert(0, Prefix);
    }
    return messages;
}

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

Rows RowsOf(const Mappings& mappings) {
    Rows rows;
    for (const auto& [joint, type, behavior, records] : mappings) {
        Entries entries;
        for (const velkori_JointMappingEntry_& record : records) {
            entries.emplace_back(record.jointIndex, record.rotationWeight, record.positionWeight);
        }
        rows.emplace_back(joint, type, behavior, entries);
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
                 "mappings":{"Pelvis":{"weightPosition":-3},"Jaw":true}}}})",
        messages);
    EXPECT_TRUE(messages.empty());
    // Weights that are missing are 1.
    const std::string mistyped =
        "[ERROR]: Cannot retrieve JSON double Value, rapidJson Value is of type bool";
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{"[ERROR]: Cannot find key named \"weightRotation\" in JSON Object/Map", mistyped, mistyped}));
    constexpr float Infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(RowsOf(mappings),
        (Rows{{2, Source, Twist, {{2, 0.25F, 2.0F}, {0, Infinity, 0.0F}}},
            {0, Source, Normal, {{0, 1.0F, 1.0F}}}, {2, Target, IKDerived, {{3, 0.0F, 0.5F}}},
            {1, Target, AlignedTwist, {{0, 1.0F, -3.0F}, {3, 1.0F, 1.0F}}}}));
}

TEST(JointMappingDataJSON, ReportsWhatItCannotUseAndGoesOn) {
    const std::string good = R"("mappings":{"hips":{"weightRotation":1,"weightPosition":1}})";
    const std::string noneLeft =
        "No Valid Mapping Entries defined for min joint mapping. Skipping joint mapping.";

    struct Case {
        std::string mapping;
        Texts errors;
        Texts warnings;
        // Of the mappings, besides the one that always follows.
        std::size_t usable;
    };

    const Case cases[] = {
        {R"("Jaw":[])", {"Mapping Entries must be JSON object / map type. Found type arrayfor key \"Jaw\""},
            {}, 0},
        // A name doesn't end at its first NUL.
        {R"("Jaw\u0000":{)" + good + "}",
            {"Mapping Entry - Cannot find Target Joint named \"Jaw" + std::string(1, '\0') + "\""}, {}, 0},
        {R"("Jaw":{"type":"middle",)" + good + "}",
            {"Unknown Input Skeleton Type \"middle\" for min joint mapping."}, {}, 0},
        {R"("Jaw":{"behavior":"wild",)" + good + "}", {},
            {"Unknown Blend Behavior \"wild\" for min joint mapping.  Falling back to use Normal Blend "
             "Behavior."},
            1},
        {R"("Jaw":{"source":{)" + good + R"(},"type":"target"})", {},
            {"Unexpected key \"type\" in Mapping Entry for Target Joint named \"Jaw\".  Skipping Entry."}, 1},
        {R"("Jaw":{)" + good + R"(},"Jaw":{"source":{)" + good + "}}", {},
            {"Duplicate min Mapping Entry for Target Joint named \"Jaw\".  Skipping Duplicate."}, 1},
        {R"("Jaw":{"source":{)" + good + R"(},"target":7})", {}, {noneLeft}, 1},
        {R"("Jaw":{"source":7,)" + good + "}", {}, {}, 1},
        {R"("Jaw":{"mappings":{"Skull":{},"spine":{"weightRotation":0,"weightPosition":1e-60}}})",
            {"Could not find source joint named \"Skull\" in min joint mapping."},
            {"Mapping entry for source joint named \"spine\" in min joint mapping has zero position weight "
             "and zero rotation weight.  Skipping entry.",
                noneLeft},
            0},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        LogMsgMap messages;
        const Mappings mappings =
            Read(R"({"min":{)" + each.mapping + R"(,"Torso":{)" + good + "}}}", messages);
        EXPECT_EQ(messages[LogMsgCategory::Error], Prefixed(each.errors)) << each.mapping;
        EXPECT_EQ(messages[LogMsgCategory::Warning], Prefixed(each.warnings)) << each.mapping;
        EXPECT_EQ(mappings.size(), each.usable + 1) << each.mapping;
    }
}

TEST(JointMappingDataJSON, AnAbsentPartIsSilentAndAMistypedOneIsAnError) {
    const std::string mistyped = "Cannot parse Joint Mapping data.Must be an Object / Map JSON type.Type is ";
    const std::tuple<const char*, Texts, Texts> cases[] = {
        {"{}", {}, {}},
        {R"({"max":{}})", {"[ERROR]: Cannot find key named \"min\" in JSON Object/Map"}, {}},
        {"[]", {}, {"Invalid mapping data.  Structure is not a JSON object/map."}},
        {R"({"min":5})", {}, {mistyped + "number"}},
        {R"({"min":true})",
            {"[ERROR]: JSON value for key \"min\" type mismatch.  Expected object, found bool."}, {}},
    };
    const LogCapture capture;
    for (const auto& [document, lines, errors] : cases) {
        LogMsgMap messages;
        EXPECT_TRUE(Read(document, messages).empty()) << document;
        EXPECT_EQ(LogCapture::TakeTexts(), lines) << document;
        EXPECT_EQ(messages[LogMsgCategory::Error], Prefixed(errors)) << document;
    }
}

TEST(JointMappingDataJSON, ReferencesToAnEmptySkeletonAreErrors) {
    const std::string mapping = R"({"mappings":{"hips":{"weightRotation":1,"weightPosition":1}}})";
    const JSONDocument document = Parse(R"({"max":{"Jaw":)" + mapping + R"(,"Torso":)" + mapping + "}}");
    const TestSkeletons::Params empty;
    const auto errors = [&](const TestSkeletons::Params& source, const TestSkeletons::Params& target) {
        LogMsgMap messages;
        EXPECT_TRUE(JointMappingData::CreateFromJSON(messages, "max", document, source, target).empty());
        return messages[LogMsgCategory::Error];
    };
    EXPECT_EQ(
        errors(SourceParams(), empty), Texts{Prefix + "Invalid mapping data. Target Skeleton is empty."})
        << "said once, not per mapping";
    const auto refersToEmpty = [](const std::string& joint) {
        return Prefix + "Mapping Entry for Target Joint named \"" + joint +
               "\" has references to empty \"source\" skeleton.";
    };
    EXPECT_EQ(errors(empty, TargetParams()), (Texts{refersToEmpty("Jaw"), refersToEmpty("Torso")}));
}

TEST(JointMappingData, ValidationReportsEveryIndexThatIsNoJoint) {
    const std::string misspelled = " - typically joint name not found in skeleton (spelling error)";

    struct Case {
        Mappings mappings;
        Texts errors;
    };

    const Case cases[] = {
        {{}, {}},
        {{{3, Source, Normal, {{2, 1, 1}}}, {0, Target, Normal, {{3, 1, 1}}}}, {}},
        // Only a negative index can be a name that wasn't found.
        {{{4, Source, Normal, {}}}, {"MAPPING: Invalid Target Joint Index found (out of range): 4"}},
        {{{0, Source, Normal, {{3, 1, 1}}}, {-2, Target, Normal, {{4, 1, 1}, {-1, 1, 1}}},
             {-1, Source, Normal, {}}},
            {"MAPPING ENTRY: Invalid source Joint Index found: 3",
                "MAPPING: Invalid Target Joint Index found (out of range): -2",
                "MAPPING ENTRY: Invalid target Joint Index found: 4",
                "MAPPING: Invalid Target Joint Index found (out of range): -1",
                "MAPPING: Invalid Target Joint indexes found in mappings" + misspelled,
                "MAPPING ENTRIES: Invalid Source/Target Joint indexes found in mapping entries" +
                    misspelled}},
    };
    for (const Case& each : cases) {
        LogMsgMap messages;
        EXPECT_EQ(JointMappingData::ValidateSerializedMappingData(
                      SourceParams(), TargetParams(), each.mappings, messages),
            each.errors.empty());
        EXPECT_EQ(messages[LogMsgCategory::Error], each.errors);
    }
}

TEST(JointMappingData, TheFirstOfSeveralMappingsOfOneJointCounts) {
    const LogCapture capture;
    const Data data({Map(2, Target, Twist), Map(2, Source, Normal), Map(2, Target, Normal),
        Map(4, Source, Normal), Map(-1, Source, Normal)});
    EXPECT_EQ(
        LogCapture::TakeTexts(), Texts{"[WARNING]: Duplicate target Mapping Entry for Target Joint named "
                                       "\"Skull\".  Skipping Duplicate."});
    EXPECT_EQ(RowsOf(data.ToSerializedJointMappings()),
        (Rows{{2, Source, Normal, {{0, 1.0F, 1.0F}}}, {2, Target, Twist, {{0, 1.0F, 1.0F}}}}))
        << "what is no target joint isn't mapped";
    EXPECT_EQ(data.GetMappedTargetJoints().ToKeyVector(), std::vector<int>{2});
    EXPECT_EQ(data.GetUnmappedTargetJoints().ToKeyVector(), (std::vector<int>{0, 1, 3}));
}

TEST(JointMappingData, TheTargetsOwnJointsDriveWhereTheirBehaviorIsNormal) {
    struct Case {
        std::vector<JointMappingBehaviorType> source;
        std::vector<JointMappingBehaviorType> target;
        JointMappingType driver;
        bool isTwist;
    };

    const Case cases[] = {
        {{Normal}, {}, Source, false},
        {{Twist}, {}, Source, true},
        {{AlignedTwist}, {}, Source, true},
        {{}, {Normal}, Target, false},
        {{}, {AlignedTwist}, Target, true},
        {{}, {IKDerived}, Target, false},
        {{Twist}, {Normal}, Target, false},
        {{AlignedTwist}, {Twist}, Source, true},
        {{Normal}, {Twist}, Source, false},
        {{Twist}, {IKDerived}, Source, false},
    };
    for (const Case& each : cases) {
        Mappings mappings;
        for (const JointMappingBehaviorType behavior : each.target) {
            mappings.push_back(Map(1, Target, behavior));
        }
        for (const JointMappingBehaviorType behavior : each.source) {
            mappings.push_back(Map(1, Source, behavior));
        }
        const Data data(mappings);
        ASSERT_NE(data.FindCombinedMapping(1), nullptr);
        EXPECT_EQ(data.FindCombinedMapping(1)->GetType(), each.driver);
        EXPECT_EQ(data.GetTwistTargetJoints().ToKeyVector(), std::vector<int>(each.isTwist ? 1 : 0, 1));
    }
}

TEST(JointMappingData, LinesHoldALongNameWhole) {
    const LogCapture capture;
    const std::string name(3000, 'n');
    const TestSkeletons::Params params = MakeChain({name});
    const TargetSkeletonData target(params);
    const Mappings minMappings = {
        Map(0, Source, Normal), Map(0, Source, Normal), Map(0, Target, Normal, 2.0F)};
    const Mappings maxMappings = {Map(0, Source, Twist)};
    const JointMappingData min(SourceSkeleton(), target, minMappings);
    JointMappingData max(SourceSkeleton(), target, maxMappings);
    JointMappingData::PopulateUnmappedJoints(params.jointNames, min, max);
    const Texts lines = LogCapture::TakeTexts();
    EXPECT_EQ(lines.size(), 3U) << "a duplicate, another behaviour, a copy";
    for (const std::string& line : lines) {
        EXPECT_NE(line.find('"' + name + '"'), std::string::npos) << line;
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
