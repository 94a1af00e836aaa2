#include "core/PoseData.h"

#include "core/SkeletonData.h"
#include "support/AllocationCount.h"
#include "support/PoseMatchers.h"
#include "support/Rotations.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

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

const std::vector<JointPose>& RestJoints(const SkeletonData& skeleton, velkori_SkeletonTPoseType type) {
    return skeleton.GetTPoseData(type).GetJointPoses(Root);
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
    return RotationOf({0, angle, 0});
}

std::vector<JointPose> Unscaled(std::vector<JointPose> pose) {
    for (JointPose& joint : pose) {
        joint.scale = Vector3f::One;
    }
    return pose;
}

std::vector<JointPose> ToLocal(const SkeletonData& skeleton, std::vector<JointPose> pose) {
    skeleton.ConvertRootSpaceToLocalSpacePose(pose);
    return pose;
}

std::vector<JointPose> ToRoot(const SkeletonData& skeleton, std::vector<JointPose> pose) {
    skeleton.ConvertLocalSpaceToRootSpacePose(pose, false);
    return pose;
}

std::vector<JointPose> ToScaledRoot(
    const SkeletonData& skeleton, std::vector<JointPose> pose, const std::vector<float>& lengths) {
    skeleton.ConvertToScaledRootSpacePose(pose, lengths, skeleton.EstimateExtentRange(lengths));
    return pose;
}

} // namespace

TEST(PoseData, ARepresentationIsDerivedFromWhatIsThere) {
    std::mt19937 random(23);
    TestSkeletons::Params params = TestSkeletons::MakeRandomBipedParams(random);
    const TargetSkeletonData skeleton(params);
    params.unscaledTPose.clear();
    const TargetSkeletonData plain(params);
    // Scales, different along each axis, that no pose of the skeleton implies: every way from one
    // representation to another then gives something else.
    std::vector<JointPose> given = params.maxTPose;
    for (JointPose& joint : given) {
        joint.scale = TestSkeletons::RandomVector(random, 0.5F, 2.0F);
    }
    const std::vector<JointPose> unscaled = Unscaled(given);
    const std::vector<JointPose> rooted = ToRoot(skeleton, given);
    // Every bone by the product of all scales above it.
    std::vector<JointPose> stretched = unscaled;
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        for (const int above : skeleton.GetAncestorsOfJointIndex(joint, false)) {
            stretched[joint].position = stretched[joint].position.Multiply(given[above].scale);
        }
    }
    const std::vector<JointPose> rootedStretched = ToRoot(skeleton, stretched);
    std::vector<float> localLengths;
    PoseData::CalculateJointLengthsFromUnscaledLocalSpacePoseData(given, localLengths);
    const auto scaled = [&](const std::vector<JointPose>& pose) {
        return ToScaledRoot(skeleton, pose, skeleton.MeasureJointLengths(pose));
    };

    struct Case {
        const SkeletonData& skeleton;
        velkori_JointRelativeSpaceType from;
        std::vector<velkori_JointRelativeSpaceType> readBefore;
        bool isMeasuredBefore;
        velkori_JointRelativeSpaceType asked;
        std::vector<JointPose> expected;
    };

    const Case cases[] = {
        {skeleton, Root, {}, false, Local, ToLocal(skeleton, unscaled)},
        {skeleton, Root, {}, false, ScaledRoot, scaled(unscaled)},
        {skeleton, Local, {}, false, Root, Unscaled(rooted)},
        {skeleton, Local, {}, false, ScaledRoot, ToScaledRoot(skeleton, rooted, localLengths)},
        {skeleton, ScaledRoot, {}, false, Root, unscaled},
        {skeleton, ScaledRoot, {}, false, Local, ToLocal(skeleton, unscaled)},
        {skeleton, ScaledRoot, {ScaledLocal}, false, Root, unscaled},
        {skeleton, ScaledRoot, {}, false, ScaledLocal, ToLocal(skeleton, given)},
        {skeleton, ScaledLocal, {}, false, Root, Unscaled(rooted)},
        {skeleton, ScaledLocal, {}, false, Local, stretched},
        {skeleton, ScaledLocal, {ScaledRoot}, false, Local, stretched},
        {skeleton, ScaledLocal, {Local}, false, Root, rootedStretched},
        {skeleton, ScaledLocal, {Local, ScaledRoot}, false, Root, Unscaled(rooted)},
        {skeleton, ScaledLocal, {Local, Root}, false, ScaledRoot, rooted},
        {skeleton, ScaledLocal, {Local, Root}, true, ScaledRoot, scaled(rootedStretched)},
        {plain, Root, {}, false, ScaledRoot, unscaled},
        {plain, ScaledRoot, {}, false, ScaledLocal, ToLocal(skeleton, unscaled)},
        {plain, ScaledLocal, {}, false, Local, given},
        {plain, ScaledLocal, {}, false, Root, Unscaled(rooted)},
    };
    for (const Case& each : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &each - cases);
        const PoseData pose = MakePose(each.skeleton, each.from, given);
        for (const auto space : each.readBefore) {
            pose.InitializeJointPoseData(space);
        }
        if (each.isMeasuredBefore) {
            pose.InitializeEstimatedPoseExtents();
        }
        ExpectNear(pose.GetJointPoses(each.asked), each.expected, 1e-4F);
    }
}

