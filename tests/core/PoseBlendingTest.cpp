#include "core/PoseBlending.h"

#include "core/PoseMeasures.h"
#include "core/SkeletonData.h"
#include "support/PoseMatchers.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

TEST(PoseBlending, BlendsEndAtBothPosesAndTurnJointsAsTheirBones) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeBipedParams());
    const RestPose& min = skeleton.GetRestPoses().GetMin();
    const RestPose& max = skeleton.GetRestPoses().GetMax();
    constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;
    const std::vector<JointPose>& a = min.GetJointPoses(Root);
    const std::vector<JointPose>& b = max.GetJointPoses(Root);
    ExpectNear(LerpRootSpacePoses(a, b, 0.0F), a, 1e-6F);
    ExpectNear(LerpRootSpacePoses(a, b, 1.0F), b, 1e-5F);
    EXPECT_TRUE(LerpRootSpacePoses(a, {}, 0.5F).empty());
    const int wrist = skeleton.GetJointIndex(velkori_KnownJointType_RightWrist);
    std::vector<JointPose> sideways;
    LerpRestPosesPerAxis(min, max, {1, 0, 0.5F}, sideways);
    const Vector3f& to = b[wrist].position;
    ExpectNear(
        sideways[wrist].position, {to.x, a[wrist].position.y, (a[wrist].position.z + to.z) * 0.5F}, 1e-6F);
    const Vector3f bone = MeasureDirections(skeleton, sideways)[wrist].Normalize();
    const Quaternionf turn(min.GetDirections()[wrist].Normalize(), bone);
    EXPECT_LT(AngleBetween(sideways[wrist].orientation, turn * a[wrist].orientation), 1e-4F);
    LerpRestPosesPerAxis(min, RestPose(skeleton, {}), {1, 0, 0.5F}, sideways);
    EXPECT_TRUE(sideways.empty());
}
