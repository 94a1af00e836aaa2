#include "core/PoseData.h"

#include "UtilityContextInstance.h"
#include "core/SkeletonData.h"
#include "support/AllocationCount.h"
#include "support/PoseMatchers.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <array>

using namespace Velkori_Utility;

namespace {

constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto Local = velkori_JointRelativeSpaceType_Local;
constexpr auto ScaledRoot = velkori_JointRelativeSpaceType_RootOriginRelativeScaled;
constexpr auto ScaledLocal = velkori_JointRelativeSpaceType_LocalScaled;
constexpr std::array AllSpaces = {Root, Local, ScaledRoot, ScaledLocal};

TargetSkeletonData MakeBiped() {
    return TargetSkeletonData(TestSkeletons::MakeBipedParams());
}

PoseData MakePose(
    const SkeletonData& skeleton, velkori_JointRelativeSpaceType space, std::span<const JointPose> joints) {
    return PoseData(skeleton, space, joints, JointPose::Identity);
}

// Root at the ground, hips above it, a spine; the numbers of the root motion tests are easy on it.
SourceSkeletonData MakeRootAndHips() {
    TestSkeletons::Params params = TestSkeletons::MakeParams(
        {{"root", -1, {0, 0, 0}}, {"hips", 0, {0, 1, 0}}, {"spine", 1, {0, 0.5F, 0}}}, {0, 1, 2});
    params.knownJointNames.resize(VELKORI_KNOWN_JOINT_COUNT);
    params.knownJointNames[velkori_KnownJointType_Root] = "root";
    params.knownJointNames[velkori_KnownJointType_Hips] = "hips";
    return SourceSkeletonData(params);
}

Quaternionf AboutY(float angle) {
    return Quaternionf::FromRotationVector({0, angle, 0});
}

} // namespace

TEST(PoseData, EveryRepresentationLeadsToEveryOther) {
    std::mt19937 random(11);
    for (int round = 0; round < 4; ++round) {
        TestSkeletons::Params params =
            round == 0 ? TestSkeletons::MakeBipedParams()
                       : TestSkeletons::MakeRandomTreeParams(random, round == 3 ? 500 : 40, round);
        // Without an unscaled pose the scaled representations are plain copies.
        if (round == 2) {
            params.unscaledTPose.clear();
        }
        const TargetSkeletonData skeleton(params);
        const PoseData original = MakePose(skeleton, Root, params.maxTPose);
        for (const auto from : AllSpaces) {
            for (const auto to : AllSpaces) {
                const PoseData pose = MakePose(skeleton, from, original.GetJointPoses(from));
                ExpectNear(pose.GetJointPoses(to), original.GetJointPoses(to), 2e-4F);
                ExpectNear(pose.GetJointPoses(Root), original.GetJointPoses(Root), 2e-4F);
            }
        }
        if (round == 2) {
            EXPECT_EQ(original.GetJointPoses(ScaledRoot), original.GetJointPoses(Root));
            EXPECT_EQ(original.GetJointPoses(ScaledLocal), original.GetJointPoses(Local));
        }
    }
}

TEST(PoseData, ScaleIsRelativeToTheUnscaledPose) {
    const TargetSkeletonData skeleton = MakeBiped();
    std::vector<JointPose> doubled = skeleton.GetUnscaledTPose().GetJointPoses(Root);
    for (JointPose& joint : doubled) {
        joint.position = joint.position * 2.0F;
    }
    const PoseData pose = MakePose(skeleton, Root, doubled);
    const int arm = skeleton.GetJointIndex(velkori_KnownJointType_LeftUpperArm);
    ExpectNear(pose.GetJointPoses(ScaledRoot)[arm].scale, Vector3f(2, 2, 2), 1e-5F);
    // In scaled local space the parent's scale does the stretching: the bone is as long as the unscaled one.
    const int elbow = skeleton.GetChildJointIndexArray(arm).front();
    EXPECT_NEAR(pose.GetJointPoses(ScaledLocal)[elbow].position.Length(),
        skeleton.GetUnscaledTPose().GetJointLengths()[elbow], 1e-5F);
    // The unscaled pose itself has nothing to be scaled by.
    EXPECT_EQ(skeleton.GetUnscaledTPose().GetJointPoses(ScaledRoot),
        skeleton.GetUnscaledTPose().GetJointPoses(Root));
}

TEST(PoseData, AScaledPoseTouchesTheUnscaledOnesOnlyWhenAsked) {
    const TargetSkeletonData skeleton = MakeBiped();
    // Scales that no pose of the skeleton implies survive the way between the two scaled representations.
    std::vector<JointPose> joints = skeleton.GetUnscaledTPose().GetJointPoses(Root);
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const float scale = 1.0F + 0.1F * static_cast<float>(i % 3);
        joints[i].scale = {scale, scale, scale};
    }
    const PoseData pose = MakePose(skeleton, ScaledRoot, joints);
    const PoseData back = MakePose(skeleton, ScaledLocal, pose.GetJointPoses(ScaledLocal));
    ExpectNear(back.GetJointPoses(ScaledRoot), joints, 1e-5F);
}

