// Rigs that nobody mapped by hand become a working configuration.

#include "Velkori_Utility.h"
#include "support/Biped.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <numbers>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto AllFlags = static_cast<velkori_AlignmentFlags>(1 | 2 | 4 | 8 | 16);

std::string Error(const std::string& text) {
    return "[ERROR]: " + text;
}

velkori_Handle MakeConfig(Biped& source, Biped& target) {
    const velkori_UtilityConfigInitParams_ params = {source.Params(), target.Params(), {}, {}};
    velkori_Handle handle = 0;
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("bipeds", &params, &handle), velkori_Result_Success);
    return handle;
}

Transforms TPose(velkori_Handle handle, velkori_SkeletonType type, velkori_SkeletonTPoseType pose) {
    int32_t count = 0;
    EXPECT_EQ(
        velkori_getSkeletonTPose(handle, type, pose, RootSpace, nullptr, &count), velkori_Result_Success);
    Transforms joints(count);
    EXPECT_EQ(velkori_getSkeletonTPose(handle, type, pose, RootSpace, joints.data(), &count),
        velkori_Result_Success);
    return joints;
}

Transforms Retarget(velkori_Handle handle, const Transforms& frame, std::size_t targetJointCount) {
    const velkori_RetargetingBehaviorInfo_ info = {RootSpace, velkori_RetargetingBehavior_MatchProportions,
        velkori_RetargetingRootMotionBehavior_Unchanged, velkori_RetargetingBehaviorFlags_None};
    Transforms out(targetJointCount);
    auto count = static_cast<int32_t>(out.size());
    EXPECT_EQ(velkori_retargetFromSourceFrameData(handle, info, frame.data(),
                  static_cast<int32_t>(frame.size()), out.data(), &count, nullptr, nullptr),
        velkori_Result_Success);
    return out;
}

} // namespace

TEST(Preparation, UnlikeBipedsWalkAlikeOnceTheyAreAlignedAndMapped) {
    const BipedShape shapes[] = {
        {1.9F, 2, 0.0F, 3, false, 0.0F},
        {1.2F, 4, 0.7F, 4, true, std::numbers::pi_v<float>},
        {1.5F, 3, 0.3F, 4, false, 0.0F},
    };
    for (const BipedShape& targetShape : {shapes[1], shapes[2]}) {
        Biped source(shapes[0]);
        Biped target(targetShape, "rig:");
        velkori_Handle handle = MakeConfig(source, target);
        // A new instance takes the old one's place.
        ASSERT_EQ(velkori_alignTargetToSource("aligned", AllFlags, handle, Source, handle, &handle),
            velkori_Result_Success);
        ASSERT_EQ(velkori_generateMappings(handle, velkori_AutoMappingFlags_None), velkori_Result_Success);
        const MovingBody body(handle, 0.5F);
        const Transforms rest = body.Rest();
        ASSERT_EQ(velkori_updateSourceReferenceTPose(
                      handle, rest.data(), static_cast<int32_t>(rest.size()), nullptr),
            velkori_Result_Success);
        for (int number = 0; number < 100; ++number) {
            const Transforms frame = body.Frame(static_cast<float>(number) * 0.05F);
            const Transforms result = Retarget(handle, frame, target.GetJointCount());
            const auto offBy = [&](const char* sourceJoint, const char* targetJoint) {
                return Distance(frame[source.IndexOf(sourceJoint)].position,
                    result[target.IndexOf(targetJoint)].position);
            };
            for (const char* joint : {"leftWrist", "rightWrist", "leftAnkle", "rightAnkle", "hips"}) {
                EXPECT_LT(offBy(joint, joint), 0.08F) << joint << " at " << number;
            }
            EXPECT_LT(offBy("leftWrist", "leftWrist"), offBy("leftWrist", "rightWrist"));
            EXPECT_LT(offBy("leftAnkle", "leftAnkle"), offBy("leftAnkle", "rightAnkle"));
        }
        EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
    }
}

