#include "retargeting/alignment/Alignment.h"

#include "retargeting/alignment/HandMatching.h"
#include "retargeting/alignment/LimbProportions.h"
#include "retargeting/alignment/LimbRotations.h"
#include "retargeting/alignment/RestPoseSpace.h"
#include "support/PlacedBiped.h"
#include "support/PlacedHands.h"
#include "support/PoseMatchers.h"
#include "support/Rotations.h"

#include <gtest/gtest.h>

#include <numbers>
#include <string>
#include <utility>
#include <vector>

using namespace Velkori_Utility;

namespace {

constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
const velkori_CoordinateSpace_ DefaultSpace = VELKORI_DEFAULT_COORDINATE_SPACE;
constexpr float Pi = std::numbers::pi_v<float>;

constexpr Vector3f Up = Vector3f::Identity_up_LH;

PoseData Align(int flags, const RestPose& source, const PoseData& target) {
    return Alignment::AlignToRestPose(
        static_cast<velkori_AlignmentFlags>(flags), source, target, CoordinateSpace(DefaultSpace));
}

PlacedJoints Scaled(PlacedJoints joints, float factor) {
    for (PlacedJoint& joint : joints) {
        joint.position = joint.position * factor;
    }
    return joints;
}

// About up.
PlacedJoints Turned(PlacedJoints joints, float angle) {
    const Quaternionf turn = RotationOf({0, angle, 0});
    for (PlacedJoint& joint : joints) {
        joint.position = turn.Rotate(joint.position);
        joint.orientation = turn;
    }
    return joints;
}

} // namespace

TEST(Alignment, TheSpaceOfARestPoseIsThatOfItsJoints) {
    const PlacedBody body(PlacedBiped());
    const auto spaceOf = [](const PlacedBody& each) {
        return Alignment::CalculateRestPoseCoordinateSpace(each.skeleton, each.rest.GetJointPoses(RootSpace));
    };
    const auto space = spaceOf(body);
    ASSERT_TRUE(space);
    EXPECT_EQ(space->right, Vector3f(1, 0, 0));
    EXPECT_EQ(space->up, Vector3f(0, 1, 0));
    EXPECT_EQ(space->forward, Vector3f(0, 0, -1)) << "up across right";
    // A third of a right angle off the axes, it counts as on them.
    EXPECT_EQ(spaceOf(PlacedBody(Turned(PlacedBiped(), Pi / 6))), space);
    EXPECT_FALSE(spaceOf(PlacedBody(Renamed(PlacedBiped(), "chest", "rib"))));
    EXPECT_FALSE(Alignment::CalculateRestPoseCoordinateSpace(body.skeleton, {}));
}

TEST(Alignment, NothingOrEqualPosesLeaveTheTargetToTheBit) {
    const PlacedBody body(PlacedBiped());
    const PlacedBody other(PlacedBiped({0.5F, 1.2F, 0}, {0.8F, 1.0F, 0}));
    const PlacedBody faceless({{"a", "", {0, 0, 0}}, {"b", "a", {0, 1, 0}}});
    const PoseData nothing(body.skeleton);
    const RestPose nowhere(body.skeleton, {});
    EXPECT_TRUE(AreEqual(Align(0, other.rest, body.pose), body.pose));
    EXPECT_TRUE(AreEqual(Align(1 | 2 | 8 | 16, body.rest, body.pose), body.pose));
    EXPECT_TRUE(AreEqual(Align(63, faceless.rest, body.pose), body.pose));
    EXPECT_TRUE(AreEqual(Align(63, body.rest, faceless.pose), faceless.pose));
    EXPECT_TRUE(AreEqual(Align(63, nowhere, body.pose), body.pose));
    EXPECT_FALSE(Align(63, body.rest, nothing).IsInitialized());
    // Each step for itself, too.
    EXPECT_TRUE(AreEqual(Alignment::MatchPoseFacingRotation(nowhere, body.pose), body.pose));
    EXPECT_FALSE(Alignment::MatchPoseFacingRotation(body.rest, nothing).IsInitialized());
    EXPECT_TRUE(AreEqual(Alignment::MatchPoseLimbRotations(nowhere, body.pose, Up), body.pose));
    EXPECT_FALSE(Alignment::MatchPoseLimbRotations(body.rest, nothing, Up).IsInitialized());
    const auto wrist = velkori_KnownJointType_RightWrist;
    EXPECT_TRUE(AreEqual(Alignment::ScaleToMatchPoseHeight(nowhere, body.pose, wrist, Up), body.pose));
    EXPECT_FALSE(Alignment::ScaleToMatchPoseHeight(body.rest, nothing, wrist, Up).IsInitialized());
}

