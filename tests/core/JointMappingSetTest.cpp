#include "core/JointMappingSet.h"

#include "support/PoseMatchers.h"
#include "support/Rotations.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <limits>
#include <numbers>

using namespace Velkori_Utility;

namespace {

// {joint, rotation weight, position weight}
using Entries = std::vector<velkori_JointMappingEntry_>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr float Infinity = std::numeric_limits<float>::infinity();

// A source and a target whose joints hang together in different ways, with two roots each.
struct TwoTrees {
    explicit TwoTrees(unsigned seed)
        : random(seed),
          source(TestSkeletons::MakeRandomTreeParams(random, 30, 2)),
          target(TestSkeletons::MakeRandomTreeParams(random, 40, 2)) {}

    JointMappingSet MakeSet(
        const Entries& entries, JointMappingType type = Source, int targetJoint = 0) const {
        return JointMappingSet(
            {targetJoint, type, velkori_JointMappingBehaviorType_IKDerived, entries}, source, target);
    }

    int RandomJoint(const SkeletonData& skeleton) {
        return std::uniform_int_distribution<int>(0, skeleton.GetJointCount() - 1)(random);
    }

    std::mt19937 random;
    SourceSkeletonData source;
    TargetSkeletonData target;
};

Quaternionf TurnAboutZ(float degrees) {
    return RotationOf({0, 0, degrees * std::numbers::pi_v<float> / 180});
}

JointPose BlendRestPoses(const SkeletonData& skeleton, int minJoint, int maxJoint, float ratio) {
    const JointPose& min = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min).GetJointPoses(Root)[minJoint];
    const JointPose& max = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max).GetJointPoses(Root)[maxJoint];
    return {min.orientation.Slerp(max.orientation, ratio), min.position.Lerp(max.position, ratio)};
}

} // namespace

TEST(JointMappingSet, KeepsOnlyEntriesThatDriveSomething) {
    TwoTrees trees(1);
    const JointMappingSet set = trees.MakeSet(
        {{-1, 1, 1}, {2, 0, 0}, {7, 0, 1}, {3, -1, -1}, {30, 1, 1}, {-2, 1, 1}, {5, 1, 0}, {6, -1, 0.5F}});
    EXPECT_EQ(set.GetMappedJoints().ToKeyVector(), (std::vector<int>{7, 5, 6}));
    const SerializedJointMapping kept = set.ToSerializedJointMapping();
    ASSERT_EQ(kept.entries.size(), 3U);
    EXPECT_EQ(kept.entries[2].rotationWeight, -1.0F);
    EXPECT_EQ(kept.entries[2].positionWeight, 0.5F);
    EXPECT_EQ(trees.MakeSet({{30, 1, 1}}, Target).GetEntries().size(), 1U) << "the target has more joints";
}

TEST(JointMappingSet, WeightsAreScaledByTheReciprocalOfTheirSum) {
    struct Case {
        Entries entries;
        float rotationScale;
        float positionScale;
    };

    const Case cases[] = {
        {{{0, 1, 3}, {1, 0, 1}}, 1, 0.25F},
        {{{0, 0, 0.5F}, {1, 0, 1.5F}}, 0, 0.5F},
        {{{0, 2, -3}, {1, 2, 1}}, 0.25F, 0},
        // An infinite weight is the largest number, and one that isn't a number is none.
        {{{0, Infinity, 1}}, 1 / std::numeric_limits<float>::max(), 1},
        {{{0, std::numeric_limits<float>::quiet_NaN(), 1}}, 0, 1},
        {{}, 0, 0},
    };
    TwoTrees trees(2);
    for (const Case& each : cases) {
        const JointMappingSet set = trees.MakeSet(each.entries);
        EXPECT_EQ(set.GetRotationWeightScale(), each.rotationScale);
        EXPECT_EQ(set.GetPositionWeightScale(), each.positionScale);
    }
}

