#include "core/PoseMeasures.h"

#include "core/SkeletonData.h"
#include "support/PoseMatchers.h"
#include "support/Rotations.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

using namespace Velkori_Utility;

namespace {

constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;

} // namespace

TEST(PoseMeasures, ExtentsLeaveOutTheKnownRootAndWithoutJointsAreInfinite) {
    // The hips stand 1 above the root.
    TestSkeletons::Params params =
        TestSkeletons::MakeParams({{"root", -1, {}}, {"hips", 0, {0, 1, 0}}}, {0, 1});
    params.knownJointNames = {"root", "hips"};
    EXPECT_EQ(TargetSkeletonData(params).GetUnscaledTPose().GetExtents().min.y, 1.0F);
    const TestSkeletons::Params nameless =
        TestSkeletons::MakeParams({{"a", -1, {}}, {"b", 0, {0, 1, 0}}}, {0, 1});
    EXPECT_EQ(TargetSkeletonData(nameless).GetUnscaledTPose().GetExtents().min.y, 0.0F);
    const PoseExtents extents({}, FastRangedIntegralSet<int>::EmptySet);
    EXPECT_EQ(extents.min, Vector3f::One * std::numeric_limits<float>::max());
    EXPECT_EQ(extents.max, -extents.min);
    EXPECT_EQ(extents.range, Vector3f::One * std::numeric_limits<float>::infinity());
}

TEST(PoseMeasures, DimensionMasksAreSignedSharesOfTheSpanningBones) {
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
        const auto mask = GenerateJointDimensionMask(skeleton, joints, FastRangedIntegralSet<int>::EmptySet);
        for (std::size_t i = 0; i < joints.size(); ++i) {
            EXPECT_EQ(mask[i], Vector3f(expected[i], 0, 0)) << "joint " << i;
        }
    }
    // Across a branch, by cosines: from (3, 0, 4) down to the origin and on to (0, -2, 0), without the joint
    // that is left out.
    const SourceSkeletonData branched(TestSkeletons::MakeParams(
        {{"a", -1, {}}, {"b", 0, {3, 0, 4}}, {"c", 0, {0, -2, 0}}, {"d", 0, {-9, 9, -9}}}, {0, 1, 2, 3}));
    const auto mask =
        GenerateJointDimensionMask(branched, branched.GetUnscaledTPose().GetJointPoses(Root), {3, 3, {3}});
    ExpectNear(mask[1], {0.6F, 0, 0.8F}, 1e-6F);
    EXPECT_EQ(mask[2], Vector3f(0, 1, 0));
    EXPECT_EQ(mask[3], Vector3f::Zero);
}

TEST(PoseMeasures, DirectionsPointAtTheMeanOfTheChildren) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeParams(
        {{"a", -1, {0, 0, 0}}, {"b", 0, {2, 0, 0}}, {"c", 0, {0, 4, 0}}, {"d", 1, {0, 0, 1}}}, {0, 1, 2, 3}));
    const std::vector<Vector3f> expected = {{1, 2, 0}, {0, 0, 1}, {0, 4, 0}, {0, 0, 1}};
    EXPECT_EQ(skeleton.GetUnscaledTPose().GetDirections(), expected);
}

TEST(PoseMeasures, ApproximateEqualityHasATolerancePerPart) {
    const std::vector<JointPose> joints = TestSkeletons::MakeBipedParams().unscaledTPose;
    const auto isApproxEqual = [&](const JointPose& change) {
        std::vector<JointPose> changed = joints;
        changed[4].position += change.position;
        changed[4].orientation = changed[4].orientation * change.orientation;
        changed[4].scale = change.scale;
        return AreApproxEqual(joints, changed);
    };
    EXPECT_TRUE(isApproxEqual({Quaternionf(), {0.0009F, 0, 0}}));
    EXPECT_FALSE(isApproxEqual({Quaternionf(), {0, 0.0011F, 0}}));
    // 1 - cos(angle / 2) is at most 1e-5 up to an angle of 0.00894.
    EXPECT_TRUE(isApproxEqual({RotationOf({0, 0.0085F, 0}), {}}));
    EXPECT_FALSE(isApproxEqual({RotationOf({0, 0.0095F, 0}), {}}));
    EXPECT_TRUE(isApproxEqual({Quaternionf(), {}, {1, 1, 1.000009F}}));
    EXPECT_FALSE(isApproxEqual({Quaternionf(), {}, {1, 1, 1.00002F}}));
    EXPECT_FALSE(AreApproxEqual(joints, std::span(joints).first(4))) << "another size";
}
