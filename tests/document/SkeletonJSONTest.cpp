#include "document/SkeletonJSON.h"

#include "support/InterfaceNames.h"
#include "support/JSONText.h"
#include "support/LogCapture.h"
#include "support/SkeletonParams.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;
using Params = SkeletonInitializationParams;

const std::string Pose = R"({"rotation":{"x":0,"y":0,"z":0,"w":1},"position":{"x":1,"y":2,"z":3}})";

Params Read(const std::string& text, LogMsgMap& messages, velkori_SkeletonType skeletonType = Source) {
    return ReadSkeleton(messages, Parse(text), skeletonType, JointPose::Identity);
}

// The whole way of a skeleton to a document's text and back.
Params ThroughText(const SkeletonData& skeleton) {
    JSONDocument document;
    const std::string text = ToText(WriteSkeleton(skeleton, JointPose::Identity, document.GetAllocator()));
    LogMsgMap messages;
    const LogCapture capture;
    Params params = Read(text, messages, skeleton.GetSkeletonType());
    EXPECT_TRUE(messages.empty()) << text;
    EXPECT_TRUE(params.CheckIsValid(messages)) << text;
    EXPECT_EQ(LogCapture::TakeTexts(), Texts()) << text;
    return params;
}

} // namespace

TEST(SkeletonJSON, KeysAreRequiredAsTheSkeletonNeedsThem) {
    const std::string minOnly = R"({"joints":["a"],"hierarchy":{"a":""},"tposeMin":{"a":)" + Pose + "}}";
    const std::tuple<std::string, velkori_SkeletonType, Texts> cases[] = {
        {"{}", Source, {}},
        {"{}", Target, {}},
        {R"({"blendShapes":["b"]})", Source, {"joints"}},
        {R"({"joints":["a"],"knownJoints":{"hips":"a"}})", Source, {}},
        {R"({"joints":["a"]})", Target, {"tpose"}},
        {minOnly, Source, {"tposeMax"}},
    };
    const LogCapture capture;
    for (const auto& [text, skeletonType, missing] : cases) {
        LogMsgMap messages;
        Read(text, messages, skeletonType);
        Texts lines;
        for (const std::string& key : missing) {
            lines.push_back("[ERROR]: Cannot find key named \"" + key + "\" in JSON Object/Map");
        }
        EXPECT_EQ(LogCapture::TakeTexts(), lines) << text;
        EXPECT_TRUE(messages.empty()) << text;
    }
    LogMsgMap messages;
    EXPECT_FALSE(Read(minOnly, messages).CheckIsValid(messages));
    EXPECT_EQ(messages[LogMsgCategory::Error],
        Texts{"SKELETON: Min and Max T-Pose must both be defined if either is defined."});
}

TEST(SkeletonJSON, ReportsWhatItCannotUse) {
    const LogCapture capture;
    LogMsgMap messages;
    const Params params = Read(R"({"joints":["a","","a","d"],"hierarchy":{"d":"a","x":"a"},
        "manifestations":{"none":[],"twice":["a"],"twice":["d"],"":["a"]},"tpose":{"d":)" +
                                   Pose + R"(,"y":)" + Pose + "}}",
        messages);
    const std::string source = "[SkeletonData::CreateFromJSON] ";
    EXPECT_EQ(messages[LogMsgCategory::Error],
        (Texts{source + "Name/label in joint/blendshape name array cannot be an empty string",
            source + "Duplicate joint/blendshape name found in string array: \"a\"",
            source + "Cannot find joint named \"y\" in config data when parsing TPose Data",
            source +
                "Cannot find child joint named \"x\" in config data when parsing child/parent joint pairs"}));
    EXPECT_EQ(messages[LogMsgCategory::Warning],
        (Texts{source + "TPose Data does not contain postion/rotation information for joint named: \"a\"",
            source + "Manifestation named \"none\" is empty or could not be parsed.  Ignoring Manifestation.",
            source + "Manifestation named \"\" is empty or could not be parsed.  Ignoring Manifestation."}));
    // Refused names leave a gap: the lists reach to the last index in use.
    EXPECT_EQ(*params.jointNameToIndex.Find("d"), 3);
    EXPECT_EQ(params.parentJointNames, (Texts{"", "", "", "a"}));
    ASSERT_EQ(params.unscaledTPose.size(), 4U);
    EXPECT_EQ(params.unscaledTPose[0], JointPose::Identity);
    EXPECT_EQ(params.unscaledTPose[3].position, Vector3f(1, 2, 3));
    EXPECT_EQ(*params.manifestations.Find("twice"), Texts{"a"});

    LogMsgMap nameless;
    EXPECT_TRUE(Read(R"({"joints":[],"tpose":{"a":1}})", nameless).unscaledTPose.empty());
    EXPECT_EQ(nameless[LogMsgCategory::Error],
        Texts{source + "Cannot Parse PoseData - config has valid entries, but no joint names are defined."});
}

