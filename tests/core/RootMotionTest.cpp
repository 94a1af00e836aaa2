#include "core/RootMotion.h"

#include "support/PoseMatchers.h"
#include "support/Rotations.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Velkori_Utility;

namespace {

constexpr auto FromHips = velkori_RetargetingRootMotionBehavior_RootFromHips;

// Root at the ground, hips above it, a spine; the numbers of the root motion tests are easy on it.
Skeleton MakeRootAndHips() {
    TestSkeletons::Params params = TestSkeletons::MakeParams(
        {{"root", -1, {0, 0, 0}}, {"hips", 0, {0, 1, 0}}, {"spine", 1, {0, 0.5F, 0}}}, {0, 1, 2});
    params.knownJointNames.resize(VELKORI_KNOWN_JOINT_COUNT);
    params.knownJointNames[velkori_KnownJointType_Root] = "root";
    params.knownJointNames[velkori_KnownJointType_Hips] = "hips";
    return Skeleton(params);
}

Quaternionf AboutY(float angle) {
    return RotationOf({0, angle, 0});
}

// A frame with its root rewritten.
std::vector<JointPose> Moved(const Skeleton& skeleton, std::vector<JointPose> frame,
    std::span<const JointPose> reference, velkori_RetargetingRootMotionBehavior behavior = FromHips) {
    std::vector<JointPose> previousLocalPose;
    ApplyRootMotion(skeleton, behavior, reference, CoordinateSpace(VELKORI_DEFAULT_COORDINATE_SPACE),
        previousLocalPose, frame);
    return frame;
}

} // namespace

TEST(RootMotion, TheRootFollowsTheHipsHeightAndFacing) {
    const Skeleton skeleton = MakeRootAndHips();
    const std::vector<JointPose> reference = {
        {Quaternionf(), {0, 0, 0}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 1.5F, 0}}};

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
        const std::vector<JointPose> pose = Moved(skeleton, frame, reference);
        ExpectNear(pose[0].position, each.expectedRoot, 1e-5F);
        EXPECT_LT(AngleBetween(pose[0].orientation, AboutY(each.facing)), 1e-4F) << each.facing;
        EXPECT_EQ(pose[1], frame[1]) << "other joints stay where they are";
    }
}

TEST(RootMotion, FacingIsTheHipsTurnAboutUpFromTheReference) {
    const Skeleton skeleton = MakeRootAndHips();
    const Quaternionf hipsAtRest = RotationOf({0.4F, -1.1F, 0.7F});
    const Quaternionf rootAtRest = RotationOf({0.3F, 0.2F, -0.1F});
    const std::vector<JointPose> reference = {{rootAtRest, {}}, {hipsAtRest, {0, 1, 0}}, {}};
    const auto rootOf = [&](const Quaternionf& turn) {
        std::vector<JointPose> frame = reference;
        frame[0].orientation = RotationOf({1, 1, 1});
        frame[1].orientation = turn * hipsAtRest;
        return Moved(skeleton, frame, reference)[0].orientation;
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

TEST(RootMotion, OtherBehavioursUnknownHipsAndAMissingReferenceLeaveThePose) {
    const Skeleton known = MakeRootAndHips();
    std::mt19937 random(1);
    const Skeleton unknown(TestSkeletons::MakeRandomTreeParams(random, 3));
    const std::vector<JointPose> pose = {
        {AboutY(1), {1, 0, 0}}, {AboutY(2), {1, 3, 0}}, {AboutY(3), {1, 4, 0}}};
    EXPECT_EQ(Moved(known, pose, pose, velkori_RetargetingRootMotionBehavior_Unchanged), pose);
    EXPECT_EQ(Moved(unknown, pose, pose), pose);
    EXPECT_EQ(Moved(known, pose, {}), pose);
}

TEST(RootMotion, TheReferencesRootCarriesTheLocalPoseOfTheFrameOrAnEarlierOne) {
    const Skeleton skeleton = MakeRootAndHips();
    const std::vector<JointPose> reference = {
        {AboutY(0.5F), {1, 0, 0}}, {AboutY(0.5F), {1, 1, 0}}, {Quaternionf(), {1, 2, 0}}};
    std::vector<JointPose> previousLocalPose;
    const auto hipsOf = [&](const Vector3f& hips, velkori_RetargetingRootMotionBehavior behavior) {
        std::vector<JointPose> frame = {
            {Quaternionf(), {5, 0, 5}}, {Quaternionf(), hips}, {Quaternionf(), {5, 2, 6}}};
        ApplyRootMotion(skeleton, behavior, reference, CoordinateSpace(VELKORI_DEFAULT_COORDINATE_SPACE),
            previousLocalPose, frame);
        return frame[1].position;
    };
    constexpr auto FromReference = velkori_RetargetingRootMotionBehavior_RootFromReference;
    // Without an earlier one the frame's own: the hips 1 above and 1 or 2 in front of the root.
    for (const float front : {1.0F, 2.0F}) {
        ExpectNear(hipsOf({5, 1, 5 + front}, FromReference),
            Vector3f(1, 1, 0) + AboutY(0.5F).Rotate({0, 0, front}), 1e-5F);
        EXPECT_TRUE(previousLocalPose.empty()) << "a frame leaves none";
    }
    // Hips straight above the root, as they were read before.
    const std::vector<JointPose> upright = {{}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 0.5F, 0}}};
    previousLocalPose = upright;
    ExpectNear(hipsOf({5, 1, 6}, FromReference), {1, 1, 0}, 1e-5F);
    hipsOf({5, 1, 6}, FromHips);
    EXPECT_EQ(previousLocalPose, upright) << "it outlives frames that move the root";
    hipsOf({5, 1, 6}, velkori_RetargetingRootMotionBehavior_Unchanged);
    EXPECT_TRUE(previousLocalPose.empty()) << "and no frame that doesn't";
}
