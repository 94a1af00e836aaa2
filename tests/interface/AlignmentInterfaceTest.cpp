#include "Velkori_Utility.h"
#include "support/Biped.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

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
constexpr auto LocalSpace = velkori_JointRelativeSpaceType_Local;
constexpr auto Min = velkori_SkeletonTPoseType_Min;
constexpr auto Max = velkori_SkeletonTPoseType_Max;
constexpr auto Unscaled = velkori_SkeletonTPoseType_Unscaled;
constexpr auto AllSpaces = {RootSpace, LocalSpace, velkori_JointRelativeSpaceType_RootOriginRelativeScaled,
    velkori_JointRelativeSpaceType_LocalScaled};

// Three joints in a row as a document's skeleton, without rest poses.
const std::string Column = R"("joints": ["root", "hips", "chest"], "hierarchy": {"hips": "root",
    "chest": "hips"}, "knownJoints": {"root": "root", "hips": "hips", "chest": "chest"})";

std::string ColumnPose(const std::string& name, float height) {
    const auto joint = [](const std::string& jointName, float y) {
        return "\"" + jointName + R"(": {"position": {"x": 0, "y": )" + std::to_string(y) +
               R"(, "z": 0}, "rotation": {"x": 0, "y": 0, "z": 0, "w": 1}})";
    };
    return ", \"" + name + "\": {" + joint("root", 0) + ", " + joint("hips", height / 2) + ", " +
           joint("chest", height) + "}";
}

std::string Document(const std::string& skeletons) {
    return R"({"name": "column", "config": {"version": 2, "retargetingBehaviorFlags":
        {"applyJointOrientationFixup": true}, "coordinateSpace": {"up": {"x": 0, "y": 1, "z": 0},
        "forward": {"x": 0, "y": 0, "z": 1}, "right": {"x": 1, "y": 0, "z": 0}}}, )" +
           skeletons + "}";
}

Transforms TPose(velkori_Handle handle, velkori_SkeletonType type, velkori_SkeletonTPoseType pose,
    velkori_JointRelativeSpaceType space = RootSpace) {
    int32_t count = 0;
    EXPECT_EQ(velkori_getSkeletonTPose(handle, type, pose, space, nullptr, &count), velkori_Result_Success);
    Transforms joints(count);
    EXPECT_EQ(
        velkori_getSkeletonTPose(handle, type, pose, space, joints.data(), &count), velkori_Result_Success);
    return joints;
}

bool SameBits(const Transforms& a, const Transforms& b) {
    return a.size() == b.size() &&
           std::memcmp(a.data(), b.data(), a.size() * sizeof(velkori_Transform_)) == 0;
}

void ExpectNear(const Transforms& a, const Transforms& b, float tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_LE(Distance(a[i].position, b[i].position), tolerance) << "joint " << i;
        ASSERT_LE(Angle(a[i].orientation, b[i].orientation), tolerance) << "joint " << i;
    }
}

velkori_Handle MakeConfig(Biped& source, Biped& target) {
    const velkori_UtilityConfigInitParams_ params = {source.Params(), target.Params(), {}, {}};
    velkori_Handle handle = 0;
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("bipeds", &params, &handle), velkori_Result_Success);
    return handle;
}

velkori_Result Align(velkori_Handle from, int flags, velkori_Handle& handle) {
    return velkori_alignTargetToSource(
        "aligned", static_cast<velkori_AlignmentFlags>(flags), from, Source, from, &handle);
}

velkori_Result Match(velkori_Handle handle, velkori_MatchBehavior behavior,
    velkori_JointRelativeSpaceType space, Transforms& pose) {
    return velkori_matchCurrentTPose(
        handle, Source, behavior, space, static_cast<int32_t>(pose.size()), pose.data());
}

void Convert(velkori_Handle handle, velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to,
    Transforms& pose) {
    EXPECT_EQ(
        velkori_convertJointPose(handle, Source, from, to, pose.data(), static_cast<int32_t>(pose.size())),
        velkori_Result_Success);
}

// The source's largest body in a stance that isn't its rest pose.
Transforms BentPose(velkori_Handle handle, velkori_JointRelativeSpaceType space) {
    Transforms pose = MovingBody(handle, 1.0F).Frame(0.4F);
    // Its root and its hips stand where they do in the rest pose.
    const Transforms rest = TPose(handle, Source, Max, LocalSpace);
    Convert(handle, RootSpace, LocalSpace, pose);
    pose[0] = rest[0];
    pose[1].position = rest[1].position;
    Convert(handle, LocalSpace, space, pose);
    return pose;
}

} // namespace