TEST(SkeletonJSON, ConvertsPosesToTheSpaceOfTheProcess) {
    LogMsgMap messages;
    // A quarter turn about z takes x to y; the mirrored x axis comes first.
    JointPose conversion;
    conversion.orientation = Quaternionf(Vector3f(1, 0, 0), Vector3f(0, 1, 0));
    conversion.position = Vector3f(10, 0, 0);
    conversion.scale = Vector3f(-1, 1, 1);
    const Params params = ReadSkeleton(messages,
        Parse(R"({"joints":["a"],"tpose":{"a":)" + Pose.substr(0, Pose.size() - 1) + R"(,"scale":4}}})"),
        Source, conversion);
    // (1, 2, 3) mirrored is (-1, 2, 3), turned (-2, -1, 3), moved (8, -1, 3).
    EXPECT_LT((params.unscaledTPose[0].position - Vector3f(8, -1, 3)).Length(), 1e-5F);
    EXPECT_EQ(params.unscaledTPose[0].scale, Vector3f::One);
    // Without a smallest and a largest pose, the one serves as both.
    EXPECT_EQ(params.minTPose, params.unscaledTPose);
    EXPECT_EQ(params.maxTPose, params.unscaledTPose);
}

TEST(SkeletonJSON, MistypedPartsEndInDefaultsAndLines) {
    const LogCapture capture;
    const char* const mistyped[] = {"5", "\"text\"", "[1,2]", "true", "null"};
    for (const char* value : mistyped) {
        for (const char* key : {"joints", "blendShapes", "hierarchy", "knownJoints",
                 "autoMappingExcludedJoints", "manifestations", "tpose", "tposeMin"}) {
            LogMsgMap messages;
            const Params params =
                Read(std::string(R"({"joints":["a"],")") + key + "\":" + value + "}", messages);
            LogMsgMap faults;
            params.CheckIsValid(faults);
            EXPECT_FALSE(LogCapture::TakeLines().empty() && std::string(key) != "joints")
                << key << " " << value;
        }
        LogMsgMap messages;
        EXPECT_TRUE(Read(value, messages).CheckIsValid(messages)) << "no skeleton at all is an empty one";
        Read(
            std::string(R"({"joints":["a"],"hierarchy":{"a":)") + value + R"(},"tpose":{"a":)" + value + "}}",
            messages);
        EXPECT_FALSE(LogCapture::TakeLines().empty());
    }
}

TEST(SkeletonJSON, RepeatedNamesCostNoMoreThanOnce) {
    // The first list is long; each repetition of its name would read it again.
    std::string text = R"({"joints":["a"],"manifestations":{"m":["b")";
    for (int i = 0; i < 50000; ++i) {
        text += ",\"b\"";
    }
    text += "]";
    for (int i = 0; i < 50000; ++i) {
        text += ",\"m\":0";
    }
    LogMsgMap messages;
    const Params params = Read(text + "}}", messages);
    EXPECT_EQ(params.manifestations.Find("m")->size(), 50001U);
}

TEST(SkeletonJSON, WhatIsWrittenReadsBackTheSame) {
    Params singlePose = MakeFullParams();
    singlePose.minTPose = singlePose.maxTPose = singlePose.unscaledTPose;
    std::mt19937 random(3);
    Params tree = TestSkeletons::MakeRandomTreeParams(random, 60, 3);
    tree.knownJointNames.resize(12);
    for (const Params& params : {MakeFullParams(), singlePose, tree}) {
        const SourceSkeletonData source(params);
        const TargetSkeletonData target(params);
        ExpectEqualParams(ThroughText(source), params);
        ExpectEqualParams(ThroughText(target), params);
    }
}

TEST(SkeletonJSON, LeavesOutWhatIsEmpty) {
    JSONDocument document;
    const auto textOf = [&](const Params& params) {
        return ToText(
            WriteSkeleton(SourceSkeletonData(params), JointPose::Identity, document.GetAllocator()));
    };
    Params params;
    params.jointNames = {"0", "1"};
    params.parentJointNames = {"", "0"};
    EXPECT_EQ(textOf(params), R"({"joints":["0","1"],"hierarchy":{"1":"0"}})");
    params.parentJointNames = {"", ""};
    params.manifestations.Insert("none", {});
    EXPECT_EQ(textOf(params), R"({"joints":["0","1"],"hierarchy":{"0":"","1":""}})");
    Params shapes;
    shapes.blendShapeNames = {"smile"};
    EXPECT_EQ(textOf(shapes), R"({"blendShapes":["smile"]})");
    EXPECT_EQ(textOf({}), "{}");
}