TEST(PoseData, RepresentationsOfOtherSizesHoldNothing) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData wrong = MakePose(skeleton, Root, std::vector<JointPose>(3));
    EXPECT_FALSE(wrong.IsInitialized());
    EXPECT_EQ(wrong.GetLengthBetweenJoints(0, 1), 0.0F);
    EXPECT_FALSE(wrong.Lerp(skeleton.GetUnscaledTPose(), 0.5F).IsInitialized());
    EXPECT_FALSE(wrong.CalculateAsTPose().IsInitialized());
    EXPECT_FALSE(PoseData::MatchPoseScale(skeleton.GetUnscaledTPose(), wrong).IsInitialized());
}

TEST(PoseData, ReusingAPoseAllocatesNothing) {
    const TargetSkeletonData skeleton = MakeBiped();
    const std::vector<JointPose> joints =
        skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max).GetJointPoses(Root);
    PoseData frame(skeleton);
    PoseData rooted(skeleton);
    const PoseData& reference = skeleton.GetUnscaledTPose();
    const auto work = [&] {
        frame.Initialize(Root, joints, JointPose::Identity);
        for (const auto space : AllSpaces) {
            frame.InitializeJointPoseData(space);
        }
        frame.InitializeJointLengths();
        frame.InitializeRotationalDirectionVectors();
        for (const int behavior : {0, 1, 2}) {
            rooted.InitializeAndApplyRootMotionBehavior(
                frame, reference, static_cast<velkori_RetargetingRootMotionBehavior>(behavior));
            rooted.InitializeJointPoseData(ScaledLocal);
        }
    };
    EXPECT_GT(CountAllocations(work), 0U);
    EXPECT_EQ(CountAllocations(work), 0U);
}

TEST(PoseData, LengthsOfRootsDependOnTheSpace) {
    TestSkeletons::Params params =
        TestSkeletons::MakeParams({{"a", -1, {0, 3, 4}}, {"b", 0, {1, 0, 0}}}, {0, 1});
    const TargetSkeletonData skeleton(params);
    const std::vector<JointPose> pose = {{Quaternionf(), {0, 3, 4}}, {Quaternionf(), {1, 3, 4}}};
    EXPECT_EQ(MakePose(skeleton, Root, pose).GetJointLengths(), (std::vector<float>{0, 1}));
    const std::vector<JointPose> local = {{Quaternionf(), {0, 3, 4}}, {Quaternionf(), {1, 0, 0}}};
    EXPECT_EQ(MakePose(skeleton, Local, local).GetJointLengths(), (std::vector<float>{5, 1}));
    EXPECT_EQ(MakePose(skeleton, Root, pose).GetLengthBetweenJoints(0, 1), 1.0F);
}

TEST(PoseData, ExtentsLeaveOutTheKnownRoot) {
    const TargetSkeletonData biped = MakeBiped();
    const PoseData& pose = biped.GetUnscaledTPose();
    float lowest = 1e9F;
    for (int joint = 1; joint < biped.GetJointCount(); ++joint) {
        lowest = std::min(lowest, pose.GetJointPoses(Root)[joint].position.y);
    }
    EXPECT_GT(lowest, 0.0F);
    EXPECT_EQ(pose.GetExtents().min.y, lowest);
    TestSkeletons::Params params = TestSkeletons::MakeBipedParams();
    params.knownJointNames.clear();
    EXPECT_EQ(TargetSkeletonData(params).GetUnscaledTPose().GetExtents().min.y, 0.0F);
}

TEST(PoseData, EstimatedExtentsOfTheOutermostPosesAreTheirOwn) {
    std::mt19937 random(3);
    for (int round = 0; round < 20; ++round) {
        const TargetSkeletonData skeleton(TestSkeletons::MakeRandomBipedParams(random));
        for (const auto type : {velkori_SkeletonTPoseType_Min, velkori_SkeletonTPoseType_Max}) {
            const PoseData pose = MakePose(skeleton, Root, skeleton.GetTPoseData(type).GetJointPoses(Root));
            ExpectNear(pose.GetEstimatedExtentRange(), skeleton.GetTPoseData(type).GetExtents().range, 1e-4F);
        }
    }
}

TEST(PoseData, DirectionsPointAtTheMeanOfTheChildren) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeParams(
        {{"a", -1, {0, 0, 0}}, {"b", 0, {2, 0, 0}}, {"c", 0, {0, 4, 0}}, {"d", 1, {0, 0, 1}}}, {0, 1, 2, 3}));
    const std::vector<Vector3f> expected = {{1, 2, 0}, {0, 0, 1}, {0, 4, 0}, {0, 0, 1}};
    EXPECT_EQ(skeleton.GetUnscaledTPose().GetRotationalDirectionVectors(), expected);
}