// What is told apart by an earlier check comes with the faults of all later ones.
TEST(AlignmentExports, RefuseInTheOrderOfTheirChecks) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LoadedConfig onlySource(Document("\"source\": {" + Column + ColumnPose("tpose", 2) + "}"));
    const LoadedConfig shapeless(Document("\"source\": {" + Column + "}"));
    Transforms pose = TPose(config.Get(), Source, Max);
    const auto count = static_cast<int32_t>(pose.size());
    Transforms bad = pose;
    bad.front().scale.z = std::numeric_limits<float>::infinity();
    const LogCapture capture;
    const auto expect = [](velkori_Result result, velkori_Result expected, Texts lines) {
        for (std::string& line : lines) {
            line.insert(0, "[ERROR]: ");
        }
        EXPECT_EQ(result, expected) << lines.back();
        EXPECT_EQ(LogCapture::TakeTexts(), lines);
    };
    const Texts unknown = {
        "Could not find utilityIntance with handle.", "Could not find handle 3e7 to load as instance"};
    const Texts notFinite = {
        "Transform Array contains either nan/inf values or an invalid (Zero) Quaternion"};
    const Texts noSpace = {"Joint space type 4 is not between 0 and 3"};
    const auto wrongCount = [&](int32_t given) {
        return Texts{"Parameter in_out_jointCount does not match the skeleton joint count definition. "
                     "Required length " +
                     std::to_string(count) + ", Actual length " + std::to_string(given)};
    };
    const auto current = [](velkori_Handle handle, velkori_Transform_* transforms, int32_t given) {
        return velkori_matchCurrentTPose(handle, Source, velkori_MatchBehavior_Scale,
            static_cast<velkori_JointRelativeSpaceType>(4), given, transforms);
    };
    const auto match = [](velkori_Handle handle, const velkori_Transform_* given,
                           velkori_Transform_* transforms, int32_t givenCount) {
        return velkori_matchPose(handle, Source, velkori_MatchBehavior_Scale,
            static_cast<velkori_JointRelativeSpaceType>(4), givenCount, given, transforms);
    };
    expect(current(999, nullptr, 1), velkori_Result_InvalidHandle, unknown);
    expect(current(config.Get(), nullptr, 1), velkori_Result_InvalidParameter,
        {"Parameter in_out_transform must not be Null"});
    expect(current(config.Get(), bad.data(), 1), velkori_Result_InvalidValue, notFinite);
    expect(current(config.Get(), pose.data(), -1), velkori_Result_BufferTooSmall, wrongCount(-1));
    expect(
        current(config.Get(), pose.data(), count - 1), velkori_Result_BufferTooSmall, wrongCount(count - 1));
    expect(current(config.Get(), pose.data(), count), velkori_Result_InvalidValue, noSpace);

    expect(match(999, nullptr, nullptr, 1), velkori_Result_InvalidHandle, unknown);
    expect(match(config.Get(), bad.data(), pose.data(), 1), velkori_Result_InvalidValue, notFinite);
    expect(match(config.Get(), pose.data(), bad.data(), 1), velkori_Result_InvalidValue, notFinite);
    expect(match(config.Get(), pose.data(), pose.data(), 1), velkori_Result_BufferTooSmall, wrongCount(1));
    expect(match(config.Get(), pose.data(), pose.data(), count), velkori_Result_InvalidValue, noSpace);

    const Transforms column = TPose(onlySource.Get(), Source, Max);
    Transforms matched = column;
    expect(Match(shapeless.Get(), velkori_MatchBehavior_JointLengths, RootSpace, matched),
        velkori_Result_Failure, {"Cannot match a pose of a skeleton without rest poses"});
    EXPECT_TRUE(SameBits(matched, column));
    velkori_Handle handle = 77;
    expect(Align(onlySource.Get(), 63, handle), velkori_Result_Failure,
        {"Failed to Align Source and Target Min Pose"});
    EXPECT_EQ(handle, 77U);
}

