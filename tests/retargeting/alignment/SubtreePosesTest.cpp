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