TEST(Alignment, EachFlagRunsItsStep) {
    const auto withFingers = [](const Vector3f& wrist, float length) {
        const Vector3f bone(length, length * 0.2F, 0);
        return PlacedBiped({0.5F, 1.4F, 0.1F}, wrist) +
               Finger("finger", "rightWrist", wrist, {{0.1F, 0, 0.03F}, bone}) +
               Finger("other", "rightWrist", wrist, {{0.1F, 0, -0.03F}, bone});
    };
    const PlacedBody source(withFingers({0.8F, 1.3F, 0}, 0.1F));
    const PlacedBody target(Turned(withFingers({0.7F, 1.0F, 0}, 0.04F), Pi / 2));
    const std::pair<int, PoseData> steps[] = {
        {1, Alignment::MatchPoseFacingRotation(source.rest, target.pose)},
        {2, Alignment::MatchPoseLimbRotations(source.rest, target.pose, Up)},
        {4, Alignment::MatchPoseHandsAndFingers(source.rest, target.pose, false)},
        {8, Alignment::ScaleToMatchPoseHeight(
                source.rest, target.pose, velkori_KnownJointType_RightWrist, Up)},
        {16, Alignment::DeformationLimbsToMatchSourceProportion(
                 source.rest, target.pose, Vector3f::Identity_forward_LH)},
        {32, Alignment::MatchPoseHandsAndFingers(source.rest, target.pose, true)},
    };
    for (const auto& [bits, expected] : steps) {
        ASSERT_FALSE(AreAlike(expected, target.pose)) << bits;
        EXPECT_TRUE(AreEqual(Align(bits, source.rest, target.pose), expected)) << bits;
    }
    EXPECT_FALSE(AreEqual(steps[2].second, steps[5].second));
    EXPECT_TRUE(AreEqual(Align(4 | 32, source.rest, target.pose), steps[5].second));
}

// Only facing before limbs, limbs before height and height before proportions lead there.
TEST(Alignment, ARigOfAnotherSizeStanceAndFacingTakesTheSourcesPlace) {
    // Arms that point down and forward, the target's of the same length for its size.
    const PlacedBody source(Scaled(PlacedBiped({0.2F, 1.2F, 0.15F}, {0.2F, 1.0F, 0.3F}), 1.5F));
    const PlacedBody target(Turned(PlacedBiped({0.45F, 1.4F, 0}, {0.7F, 1.4F, 0}), Pi));
    const PoseData aligned = Align(1 | 2 | 8 | 16, source.rest, target.pose);
    for (const std::string& joint : target.skeleton.GetJointNames()) {
        // The hands go on straight from arms that the source's hands are bent against.
        if (!joint.ends_with("Hand")) {
            ExpectNear(PositionOf(joint, target, aligned), PositionOf(joint, source, source.pose), 1e-4F,
                joint.c_str());
        }
    }
}