TEST(PoseData, ACopyOfTheUnscaledPoseIsScaledByIt) {
    std::mt19937 random(37);
    const TargetSkeletonData skeleton(TestSkeletons::MakeRandomBipedParams(random));
    const PoseData& unscaled = skeleton.GetUnscaledTPose();
    PoseData copy(skeleton);
    copy.Initialize(unscaled);
    EXPECT_EQ(unscaled.GetJointPoses(ScaledRoot), unscaled.GetJointPoses(Root));
    // The hips stand above the root, at the origin, as high as the body's extent puts them between the
    // outermost poses; that scales the root.
    const PoseData& min = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& max = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    const int hips = skeleton.GetJointIndex(velkori_KnownJointType_Hips);
    const float ratio = (copy.GetEstimatedExtentRange().y - min.GetExtents().range.y) /
                        (max.GetExtents().range.y - min.GetExtents().range.y);
    const Vector3f& smallest = min.GetJointPoses(Root)[hips].position;
    const Vector3f& largest = max.GetJointPoses(Root)[hips].position;
    const float expected = smallest.Lerp(largest, ratio).y / unscaled.GetJointPoses(Root)[hips].position.y;
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    EXPECT_NEAR(copy.GetJointPoses(ScaledRoot)[root].scale.y, expected, 1e-5F);
    EXPECT_GT(std::abs(expected - 1.0F), 1e-3F);
}

TEST(PoseData, InitialisesThroughAConversionInRootSpace) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    // A quarter turn about y takes z to x and x to -z.
    const JointPose conversion(AboutY(1.5707964F), {10, 0, 0}, {2, 2, 2});
    const std::vector<JointPose> local = {
        {Quaternionf(), {1, 0, 0}, {3, 3, 3}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 0, 1}}};
    const std::vector<JointPose> root = {
        {Quaternionf(), {1, 0, 0}}, {Quaternionf(), {1, 3, 0}}, {Quaternionf(), {1, 3, 3}, {5, 5, 5}}};
    const std::vector<JointPose> expected = {{conversion.orientation, {10, 0, -2}},
        {conversion.orientation, {10, 6, -2}}, {conversion.orientation, {16, 6, -2}}};
    for (const auto space : AllSpaces) {
        const bool isLocal = space == Local || space == ScaledLocal;
        const PoseData pose(skeleton, space, isLocal ? local : root, conversion);
        ExpectNear(pose.GetJointPoses(Root), expected, 1e-5F);
    }
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

