#include "retargeting/alignment/SubtreePoses.h"

#include "support/PlacedBody.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

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

TEST(SubtreePoses, LocalSpaceIsTheParentsAndScalingEndsBeforeItsStop) {
    const PlacedBody body({{"a", ""}, {"b", "a"}, {"c", "b"}, {"d", "c"}});
    const std::vector<JointPose> root = {{{}, {1, 0, 0}}, {{}, {3, 0, 0}}, {{}, {6, 0, 0}}, {{}, {10, 0, 0}}};
    std::vector<JointPose> local(root.size());
    Alignment::UpdateLocalSpaceJointPoseWithChildren(0, body.skeleton, root, local);
    Alignment::ScaleLocalSpacePoseAndChildrenRecursive(1, 3, 0.9F, body.skeleton, local);
    // No joint, as a skeleton without a known one gives it.
    Alignment::ScaleLocalSpacePoseAndChildrenRecursive(-1, 3, 0.9F, body.skeleton, local);
    const float expected[] = {1, 2 * 0.9F, 3 * 0.9F, 4};
    for (std::size_t i = 0; i < local.size(); ++i) {
        EXPECT_EQ(local[i].position, Vector3f(expected[i], 0, 0)) << i;
    }
}