TEST(JointMappingSet, ASingleEntryGivesItsPoseAsItStandsAndSeveralTheirWeightedMean) {
    TwoTrees trees(4);
    std::vector<JointPose> pose(30, JointPose(TurnAboutZ(70), {}, {2, 2, 2}));
    pose[1].position = {4, 0, 8};
    pose[2].position = {0, 8, 8};
    const JointPose offset(TurnAboutZ(50), {1, 1, 1});
    const JointMappingSet single = trees.MakeSet({{1, 0, 0.1F}});
    EXPECT_EQ(single.CalculateUsingDeltaFromReferencePose(pose, pose, &offset), pose[1]);
    EXPECT_EQ(single.CalculateUsingDeltaFromReferencePose({}, {}, nullptr), JointPose::Identity)
        << "a skeleton may have no rest pose";
    const JointMappingSet both = trees.MakeSet({{1, 0, 3}, {2, 0, 1}});
    EXPECT_EQ(both.CalculateUsingDeltaFromReferencePose(pose, {}, &offset),
        JointPose(Quaternionf::Identity, {3, 2, 8}))
        << "without rotation weights nothing turns";
}

TEST(JointMappingSet, OrientationsBlendByTheirRawWeights) {
    // Joint i is turned by 40 i degrees.
    constexpr int jointCount = 30;
    std::vector<JointPose> pose;
    pose.reserve(jointCount);
    for (int i = 0; i < jointCount; ++i) {
        pose.emplace_back(TurnAboutZ(40.0F * static_cast<float>(i)), Vector3f::Zero);
    }
    const std::pair<Entries, float> cases[] = {
        {{{1, 0, 1}, {2, 0.3F, 0}}, 80},
        {{{1, 0.25F, 0}, {2, 0.75F, 0}}, 70},
        {{{1, 1, 0}, {2, 1, 0}}, 80},
        {{{1, 3, 0}, {2, 0.5F, 0}, {3, 0, 1}}, 60},
        // Symmetric about 60 degrees.
        {{{0, 1, 0}, {1, 2, 0}, {2, 2, 0}, {3, 1, 0}}, 60},
    };
    TwoTrees trees(6);
    for (const auto& [entries, degrees] : cases) {
        const JointPose blended =
            trees.MakeSet(entries).CalculateUsingDeltaFromReferencePose(pose, {}, nullptr);
        EXPECT_LE(AngleBetween(blended.orientation, TurnAboutZ(degrees)), 2e-4F) << degrees;
        EXPECT_EQ(blended.scale, Vector3f::One);
    }
}

TEST(JointMappingSet, TurnsTheOffsetAsThePoseTurnsAwayFromItsReference) {
    TwoTrees trees(7);
    const std::vector<JointPose>& restPose =
        trees.source.GetTPoseData(velkori_SkeletonTPoseType_Min).GetJointPoses(Root);
    const Quaternionf turn = RotationOf({0.4F, -0.7F, 0.2F});
    std::vector<JointPose> pose = restPose;
    for (JointPose& joint : pose) {
        joint.orientation = turn * joint.orientation;
    }
    const JointPose offset(RotationOf({1, 0.5F, -0.3F}), {9, 9, 9});
    const Vector3f middle = (pose[3].position + pose[8].position) * 0.5F;
    for (const Entries& entries : {Entries{{3, 0.6F, 1}, {8, 0.4F, 1}},
             Entries{{3, 0.6F, 1}, {8, 0.4F, 1}, {12, 0.2F, 0}}, Entries{{3, 0.6F, 1}, {8, 0, 1}}}) {
        const JointPose result =
            trees.MakeSet(entries).CalculateUsingDeltaFromReferencePose(pose, restPose, &offset);
        EXPECT_LE(AngleBetween(result.orientation, turn * offset.orientation), 1e-3F);
        ExpectNear(result.position, middle, 1e-6F, "the offset's position has no part in it");
    }
}

TEST(JointMappingSet, TheJointRatioWeighsPositionAgainstRotation) {
    const std::pair<Entries, float> cases[] = {
        {{}, 0},
        {{{1, 0, 2}}, 0.75F},
        // By position 0.375, by rotation 0.625, and rotation has a quarter of all weight.
        {{{0, 0.25F, 2.25F}, {1, 0.75F, 0.75F}}, 0.4375F},
        // By position nothing, as those weights cancel; by rotation 0.25, which has all weight.
        {{{0, 1, -1}, {1, 0, 1}}, 0.25F},
        // Nothing is known of the last joint.
        {{{1, 1, 1}, {29, 0, 1}}, 0.5625F},
    };
    TwoTrees trees(8);
    for (const auto& [entries, ratio] : cases) {
        EXPECT_FLOAT_EQ(
            trees.MakeSet(entries).CalculateMinMaxJointRatio(std::vector<float>{0.25F, 0.75F}), ratio);
    }
}

