#include "retargeting/alignment/SubtreePoses.h"

#include "support/PlacedBody.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

const Quaternionf QuarterTurnAboutZ(Vector3f::Identity_right_LH, Vector3f::Identity_up_LH);

// a - b - c - d and b - e.
PlacedBody MakeTree() {
    return PlacedBody({{"a", "", {0, 0, 0}}, {"b", "a", {1, 0, 0}}, {"c", "b", {2, 0, 0}, QuarterTurnAboutZ},
        {"d", "c", {3, 0, 0}}, {"e", "b", {1, 0, 5}}});
}

} // namespace

TEST(SubtreePoses, ATurnedJointTakesItsSubtreeAlong) {
    const PlacedBody body = MakeTree();
    std::vector<JointPose> root = body.pose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative);
    std::vector<JointPose> local = body.pose.GetJointPoses(velkori_JointRelativeSpaceType_Local);
    const std::vector<JointPose> localBefore = local;

    Alignment::UpdateRootSpaceJointPoseWithChildren(
        1, body.skeleton, {QuarterTurnAboutZ, {1, 1, 0}}, local, root);
    const Quaternionf halfTurn(0, 0, 1, 0);
    const JointPose expected[] = {JointPose::Identity, {QuarterTurnAboutZ, {1, 1, 0}}, {halfTurn, {1, 2, 0}},
        {QuarterTurnAboutZ, {1, 3, 0}}, {QuarterTurnAboutZ, {1, 1, 5}}};
    ExpectNear(root, expected, 1e-6F);

    // Only the joint itself moved against its parent.
    Alignment::UpdateLocalSpaceJointPoseWithChildren(1, body.skeleton, root, local);
    std::vector<JointPose> expectedLocal = localBefore;
    expectedLocal[1] = {QuarterTurnAboutZ, {1, 1, 0}};
    ExpectNear(local, expectedLocal, 1e-6F);
}

TEST(SubtreePoses, ScalingStopsBeforeTheStopJoint) {
    const PlacedBody body = MakeTree();
    const std::vector<JointPose> unscaled = body.pose.GetJointPoses(velkori_JointRelativeSpaceType_Local);

    struct Case {
        int joint;
        int stopJoint;
        std::vector<int> scaled;
    };

    for (const Case& c : {Case{1, -1, {1, 2, 3, 4}}, {1, 2, {1, 4}}, {2, 2, {2, 3}}, {-1, -1, {}}}) {
        std::vector<JointPose> local = unscaled;
        Alignment::ScaleLocalSpacePoseAndChildrenRecursive(c.joint, c.stopJoint, 3.0F, body.skeleton, local);
        std::vector<JointPose> expected = unscaled;
        for (const int joint : c.scaled) {
            expected[joint].position = expected[joint].position * 3.0F;
        }
        EXPECT_EQ(local, expected) << c.joint << " " << c.stopJoint;
    }
}

TEST(SubtreePoses, DepthDoesNotMatter) {
    constexpr int Depth = 100000;
    PlacedJoints chain = {{"0", ""}};
    for (int i = 1; i < Depth; ++i) {
        chain.push_back({std::to_string(i), chain.back().name});
    }
    const PlacedBody body(chain);
    std::vector<JointPose> local(Depth, {Quaternionf::Identity, Vector3f::Identity_up_LH});
    std::vector<JointPose> root(Depth);
    Alignment::ScaleLocalSpacePoseAndChildrenRecursive(0, -1, 2.0F, body.skeleton, local);
    Alignment::UpdateRootSpaceJointPoseWithChildren(0, body.skeleton, local.front(), local, root);
    EXPECT_EQ(root.back().position, Vector3f(0, 2.0F * Depth, 0));
}