TEST(AlignmentExports, TheConfigurationIsTheTargetsWithTheSourceThatWasNamed) {
    // The target has no unscaled rest pose.
    const LoadedConfig config(
        Document("\"source\": {" + Column + ColumnPose("tpose", 2) + "}, \"target\": {" + Column +
                 ColumnPose("tposeMin", 1) + ColumnPose("tposeMax", 4) + "}"));
    velkori_Handle handle = 77;
    ASSERT_EQ(Align(config.Get(), 0, handle), velkori_Result_Success);
    EXPECT_NE(handle, 77U) << "nothing lived under it";
    EXPECT_NE(handle, config.Get());
    EXPECT_EQ(TPose(handle, Source, Max).back().position.y, 2.0F);
    EXPECT_EQ(TPose(handle, Target, Min).back().position.y, 1.0F);
    EXPECT_EQ(TPose(handle, Target, Max).back().position.y, 4.0F);
    EXPECT_NEAR(TPose(handle, Target, Unscaled).back().position.y, 2.5F, 1e-6F) << "the middle";
    const std::string document = WriteDocument(handle);
    for (const char* text :
        {R"("name": "aligned")", R"("version": 2.0)", R"("applyJointOrientationFixup": true)"}) {
        EXPECT_NE(document.find(text), std::string::npos) << text;
    }
    // In place, with the target for a source.
    const velkori_Handle before = handle;
    ASSERT_EQ(
        velkori_alignTargetToSource("", velkori_AlignmentFlags_None, handle, Target, config.Get(), &handle),
        velkori_Result_Success);
    EXPECT_EQ(handle, before);
    EXPECT_EQ(TPose(handle, Source, Max).back().position.y, 4.0F);
    EXPECT_NE(WriteDocument(handle).find(R"("name": "column")"), std::string::npos) << "the target's name";
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

TEST(AlignmentExports, TheUnscaledPoseTurnsAndKeepsItsSize) {
    Biped source(BipedShape{1.9F, 2, 0.0F, 3, false, 0.0F});
    Biped target(BipedShape{1.2F, 3, 0.6F, 3, false, std::numbers::pi_v<float>});
    const velkori_Handle bipeds = MakeConfig(source, target);
    velkori_Handle handle = 0;
    ASSERT_EQ(Align(bipeds, 8, handle), velkori_Result_Success);
    EXPECT_FALSE(SameBits(TPose(handle, Target, Min), TPose(bipeds, Target, Min)));
    EXPECT_TRUE(SameBits(TPose(handle, Target, Unscaled), TPose(bipeds, Target, Unscaled)));

    ASSERT_EQ(Align(bipeds, 63, handle), velkori_Result_Success);
    const Transforms before = TPose(bipeds, Target, Unscaled);
    const Transforms after = TPose(handle, Target, Unscaled);
    const std::vector<int32_t> parents = ParentsOf(bipeds, Target);
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (parents[i] != -1) {
            EXPECT_NEAR(Distance(after[i].position, after[parents[i]].position),
                Distance(before[i].position, before[parents[i]].position), 1e-5F)
                << i;
        }
    }
    // Its arm is stretched out to the right like the source's.
    const velkori_Vector3f_ arm = Subtract(
        after[target.IndexOf("rightWrist")].position, after[target.IndexOf("rightUpperArm")].position);
    EXPECT_LT(Distance(arm, {0.31F * 1.2F, 0, 0}), 1e-4F);
    for (const velkori_Handle each : {bipeds, handle}) {
        EXPECT_EQ(velkori_destroy(each), velkori_Result_Success);
    }
}

// With bones as long as the largest body's, it is that body's rest pose, however the given one is bent.
TEST(AlignmentExports, ByJointLengthsAPoseBecomesTheRestPoseOfItsSize) {
    const LoadedConfig config(ReadSample("simple.json"));
    for (const auto space : AllSpaces) {
        Transforms pose = BentPose(config.Get(), space);
        ASSERT_EQ(
            Match(config.Get(), velkori_MatchBehavior_JointLengths, space, pose), velkori_Result_Success);
        ExpectNear(pose, TPose(config.Get(), Source, Max, space), 1e-4F);
    }
}

TEST(AlignmentExports, ByScaleAPoseKeepsItsDirectionsWithTheCurrentBoneLengths) {
    const LoadedConfig config(ReadSample("simple.json"));
    const Transforms reference = MovingBody(config.Get(), 0.3F).Rest();
    ASSERT_EQ(velkori_updateSourceReferenceTPose(
                  config.Get(), reference.data(), static_cast<int32_t>(reference.size()), nullptr),
        velkori_Result_Success);
    const Transforms current = TPose(config.Get(), Source, velkori_SkeletonTPoseType_Current, LocalSpace);
    const Transforms bent = BentPose(config.Get(), LocalSpace);
    for (const auto space : AllSpaces) {
        Transforms pose = BentPose(config.Get(), space);
        ASSERT_EQ(Match(config.Get(), velkori_MatchBehavior_Scale, space, pose), velkori_Result_Success);
        Convert(config.Get(), space, LocalSpace, pose);
        // From the hips upwards.
        for (std::size_t i = 2; i < pose.size(); ++i) {
            const float length = Length(current[i].position);
            const float factor = length / Length(bent[i].position);
            EXPECT_LT(Distance(pose[i].position, {bent[i].position.x * factor, bent[i].position.y * factor,
                                                     bent[i].position.z * factor}),
                1e-4F)
                << i;
            EXPECT_LT(Angle(pose[i].orientation, bent[i].orientation), 1e-3F) << i;
        }
    }
}