TEST(PoseData, AllocatesWhatIsAskedForOnce) {
    const TargetSkeletonData skeleton = MakeBiped();
    const std::vector<JointPose> joints = RestJoints(skeleton, velkori_SkeletonTPoseType_Max);
    const PoseData scaled = MakePose(skeleton, ScaledRoot, joints);
    EXPECT_EQ(CountAllocations([&] { scaled.InitializeJointPoseData(ScaledLocal); }), 1U) << "one list";
    PoseData frame(skeleton);
    PoseData rooted(skeleton);
    const PoseData& reference = skeleton.GetUnscaledTPose();
    const auto work = [&] {
        frame.Initialize(Root, joints, JointPose::Identity);
        for (const auto space : AllSpaces) {
            frame.InitializeJointPoseData(space);
        }
        frame.InitializeRotationalDirectionVectors();
        for (const int behavior : {0, 1, 2}) {
            rooted.InitializeAndApplyRootMotionBehavior(
                frame, reference, static_cast<velkori_RetargetingRootMotionBehavior>(behavior));
            rooted.InitializeJointPoseData(ScaledLocal);
        }
    };
    work();
    EXPECT_EQ(CountAllocations(work), 0U);
}

TEST(PoseData, LengthsOfRootsDependOnTheSpace) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const std::vector<JointPose> joints = {
        {Quaternionf(), {3, 0, 4}}, {Quaternionf(), {3, 0, 0}}, {Quaternionf(), {0, 0, 0}}};
    const PoseData pose = MakePose(skeleton, Root, joints);
    EXPECT_EQ(pose.GetJointLengths(), (std::vector<float>{0, 4, 3}));
    EXPECT_EQ(MakePose(skeleton, Local, joints).GetJointLengths(), (std::vector<float>{5, 3, 0}));
    EXPECT_EQ(pose.GetLengthBetweenJoints(0, 2), 7.0F);
}

TEST(PoseData, ExtentsLeaveOutTheKnownRootAndWithoutJointsAreInfinite) {
    // The hips stand 1 above the root.
    EXPECT_EQ(MakeRootAndHips().GetUnscaledTPose().GetExtents().min.y, 1.0F);
    const TestSkeletons::Params nameless =
        TestSkeletons::MakeParams({{"a", -1, {}}, {"b", 0, {0, 1, 0}}}, {0, 1});
    EXPECT_EQ(TargetSkeletonData(nameless).GetUnscaledTPose().GetExtents().min.y, 0.0F);
    const PoseExtents extents({}, FastRangedIntegralSet<int>::EmptySet);
    EXPECT_EQ(extents.min, Vector3f::One * std::numeric_limits<float>::max());
    EXPECT_EQ(extents.max, -extents.min);
    EXPECT_EQ(extents.range, Vector3f::One * std::numeric_limits<float>::infinity());
}

TEST(PoseData, DimensionMasksAreSignedSharesOfTheSpanningBones) {
    // Each joint's x, in one chain, and its mask along x.
    const std::pair<std::array<float, 4>, std::array<float, 4>> cases[] = {
        {{0, 1, 0.5F, 3}, {0, 1, -1, 1}}, // the third bone folds back
        {{3, 2, 2.5F, 0}, {0, 1, -1, 1}}, // downwards, too
        {{0, 2, 1, 2}, {0, 1, 0, 0}},     // of equally large joints the first
        {{1, 1, 1, 1}, {0, 0, 0, 0}},
    };
    const SourceSkeletonData skeleton(TestSkeletons::MakeParams(
        {{"a", -1, {}}, {"b", 0, {1, 0, 0}}, {"c", 1, {1, 0, 0}}, {"d", 2, {1, 0, 0}}}, {0, 1, 2, 3}));
    for (const auto& [along, expected] : cases) {
        std::vector<JointPose> joints(4);
        for (std::size_t i = 0; i < joints.size(); ++i) {
            joints[i].position.x = along[i];
        }
        const auto mask =
            MakePose(skeleton, Root, joints).GenerateJointDimensionMask(FastRangedIntegralSet<int>::EmptySet);
        for (std::size_t i = 0; i < joints.size(); ++i) {
            EXPECT_EQ(mask[i], Vector3f(expected[i], 0, 0)) << "joint " << i;
        }
    }
    // Across a branch, by cosines: from (3, 0, 4) down to the origin and on to (0, -2, 0), without the joint
    // that is left out.
    const SourceSkeletonData branched(TestSkeletons::MakeParams(
        {{"a", -1, {}}, {"b", 0, {3, 0, 4}}, {"c", 0, {0, -2, 0}}, {"d", 0, {-9, 9, -9}}}, {0, 1, 2, 3}));
    const auto mask = branched.GetUnscaledTPose().GenerateJointDimensionMask({3, 3, {3}});
    ExpectNear(mask[1], {0.6F, 0, 0.8F}, 1e-6F);
    EXPECT_EQ(mask[2], Vector3f(0, 1, 0));
    EXPECT_EQ(mask[3], Vector3f::Zero);
}

