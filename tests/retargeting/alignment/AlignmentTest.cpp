#include "retargeting/alignment/Alignment.h"

#include "retargeting/alignment/LimbRotations.h"
#include "retargeting/alignment/RestPoseSpace.h"
#include "support/PlacedBody.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

using namespace Velkori_Utility;
using Alignment::AlignToRestPose;

namespace {

constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
const velkori_CoordinateSpace_ DefaultSpace = VELKORI_DEFAULT_COORDINATE_SPACE;

// A trunk with straight arms and legs, whose left side mirrors the right. `wrist` and `ankle` are the right
// ones.
PlacedJoints Body(const Vector3f& elbow = {0.5F, 1.4F, 0}, const Vector3f& wrist = {0.8F, 1.4F, 0},
    const Vector3f& knee = {0.1F, 0.5F, 0}, const Vector3f& ankle = {0.1F, 0.1F, 0}) {
    PlacedJoints joints = {{"root", "", {0, 0, 0}}, {"hips", "root", {0, 1, 0}},
        {"chest", "hips", {0, 1.4F, 0}}, {"neck", "chest", {0, 1.6F, 0}}};
    for (const auto& [side, sign] : {std::pair<std::string, float>("right", 1.0F), {"left", -1.0F}}) {
        const Vector3f mirror(sign, 1, 1);
        joints.push_back({side + "UpperArm", "chest", Vector3f(0.2F, 1.4F, 0).Multiply(mirror)});
        joints.push_back({side + "Elbow", side + "UpperArm", elbow.Multiply(mirror)});
        joints.push_back({side + "Wrist", side + "Elbow", wrist.Multiply(mirror)});
        joints.push_back({side + "Hand", side + "Wrist", (wrist + Vector3f(0.1F, 0, 0)).Multiply(mirror)});
        joints.push_back({side + "UpperLeg", "hips", Vector3f(0.1F, 0.9F, 0).Multiply(mirror)});
        joints.push_back({side + "Knee", side + "UpperLeg", knee.Multiply(mirror)});
        joints.push_back({side + "Ankle", side + "Knee", ankle.Multiply(mirror)});
        joints.push_back({side + "Toes", side + "Ankle", (ankle + Vector3f(0, 0, 0.2F)).Multiply(mirror)});
    }
    return joints;
}

Vector3f At(const PlacedBody& body, const PoseData& pose, const std::string& joint) {
    return body.PoseOf(joint, pose).position;
}

bool AreEqual(const PoseData& a, const PoseData& b) {
    return a.GetJointPoses(RootSpace) == b.GetJointPoses(RootSpace);
}

} // namespace

TEST(Alignment, TheSpaceOfARestPoseIsThatOfItsJoints) {
    const PlacedBody body(Body());
    CoordinateSpace space(DefaultSpace);
    ASSERT_TRUE(Alignment::CalculateRestPoseCoordinateSpace(body.pose, space));
    EXPECT_EQ(space.right, Vector3f(1, 0, 0));
    EXPECT_EQ(space.up, Vector3f(0, 1, 0));
    EXPECT_EQ(space.forward, Vector3f(0, 0, -1)) << "up across right";
    PlacedJoints joints = Body();
    joints[2].name = "rib";
    joints[3].parent = "rib";
    for (PlacedJoint& joint : joints) {
        joint.parent = joint.parent == "chest" ? "rib" : joint.parent;
    }
    EXPECT_FALSE(Alignment::CalculateRestPoseCoordinateSpace(PlacedBody(joints).pose, space));
    EXPECT_FALSE(Alignment::CalculateRestPoseCoordinateSpace(PoseData(body.skeleton), space));
}

TEST(Alignment, NothingOrEqualPosesLeaveTheTargetToTheBit) {
    const PlacedBody body(Body());
    const PlacedBody other(Body({0.5F, 1.2F, 0}, {0.8F, 1.0F, 0}));
    const PlacedBody faceless({{"a", "", {0, 0, 0}}, {"b", "a", {0, 1, 0}}});
    const auto steps = static_cast<velkori_AlignmentFlags>(1 | 2 | 8 | 16);
    const auto all = static_cast<velkori_AlignmentFlags>(63);
    EXPECT_TRUE(AreEqual(AlignToRestPose(velkori_AlignmentFlags_None, other.pose, body.pose), body.pose));
    EXPECT_TRUE(AreEqual(AlignToRestPose(steps, body.pose, body.pose), body.pose));
    EXPECT_TRUE(AreEqual(AlignToRestPose(all, faceless.pose, body.pose), body.pose)) << "no known joints";
    EXPECT_TRUE(AreEqual(AlignToRestPose(all, body.pose, faceless.pose), faceless.pose));
    EXPECT_TRUE(AreEqual(AlignToRestPose(all, PoseData(body.skeleton), body.pose), body.pose));
    EXPECT_FALSE(AlignToRestPose(all, body.pose, PoseData(body.skeleton)).IsInitialized());
}

