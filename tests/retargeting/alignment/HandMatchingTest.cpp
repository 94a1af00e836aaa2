#include "retargeting/alignment/HandMatching.h"

#include "support/PlacedHands.h"
#include "support/PoseMatchers.h"
#include "support/Rotations.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace Velkori_Utility;
using Alignment::MatchPoseHandsAndFingers;

namespace {

constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr Vector3f Right = Vector3f::Identity_right_LH;

// Three straight fingers that spread a little, the first in front, set lower and with a joint in the palm.
PlacedJoints ThreeFingers(float scale = 1.0F) {
    const Vector3f thumb(0.04F, -0.01F, 0.03F);
    return RightFinger("a", {thumb * scale, thumb * 0.9F * scale, thumb * 0.7F * scale}) +
           RightFinger("b", {Vector3f(0.1F, 0, 0.01F) * scale, Right * 0.04F * scale, Right * 0.03F * scale,
                                Right * 0.02F * scale}) +
           RightFinger("c", {Vector3f(0.09F, 0, -0.02F) * scale, Right * 0.035F * scale,
                                Right * 0.025F * scale, Right * 0.02F * scale});
}

// Turns what is placed about the right wrist.
PlacedJoints TurnedAboutWrist(PlacedJoints joints, const Vector3f& rotationVector) {
    const Quaternionf turn = RotationOf(rotationVector);
    for (PlacedJoint& joint : joints) {
        joint.position = RightWristPosition + turn.Rotate(joint.position - RightWristPosition);
        joint.orientation = turn * joint.orientation;
    }
    return joints;
}

// Trunks with these joints on their arms.
MatchedBody Match(const PlacedJoints& source, const PlacedJoints& target, bool scaleFingers = false) {
    return {MatchPoseHandsAndFingers, TrunkAndArms() + source, TrunkAndArms() + target, scaleFingers};
}

void ExpectPositions(const MatchedBody& matched, const PlacedJoints& expected) {
    for (const PlacedJoint& joint : expected) {
        ExpectNear(matched.PositionOf(joint.name), joint.position, 2e-5F, joint.name.c_str());
    }
}

// One more finger, so that the hand branches.
PlacedJoints OtherFinger() {
    return RightFinger("other", {{0.05F, 0, 0.05F}});
}

} // namespace

// Only turned, or not even that: every joint gets to where the source has it. The hand that the source lacks
// stays as it is.
TEST(HandMatching, ATurnedHandTurnsBack) {
    const PlacedJoints leftHand =
        Finger("left", "leftWrist", {-0.7F, 1.4F, 0}, {{-0.1F, 0, 0}, {-0.05F, 0, 0}});
    for (const Vector3f& turn :
        {Vector3f(0.6F, 0, 0), Vector3f(0, 0.4F, 0), Vector3f(0, 0, -0.7F), Vector3f(0.4F, 0.2F, 0.3F)}) {
        const MatchedBody matched = Match(ThreeFingers(), TurnedAboutWrist(ThreeFingers(), turn) + leftHand);
        ExpectPositions(matched, ThreeFingers() + leftHand);
    }
    for (const bool scaleFingers : {false, true}) {
        MatchedBody equal = Match(ThreeFingers() + leftHand, ThreeFingers() + leftHand, scaleFingers);
        ExpectNear(equal.pose.GetJointPoses(RootSpace), equal.target.rest.GetJointPoses(RootSpace), 1e-4F);
    }
    const PlacedBody body(TrunkAndArms() + ThreeFingers());
    const PlacedBody nothing({});
    EXPECT_TRUE(AreAlike(MatchPoseHandsAndFingers(nothing.rest, body.pose, true), body.pose));
    EXPECT_FALSE(MatchPoseHandsAndFingers(body.rest, nothing.pose, true).IsInitialized());
}

TEST(HandMatching, TheWristTurnsUntilBothHandsLieAcrossTheSameWay) {
    const PlacedJoints fingers = RightFinger("a", {{0.1F, 0, 0.03F}, Right * 0.05F}) +
                                 RightFinger("b", {{0.1F, 0, -0.03F}, Right * 0.05F});
    const MatchedBody matched = Match(fingers, TurnedAboutWrist(fingers, Right * 0.6F));
    for (const std::string joint : {"rightWrist", "a0", "b1"}) {
        const Quaternionf before = matched.target.PoseOf(joint, matched.target.pose).orientation;
        const Quaternionf expected = RotationOf(-Right * 0.6F) * before;
        EXPECT_NEAR(AngleBetween(matched.PoseOf(joint).orientation, expected), 0.0F, 1e-3F) << joint;
    }
}