TEST(PoseData, BlendsEndAtBothPoses) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData& a = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& b = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    ExpectNear(a.Lerp(b, 0.0F).GetJointPoses(Root), a.GetJointPoses(Root), 1e-6F);
    ExpectNear(a.Lerp(b, 1.0F).GetJointPoses(Root), b.GetJointPoses(Root), 1e-5F);
    const PoseData sideways = a.Lerp(b, Vector3f(1, 0, 0.5F));
    const int wrist = skeleton.GetJointIndex(velkori_KnownJointType_RightWrist);
    const Vector3f& from = a.GetJointPoses(Root)[wrist].position;
    const Vector3f& to = b.GetJointPoses(Root)[wrist].position;
    ExpectNear(sideways.GetJointPoses(Root)[wrist].position, {to.x, from.y, (from.z + to.z) * 0.5F}, 1e-6F);
    // A bone that is blended unevenly turns, and takes its joint's orientation along.
    const Vector3f bone = sideways.GetRotationalDirectionVectors()[wrist].Normalize();
    const Quaternionf turn(a.GetRotationalDirectionVectors()[wrist].Normalize(), bone);
    EXPECT_LT(AngleBetween(sideways.GetJointPoses(Root)[wrist].orientation,
                  turn * a.GetJointPoses(Root)[wrist].orientation),
        1e-4F);
}

TEST(PoseData, HeightAndScaleMultiplyPositions) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData& pose = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    const PoseData tall = pose.CalculatePoseAtHeight(3.0F);
    EXPECT_NEAR(tall.GetExtents().range.y, 3.0F, 1e-4F);
    EXPECT_EQ(pose.CalculatePoseAtScale(2.0F).GetJointPoses(Root)[5].position,
        pose.GetJointPoses(Root)[5].position * 2.0F);
}

TEST(PoseData, MatchingScaleTakesOverLengthsAndKeepsDirections) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData& small = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& large = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    const PoseData matched = PoseData::MatchPoseScale(small, large);
    const int hips = skeleton.GetJointIndex(velkori_KnownJointType_Hips);
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        const Vector3f& position = matched.GetJointPoses(Local)[joint].position;
        const Vector3f& before = small.GetJointPoses(Local)[joint].position;
        EXPECT_NEAR(position.Normalize().Dot(before.Normalize()), before.Length() > 0 ? 1.0F : 0.0F, 1e-5F);
        if (skeleton.GetParentJointIndex(joint) != -1 && joint != hips) {
            EXPECT_NEAR(position.Length(), large.GetJointLengths()[joint], 1e-5F);
        }
    }
    // The hips stand straight above the root: their height grows as the body's extent does.
    const float growth = large.GetEstimatedExtentRange().y / small.GetEstimatedExtentRange().y;
    EXPECT_NEAR(matched.GetJointPoses(Local)[hips].position.Length(),
        small.GetJointPoses(Local)[hips].position.Length() * growth, 1e-5F);
}

TEST(PoseDataRootMotion, TheRootFollowsTheHipsHeightAndFacing) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const std::vector<JointPose> reference = {
        {Quaternionf(), {0, 0, 0}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 1.5F, 0}}};
    const PoseData referencePose = MakePose(skeleton, Root, reference);

    struct Case {
        Vector3f hips;
        float facing;
        Vector3f expectedRoot;
    };

    const Case cases[] = {
        {{3, 0.8F, 2}, 0.0F, {0, 0, 0}},         // crouching leaves the root on the ground
        {{0, 1.5F, 0}, 1.2F, {0, 0.5F, 0}},      // a jump lifts it by what the hips are higher
        {{0, -0.25F, 0}, -0.7F, {0, -0.25F, 0}}, // a fall through the ground takes it down to the hips
        {{0, 1, 0}, 3.0F, {0, 0, 0}},
    };
    for (const Case& each : cases) {
        std::vector<JointPose> frame = reference;
        frame[1] = {AboutY(each.facing), each.hips};
        PoseData pose(skeleton);
        pose.InitializeAndApplyRootMotionBehavior(MakePose(skeleton, Root, frame), referencePose,
            velkori_RetargetingRootMotionBehavior_RootFromHips);
        ExpectNear(pose.GetJointPoses(Root)[0].position, each.expectedRoot, 1e-5F);
        EXPECT_LT(AngleBetween(pose.GetJointPoses(Root)[0].orientation, AboutY(each.facing)), 1e-4F)
            << each.facing;
        EXPECT_EQ(pose.GetJointPoses(Root)[1], frame[1]) << "other joints stay where they are";
    }
}

