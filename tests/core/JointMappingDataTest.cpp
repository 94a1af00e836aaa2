#include "core/JointMappingData.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;
using Mappings = std::vector<SerializedJointMapping>;
// {joint, rotation weight, position weight}
using Entries = std::vector<std::tuple<int, float, float>>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto Normal = velkori_JointMappingBehaviorType_Normal;
constexpr auto Twist = velkori_JointMappingBehaviorType_Twist;
constexpr auto AlignedTwist = velkori_JointMappingBehaviorType_ChildAlignedTwist;
constexpr auto IKDerived = velkori_JointMappingBehaviorType_IKDerived;

TestSkeletons::Params MakeChain(const Texts& names) {
    std::vector<TestSkeletons::Joint> joints;
    for (const std::string& name : names) {
        joints.push_back({name, static_cast<int>(joints.size()) - 1, {0, 0.5F, 0.1F}});
    }
    return TestSkeletons::MakeParams(joints, TestSkeletons::InOrder(joints.size()));
}

struct Chains {
    TestSkeletons::Params sourceParams = MakeChain({"hips", "spine", "head"});
    TestSkeletons::Params targetParams = MakeChain({"Pelvis", "Torso", "Skull", "Jaw"});
    SourceSkeletonData source{sourceParams};
    TargetSkeletonData target{targetParams};
};

const Chains& TwoChains() {
    static const Chains chains;
    return chains;
}

SerializedJointMapping Map(
    int joint, JointMappingType type, JointMappingBehaviorType behavior, float weight = 1) {
    return {joint, type, behavior, {{0, weight, weight}}};
}

struct Data : JointMappingData {
    explicit Data(const Mappings& mappings)
        : JointMappingData(TwoChains().source, TwoChains().target, mappings) {}
};

Mappings Read(LogMsgMap& messages, const std::string& document,
    const TestSkeletons::Params& source = TwoChains().sourceParams,
    const TestSkeletons::Params& target = TwoChains().targetParams) {
    return JointMappingData::CreateFromJSON(messages, "min", Parse(document), source, target);
}

// All that was logged, then all that waits to be, by its category instead of the prefix.
Texts TakeReports(LogMsgMap& messages) {
    Texts reports = LogCapture::TakeTexts();
    const std::string prefix = "[JointMappingData::CreateFromJSON] ";
    for (const auto& [category, name] :
        {std::pair(LogMsgCategory::Error, "error: "), std::pair(LogMsgCategory::Warning, "warning: ")}) {
        for (const std::string& text : messages[category]) {
            EXPECT_TRUE(text.starts_with(prefix)) << text;
            reports.push_back(name + text.substr(std::min(prefix.size(), text.size())));
        }
    }
    return reports;
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

} // namespace

TEST(SerializedJointMapping, TakesTheFlatListOfEntriesInTurn) {
    const velkori_JointMapping_ heads[] = {{3, Source, Twist, 2}, {1, Target, Normal, 0},
        {0, static_cast<velkori_SkeletonType>(7), IKDerived, 1}};
    const velkori_JointMappingEntry_ entries[] = {{2, 0.1F, 0.2F}, {1, 0.3F, 0.4F}, {0, 0.5F, 0.6F}};
    const Mappings mappings = ConvertVelkoriMappingDefinitionToSerializedMapping({3, 3, heads, entries});
    const Entries expected[] = {{{2, 0.1F, 0.2F}, {1, 0.3F, 0.4F}}, {}, {{0, 0.5F, 0.6F}}};
    ASSERT_EQ(mappings.size(), 3U);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(mappings[i].targetJointIndex, heads[i].jointIndex);
        EXPECT_EQ(mappings[i].type, i == 0 ? Source : Target) << "any type but the source's is the target's";
        EXPECT_EQ(mappings[i].behavior, heads[i].behavior);
        EXPECT_EQ(EntriesOf(mappings[i]), expected[i]);
    }
    EXPECT_TRUE(ConvertVelkoriMappingDefinitionToSerializedMapping({0, 0, nullptr, nullptr}).empty());
}