TEST(Alignment, TheTargetTurnsToFaceAsTheSourceDoes) {
    const PlacedBody source(Body());
    // Turned about up by a half and by a quarter.
    for (const float angle : {std::numbers::pi_v<float>, std::numbers::pi_v<float> / 2}) {
        const Quaternionf turn = Quaternionf::FromRotationVector({0, angle, 0});
        PlacedJoints joints = Body();
        for (PlacedJoint& joint : joints) {
            joint.position = turn.Rotate(joint.position) + Vector3f(0, 0, 0);
            joint.orientation = turn;
        }
        const PlacedBody target(joints);
        const PoseData turned = Alignment::MatchPoseFacingRotation(source.pose, target.pose);
        for (const char* joint : {"hips", "rightWrist", "leftToes"}) {
            ExpectNear(At(target, turned, joint), At(source, source.pose, joint), 1e-5F, joint);
        }
    }
}

// The rotation takes the turn on its right and the position on its left, which differ for a root that lies on
// its side.
TEST(Alignment, ARootThatLiesIsTurnedAboutItsOwnAxis) {
    const PlacedBody source(Body());
    const Quaternionf half = Quaternionf::FromRotationVector({0, std::numbers::pi_v<float>, 0});
    const Quaternionf lying = Quaternionf::FromRotationVector({std::numbers::pi_v<float> / 2, 0, 0});
    PlacedJoints joints = Body();
    for (PlacedJoint& joint : joints) {
        joint.position = half.Rotate(joint.position);
    }
    joints[0].orientation = lying;
    joints[0].position = {0, 0, 3};
    const PlacedBody target(joints);
    const JointPose& root =
        target.PoseOf("root", Alignment::MatchPoseFacingRotation(source.pose, target.pose));
    EXPECT_LT(AngleBetween(root.orientation, lying * half), 1e-3F);
    ExpectNear(root.position, {0, 0, -3}, 1e-5F);
}

TEST(Alignment, HeightIsThatOfTheRightWrist) {
    const PlacedBody source(Body({0.5F, 1.4F, 0}, {0.8F, 1.05F, 0}));
    const PlacedBody target(Body());
    const PoseData scaled =
        Alignment::ScaleToMatchPoseHeight(source.pose, target.pose, velkori_KnownJointType_RightWrist);
    // 1.05 to 1.4.
    ExpectNear(At(target, scaled, "rightWrist"), {0.6F, 1.05F, 0}, 1e-6F);
    ExpectNear(At(target, scaled, "leftToes"), {-0.075F, 0.075F, 0.15F}, 1e-6F);
    const PlacedBody flat(Body({0.5F, 0, 0}, {0.8F, 0, 0}));
    EXPECT_TRUE(
        AreEqual(Alignment::ScaleToMatchPoseHeight(source.pose, flat.pose, velkori_KnownJointType_RightWrist),
            flat.pose))
        << "nothing to scale";
    EXPECT_TRUE(
        AreEqual(Alignment::ScaleToMatchPoseHeight(flat.pose, target.pose, velkori_KnownJointType_RightWrist),
            target.pose));
}

TEST(Alignment, LimbsRunInTheSourcesDirection) {
    // Arms that hang, against arms that are stretched out and longer by a half.
    const PlacedBody source(Body({0.2F, 1.1F, 0}, {0.2F, 0.8F, 0}));
    const PlacedBody target(Body({0.65F, 1.4F, 0}, {1.1F, 1.4F, 0}));
    const PoseData matched = Alignment::MatchPoseLimbRotations(source.pose, target.pose);
    for (const std::string side : {"right", "left"}) {
        const Vector3f start = At(target, matched, side + "UpperArm");
        const Vector3f elbow = At(target, matched, side + "Elbow");
        const Vector3f wrist = At(target, matched, side + "Wrist");
        ExpectNear(elbow - start, {0, -0.45F, 0}, 1e-4F, "its own length, the source's direction");
        ExpectNear(wrist - elbow, {0, -0.45F, 0}, 1e-4F);
        // The hand turns with the forearm.
        ExpectNear(At(target, matched, side + "Hand") - wrist, {0, -0.1F, 0}, 1e-4F);
    }
}