// A tip that is bent against the joint before it is straightened.
TEST(HandMatching, ATipTurnsAsIfTheLastBoneWentOnFromIt) {
    const PlacedJoints fingers = OtherFinger() + RightFinger("f", {Right * 0.1F, Right * 0.05F});
    PlacedJoints bent = fingers;
    bent.back().orientation = RotationOf({0, 0.2F, 0.3F});
    const MatchedBody matched = Match(fingers, bent);
    EXPECT_NEAR(AngleBetween(matched.PoseOf("f1").orientation, Quaternionf::Identity), 0.0F, 1e-3F);
}

TEST(HandMatching, ScaledFingersEndWhereTheSourcesDo) {
    for (const float scale : {0.5F, 0.9F, 1.7F}) {
        const MatchedBody scaled = Match(ThreeFingers(), ThreeFingers(scale), true);
        for (const std::string tip : {"b3", "c3"}) {
            ExpectNear(scaled.PositionOf(tip), scaled.source.PoseOf(tip, scaled.source.pose).position, 1e-4F,
                tip.c_str());
        }
        MatchedBody unscaled = Match(ThreeFingers(), ThreeFingers(scale));
        const std::vector<float>& lengths = unscaled.target.rest.GetJointLengths();
        for (std::size_t i = 0; i < lengths.size(); ++i) {
            EXPECT_NEAR(unscaled.pose.GetJointLengths()[i], lengths[i], 1e-6F) << i;
        }
    }
}

// The target's knuckle keeps its distance of 0.05 from the wrist and lands on the line z = 0.03 along x: that
// is a triangle of sides 3, 4 and 5.
TEST(HandMatching, AKnuckleLandsOnTheLineOfTheSourcesFinger) {
    struct Case {
        std::vector<Vector3f> sourceBones;
        bool scaleFingers = false;
        Vector3f knuckle;
        std::vector<Vector3f> targetBones = {Right * 0.05F, Right * 0.06F};
    };

    const Case cases[] = {
        {{{0.08F, 0, 0.03F}, Right * 0.12F}, false, {0.04F, 0, 0.03F}},
        // The source's first joint lies in the palm: its second one is the knuckle.
        {{Right * 0.02F, {0.06F, 0, 0.03F}, Right * 0.02F, Right * 0.02F}, false, {0.04F, 0, 0.03F}},
        // A line out of reach: the knuckle comes as near to it as it can.
        {{{0.08F, 0, 0.06F}, Right * 0.12F}, false, {0, 0, 0.05F}},
        // Scaling takes the tip from 0.04 + 0.06 along the line out to 0.2, and the knuckle with it.
        {{{0.08F, 0, 0.03F}, Right * 0.12F}, true, {0.08F, 0, 0.03F}},
        // There are no bones to compare: the knuckle gets as far from the wrist as the source's.
        {{{0.06F, 0, 0.08F}}, true, {0.06F, 0, 0.08F}},
        // Where the line is out of reach too, what the knuckle lacks, 0.06 / 0.05, is taken off that.
        {{{0.08F, 0, 0.06F}, Right * 0.12F}, true, {0, 0, 0.05F * 0.1F / (0.06F * 1.2F)}, {Right * 0.05F}},
    };
    for (const Case& c : cases) {
        const PlacedJoints thumb = RightFinger("thumb", {{0.05F, 0, 0.1F}});
        const MatchedBody matched = Match(
            thumb + RightFinger("f", c.sourceBones), thumb + RightFinger("f", c.targetBones), c.scaleFingers);
        ExpectNear(matched.PositionOf("f0"), RightWristPosition + c.knuckle, 1e-5F);
    }
}

// Source bones are all of the same length; target lengths are in units of it.
TEST(HandMatching, BonesFollowTheSourcesCurveByTheirShareOfIt) {
    const auto direction = [](float angle) { return Vector3f(std::cos(angle), -std::sin(angle), 0); };

    struct Case {
        std::vector<float> sourceAngles;
        std::vector<float> targetLengths;
        std::vector<Vector3f> expected;
    };

    const Case cases[] = {
        // Each bone points where the source's finger points at that bone's end: as the next one does.
        {{0.1F, 0.4F, 0.8F}, {1, 1, 1}, {direction(0.4F), direction(0.8F), direction(0.8F)}},
        // Of lengths that are compared, there are as many as both have; the last bone follows the tip.
        {{0.1F, 0.4F, 0.8F, 1.0F}, {1, 1}, {direction(0.4F), direction(1.0F)}},
        // Half a bone on, it is half way between two directions.
        {{0.1F, 0.4F, 0.8F}, {1.5F, 0.5F, 1}, {direction(0.6F), direction(0.8F), direction(0.8F)}},
        {{0.1F, 0.4F}, {0.5F, 1.5F, 1, 1},
            {direction(0.25F), direction(0.4F), direction(0.4F), direction(0.4F)}},
        {{}, {1, 1}, {direction(0.0F), direction(0.0F)}},
    };
    for (const Case& c : cases) {
        std::vector<Vector3f> sourceBones = {Right * 0.1F};
        for (const float angle : c.sourceAngles) {
            sourceBones.push_back(direction(angle) * 0.02F);
        }
        std::vector<Vector3f> targetBones = {Right * 0.1F};
        for (const float length : c.targetLengths) {
            targetBones.push_back(Right * 0.02F * length);
        }
        const MatchedBody matched = Match(
            OtherFinger() + RightFinger("f", sourceBones), OtherFinger() + RightFinger("f", targetBones));
        for (std::size_t i = 0; i < c.expected.size(); ++i) {
            ExpectNear(matched.Between("f" + std::to_string(i), "f" + std::to_string(i + 1)).Normalize(),
                c.expected[i], 1e-4F);
        }
    }
}