TEST(PoseDataRootMotion, OtherBehavioursAndUnknownHipsLeaveThePose) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const PoseData& rest = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    PoseData pose(skeleton);
    pose.InitializeAndApplyRootMotionBehavior(rest, rest, velkori_RetargetingRootMotionBehavior_Unchanged);
    EXPECT_EQ(pose.GetJointPoses(Root), rest.GetJointPoses(Root));
    std::mt19937 random(1);
    const SourceSkeletonData tree(TestSkeletons::MakeRandomTreeParams(random, 5));
    const PoseData& treeRest = tree.GetTPoseData(velkori_SkeletonTPoseType_Min);
    PoseData treePose(tree);
    treePose.InitializeAndApplyRootMotionBehavior(
        treeRest, PoseData(tree), velkori_RetargetingRootMotionBehavior_RootFromHips);
    EXPECT_EQ(treePose.GetJointPoses(Root), treeRest.GetJointPoses(Root));
}

TEST(PoseDataRootMotion, TheReferencesRootCarriesTheLocalPose) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const std::vector<JointPose> reference = {
        {AboutY(0.5F), {1, 0, 0}}, {AboutY(0.5F), {1, 1, 0}}, {Quaternionf(), {1, 2, 0}}};
    const std::vector<JointPose> frame = {
        {Quaternionf(), {5, 0, 5}}, {Quaternionf(), {5, 1, 6}}, {Quaternionf(), {5, 2, 6}}};
    PoseData pose(skeleton);
    pose.InitializeAndApplyRootMotionBehavior(MakePose(skeleton, Root, frame),
        MakePose(skeleton, Root, reference), velkori_RetargetingRootMotionBehavior_RootFromReference);
    EXPECT_EQ(pose.GetJointPoses(Root)[0], reference[0]);
    // On a fresh object the local poses are the frame's own: the hips 1 above and 1 in front of the root.
    ExpectNear(
        pose.GetJointPoses(Root)[1].position, Vector3f(1, 1, 0) + AboutY(0.5F).Rotate({0, 0, 1}), 1e-5F);
}

TEST(PoseData, ApproximateEqualityHasATolerancePerPart) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData& rest = skeleton.GetUnscaledTPose();
    EXPECT_TRUE(PoseData(skeleton).IsApproxEqual(PoseData(skeleton)));
    EXPECT_FALSE(PoseData(skeleton).IsApproxEqual(rest));
    EXPECT_FALSE(rest.IsApproxEqual(MakeBiped().GetUnscaledTPose())) << "another skeleton";
    const auto differs = [&](const JointPose& change) {
        std::vector<JointPose> joints = rest.GetJointPoses(Root);
        joints[4].position += change.position;
        joints[4].orientation = joints[4].orientation * change.orientation;
        return !rest.IsApproxEqual(MakePose(skeleton, Root, joints));
    };
    EXPECT_FALSE(differs({Quaternionf(), {0.0009F, 0, 0}}));
    EXPECT_TRUE(differs({Quaternionf(), {0, 0.0011F, 0}}));
    // 1 - cos(angle / 2) is at most 1e-5 up to an angle of 0.00894.
    EXPECT_FALSE(differs({AboutY(0.0085F), Vector3f::Zero}));
    EXPECT_TRUE(differs({AboutY(0.0095F), Vector3f::Zero}));
}

TEST(PoseData, DegenerateSkeletonsSurviveEverything) {
    std::vector<TestSkeletons::Params> degenerate(2);
    degenerate[1] = TestSkeletons::MakeBipedParams();
    degenerate[1].minTPose.assign(degenerate[1].jointNames.size(), JointPose::Identity);
    degenerate[1].maxTPose = degenerate[1].unscaledTPose = degenerate[1].minTPose;
    degenerate.push_back(TestSkeletons::MakeBipedParams());
    degenerate[2].minTPose.clear();
    degenerate[2].maxTPose.clear();
    degenerate[2].unscaledTPose.clear();
    for (const TestSkeletons::Params& params : degenerate) {
        const TargetSkeletonData skeleton(params);
        for (const auto type : {velkori_SkeletonTPoseType_Min, velkori_SkeletonTPoseType_Unscaled}) {
            const PoseData pose(skeleton.GetTPoseData(type));
            for (const auto space : AllSpaces) {
                for (const JointPose& joint : pose.GetJointPoses(space)) {
                    EXPECT_TRUE(IsFinite(joint.position.Length() + joint.scale.Length()));
                }
            }
            EXPECT_TRUE(IsFinite(pose.GetEstimatedExtentRange().Length()));
            pose.InitializeRotationalDirectionVectors();
            EXPECT_EQ(pose.GenerateJointDimensionMask(FastRangedIntegralSet<int>::EmptySet).size(),
                params.jointNames.size());
        }
    }
}