TEST(PoseData, DirectionsPointAtTheMeanOfTheChildren) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeParams(
        {{"a", -1, {0, 0, 0}}, {"b", 0, {2, 0, 0}}, {"c", 0, {0, 4, 0}}, {"d", 1, {0, 0, 1}}}, {0, 1, 2, 3}));
    const std::vector<Vector3f> expected = {{1, 2, 0}, {0, 0, 1}, {0, 4, 0}, {0, 0, 1}};
    EXPECT_EQ(skeleton.GetUnscaledTPose().GetRotationalDirectionVectors(), expected);
}

TEST(PoseData, BlendsEndAtBothPosesAndTurnJointsAsTheirBones) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData& a = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& b = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    ExpectNear(a.Lerp(b, 0.0F).GetJointPoses(Root), a.GetJointPoses(Root), 1e-6F);
    ExpectNear(a.Lerp(b, 1.0F).GetJointPoses(Root), b.GetJointPoses(Root), 1e-5F);
    const int wrist = skeleton.GetJointIndex(velkori_KnownJointType_RightWrist);
    const PoseData sideways = a.Lerp(b, Vector3f(1, 0, 0.5F));
    const JointPose& from = a.GetJointPoses(Root)[wrist];
    const Vector3f& to = b.GetJointPoses(Root)[wrist].position;
    const JointPose& blended = sideways.GetJointPoses(Root)[wrist];
    ExpectNear(blended.position, {to.x, from.position.y, (from.position.z + to.z) * 0.5F}, 1e-6F);
    const Vector3f bone = sideways.GetRotationalDirectionVectors()[wrist].Normalize();
    const Quaternionf turn(a.GetRotationalDirectionVectors()[wrist].Normalize(), bone);
    EXPECT_LT(AngleBetween(blended.orientation, turn * from.orientation), 1e-4F);
}

TEST(PoseData, MatchingScaleMeasuresRootAndHipsAlongTheAxesOfRootSpace) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    // The root is turned, so that the hips above it lie along its x axis.
    const Quaternionf turned = RotationOf({0, 0, 1.5707964F});
    const std::vector<JointPose> joints = {
        {turned, {0, 0, 3}}, {turned, {0, 1, 3}}, {Quaternionf(), {0, 1.5F, 3}}};
    const PoseData pose = MakePose(skeleton, Root, joints);
    // Twice as high, and without extent along x and z.
    const PoseData matched = PoseData::MatchPoseScale(pose, pose.CalculatePoseAtScale(2.0F));
    const std::vector<JointPose> expected = {
        {turned, {0, 0, 0}}, {Quaternionf(), {2, 0, 0}}, {turned.Inverse(), {1, 0, 0}}};
    ExpectNear(matched.GetJointPoses(Local), expected, 1e-5F);
}