TEST(HandMatching, FingersThatTheSourceHasNotFollowItsLast) {
    const Vector3f lastDirection = Vector3f(0.8F, -0.6F, 0);
    const auto finger = [](const std::string& name, float z, const Vector3f& direction) {
        return RightFinger(name, {{0.1F, 0, z}, direction * 0.03F});
    };
    const MatchedBody matched = Match(finger("a", 0.02F, Right) + finger("b", 0, lastDirection),
        finger("a", 0.02F, Right) + finger("b", 0, Right) + finger("c", -0.02F, Right) +
            finger("d", -0.04F, Right));
    ExpectNear(matched.Between("a0", "a1"), Right * 0.03F, 3e-6F);
    for (const std::string name : {"b", "c", "d"}) {
        ExpectNear(matched.Between(name + "0", name + "1"), lastDirection * 0.03F, 3e-6F);
    }
}

// The target's fingers hang down by an angle that the first one, which doesn't count, hasn't.
TEST(HandMatching, ThePalmTurnsWithTheFingersAndTakesAlongWhatElseHangsOnIt) {
    const float angle = 0.5F;
    const PlacedJoints thumb = RightFinger("thumb", {{0.05F, 0, 0.05F}});
    const PlacedJoints straight = RightFinger("finger", {Right * 0.1F, Right * 0.05F});
    const PlacedJoints watch = {{"watch", "rightWrist", RightWristPosition + Right * 0.02F},
        {"buckle", "watch", RightWristPosition + Right * 0.04F}};
    const PlacedBody source(TrunkAndArms() + thumb + straight);
    const PlacedBody target(
        TrunkAndArms() + thumb + TurnedAboutWrist(straight, {0, 0, -angle}) + watch, {"watch"});
    const PoseData matched = MatchPoseHandsAndFingers(source.rest, target.pose, false);
    for (const PlacedJoint& joint : thumb + straight) {
        ExpectNear(target.PoseOf(joint.name, matched).position, joint.position, 2e-5F);
    }
    const JointPose hand = target.PoseOf("rightWrist", matched);
    const Vector3f fingerBefore(std::cos(angle), -std::sin(angle), 0);
    ExpectNear(hand.orientation.Rotate(fingerBefore), Right, 1e-4F, "the finger as it hung on the hand");
    ExpectNear(hand.position, RightWristPosition, 1e-6F);
    for (const PlacedJoint& joint : watch) {
        ExpectNear(
            hand.orientation.Inverse().Rotate(target.PoseOf(joint.name, matched).position - hand.position),
            joint.position - RightWristPosition, 1e-5F, joint.name.c_str());
    }
}

TEST(HandMatching, FingersWithoutLengthStayFinite) {
    const Vector3f none;
    const PlacedJoints hands[] = {
        ThreeFingers(),
        ThreeFingers(0.0F),
        RightFinger("a", {none}),
        RightFinger("a", {none, none, Right * 0.1F, none}) + RightFinger("b", {Right * 0.1F, none, none}),
        RightFinger("a", {Right * 0.1F, Vector3f::Identity_up_LH * 0.1F}) + RightFinger("b", {-Right * 0.1F}),
        RightFinger("a", {Right * 1e-20F, Right * 1e-20F}) + RightFinger("b", {Right * 1e-20F}),
    };
    for (const PlacedJoints& sourceHand : hands) {
        for (const PlacedJoints& targetHand : hands) {
            for (const bool scaleFingers : {false, true}) {
                MatchedBody matched = Match(sourceHand, targetHand, scaleFingers);
                for (const JointPose& joint : matched.pose.GetJointPoses(RootSpace)) {
                    EXPECT_LT(joint.position.Length(), 10.0F);
                    EXPECT_NEAR(joint.orientation.LengthSquared(), 1.0F, 1e-4F);
                }
            }
        }
    }
}