TEST(JointMappingSet, TheLocalOffsetTakesRestPosesToRestPoses) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        TwoTrees trees(seed);
        const auto joint = [&] { return trees.RandomJoint(trees.source); };
        const Entries choices[] = {{{joint(), 1, 1}}, {{joint(), 0.4F, 2}, {joint(), 0.6F, 1}},
            {{joint(), 1, 1}, {joint(), 2, 0}, {joint(), 0.5F, 1}}, {{joint(), 0, 1}, {joint(), 0, 1}}};
        for (std::size_t i = 0; i < std::size(choices); ++i) {
            const JointMappingSet minSet = trees.MakeSet(choices[i], Source, 11);
            const JointMappingSet maxSet = trees.MakeSet(choices[(i + 1) % 4], Source, 17);
            const JointPose min = minSet.CalculateOnRestPose(velkori_SkeletonTPoseType_Min);
            const JointPose max = maxSet.CalculateOnRestPose(velkori_SkeletonTPoseType_Max);
            for (const float ratio : {0.0F, 0.5F, 1.0F, 1.4F}) {
                const JointPose mapped(
                    min.orientation.Slerp(max.orientation, ratio), min.position.Lerp(max.position, ratio));
                const JointPose offset = JointMappingSet::CalculateLocalOffsetToTarget(minSet, maxSet, ratio);
                const JointPose reached = mapped.ApplyWithoutScale(offset);
                const JointPose wanted = BlendRestPoses(trees.target, 11, 17, ratio);
                ExpectNear(std::span(&reached, 1), std::span(&wanted, 1), 2e-3F);
            }
        }
        const JointMappingSet targetSet = trees.MakeSet(choices[1], Target, 11);
        EXPECT_EQ(JointMappingSet::CalculateLocalOffsetToTarget(
                      targetSet, trees.MakeSet(choices[0], Source, 11), 0.5F),
            JointPose::Identity);
    }
}

TEST(JointMappingSet, RestPosesThatArentThereCountAsTheIdentity) {
    TestSkeletons::Params params = TestSkeletons::MakeBipedParams();
    const SourceSkeletonData wholeSource(params);
    const TargetSkeletonData wholeTarget(params);
    const RestPose& min = wholeTarget.GetRestPoses().GetMin();
    params.minTPose = params.maxTPose = params.unscaledTPose = {};
    const auto offset = [](const SourceSkeletonData& source, const TargetSkeletonData& target) {
        const JointMappingSet set(
            {5, Source, velkori_JointMappingBehaviorType_Normal, {{1, 1, 1}, {2, 1, 1}}}, source, target);
        return JointMappingSet::CalculateLocalOffsetToTarget(set, set, 0);
    };
    EXPECT_EQ(offset(SourceSkeletonData(params), wholeTarget).position, min.GetJointPoses(Root)[5].position);
    EXPECT_EQ(offset(wholeSource, TargetSkeletonData(params)), JointPose::Identity);
}

TEST(JointMappingSet, TheSameRuleReadsTheSameJointsWithTheSameWeights) {
    const TwoTrees trees(10);
    const JointMappingSet set = trees.MakeSet({{1, 1, 1}, {2, 0.5F, 1}});
    EXPECT_TRUE(set.IsSameRule(trees.MakeSet({{1, 1, 1}, {2, 0.5F, 1}, {3, 0, 0}}, Source, 8)))
        << "whichever joint it drives, and without what drives nothing";
    EXPECT_FALSE(set.IsSameRule(trees.MakeSet({{1, 1, 1}, {2, 0.5F, 1}}, Target)));
    EXPECT_FALSE(set.IsSameRule(trees.MakeSet({{1, 1, 1}, {2, 0.5F, 2}})));
    EXPECT_FALSE(set.IsSameRule(trees.MakeSet({{2, 0.5F, 1}, {1, 1, 1}}))) << "the second's weight blends";
}
