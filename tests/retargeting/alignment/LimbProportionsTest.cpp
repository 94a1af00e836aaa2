#include "retargeting/alignment/LimbProportions.h"

#include "support/PlacedBody.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;
using Alignment::DeformationLimbsToMatchSourceProportion;

namespace {

PlacedJoints Trunk() {
    return {{"root", "", {0, 0, 0}}, {"hips", "root", {0, 1, 0}}, {"chest", "hips", {0, 1.4F, 0}}};
}

// Bent forward at the elbow, with a finger and with a joint that hangs on the upper arm beside the way.
PlacedJoints LeftArm(const Vector3f& wrist = {-0.6F, 1.4F, 0}) {
    return {{"leftUpperArm", "chest", {-0.2F, 1.4F, 0}}, {"leftTwist", "leftUpperArm", {-0.3F, 1.4F, 0}},
        {"leftElbow", "leftUpperArm", {-0.4F, 1.4F, 0.1F}}, {"leftWrist", "leftElbow", wrist},
        {"leftFinger", "leftWrist", wrist + Vector3f(-0.1F, 0, 0)}};
}

PlacedJoints LeftLeg(const Vector3f& ankle = {-0.1F, 0.1F, 0}) {
    return {{"leftUpperLeg", "hips", {-0.1F, 0.9F, 0}}, {"leftKnee", "leftUpperLeg", {-0.1F, 0.5F, 0}},
        {"leftAnkle", "leftKnee", ankle}, {"leftToes", "leftAnkle", ankle + Vector3f(0, 0, 0.2F)}};
}

MatchedBody Match(const PlacedJoints& source, const PlacedJoints& target,
    const Vector3f& forward = Vector3f::Identity_forward_LH) {
    return {DeformationLimbsToMatchSourceProportion, source, target, forward};
}

void ExpectPositions(
    const MatchedBody& matched, const std::vector<std::pair<std::string, Vector3f>>& expected) {
    for (const auto& [name, position] : expected) {
        ExpectNear(matched.PositionOf(name), position, 1e-5F, name.c_str());
    }
}

} // namespace

TEST(LimbProportions, EqualBodiesStayAsTheyAre) {
    const PlacedJoints body = Trunk() + LeftArm() + LeftLeg();
    const MatchedBody matched = Match(body, body);
    PoseData pose = matched.pose;
    ExpectNear(pose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative),
        matched.target.rest.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative), 1e-6F);
}

// The source has no root joint: of the trunk, hips and chest are what both have.
TEST(LimbProportions, TheTrunkMovesForwardAndBackOnly) {
    const PlacedJoints source = {{"hips", "", {1, 2, 3}}, {"chest", "hips", {3, 2, 9}}};

    struct Case {
        Vector3f forward;
        Vector3f offset;
    };

    for (const Case& c :
        {Case{{0, 0, 1}, {0, 0, 6}}, Case{{0, 0, -1}, {0, 0, 6}}, Case{{-1, 0, 0}, {2, 0, 0}}}) {
        const MatchedBody matched = Match(source, Trunk(), c.forward);
        ExpectPositions(matched, {{"root", c.offset}, {"hips", c.offset + Vector3f(0, 1, 0)},
                                     {"chest", c.offset + Vector3f(0, 1.4F, 0)}});
        const MatchedBody kept = Match(source, {{"pelvis", "", {1, 1, 1}}}, c.forward);
        EXPECT_TRUE(AreAlike(kept.pose, kept.target.pose)) << "nothing in common";
    }
}

TEST(LimbProportions, AnArmStretchesAlongItsDirectionAndTheHandComesAlongAsItIs) {
    PlacedJoints arm = LeftArm();
    const int elbow = 2;
    arm[elbow].orientation = Quaternionf(Vector3f::Identity_forward_LH, {-1, 0, 1});
    const MatchedBody matched = Match(Trunk() + LeftArm({-1.0F, 1.4F, 0}), Trunk() + arm);
    ExpectPositions(matched, {{"leftUpperArm", {-0.2F, 1.4F, 0}}, {"leftTwist", {-0.4F, 1.4F, 0}},
                                 {"leftElbow", {-0.6F, 1.4F, 0.1F}}, {"leftWrist", {-1.0F, 1.4F, 0}},
                                 {"leftFinger", {-1.1F, 1.4F, 0}}});
    // Orientations are stretched too: what went 1 along the arm and 1 across goes 2 along it.
    ExpectNear(matched.PoseOf("leftElbow").orientation.Rotate(Vector3f::Identity_forward_LH),
        Vector3f(-2, 0, 1).Normalize(), 1e-4F);
}

// A quarter turn from the side straight down. The wrist keeps its orientation, and so the finger its way.
TEST(LimbProportions, ALimbTurnsTowardsTheSourcesEnd) {
    const MatchedBody matched = Match(Trunk() + LeftArm({-0.2F, 1.0F, 0}), Trunk() + LeftArm());
    ExpectPositions(matched, {{"leftTwist", {-0.2F, 1.3F, 0}}, {"leftElbow", {-0.2F, 1.2F, 0.1F}},
                                 {"leftWrist", {-0.2F, 1.0F, 0}}, {"leftFinger", {-0.3F, 1.0F, 0}}});
    EXPECT_NEAR(AngleBetween(matched.PoseOf("leftElbow").orientation,
                    Quaternionf(-Vector3f::Identity_right_LH, -Vector3f::Identity_up_LH)),
        0.0F, 1e-3F);
}

// The source's leg is twice as long and spread to the side.
TEST(LimbProportions, ALegTurnsButKeepsItsLength) {
    const Vector3f hip(-0.1F, 0.9F, 0);
    const Vector3f direction(-0.6F, -0.8F, 0);
    const MatchedBody matched = Match(Trunk() + LeftLeg(hip + direction * 1.6F), Trunk() + LeftLeg());
    const Vector3f ankle = hip + direction * 0.8F;
    ExpectPositions(matched, {{"leftUpperLeg", hip}, {"leftKnee", hip + direction * 0.4F},
                                 {"leftAnkle", ankle}, {"leftToes", ankle + Vector3f(0, 0, 0.2F)}});
}

TEST(LimbProportions, LimbsWithoutLengthOrWithoutJointsStayFinite) {
    const Vector3f shoulder(-0.2F, 1.4F, 0);
    const PlacedBody whole(Trunk() + LeftArm());
    const PlacedBody folded(Trunk() + LeftArm(shoulder));
    const PlacedBody oneJointArm(Trunk() + PlacedJoints{{"leftWrist", "chest", {-0.5F, 1.4F, 0}}});
    const PlacedBody armless(Trunk());
    const PlacedBody empty({});
    const Vector3f forward = Vector3f::Identity_forward_LH;
    for (const PlacedBody* source : {&whole, &folded, &oneJointArm, &armless, &empty}) {
        for (const PlacedBody* target : {&whole, &folded, &oneJointArm, &armless}) {
            PoseData matched = DeformationLimbsToMatchSourceProportion(source->rest, target->pose, forward);
            for (const JointPose& joint :
                matched.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative)) {
                EXPECT_LT(joint.position.Length(), 10.0F);
                EXPECT_NEAR(joint.orientation.LengthSquared(), 1.0F, 1e-4F);
            }
        }
        EXPECT_TRUE(AreAlike(
            DeformationLimbsToMatchSourceProportion(source->rest, armless.pose, forward), armless.pose));
        EXPECT_FALSE(
            DeformationLimbsToMatchSourceProportion(source->rest, empty.pose, forward).IsInitialized());
    }
}