TEST(JointMappingDataJSON, ReadsTheSimpleAndTheDoubleFormAndWritesThemAgain) {
    const LogCapture capture;
    LogMsgMap messages;
    const Data data(Read(messages, R"({"min":{
        "Skull":{"target":{"behavior":"ikDerived",
                           "mappings":{"Jaw":{"weightPosition":0.5,"weightRotation":0}}},
                 "source":{"behavior":"twist",
                           "mappings":{"head":{"weightRotation":0.25,"weightPosition":2},
                                       "hips":{"weightRotation":4,"weightPosition":0}}}},
        "Torso":{"type":"target","behavior":"childAlignedTwist",
                 "mappings":{"Pelvis":{"weightRotation":1,"weightPosition":-3}}},
        "Pelvis":{"mappings":{"hips":{"weightRotation":0.1,"weightPosition":1}}}}})"));
    // The sets of the source's type come first.
    const std::string text =
        R"({"Skull":{"source":{"behavior":"twist",)"
        R"("mappings":{"head":{"weightPosition":2.0,"weightRotation":0.25},)"
        R"("hips":{"weightPosition":0.0,"weightRotation":4.0}}},)"
        R"("target":{"behavior":"ikDerived",)"
        R"("mappings":{"Jaw":{"weightPosition":0.5,"weightRotation":0.0}}}},)"
        R"("Pelvis":{"type":"source","behavior":"normal",)"
        R"("mappings":{"hips":{"weightPosition":1.0,"weightRotation":0.10000000149011612}}},)"
        R"("Torso":{"type":"target","behavior":"childAlignedTwist",)"
        R"("mappings":{"Pelvis":{"weightPosition":-3.0,"weightRotation":1.0}}}})";
    EXPECT_EQ(Write(data), text);
    EXPECT_EQ(Write(Data(Read(messages, R"({"min":)" + text + "}"))), text);
    EXPECT_EQ(Write(Data(data.ToSerializedJointMappings())), text);
    EXPECT_TRUE(TakeReports(messages).empty());
}

TEST(JointMappingDataJSON, ReportsWhatItCannotUseAndGoesOn) {
    const std::string good = R"("mappings":{"hips":{"weightRotation":1,"weightPosition":1}})";
    const Entries one = {{0, 1.0F, 1.0F}};
    const std::string noneLeft =
        "warning: No Valid Mapping Entries defined for min joint mapping. Skipping joint mapping.";
    const std::string noTarget = "error: Mapping Entry - Cannot find Target Joint named ";
    const std::string notBool = "[ERROR]: Cannot retrieve JSON double Value, rapidJson Value is of type bool";

    struct Case {
        std::string mapping;
        // Of the first usable mapping; another one always follows.
        Entries entries;
        Texts reports;
    };

    const Case cases[] = {
        {R"("Jaw":[])", {},
            {"error: Mapping Entries must be JSON object / map type. Found type arrayfor key \"Jaw\""}},
        {R"("Nose":{)" + good + "}", {}, {noTarget + "\"Nose\""}},
        // A name doesn't end at its first NUL.
        {R"("Jaw\u0000":{)" + good + "}", {}, {noTarget + "\"Jaw" + std::string(1, '\0') + "\""}},
        {R"("Jaw":{"type":"middle",)" + good + "}", {},
            {"error: Unknown Input Skeleton Type \"middle\" for min joint mapping."}},
        {R"("Jaw":{"behavior":"wild",)" + good + "}", one,
            {"warning: Unknown Blend Behavior \"wild\" for min joint mapping.  Falling back to use Normal "
             "Blend Behavior."}},
        {R"("Jaw":{"source":{)" + good + R"(},"type":"target"})", one,
            {"warning: Unexpected key \"type\" in Mapping Entry for Target Joint named \"Jaw\".  Skipping "
             "Entry."}},
        {R"("Jaw":{)" + good + R"(},"Jaw":{"source":{)" + good + "}}", one,
            {"warning: Duplicate min Mapping Entry for Target Joint named \"Jaw\".  Skipping Duplicate."}},
        // What isn't an object has neither a behavior nor entries.
        {R"("Jaw":{"source":{)" + good + R"(},"target":7})", one,
            {"[ERROR]: Cannot retrieve JSON String, rapidJson Value is of type number",
                "[ERROR]: Cannot retrieve JSON Object, rapidJson Value is of type number", noneLeft}},
        {R"("Jaw":{"source":7,)" + good + "}", one, {}},
        {R"("Jaw":{"mappings":{}})", {}, {noneLeft}},
        {R"("Jaw":{"mappings":{"Skull":{},"spine":{"weightRotation":0,"weightPosition":1e-60}}})", {},
            {"error: Could not find source joint named \"Skull\" in min joint mapping.",
                "warning: Mapping entry for source joint named \"spine\" in min joint mapping has zero "
                "position weight and zero rotation weight.  Skipping entry.",
                noneLeft}},
        // A weight that is missing is one.
        {R"("Jaw":{"mappings":{"head":{"weightPosition":0.5},"hips":true}})",
            {{2, 1.0F, 0.5F}, {0, 1.0F, 1.0F}},
            {"[ERROR]: Cannot find key named \"weightRotation\" in JSON Object/Map", notBool, notBool}},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        LogMsgMap messages;
        const Mappings mappings =
            Read(messages, R"({"min":{)" + each.mapping + R"(,"Torso":{)" + good + "}}}");
        EXPECT_EQ(TakeReports(messages), each.reports) << each.mapping;
        ASSERT_EQ(mappings.size(), each.entries.empty() ? 1U : 2U) << each.mapping;
        EXPECT_EQ(EntriesOf(mappings[0]), each.entries.empty() ? one : each.entries) << each.mapping;
    }
}