TEST(Alignment, TheTargetTurnsToFaceAsTheSourceDoes) {
    for (const float angle : {Pi, Pi / 2}) {
        const MatchedBody turned(
            Alignment::MatchPoseFacingRotation, PlacedBiped(), Turned(PlacedBiped(), angle));
        for (const char* joint : {"hips", "rightWrist", "leftToes"}) {
            ExpectNear(
                turned.PositionOf(joint), PositionOf(joint, turned.source, turned.source.pose), 1e-5F, joint);
        }
    }
    // Without a chest the source faces nowhere, and the steps to come run all the same.
    const PlacedBody chestless(Scaled(Renamed(PlacedBiped(), "chest", "rib"), 2.0F));
    const PlacedBody target(Turned(PlacedBiped(), Pi));
    ExpectNear(
        PositionOf("rightWrist", target, Align(1 | 8, chestless.rest, target.pose)), {-1.6F, 2.8F, 0}, 1e-5F);
}

// The rotation takes the turn on its right and the position on its left, which differ for a root that lies on
// its side.
TEST(Alignment, ARootThatLiesIsTurnedAboutItsOwnAxis) {
    const Quaternionf lying = RotationOf({Pi / 2, 0, 0});
    PlacedJoints joints = Turned(PlacedBiped(), Pi);
    joints[0].orientation = lying;
    joints[0].position = {0, 0, 3};
    const JointPose root =
        MatchedBody(Alignment::MatchPoseFacingRotation, PlacedBiped(), joints).PoseOf("root");
    EXPECT_LT(AngleBetween(root.orientation, lying * RotationOf({0, Pi, 0})), 1e-3F);
    ExpectNear(root.position, {0, 0, -3}, 1e-5F);
}

TEST(Alignment, HeightIsThatOfTheRightWrist) {
    const auto wristAt = [](float height) {
        return PlacedBody(PlacedBiped({0.5F, 1.4F, 0}, {0.8F, height, 0}));
    };
    const PlacedBody target = wristAt(1.4F);
    const PoseData scaled = Align(8, wristAt(1.05F).rest, target.pose);
    // 1.05 to 1.4.
    ExpectNear(PositionOf("rightWrist", target, scaled), {0.6F, 1.05F, 0}, 1e-6F);
    ExpectNear(PositionOf("leftToes", target, scaled), {-0.075F, 0.075F, 0.15F}, 1e-6F);
    // A change that is just noise is none: all positions, up to 1.6, grow by less than a millimetre, or not.
    EXPECT_TRUE(AreEqual(Align(8, wristAt(1.4007F).rest, target.pose), target.pose));
    ExpectNear(PositionOf("rightWrist", target, Align(8, wristAt(1.4011F).rest, target.pose)),
        Vector3f(0.8F, 1.4F, 0) * (1.4011F / 1.4F), 1e-5F);
    // Nothing to scale by, or to.
    const PlacedBody flat = wristAt(0);
    for (const auto& [from, to] : {std::pair(&target, &flat), {&flat, &target}}) {
        EXPECT_TRUE(AreEqual(
            Alignment::ScaleToMatchPoseHeight(from->rest, to->pose, velkori_KnownJointType_RightWrist, Up),
            to->pose));
    }
}

TEST(Alignment, APosesPlaceBetweenTwoIsThatOfItsExtents) {
    const PlacedBody small(PlacedBiped());
    const auto scaled = [&](float factor) {
        std::vector<JointPose> poses = small.rest.GetJointPoses(RootSpace);
        for (JointPose& pose : poses) {
            pose.position = pose.position * factor;
        }
        return PoseData(small.skeleton, RootSpace, poses, JointPose::Identity);
    };
    PoseData smallest = small.pose;
    PoseData largest = scaled(2.0F);
    ExpectNear(
        Alignment::CalculateExtentRangeBetweenPoses(smallest, largest, scaled(1.25F).GetJointLengths()),
        {0.25F, 0.25F, 0.25F}, 1e-4F);
    EXPECT_EQ(Alignment::CalculateExtentRangeBetweenPoses(smallest, smallest, smallest.GetJointLengths()),
        Vector3f::One)
        << "equal poses";
}