TEST(PoseDataRootMotion, TheRootFollowsTheHipsHeightAndFacing) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const std::vector<JointPose> reference = {
        {Quaternionf(), {0, 0, 0}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 1.5F, 0}}};
    const PoseData referencePose = MakePose(skeleton, Root, reference);

    struct Case {
        Vector3f hips;
        float facing = 0.0F;
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

TEST(PoseDataRootMotion, FacingIsTheHipsTurnAboutUpFromTheReference) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const Quaternionf hipsAtRest = RotationOf({0.4F, -1.1F, 0.7F});
    const Quaternionf rootAtRest = RotationOf({0.3F, 0.2F, -0.1F});
    const std::vector<JointPose> reference = {{rootAtRest, {}}, {hipsAtRest, {0, 1, 0}}, {}};
    const auto rootOf = [&](const Quaternionf& turn) {
        std::vector<JointPose> frame = reference;
        frame[0].orientation = RotationOf({1, 1, 1});
        frame[1].orientation = turn * hipsAtRest;
        PoseData pose(skeleton);
        pose.InitializeAndApplyRootMotionBehavior(MakePose(skeleton, Root, frame),
            MakePose(skeleton, Root, reference), velkori_RetargetingRootMotionBehavior_RootFromHips);
        return pose.GetJointPoses(Root)[0].orientation;
    };
    // Where the hips bow to doesn't matter.
    for (const float yaw : {0.05F, 0.5F, -2.0F}) {
        const Quaternionf bow = RotationOf({yaw < 0.1F ? 0.05F : 0.8F, 0, 0});
        EXPECT_LT(AngleBetween(rootOf(AboutY(yaw)), AboutY(yaw) * rootAtRest), 1e-4F) << yaw;
        EXPECT_LT(AngleBetween(rootOf(AboutY(yaw) * bow), AboutY(yaw) * rootAtRest), 1e-4F) << yaw;
    }
    // A forward axis that hardly moves leaves it to the right axis, which a bow by 0.1 after a lean by 0.5
    // takes from (1, 0, 0) to (cos 0.5, sin 0.5 cos 0.1, sin 0.5 sin 0.1).
    const Quaternionf bow = RotationOf({0.1F, 0, 0});
    const Quaternionf lean = RotationOf({0, 0, 0.5F});
    const float yaw = -std::atan2(std::sin(0.5F) * std::sin(0.1F), std::cos(0.5F));
    EXPECT_LT(AngleBetween(rootOf(bow * lean), AboutY(yaw) * rootAtRest), 1e-4F);
}

TEST(PoseDataRootMotion, OtherBehavioursAndUnknownHipsLeaveThePose) {
    const SourceSkeletonData known = MakeRootAndHips();
    std::mt19937 random(1);
    const SourceSkeletonData unknown(TestSkeletons::MakeRandomTreeParams(random, 5));
    for (const auto& [skeleton, behavior] :
        {std::pair(&known, velkori_RetargetingRootMotionBehavior_Unchanged),
            std::pair(&unknown, velkori_RetargetingRootMotionBehavior_RootFromHips)}) {
        const PoseData& rest = skeleton->GetTPoseData(velkori_SkeletonTPoseType_Max);
        PoseData pose(*skeleton);
        pose.InitializeAndApplyRootMotionBehavior(rest, rest, behavior);
        EXPECT_EQ(pose.GetJointPoses(Root), rest.GetJointPoses(Root));
    }
}

TEST(PoseDataRootMotion, TheReferencesRootCarriesTheLocalPoseOfTheFrameOrAnEarlierUse) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const std::vector<JointPose> reference = {
        {AboutY(0.5F), {1, 0, 0}}, {AboutY(0.5F), {1, 1, 0}}, {Quaternionf(), {1, 2, 0}}};
    PoseData pose(skeleton);
    const auto hipsOf = [&](const Vector3f& hips) {
        const std::vector<JointPose> frame = {
            {Quaternionf(), {5, 0, 5}}, {Quaternionf(), hips}, {Quaternionf(), {5, 2, 6}}};
        pose.InitializeAndApplyRootMotionBehavior(MakePose(skeleton, Root, frame),
            MakePose(skeleton, Root, reference), velkori_RetargetingRootMotionBehavior_RootFromReference);
        EXPECT_EQ(pose.GetJointPoses(Root)[0], reference[0]);
        return pose.GetJointPoses(Root)[1].position;
    };
    // An object without a local list of its own follows its frames: the hips 1 above and 1 or 2 in front of
    // the root.
    ExpectNear(hipsOf({5, 1, 6}), Vector3f(1, 1, 0) + AboutY(0.5F).Rotate({0, 0, 1}), 1e-5F);
    ExpectNear(hipsOf({5, 1, 7}), Vector3f(1, 1, 0) + AboutY(0.5F).Rotate({0, 0, 2}), 1e-5F);
    // At rest the hips are straight above the root.
    skeleton.GetUnscaledTPose().InitializeJointPoseData(Local);
    pose.Initialize(skeleton.GetUnscaledTPose());
    ExpectNear(hipsOf({5, 1, 6}), {1, 1, 0}, 1e-5F);
}

