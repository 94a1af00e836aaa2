#include "core/SkeletonInitializationParams.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <functional>
#include <tuple>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;
using Params = SkeletonInitializationParams;

const std::string Pose = R"({"rotation":{"x":0,"y":0,"z":0,"w":1},"position":{"x":1,"y":2,"z":3}})";

Params Read(const std::string& text, LogMsgMap& messages, int skeletonType = 0) {
    return Params::CreateFromJSON(messages, Parse(text), skeletonType, JointPose::Identity);
}

// A valid chain: hips, spine, head.
Params ValidParams() {
    Params params;
    params.jointNames = {"hips", "spine", "head"};
    params.parentJointNames = {"", "hips", "spine"};
    params.minTPose = params.maxTPose = params.unscaledTPose = std::vector<JointPose>(3);
    return params;
}

Texts FaultsOf(const Params& params) {
    LogMsgMap messages;
    const bool valid = params.CheckIsValid(messages);
    EXPECT_EQ(valid, messages.empty());
    return messages[LogMsgCategory::Error];
}

} // namespace

TEST(SkeletonParamsJSON, KeysAreRequiredAsTheSkeletonNeedsThem) {
    const std::string minOnly = R"({"joints":["a"],"hierarchy":{"a":""},"tposeMin":{"a":)" + Pose + "}}";
    const std::tuple<std::string, int, Texts> cases[] = {
        {"{}", 0, {}},
        {"{}", 1, {}},
        {R"({"blendShapes":["b"]})", 0, {"joints"}},
        {R"({"joints":["a"],"knownJoints":{"hips":"a"}})", 0, {}},
        {R"({"joints":["a"]})", 1, {"tpose"}},
        {minOnly, 0, {"tposeMax"}},
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
    EXPECT_EQ(FaultsOf(Read(minOnly, messages)),
        Texts{"SKELETON: Min and Max T-Pose must both be defined if either is defined."});
}

TEST(SkeletonParamsJSON, ReportsWhatItCannotUse) {
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

TEST(SkeletonParamsJSON, ConvertsPosesToTheSpaceOfTheProcess) {
    LogMsgMap messages;
    // A quarter turn about z takes x to y; the mirrored x axis comes first.
    JointPose conversion;
    conversion.orientation = Quaternionf(Vector3f(1, 0, 0), Vector3f(0, 1, 0));
    conversion.position = Vector3f(10, 0, 0);
    conversion.scale = Vector3f(-1, 1, 1);
    const Params params = Params::CreateFromJSON(messages,
        Parse(R"({"joints":["a"],"tpose":{"a":)" + Pose.substr(0, Pose.size() - 1) + R"(,"scale":4}}})"), 0,
        conversion);
    // (1, 2, 3) mirrored is (-1, 2, 3), turned (-2, -1, 3), moved (8, -1, 3).
    EXPECT_LT((params.unscaledTPose[0].position - Vector3f(8, -1, 3)).Length(), 1e-5F);
    EXPECT_EQ(params.unscaledTPose[0].scale, Vector3f::One);
    // Without a smallest and a largest pose, the one serves as both.
    EXPECT_EQ(params.minTPose, params.unscaledTPose);
    EXPECT_EQ(params.maxTPose, params.unscaledTPose);
}

TEST(SkeletonParamsJSON, MistypedPartsEndInDefaultsAndLines) {
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
        EXPECT_TRUE(FaultsOf(Read(value, messages)).empty()) << "no skeleton at all is an empty one";
        Read(
            std::string(R"({"joints":["a"],"hierarchy":{"a":)") + value + R"(},"tpose":{"a":)" + value + "}}",
            messages);
        EXPECT_FALSE(LogCapture::TakeLines().empty());
    }
}

TEST(SkeletonParamsValidation, ReportsEveryFaultInItsOwnWords) {
    struct Case {
        std::function<void(Params&)> damage;
        Texts faults;
    };

    const Case cases[] = {
        {[](Params&) {}, {}},
        {[](Params& p) { p = {}; }, {}},
        {[](Params& p) { p.jointNames[2] = ""; }, {"Skeleton cannot have empty strings for joint names"}},
        {[](Params& p) { p.jointNames[2] = "hips", p.parentJointNames.resize(2); },
            {"Duplicate joint names defined."}},
        {[](Params& p) { p.parentJointNames.resize(2); },
            {"ParentJoint index mismatch detected - ParentJoint Array must match Joint Names size.",
                "Parent Joint not specified for: head"}},
        {[](Params& p) { p.parentJointNames.clear(); },
            {"Parent Joint not specified for: hips", "Parent Joint not specified for: spine",
                "Parent Joint not specified for: head"}},
        {[](Params& p) { p.parentJointNames[1] = "pelvis"; },
            {"Could not find parent joint named: pelvis", "Parent Joint not specified for: spine"}},
        {[](Params& p) {
             p.parentJointNames = {"head", "hips", "hips"};
         },
            {"Circular joint dependency detected for \"hips\" at \"hips\"",
                "Circular joint dependency detected for \"spine\" at \"hips\"",
                "Circular joint dependency detected for \"head\" at \"head\""}},
        {[](Params& p) { p.knownJointNames = {"hips"}; },
            {"Invalid Known Joint IDs specified.  Vector must either be empty or size: 12"}},
        {[](Params& p) {
             p.knownJointNames = {"", "tail", "tail", "hips", "", "", "", "", "", "", "", "hips"};
         },
            {"Could not find known joint hips named: tail",
                "Could not find known joint rightUpperArm named: tail",
                "Duplicate joint \"tail\" specified for multiple known joint IDs.",
                "Duplicate joint \"hips\" specified for multiple known joint IDs."}},
        {[](Params& p) {
             p.autoMappingExcludedJoints = {"hips", "", "tail"};
         },
            {"AutoMapping Excluded Joints cannot contain empty joint names",
                "Could not find AutoMapping Excluded joint named: tail"}},
        {[](Params& p) { p.minTPose.resize(2), p.maxTPose.resize(4), p.unscaledTPose.resize(1); },
            {"MinTPose does not match the number of joints defined.  Found: 2 Expected: 3",
                "MaxTPose does not match the number of joints defined.  Found: 4 Expected: 3",
                "UnscaledTPose does not match the number of joints defined.  Found: 1 Expected: 3"}},
        {[](Params& p) { p.maxTPose.clear(); },
            {"Min and Max T-Pose must both be defined if either is defined."}},
        {[](Params& p) {
             p.manifestations.Insert("", {"tail"});
             p.manifestations.Insert("upper", {"head", "tail", "head"});
         },
            {"Manifestations must have a valid string as a name.",
                "Invalid joint name \"tail\" specified in manifestation \"\"",
                "Invalid joint name \"tail\" specified in manifestation \"upper\"",
                "Duplicate joint name \"head\" specified in manifestation \"upper\""}},
        // All rules run, whatever the earlier ones found.
        {[](Params& p) {
             p.parentJointNames = {"spine", "hips", "head"};
             p.minTPose.clear();
         },
            {"Circular joint dependency detected for \"hips\" at \"hips\"",
                "Circular joint dependency detected for \"spine\" at \"spine\"",
                "Circular joint dependency detected for \"head\" at \"head\"",
                "Min and Max T-Pose must both be defined if either is defined."}},
    };
    for (const Case& each : cases) {
        Params params = ValidParams();
        each.damage(params);
        Texts faults;
        for (const std::string& fault : each.faults) {
            faults.push_back("SKELETON: " + fault);
        }
        EXPECT_EQ(FaultsOf(params), faults);
    }
}

TEST(SkeletonParamsJSON, RepeatedNamesCostNoMoreThanOnce) {
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

TEST(SkeletonParamsValidation, MessagesHaveABudget) {
    // Each of these messages repeats a name of a megabyte.
    Params params = ValidParams();
    params.manifestations.Insert(std::string(1000000, 'x'), Texts(10000, ""));
    LogMsgMap messages;
    EXPECT_FALSE(params.CheckIsValid(messages));
    EXPECT_LT(messages.textSize, MaxMessageTextSize + 2000000);
    EXPECT_EQ(messages[LogMsgCategory::Error].back(), "There are more messages, which are left out.");
}

TEST(SkeletonParamsValidation, ClimbsEachJointOnceWhateverTheShape) {
    // One circle of many joints: climbing from each of them all around would take the square of their number.
    constexpr int Count = 200000;
    Params params;
    for (int i = 0; i < Count; ++i) {
        params.jointNames.push_back(std::to_string(i));
        params.parentJointNames.push_back(std::to_string((i + 1) % Count));
    }
    EXPECT_EQ(FaultsOf(params).size(), static_cast<std::size_t>(Count));
}