// The sample's own mappings are left behind: the new configuration starts without any.
TEST(Preparation, TheSampleCharacterIsDrivenByWhatIsGenerated) {
    const LoadedConfig sample(ReadSample("full.json"));
    velkori_Handle handle = 0;
    ASSERT_EQ(velkori_alignTargetToSource("prepared", AllFlags, sample.Get(), Source, sample.Get(), &handle),
        velkori_Result_Success);
    int32_t mappingCount = -1;
    ASSERT_EQ(velkori_getSkeletonMappings(handle, velkori_SkeletonTPoseType_Min, nullptr, &mappingCount),
        velkori_Result_Success);
    EXPECT_EQ(mappingCount, 0);
    ASSERT_EQ(velkori_generateMappings(handle, velkori_AutoMappingFlags_None), velkori_Result_Success);
    const MovingBody body(handle, 0.5F);
    const Transforms rest = body.Rest();
    ASSERT_EQ(
        velkori_updateSourceReferenceTPose(handle, rest.data(), static_cast<int32_t>(rest.size()), nullptr),
        velkori_Result_Success);
    const std::size_t jointCount = TPose(handle, Target, velkori_SkeletonTPoseType_Min).size();
    const auto find = [&](velkori_SkeletonType type, velkori_KnownJointType joint) {
        int32_t index = -1;
        EXPECT_EQ(velkori_getJointIndexByKnownJointType(handle, type, joint, &index), velkori_Result_Success);
        return index;
    };
    for (int number = 0; number < 100; ++number) {
        const Transforms frame = body.Frame(static_cast<float>(number) * 0.05F);
        const Transforms result = Retarget(handle, frame, jointCount);
        for (const auto joint : {velkori_KnownJointType_LeftWrist, velkori_KnownJointType_RightWrist,
                 velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_RightAnkle}) {
            EXPECT_LT(
                Distance(frame[find(Source, joint)].position, result[find(Target, joint)].position), 0.12F)
                << "known joint " << joint << ", frame " << number;
        }
    }
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

TEST(Preparation, AnAlignedRigStaysAlignedAndAnIdenticalOneUntouched) {
    const BipedShape tall = {1.9F, 2, 0.0F, 3, false, 0.0F};
    const BipedShape small = {1.2F, 4, 0.7F, 4, true, std::numbers::pi_v<float>};
    Biped source(tall);
    Biped twin(tall, "twin:");
    const velkori_Handle handle = MakeConfig(source, twin);
    velkori_Handle aligned = 0;
    ASSERT_EQ(velkori_alignTargetToSource(nullptr, static_cast<velkori_AlignmentFlags>(1 | 2 | 8 | 16),
                  handle, Source, handle, &aligned),
        velkori_Result_Success);
    for (const auto pose :
        {velkori_SkeletonTPoseType_Min, velkori_SkeletonTPoseType_Max, velkori_SkeletonTPoseType_Unscaled}) {
        const Transforms before = TPose(handle, Target, pose);
        const Transforms after = TPose(aligned, Target, pose);
        EXPECT_EQ(std::memcmp(before.data(), after.data(), before.size() * sizeof before.front()), 0);
    }
    char name[16] = {};
    int32_t size = sizeof name;
    EXPECT_EQ(velkori_getConfigName(aligned, name, &size), velkori_Result_Success);
    EXPECT_STREQ(name, "bipeds") << "the target's, where none is given";

    Biped other(small, "rig:");
    Biped sourceAgain(tall);
    velkori_Handle unlike = MakeConfig(sourceAgain, other);
    ASSERT_EQ(velkori_alignTargetToSource("once", AllFlags, unlike, Source, unlike, &unlike),
        velkori_Result_Success);
    const Transforms once = TPose(unlike, Target, velkori_SkeletonTPoseType_Max);
    ASSERT_EQ(velkori_alignTargetToSource("twice", AllFlags, unlike, Source, unlike, &unlike),
        velkori_Result_Success);
    const Transforms twice = TPose(unlike, Target, velkori_SkeletonTPoseType_Max);
    // The wrist's height, at which both are matched, and facing: the right wrist is on the source's right.
    const int wrist = other.IndexOf("rightWrist");
    EXPECT_NEAR(once[wrist].position.y, 0.8F * 1.9F, 1e-3F);
    EXPECT_GT(once[wrist].position.x, 0.3F);
    for (std::size_t i = 0; i < once.size(); ++i) {
        EXPECT_LT(Distance(once[i].position, twice[i].position), 2e-3F) << i;
    }
    for (const velkori_Handle each : {handle, aligned, unlike}) {
        EXPECT_EQ(velkori_destroy(each), velkori_Result_Success);
    }
}

TEST(Preparation, RefusesInTheOrderOfItsChecks) {
    const LoadedConfig config(ReadSample("simple.json"));
    const velkori_Handle handle = config.Get();
    const LogCapture capture;
    const auto expect = [](velkori_Result result, velkori_Result expected, Texts lines) {
        EXPECT_EQ(result, expected) << lines.back();
        for (std::string& line : lines) {
            line = Error(line);
        }
        EXPECT_EQ(LogCapture::TakeTexts(), lines);
    };
    const auto unknown = [](const std::string& role) {
        return Texts{
            "Could not find utilityIntance with handle.", "Could not find handle 3e7 to load as " + role};
    };
    velkori_Handle made = 0;
    expect(velkori_alignTargetToSource("a", AllFlags, 999, Source, 999, nullptr),
        velkori_Result_InvalidParameter, {"Handle Pointer output variable in_out_handle is null."});
    expect(velkori_alignTargetToSource("a", AllFlags, 999, Source, handle, &made),
        velkori_Result_InvalidHandle, unknown("sourceInstance"));
    expect(velkori_alignTargetToSource("a", AllFlags, handle, Source, 999, &made),
        velkori_Result_InvalidHandle, unknown("targetInstance"));
    EXPECT_EQ(made, 0U);

    Transforms pose = TPose(handle, Target, velkori_SkeletonTPoseType_Max);
    Transforms bad = pose;
    bad[2].position.x = std::numeric_limits<float>::quiet_NaN();
    const std::string notFinite =
        "Transform Array contains either nan/inf values or an invalid (Zero) Quaternion";
    const Transforms before = pose;
    const auto count = static_cast<int32_t>(pose.size());
    const std::string wrongCount =
        "Parameter in_out_jointCount does not match the skeleton joint count definition. Required length " +
        std::to_string(count) + ", Actual length " + std::to_string(count - 1);
    const auto matchCurrent = [&](velkori_Transform_* transforms, int space) {
        return velkori_matchCurrentTPose(handle, Source, velkori_MatchBehavior_Scale,
            static_cast<velkori_JointRelativeSpaceType>(space), count, transforms);
    };
    expect(matchCurrent(nullptr, 0), velkori_Result_InvalidParameter,
        {"Parameter in_out_transform must not be Null"});
    expect(matchCurrent(bad.data(), 0), velkori_Result_InvalidValue, {notFinite});
    expect(matchCurrent(pose.data(), 7), velkori_Result_InvalidValue,
        {"Joint space type 7 is not between 0 and 3"});
    expect(matchCurrent(pose.data(), 0), velkori_Result_OperationFailed,
        {"Error - current TPose isn't initialized.  Call velkori_updateSourceReferenceTPose before this "
         "function."});
    const auto match = [&](const velkori_Transform_* given, velkori_Transform_* transforms,
                           int32_t jointCount) {
        return velkori_matchPose(
            handle, Target, velkori_MatchBehavior_Scale, RootSpace, jointCount, given, transforms);
    };
    expect(match(nullptr, pose.data(), count), velkori_Result_InvalidParameter,
        {"Parameter in_transformSourcePose must not be Null"});
    expect(match(pose.data(), nullptr, count), velkori_Result_InvalidParameter,
        {"Parameter in_out_transformData must not be Null"});
    expect(match(before.data(), bad.data(), count), velkori_Result_InvalidValue, {notFinite});
    expect(match(before.data(), pose.data(), count - 1), velkori_Result_BufferTooSmall, {wrongCount});

    const char* const names[] = {"hips"};
    const auto simple = [&](int32_t jointCount, const char* const* targetNames,
                            const velkori_Transform_* rest, const char* const* mapping, velkori_Handle* out) {
        return velkori_generateSimpleMappingConfig(
            handle, jointCount, targetNames, nullptr, rest, mapping, out);
    };
    expect(simple(0, nullptr, nullptr, nullptr, nullptr), velkori_Result_InvalidValue,
        {"Target Joint Count must be Greater than 0"});
    expect(simple(1, nullptr, nullptr, nullptr, nullptr), velkori_Result_InvalidParameter,
        {"Parameter targetJointNames must not be Null"});
    expect(simple(1, names, nullptr, nullptr, nullptr), velkori_Result_InvalidParameter,
        {"Parameter targetRestPose must not be Null"});
    expect(simple(3, names, bad.data(), nullptr, nullptr), velkori_Result_InvalidValue, {notFinite});
    expect(simple(1, names, pose.data(), nullptr, nullptr), velkori_Result_InvalidParameter,
        {"Parameter sourceJointNamesMapping must not be Null"});
    expect(simple(1, names, pose.data(), names, nullptr), velkori_Result_InvalidParameter,
        {"Parameter out_generatedConfigHandle must not be Null"});
    EXPECT_EQ(simple(1, names, pose.data(), names, &made), velkori_Result_Failure);
    EXPECT_EQ(made, 0U);
}

TEST(Preparation, WithoutHipsAPoseStaysAsItIs) {
    Biped target(BipedShape{});
    velkori_SkeletonInitParams_ params = target.Params();
    params.knownJoints = nullptr;
    velkori_Handle handle = 0;
    ASSERT_EQ(velkori_createOrUpdateSimpleUtilityConfig("target", Target, &params, &handle),
        velkori_Result_Success);
    Transforms pose = target.pose;
    const auto count = static_cast<int32_t>(pose.size());
    const LogCapture capture;
    EXPECT_EQ(velkori_matchCurrentTPose(
                  handle, Target, velkori_MatchBehavior_JointLengths, RootSpace, count, pose.data()),
        velkori_Result_Failure);
    EXPECT_EQ(velkori_matchPose(handle, Target, velkori_MatchBehavior_Scale, RootSpace, count,
                  target.pose.data(), pose.data()),
        velkori_Result_Failure);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts(2, Error("Cannot match a pose of a skeleton without a known hips joint")));
    EXPECT_EQ(std::memcmp(pose.data(), target.pose.data(), pose.size() * sizeof pose.front()), 0);
    EXPECT_EQ(velkori_generateMappings(handle, velkori_AutoMappingFlags_None), velkori_Result_InvalidData);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts{Error("Cannot Generate Mappings for Config: target.  Config must have valid Source Skeleton "
                    "Data!")});
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

