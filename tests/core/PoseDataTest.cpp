#include "core/PoseData.h"

#include "core/JointSpaceConversions.h"
#include "core/PoseMeasures.h"
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
    ConvertRootSpaceToLocalSpacePose(skeleton, pose);
    return pose;
}

std::vector<JointPose> ToRoot(const SkeletonData& skeleton, std::vector<JointPose> pose) {
    ConvertLocalSpaceToRootSpacePose(skeleton, pose, false);
    return pose;
}

std::vector<JointPose> ToScaledRoot(
    const SkeletonData& skeleton, std::vector<JointPose> pose, const std::vector<float>& lengths) {
    skeleton.GetRestPoses().ConvertToScaledRootSpacePose(
        pose, lengths, skeleton.GetRestPoses().EstimateExtentRange(lengths));
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
    MeasureLocalJointLengths(given, localLengths);
    const auto scaled = [&](const std::vector<JointPose>& pose) {
        return ToScaledRoot(skeleton, pose, MeasureJointLengths(skeleton, pose));
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
        PoseData pose = MakePose(each.skeleton, each.from, given);
        for (const auto space : each.readBefore) {
            pose.GetJointPoses(space);
        }
        if (each.isMeasuredBefore) {
            pose.GetEstimatedExtentRange();
        }
        ExpectNear(pose.GetJointPoses(each.asked), each.expected, 1e-4F);
    }
}

TEST(PoseData, ACopyOfTheUnscaledPoseIsScaledByIt) {
    std::mt19937 random(37);
    const TargetSkeletonData skeleton(TestSkeletons::MakeRandomBipedParams(random));
    const RestPose& unscaled = skeleton.GetUnscaledTPose();
    PoseData copy(skeleton, unscaled);
    EXPECT_EQ(unscaled.GetJointPoses(ScaledRoot), unscaled.GetJointPoses(Root));
    // The hips stand above the root, at the origin, as high as the body's extent puts them between the
    // outermost poses; that scales the root.
    const RestPose& min = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min);
    const RestPose& max = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
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
        PoseData pose(skeleton, space, isLocal ? local : root, conversion);
        ExpectNear(pose.GetJointPoses(Root), expected, 1e-5F);
    }
}

TEST(PoseData, RepresentationsOfOtherSizesHoldNothing) {
    const TargetSkeletonData skeleton = MakeBiped();
    PoseData wrong = MakePose(skeleton, Root, std::vector<JointPose>(3));
    EXPECT_FALSE(wrong.IsInitialized());
    EXPECT_FALSE(wrong.CalculateAsTPose().IsInitialized());
    PoseData rest(skeleton, skeleton.GetUnscaledTPose());
    EXPECT_FALSE(PoseData::MatchPoseScale(rest, wrong).IsInitialized());
    EXPECT_FALSE(PoseData(MakeBiped(), skeleton.GetUnscaledTPose()).IsInitialized()) << "another skeleton's";
}

TEST(PoseData, AllocatesWhatIsAskedForOnce) {
    const TargetSkeletonData skeleton = MakeBiped();
    const std::vector<JointPose> joints = RestJoints(skeleton, velkori_SkeletonTPoseType_Max);
    PoseData scaled = MakePose(skeleton, ScaledRoot, joints);
    EXPECT_EQ(CountAllocations([&] { scaled.GetJointPoses(ScaledLocal); }), 1U) << "one list";
    PoseData frame(skeleton);
    const auto work = [&] {
        frame.Initialize(Root, joints, JointPose::Identity);
        for (const auto space : AllSpaces) {
            frame.GetJointPoses(space);
        }
        frame.Initialize(skeleton.GetUnscaledTPose());
        frame.GetJointPoses(ScaledLocal);
    };
    work();
    EXPECT_EQ(CountAllocations(work), 0U);
}

TEST(PoseData, LengthsOfRootsDependOnTheSpace) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    const std::vector<JointPose> joints = {
        {Quaternionf(), {3, 0, 4}}, {Quaternionf(), {3, 0, 0}}, {Quaternionf(), {0, 0, 0}}};
    EXPECT_EQ(MakePose(skeleton, Root, joints).GetJointLengths(), (std::vector<float>{0, 4, 3}));
    EXPECT_EQ(MakePose(skeleton, Local, joints).GetJointLengths(), (std::vector<float>{5, 3, 0}));
    EXPECT_EQ(SumJointLengths(skeleton, std::vector<float>{0, 4, 3}, 0, 2), 7.0F);
    EXPECT_EQ(SumJointLengths(skeleton, {}, 0, 2), 0.0F);
}

TEST(PoseData, MatchingScaleMeasuresRootAndHipsAlongTheAxesOfRootSpace) {
    const SourceSkeletonData skeleton = MakeRootAndHips();
    // The root is turned, so that the hips above it lie along its x axis.
    const Quaternionf turned = RotationOf({0, 0, 1.5707964F});
    const std::vector<JointPose> joints = {
        {turned, {0, 0, 3}}, {turned, {0, 1, 3}}, {Quaternionf(), {0, 1.5F, 3}}};
    PoseData pose = MakePose(skeleton, Root, joints);
    // Twice as high, and without extent along x and z.
    PoseData twice = pose.CalculatePoseAtScale(2.0F);
    PoseData matched = PoseData::MatchPoseScale(pose, twice);
    const std::vector<JointPose> expected = {
        {turned, {0, 0, 0}}, {Quaternionf(), {2, 0, 0}}, {turned.Inverse(), {1, 0, 0}}};
    ExpectNear(matched.GetJointPoses(Local), expected, 1e-5F);
}

TEST(PoseData, DegenerateSkeletonsSurviveEverything) {
    TestSkeletons::Params withoutSize = TestSkeletons::MakeBipedParams();
    withoutSize.minTPose.assign(withoutSize.jointNames.size(), JointPose::Identity);
    withoutSize.maxTPose = withoutSize.unscaledTPose = withoutSize.minTPose;
    TestSkeletons::Params withoutPoses = withoutSize;
    withoutPoses.minTPose = withoutPoses.maxTPose = withoutPoses.unscaledTPose = {};
    for (const TestSkeletons::Params& params : {TestSkeletons::Params(), withoutSize, withoutPoses}) {
        const TargetSkeletonData skeleton(params);
        PoseData pose(skeleton, skeleton.GetUnscaledTPose());
        for (const auto space : AllSpaces) {
            for (const JointPose& joint : pose.GetJointPoses(space)) {
                EXPECT_TRUE(IsFinite(joint.position.Length() + joint.scale.Length()));
            }
        }
        EXPECT_TRUE(IsFinite(pose.GetEstimatedExtentRange().Length()));
        EXPECT_TRUE(IsFinite(pose.MeasureExtents().range));
    }
}
