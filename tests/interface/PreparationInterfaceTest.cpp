// Rigs that nobody mapped by hand become a working configuration.

#include "Velkori_Utility.h"
#include "support/BipedConfig.h"
#include "support/HostPoses.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <numbers>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr auto AllSpaces = {RootSpace, LocalSpace, velkori_JointRelativeSpaceType_RootOriginRelativeScaled,
    velkori_JointRelativeSpaceType_LocalScaled};

constexpr int AllFlags = 1 | 2 | 4 | 8 | 16;

const BipedShape Tall = {1.9F, 2, 0.0F, 3, false, 0.0F};
// It faces the other way.
const BipedShape Small = {1.2F, 4, 0.7F, 4, true, std::numbers::pi_v<float>};

// `from` with its source's rest poses, replacing what lives under `handle`.
velkori_Result Align(velkori_Handle from, int flags, velkori_Handle& handle) {
    return velkori_alignTargetToSource(
        "aligned", static_cast<velkori_AlignmentFlags>(flags), from, Source, from, &handle);
}

velkori_Result Match(velkori_Handle handle, velkori_MatchBehavior behavior,
    velkori_JointRelativeSpaceType space, Transforms& pose) {
    return velkori_matchCurrentTPose(
        handle, Source, behavior, space, static_cast<int32_t>(pose.size()), pose.data());
}

Transforms Convert(velkori_Handle handle, velkori_JointRelativeSpaceType from,
    velkori_JointRelativeSpaceType to, Transforms pose) {
    EXPECT_EQ(
        velkori_convertJointPose(handle, Source, from, to, pose.data(), static_cast<int32_t>(pose.size())),
        Success);
    return pose;
}

// The source's largest body in a stance that isn't its rest pose, with root and hips where they are in it.
Transforms BentPose(velkori_Handle handle, velkori_JointRelativeSpaceType space) {
    Transforms local = Convert(handle, RootSpace, LocalSpace, MovingBody(handle, 1.0F).Frame(0.4F));
    const Transforms rest = TPose(handle, Source, Max, LocalSpace);
    local[0] = rest[0];
    local[1].position = rest[1].position;
    return Convert(handle, LocalSpace, space, local);
}

// Aligns and maps what lives under the handle, and compares its known joints with those that drive them.
void ExpectToWalkAlike(velkori_Handle& handle, float tolerance) {
    ASSERT_EQ(Align(handle, AllFlags, handle), Success);
    int32_t mappingCount = -1;
    ASSERT_EQ(velkori_getSkeletonMappings(handle, Min, nullptr, &mappingCount), Success);
    EXPECT_EQ(mappingCount, 0) << "a new configuration has none";
    ASSERT_EQ(velkori_generateMappings(handle, velkori_AutoMappingFlags_None), Success);
    const MovingBody body(handle, 0.5F);
    SetReference(handle, body.Rest());
    const auto find = [&](velkori_SkeletonType type, velkori_KnownJointType joint) {
        int32_t index = -1;
        EXPECT_EQ(velkori_getJointIndexByKnownJointType(handle, type, joint, &index), Success);
        return index;
    };
    for (int number = 0; number < 100; ++number) {
        const Transforms frame = body.Frame(static_cast<float>(number) * 0.05F);
        const Transforms result = Retarget(handle, frame, Info(0));
        for (const auto joint : {velkori_KnownJointType_LeftWrist, velkori_KnownJointType_RightWrist,
                 velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_RightAnkle,
                 velkori_KnownJointType_Hips}) {
            EXPECT_LT(Distance(frame[find(Source, joint)].position, result[find(Target, joint)].position),
                tolerance)
                << "known joint " << joint << ", frame " << number;
        }
    }
}

} // namespace