TEST(JointMappingDataJSON, AnAbsentPartIsSilentAndAMistypedOneIsAnError) {
    const std::string mistyped =
        "error: Cannot parse Joint Mapping data.Must be an Object / Map JSON type.Type is ";
    const std::string mapping = R"({"mappings":{"hips":{"weightRotation":1,"weightPosition":1}}})";
    const std::string usable = R"({"min":{"Jaw":)" + mapping + R"(,"Torso":)" + mapping + "}}";
    const auto noSource = [](const std::string& joint) {
        return "error: Mapping Entry for Target Joint named \"" + joint +
               "\" has references to empty \"source\" skeleton.";
    };
    const TestSkeletons::Params& source = TwoChains().sourceParams;
    const TestSkeletons::Params& target = TwoChains().targetParams;
    const TestSkeletons::Params empty;

    struct Case {
        std::string document;
        Texts reports;
        const TestSkeletons::Params& source;
        const TestSkeletons::Params& target;
    };

    const Case cases[] = {
        {"{}", {}, source, target},
        {R"({"max":{}})", {"[ERROR]: Cannot find key named \"min\" in JSON Object/Map"}, source, target},
        {"[]", {"error: Invalid mapping data.  Structure is not a JSON object/map."}, source, target},
        {R"({"min":5})", {mistyped + "number"}, source, target},
        {R"({"min":null})", {mistyped + "nullType"}, source, target},
        {R"({"min":true})",
            {"[ERROR]: JSON value for key \"min\" type mismatch.  Expected object, found bool."}, source,
            target},
        // Said once, not per mapping.
        {usable, {"error: Invalid mapping data. Target Skeleton is empty."}, source, empty},
        {usable, {noSource("Jaw"), noSource("Torso")}, empty, target},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        LogMsgMap messages;
        EXPECT_TRUE(Read(messages, each.document, each.source, each.target).empty()) << each.document;
        EXPECT_EQ(TakeReports(messages), each.reports) << each.document;
    }
}

TEST(JointMappingData, ValidationReportsEveryIndexThatIsNoJoint) {
    LogMsgMap messages;
    const auto isValid = [&](const Mappings& mappings) {
        return JointMappingData::ValidateSerializedMappingData(
            TwoChains().sourceParams, TwoChains().targetParams, mappings, messages);
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
        Mappings mappings;
        JointMappingType driver;
        bool isTwist;
    };

    const auto fromSource = [](auto behavior) { return Map(1, Source, behavior); };
    const auto fromTarget = [](auto behavior) { return Map(1, Target, behavior); };
    const Case cases[] = {
        {{fromSource(Normal)}, Source, false},
        {{fromSource(AlignedTwist)}, Source, true},
        {{fromTarget(Normal)}, Target, false},
        {{fromTarget(AlignedTwist)}, Target, true},
        {{fromTarget(IKDerived)}, Target, false},
        {{fromTarget(Normal), fromSource(Twist)}, Target, false},
        {{fromTarget(Twist), fromSource(Twist)}, Source, true},
        {{fromTarget(Twist), fromSource(Normal)}, Source, false},
        {{fromTarget(IKDerived), fromSource(Twist)}, Source, false},
    };
    for (const Case& each : cases) {
        const Data data(each.mappings);
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
    const Texts& names = TwoChains().targetParams.jointNames;
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