// Twice as large, it has the small one's directions; scaled back, it is the small one.
TEST(Preparation, MatchesAPoseToTheBoneLengthsOfAnother) {
    Biped source(BipedShape{1.8F, 2, 0.5F, 3, false, 0.0F});
    Biped target(BipedShape{});
    const velkori_Handle handle = MakeConfig(source, target);
    Transforms large = target.pose;
    for (velkori_Transform_& joint : large) {
        joint.position = {2 * joint.position.x, 2 * joint.position.y, 2 * joint.position.z};
    }
    Transforms matched = large;
    const auto count = static_cast<int32_t>(large.size());
    ASSERT_EQ(velkori_matchPose(handle, Target, velkori_MatchBehavior_Scale, RootSpace, count,
                  target.pose.data(), matched.data()),
        velkori_Result_Success);
    for (std::size_t i = 0; i < matched.size(); ++i) {
        EXPECT_LT(Distance(matched[i].position, target.pose[i].position), 1e-4F) << i;
    }
    matched = target.pose;
    ASSERT_EQ(velkori_matchPose(handle, Target, velkori_MatchBehavior_JointLengths, RootSpace, count,
                  large.data(), matched.data()),
        velkori_Result_Success);
    for (std::size_t i = 0; i < matched.size(); ++i) {
        EXPECT_LT(Distance(matched[i].position, target.pose[i].position), 1e-4F) << i;
    }
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}