TEST(Preparation, UnlikeBodiesWalkAlikeOnceTheyAreAlignedAndMapped) {
    for (const BipedShape& shape : {Small, BipedShape{1.5F, 3, 0.3F, 4, false, 0.0F}}) {
        BipedConfig bipeds(Tall, shape);
        ExpectToWalkAlike(bipeds.handle, 0.08F);
    }
    const LoadedConfig sample(ReadSample("full.json"));
    velkori_Handle handle = 0;
    ASSERT_EQ(Align(sample.Get(), AllFlags, handle), Success);
    ExpectToWalkAlike(handle, 0.12F);
    EXPECT_EQ(velkori_destroy(handle), Success);
}

TEST(Alignment, LeavesAnIdenticalRigToTheBitAndAnAlignedOneWhereItIs) {
    const BipedConfig twins(Tall, Tall);
    velkori_Handle aligned = 0;
    ASSERT_EQ(Align(twins.handle, AllFlags & ~velkori_AlignmentFlags_MatchHandsAndFingers, aligned), Success);
    for (const auto pose : {Min, Max, Unscaled}) {
        EXPECT_TRUE(SameBits(TPose(aligned, Target, pose), TPose(twins.handle, Target, pose)));
    }
    EXPECT_EQ(velkori_destroy(aligned), Success);

    BipedConfig unlike(Tall, Small);
    ASSERT_EQ(Align(unlike.handle, AllFlags, unlike.handle), Success);
    const Transforms once = TPose(unlike.handle, Target, Max);
    ASSERT_EQ(Align(unlike.handle, AllFlags, unlike.handle), Success);
    const Transforms twice = TPose(unlike.handle, Target, Max);
    // The wrist's height, at which both are matched, and facing: the right wrist is on the source's right.
    const int wrist = unlike.target.IndexOf("rightWrist");
    EXPECT_NEAR(once[wrist].position.y, 0.8F * Tall.height, 1e-3F);
    EXPECT_GT(once[wrist].position.x, 0.3F);
    for (std::size_t i = 0; i < once.size(); ++i) {
        EXPECT_LT(Distance(once[i].position, twice[i].position), 2e-3F) << i;
    }
}

TEST(Alignment, TheConfigurationIsTheTargetsWithTheSourceThatWasNamed) {
    std::string document = ReplaceAll(ReadSample("simple.json"), R"("version": 0.0)",
        R"("version": 2.0, "retargetingBehaviorFlags": {"applyJointOrientationFixup": true})");
    // The target has no unscaled rest pose.
    document.replace(document.rfind(R"("tpose")"), 7, R"("other")");
    const LoadedConfig config(document);
    velkori_Handle handle = 77;
    ASSERT_EQ(Align(config.Get(), 0, handle), Success);
    EXPECT_NE(handle, 77U) << "nothing lived under it";
    EXPECT_NE(handle, config.Get());
    EXPECT_TRUE(SameBits(TPose(handle, Source, Max), TPose(config.Get(), Source, Max)));
    const Transforms min = TPose(config.Get(), Target, Min);
    const Transforms max = TPose(config.Get(), Target, Max);
    EXPECT_TRUE(SameBits(TPose(config.Get(), Target, Current), min))
        << "in its place, before the first frame";
    EXPECT_TRUE(SameBits(TPose(handle, Target, Min), min));
    EXPECT_TRUE(SameBits(TPose(handle, Target, Max), max));
    const int hips = JointIndex(handle, Target, "hips");
    EXPECT_NEAR(TPose(handle, Target, Unscaled)[hips].position.y,
        (min[hips].position.y + max[hips].position.y) / 2, 1e-6F);
    const std::string written = WriteDocument(handle);
    for (const char* text :
        {R"("name": "aligned")", R"("version": 2.0)", R"("applyJointOrientationFixup": true)"}) {
        EXPECT_NE(written.find(text), std::string::npos) << text;
    }
    // In place, with the target for a source and the target's name.
    const velkori_Handle before = handle;
    ASSERT_EQ(
        velkori_alignTargetToSource("", velkori_AlignmentFlags_None, handle, Target, config.Get(), &handle),
        Success);
    EXPECT_EQ(handle, before);
    ExpectNear(TPose(handle, Source, Max), max, 1e-6F);
    EXPECT_NE(WriteDocument(handle).find(R"("name": "simple biped")"), std::string::npos);
    EXPECT_EQ(velkori_destroy(handle), Success);
}