TEST(PoseData, ApproximateEqualityHasATolerancePerPartInTheFirstSpaceOfBoth) {
    const TargetSkeletonData skeleton = MakeBiped();
    const PoseData& rest = skeleton.GetUnscaledTPose();
    EXPECT_TRUE(PoseData(skeleton).IsApproxEqual(PoseData(skeleton)));
    EXPECT_FALSE(PoseData(skeleton).IsApproxEqual(rest));
    EXPECT_FALSE(rest.IsApproxEqual(MakeBiped().GetUnscaledTPose())) << "another skeleton";
    const auto change = [&](velkori_JointRelativeSpaceType space, const JointPose& by) {
        std::vector<JointPose> joints = rest.GetJointPoses(Root);
        joints[4].position += by.position;
        joints[4].orientation = joints[4].orientation * by.orientation;
        joints[4].scale = by.scale;
        return MakePose(skeleton, space, joints);
    };
    EXPECT_TRUE(rest.IsApproxEqual(change(Root, {Quaternionf(), {0.0009F, 0, 0}})));
    EXPECT_FALSE(rest.IsApproxEqual(change(Root, {Quaternionf(), {0, 0.0011F, 0}})));
    // 1 - cos(angle / 2) is at most 1e-5 up to an angle of 0.00894.
    EXPECT_TRUE(rest.IsApproxEqual(change(Root, {AboutY(0.0085F), {}})));
    EXPECT_FALSE(rest.IsApproxEqual(change(Root, {AboutY(0.0095F), {}})));

    const PoseData unscaled = change(ScaledRoot, {});
    const PoseData scaled = change(ScaledRoot, {Quaternionf(), {}, {1, 1, 1.00002F}});
    EXPECT_TRUE(unscaled.IsApproxEqual(change(ScaledRoot, {Quaternionf(), {}, {1, 1, 1.000009F}})));
    EXPECT_FALSE(unscaled.IsApproxEqual(scaled));
    unscaled.InitializeJointPoseData(Root);
    EXPECT_FALSE(unscaled.IsApproxEqual(scaled)) << "root space in only one of them";
    scaled.InitializeJointPoseData(Root);
    EXPECT_TRUE(unscaled.IsApproxEqual(scaled)) << "without scale";
    // Without a space in common both are taken to root space.
    EXPECT_TRUE(
        change(Root, {}).IsApproxEqual(MakePose(skeleton, ScaledLocal, unscaled.GetJointPoses(ScaledLocal))));
}

TEST(PoseData, DegenerateSkeletonsSurviveEverything) {
    TestSkeletons::Params withoutSize = TestSkeletons::MakeBipedParams();
    withoutSize.minTPose.assign(withoutSize.jointNames.size(), JointPose::Identity);
    withoutSize.maxTPose = withoutSize.unscaledTPose = withoutSize.minTPose;
    TestSkeletons::Params withoutPoses = withoutSize;
    withoutPoses.minTPose = withoutPoses.maxTPose = withoutPoses.unscaledTPose = {};
    for (const TestSkeletons::Params& params : {TestSkeletons::Params(), withoutSize, withoutPoses}) {
        const TargetSkeletonData skeleton(params);
        PoseData pose(skeleton);
        pose.Initialize(velkori_SkeletonTPoseType_Unscaled);
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