TEST(Alignment, ABentLimbIsFollowedSegmentBySegment) {
    // The source's arm bends forward by 20 degrees on the way; a bend by 60 is passed over.
    const float z = 0.3F * std::tan(20.0F * std::numbers::pi_v<float> / 180.0F);
    const PlacedBody source(Body({0.5F, 1.4F, z}, {0.8F, 1.4F, 0}));
    const PlacedBody target(Body());
    const PoseData matched = Alignment::MatchPoseLimbRotations(source.pose, target.pose);
    // The target's elbow is at half its arm's length, which is the source's elbow.
    const Vector3f upperArm = At(target, matched, "rightElbow") - At(target, matched, "rightUpperArm");
    ExpectNear(upperArm.Normalize(), Vector3f(0.3F, 0, z).Normalize(), 1e-4F);
    const Vector3f forearm = At(target, matched, "rightWrist") - At(target, matched, "rightElbow");
    ExpectNear(forearm.Normalize(), Vector3f(0.3F, 0, -z).Normalize(), 1e-4F);

    const float far = 0.3F * std::tan(60.0F * std::numbers::pi_v<float> / 180.0F);
    const PlacedBody bent(Body({0.5F, 1.4F, far}, {0.8F, 1.4F, 0}));
    EXPECT_TRUE(Alignment::MatchPoseLimbRotations(bent.pose, target.pose).IsApproxEqual(target.pose))
        << "from shoulder to wrist it is straight";
}

TEST(Alignment, FeetStayLevelAndTheBodyOnItsFloor) {
    // The source stands with its legs apart.
    const PlacedBody source(Body({0.5F, 1.4F, 0}, {0.8F, 1.4F, 0}, {0.3F, 0.5F, 0}, {0.5F, 0.1F, 0}));
    const PlacedBody target(Body());
    const PoseData matched = Alignment::MatchPoseLimbRotations(source.pose, target.pose);
    const Vector3f thigh = At(target, matched, "rightKnee") - At(target, matched, "rightUpperLeg");
    ExpectNear(thigh.Normalize(), Vector3f(0.2F, -0.4F, 0).Normalize(), 1e-4F);
    EXPECT_LT(AngleBetween(target.PoseOf("rightAnkle", matched).orientation, Quaternionf::Identity), 1e-3F);
    const Vector3f foot = At(target, matched, "rightToes") - At(target, matched, "rightAnkle");
    ExpectNear(foot, {0, 0, 0.2F}, 1e-4F, "the foot hangs on the ankle as it was");
    EXPECT_NEAR(At(target, matched, "rightAnkle").y, 0.1F, 1e-4F) << "spread legs reach less far down";
    EXPECT_LT(At(target, matched, "hips").y, 0.95F);
}

// A shoulder joint half as long as the upper arm turns by a twelfth of the arm's turn.
TEST(Alignment, AShoulderTakesPartOfTheTurn) {
    const auto withShoulder = [](const Vector3f& elbow) {
        PlacedJoints joints = Body(elbow, elbow + (elbow - Vector3f(0.2F, 1.4F, 0)));
        joints.push_back({"rightShoulder", "chest", {0.05F, 1.4F, 0}});
        for (PlacedJoint& joint : joints) {
            joint.parent = joint.name == "rightUpperArm" ? "rightShoulder" : joint.parent;
        }
        return joints;
    };
    const PlacedBody source(withShoulder({0.2F, 1.1F, 0}));
    const PlacedBody target(withShoulder({0.5F, 1.4F, 0}));
    const PoseData matched = Alignment::MatchPoseLimbRotations(source.pose, target.pose);
    // 0.15 of 0.45 is a third, and a quarter of that is the share of the quarter turn.
    const float angle = std::numbers::pi_v<float> / 2 / 12;
    const Vector3f upperArm = At(target, matched, "rightUpperArm") - At(target, matched, "rightShoulder");
    ExpectNear(upperArm, {0.15F * std::cos(angle), -0.15F * std::sin(angle), 0}, 1e-4F);
}

TEST(Alignment, APosesPlaceBetweenTwoIsThatOfItsExtents) {
    const PlacedBody small(Body());
    const auto scaled = [&](float factor) {
        std::vector<JointPose> poses = small.pose.GetJointPoses(RootSpace);
        for (JointPose& pose : poses) {
            pose.position = pose.position * factor;
        }
        return PoseData(small.skeleton, RootSpace, poses, JointPose::Identity);
    };
    const Vector3f ratio =
        Alignment::CalculateExtentRangeBetweenPoses(small.pose, scaled(2.0F), scaled(1.25F));
    EXPECT_NEAR(ratio.x, 0.25F, 1e-4F);
    EXPECT_NEAR(ratio.y, 0.25F, 1e-4F);
    EXPECT_EQ(Alignment::CalculateExtentRangeBetweenPoses(small.pose, small.pose, small.pose).y, 1.0F)
        << "equal poses";
}