TEST(Alignment, TheUnscaledPoseTurnsAndKeepsItsSize) {
    BipedConfig bipeds(Tall, {1.2F, 3, 0.6F, 3, false, std::numbers::pi_v<float>});
    const Transforms before = TPose(bipeds.handle, Target, Unscaled);
    velkori_Handle handle = 0;
    ASSERT_EQ(Align(bipeds.handle, velkori_AlignmentFlags_ScaleToHeight, handle), Success);
    EXPECT_FALSE(SameBits(TPose(handle, Target, Min), TPose(bipeds.handle, Target, Min)));
    EXPECT_TRUE(SameBits(TPose(handle, Target, Unscaled), before));

    ASSERT_EQ(Align(bipeds.handle, 63, handle), Success);
    const Transforms after = TPose(handle, Target, Unscaled);
    const std::vector<int32_t> parents = ParentsOf(handle, Target);
    for (std::size_t i = 0; i < after.size(); ++i) {
        if (parents[i] != -1) {
            EXPECT_NEAR(Distance(after[i].position, after[parents[i]].position),
                Distance(before[i].position, before[parents[i]].position), 1e-5F)
                << i;
        }
    }
    // Its arm is stretched out to the right like the source's.
    const velkori_Vector3f_ arm = Subtract(after[bipeds.target.IndexOf("rightWrist")].position,
        after[bipeds.target.IndexOf("rightUpperArm")].position);
    EXPECT_LT(Distance(arm, {0.31F * 1.2F, 0, 0}), 1e-4F);
    EXPECT_EQ(velkori_destroy(handle), Success);
}

// With bones as long as the largest body's, it is that body's rest pose, however the given one is bent.
TEST(MatchedPose, ByJointLengthsBecomesTheRestPoseOfItsSize) {
    const LoadedConfig config(ReadSample("simple.json"));
    for (const auto space : AllSpaces) {
        Transforms pose = BentPose(config.Get(), space);
        ASSERT_EQ(Match(config.Get(), velkori_MatchBehavior_JointLengths, space, pose), Success);
        ExpectNear(pose, TPose(config.Get(), Source, Max, space), 1e-4F);
    }
}

TEST(MatchedPose, ByScaleKeepsItsDirectionsWithTheCurrentBoneLengths) {
    const LoadedConfig config(ReadSample("simple.json"));
    SetReference(config.Get(), MovingBody(config.Get(), 0.3F).Rest());
    const Transforms current = TPose(config.Get(), Source, Current, LocalSpace);
    const Transforms bent = BentPose(config.Get(), LocalSpace);
    for (const auto space : AllSpaces) {
        Transforms pose = BentPose(config.Get(), space);
        ASSERT_EQ(Match(config.Get(), velkori_MatchBehavior_Scale, space, pose), Success);
        pose = Convert(config.Get(), space, LocalSpace, pose);
        // From the hips upwards.
        for (std::size_t i = 2; i < pose.size(); ++i) {
            const float growth = Length(current[i].position) / Length(bent[i].position);
            EXPECT_LT(Distance(pose[i].position, Scaled(bent[i].position, growth)), 1e-4F) << i;
            EXPECT_LT(Angle(pose[i].orientation, bent[i].orientation), 1e-3F) << i;
        }
    }
}

