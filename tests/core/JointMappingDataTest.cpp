#include "core/JointMappingData.h"

#include "support/LogCapture.h"
#include "support/TestMappings.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;
using namespace TestMappings;

namespace {

using Texts = std::vector<std::string>;

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

} // namespace

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
