#include "core/RestPoses.h"

#include "core/JointSpaceConversions.h"
#include "core/PoseData.h"
#include "core/PoseMeasures.h"
#include "support/PoseMatchers.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;

const std::vector<JointPose>& RestJoints(const SkeletonData& skeleton, velkori_SkeletonTPoseType type) {
    return skeleton.GetTPoseData(type).GetJointPoses(Root);
}

} // namespace

TEST(RestPoses, RatiosAreLinearInLengthAndExtrapolate) {
    const TargetSkeletonData skeleton(
        TestSkeletons::MakeParams({{"a", -1, {0, 0, 0}}, {"b", 0, {1, 0, 0}, {0.5F, 1, 1}, {2, 1, 1}},
                                      {"c", 1, {0, 1, 0}, {1, 1, 1}, {1, 1, 1}}},
            {0, 1, 2}));
    // b grows from 0.5 to 2; a and c don't grow, which counts as 1.
    EXPECT_EQ(skeleton.GetRestPoses().CalculateJointInterpolationRatios(std::vector<float>{0, 0.5F, 7}),
        (std::vector<float>{1, 0, 1}));
    EXPECT_EQ(
        skeleton.GetRestPoses().CalculateJointInterpolationRatios(std::vector<float>{0, 3.5F, 7})[1], 2.0F);
    EXPECT_EQ(
        skeleton.GetRestPoses().CalculateJointInterpolationRatios(std::vector<float>{0, 0.2F, 7})[1], -0.2F);
    EXPECT_EQ(MeasureJointLengths(skeleton, RestJoints(skeleton, velkori_SkeletonTPoseType_Max)),
        (std::vector<float>{0, 2, 1}));
}

TEST(RestPoses, TheOutermostPosesGiveThemselves) {
    std::mt19937 random(5);
    for (int round = 0; round < 10; ++round) {
        const TargetSkeletonData skeleton(TestSkeletons::MakeRandomBipedParams(random));
        for (const auto type : {velkori_SkeletonTPoseType_Min, velkori_SkeletonTPoseType_Max}) {
            const std::vector<JointPose>& pose = RestJoints(skeleton, type);
            const auto lengths = MeasureJointLengths(skeleton, pose);
            ExpectNear(skeleton.GetRestPoses().EstimateExtentRange(lengths),
                skeleton.GetTPoseData(type).GetExtents().range, 1e-4F);
            ExpectNear(skeleton.GetRestPoses().CalculateRootSpaceTPose(lengths), pose, 3e-4F);
            ExpectNear(skeleton.GetRestPoses().CalculateRootSpaceTPose(pose, true), pose, 3e-4F);
            ExpectNear(skeleton.GetRestPoses().CalculateRootSpaceTPose(pose, false), pose, 3e-4F);
        }
    }
}

TEST(RestPoses, WithoutHipsOrPosesThereIsNoEstimate) {
    TestSkeletons::Params params = TestSkeletons::MakeBipedParams();
    params.knownJointNames.clear();
    const TargetSkeletonData nameless(params);
    const std::vector<JointPose>& pose = RestJoints(nameless, velkori_SkeletonTPoseType_Max);
    EXPECT_TRUE(nameless.GetRestPoses().CalculateRootSpaceTPose(pose, true).empty());
    EXPECT_EQ(nameless.GetRestPoses().CalculateRootSpaceTPose(pose, false).size(), pose.size());
    params.minTPose.clear();
    params.maxTPose.clear();
    EXPECT_TRUE(TargetSkeletonData(params)
                    .GetRestPoses()
                    .CalculateRootSpaceTPose(params.unscaledTPose, false)
                    .empty());
    EXPECT_TRUE(nameless.GetRestPoses().CalculateRootSpaceTPose(std::vector<JointPose>(2), false).empty());
}

TEST(RestPoses, ScaleIsTheMeanGrowthOfTheChildren) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeParams(
        {{"a", -1, {0, 0, 0}}, {"b", 0, {1, 0, 0}}, {"c", 0, {0, 2, 0}}, {"d", 1, {1, 0, 0}}}, {0, 1, 2, 3}));
    std::vector<JointPose> pose = skeleton.GetUnscaledTPose().GetJointPoses(Root);
    // Lengths 1, 2 and 1 of b, c and d become 3, 2 and 5.
    skeleton.GetRestPoses().ConvertToScaledRootSpacePose(pose, std::vector<float>{0, 3, 2, 5}, Vector3f::One);
    const std::vector<float> expected = {2, 5, 2, 5};
    for (std::size_t i = 0; i < expected.size(); ++i) {
        ExpectNear(pose[i].scale, Vector3f::One * expected[i], 1e-5F);
    }
}

TEST(RestPoses, WithoutSizesTheHipsKeepTheirDistance) {
    TestSkeletons::Params params = TestSkeletons::MakeBipedParams();
    params.minTPose.clear();
    params.maxTPose.clear();
    const TargetSkeletonData skeleton(params);
    PoseData pose(skeleton, Root, params.unscaledTPose, JointPose::Identity);
    PoseData back(skeleton, velkori_JointRelativeSpaceType_LocalScaled,
        pose.GetJointPoses(velkori_JointRelativeSpaceType_LocalScaled), JointPose::Identity);
    ExpectNear(back.GetJointPoses(Root), params.unscaledTPose, 1e-4F);
}

TEST(RestPoses, JointsThatNoRootReachesStayUntouched) {
    TestSkeletons::Params params = TestSkeletons::MakeParams(
        {{"a", -1, {0, 1, 0}}, {"b", 0, {1, 0, 0}}, {"c", 1, {1, 0, 0}}}, {0, 1, 2});
    params.parentJointNames[2] = "nobody";
    const TargetSkeletonData skeleton(params);
    std::vector<JointPose> pose = params.maxTPose;
    ConvertRootSpaceToLocalSpacePose(skeleton, pose);
    EXPECT_EQ(pose[2], params.maxTPose[2]);
    EXPECT_NE(pose[1], params.maxTPose[1]);
}