// A pose twice as large is given the bone lengths of the small one, or gives it its directions.
TEST(MatchedPose, TakesTheBoneLengthsOfTheOtherByScaleAndItsDirectionsByJointLengths) {
    const BipedConfig bipeds({1.8F, 2, 0.5F, 3, false, 0.0F}, BipedShape{});
    const Transforms& small = bipeds.target.pose;
    Transforms large = small;
    for (velkori_Transform_& joint : large) {
        joint.position = Scaled(joint.position, 2);
    }
    const auto match = [&](velkori_MatchBehavior behavior, const Transforms& other, Transforms pose) {
        EXPECT_EQ(velkori_matchPose(bipeds.handle, Target, behavior, RootSpace,
                      static_cast<int32_t>(pose.size()), other.data(), pose.data()),
            Success);
        return pose;
    };
    ExpectNear(match(velkori_MatchBehavior_Scale, small, large), small, 1e-4F);
    ExpectNear(match(velkori_MatchBehavior_JointLengths, large, small), small, 1e-4F);
}

// Small, the target's tip is where the source's a is, large, where b is. Until mappings are generated, the
// source's root drives it.
TEST(Mappings, ReplaceWhatWasThereForEachSizeAndTheInstanceWithIt) {
    using Entries = std::vector<std::vector<float>>;
    SmallRecords source;
    source.names = {"root", "a", "b"};
    source.parents = {nullptr, "root", "a"};
    source.pose = {At(0, 0, 0), At(0, 1, 0), At(0, 2, 0)};
    source.shapes = source.excluded = source.manifestations = {};
    source.mappings = {{2, Source, velkori_JointMappingBehaviorType_Normal, 1}};
    source.entries = {{0, 1, 1}};
    SmallRecords target = source;
    target.names = {"root", "twist", "tip"};
    target.parents = {nullptr, "root", "twist"};
    target.pose = {At(0, 0, 0), At(0, 0.5F, 0), At(0, 2, 0)};
    const Transforms smallPose = {At(0, 0, 0), At(0, 0.25F, 0), At(0, 1, 0)};
    velkori_UtilityConfigInitParams_ params = source.Config();
    params.sourceSkeleton.knownJoints = nullptr;
    params.targetSkeleton = target.Skeleton();
    params.targetSkeleton.knownJoints = nullptr;
    params.targetSkeleton.minTPose = smallPose.data();
    const RecordedConfig config(params);
    const auto entriesOf = [&](velkori_SkeletonTPoseType type) {
        velkori_JointMappingEntry_ read[8];
        int32_t count = 8;
        EXPECT_EQ(velkori_getSkeletonMappingEntries(config.handle, type, read, &count), Success);
        Entries entries;
        for (const velkori_JointMappingEntry_& entry : std::span(read, count)) {
            entries.push_back(
                {static_cast<float>(entry.jointIndex), entry.rotationWeight, entry.positionWeight});
        }
        return entries;
    };
    SetReference(config.handle, source.pose);
    ASSERT_EQ(velkori_generateMappings(config.handle, velkori_AutoMappingFlags_SkipTwistMappings), Success);
    EXPECT_EQ(entriesOf(Min), (Entries{{0, 1, 1}, {1, 1, 1}}));
    EXPECT_EQ(entriesOf(Max), (Entries{{0, 1, 1}, {2, 1, 1}}));
    // The reference went with the instance's state.
    int32_t count = 0;
    EXPECT_EQ(velkori_getSkeletonTPose(config.handle, Source, Current, RootSpace, nullptr, &count),
        velkori_Result_OperationFailed);

    // Between the two joints of the target that drive it, the twist joint is a quarter of the way up.
    ASSERT_EQ(velkori_generateMappings(config.handle, velkori_AutoMappingFlags_None), Success);
    EXPECT_EQ(entriesOf(Min), (Entries{{0, 1, 1}, {0, 0.75F, 0.75F}, {2, 0.25F, 0.25F}, {1, 1, 1}}));
    EXPECT_EQ(entriesOf(Max), (Entries{{0, 1, 1}, {0, 0.75F, 0.75F}, {2, 0.25F, 0.25F}, {2, 1, 1}}));
}
