#include "retargeting/alignment/LimbRotations.h"

#include "support/PlacedBiped.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>

using namespace Velkori_Utility;
using Alignment::MatchPoseLimbRotations;

namespace {

constexpr Vector3f Up = Vector3f::Identity_up_LH;
constexpr float Degree = std::numbers::pi_v<float> / 180.0F;

// From the shoulder at (0.2, 1.4, 0) to the wrist at (0.8, 1.4, 0), with the elbow at a share of the way and
// bent forward by an angle as seen from the shoulder.
PlacedJoints BentArms(float share, float degrees) {
    const float along = 0.6F * share;
    return PlacedBiped({0.2F + along, 1.4F, along * std::tan(degrees * Degree)});
}

MatchedBody Match(const PlacedJoints& source, const PlacedJoints& target, const Vector3f& up = Up) {
    return {MatchPoseLimbRotations, source, target, up};
}

PlacedJoints HangingArms() {
    return PlacedBiped({0.2F, 1.1F, 0}, {0.2F, 0.8F, 0});
}

} // namespace

TEST(LimbRotations, LimbsRunInTheSourcesDirection) {
    // Arms that hang, against arms that are stretched out and longer by a half and have one more joint.
    const MatchedBody matched =
        Match(HangingArms(), WithJointAbove(PlacedBiped({0.65F, 1.4F, 0}, {1.1F, 1.4F, 0}), "rightElbow",
                                 {"rightTwist", "rightUpperArm", {0.5F, 1.4F, 0}}));
    for (const auto& [side, x] : {std::pair<std::string, float>("right", 0.2F), {"left", -0.2F}}) {
        ExpectNear(matched.PositionOf(side + "UpperArm"), {x, 1.4F, 0}, 1e-5F, "without a shoulder");
        ExpectNear(matched.Between(side + "UpperArm", side + "Elbow"), {0, -0.45F, 0}, 1e-4F,
            "its own length, the source's direction");
        ExpectNear(matched.Between(side + "Elbow", side + "Wrist"), {0, -0.45F, 0}, 1e-4F);
        ExpectNear(matched.Between(side + "Wrist", side + "Hand"), {0, -0.1F, 0}, 1e-4F,
            "the hand turns with the forearm");
    }
    ExpectNear(matched.Between("rightUpperArm", "rightTwist"), {0, -0.3F, 0}, 1e-4F);
}

// The target's elbow lies at a quarter of its way, so its upper arm points to where the source's curve, which
// bends half way, is after a quarter of its length, and its forearm from there to the curve's end.
TEST(LimbRotations, PlacesOnTheCurveAreSharesOfItsLength) {
    const PlacedJoints source = BentArms(0.5F, 20.0F);
    // What is bent out of the way doesn't count, nor add to the length.
    const PlacedJoints cluttered =
        WithJointAbove(source, "rightElbow", {"rightDetour", "rightUpperArm", {0.35F, 1.7F, 0}});
    const float halfDepth = 0.15F * std::tan(20.0F * Degree);
    for (const PlacedJoints& each : {source, cluttered}) {
        const MatchedBody matched = Match(each, BentArms(0.25F, 0.0F));
        ExpectNear(matched.Between("rightUpperArm", "rightElbow"),
            Vector3f(0.15F, 0, halfDepth).Normalize() * 0.15F, 1e-5F);
        ExpectNear(matched.Between("rightElbow", "rightWrist"),
            Vector3f(0.45F, 0, -halfDepth).Normalize() * 0.45F, 1e-5F);
    }
}

// Just below 30 degrees an elbow is part of the curve, just beyond it isn't, from the shoulder as from the
// wrist.
TEST(LimbRotations, WhatIsBentBeyondThirtyDegreesIsPassedOver) {
    const PlacedBody straight(BentArms(0.5F, 0.0F));
    const float nearerWrist = std::atan(std::tan(31.0F * Degree) * 0.25F / 0.75F) / Degree;
    for (const auto& [share, degrees, isPassedOver] : {std::tuple(0.5F, 29.0F, false), {0.5F, 31.0F, true},
             {0.75F, nearerWrist, true}, {0.25F, 31.0F, true}}) {
        const PlacedBody bent(BentArms(share, degrees));
        EXPECT_EQ(AreAlike(MatchPoseLimbRotations(bent.rest, straight.pose, Up), straight.pose), isPassedOver)
            << "source's elbow at " << share;
        // A target's elbow rides along with the arm, which is straight as a whole.
        EXPECT_EQ(AreAlike(MatchPoseLimbRotations(straight.rest, bent.pose, Up), bent.pose), isPassedOver)
            << "target's elbow at " << share;
    }
    const MatchedBody matched = Match(HangingArms(), BentArms(0.5F, 60.0F));
    ExpectNear(
        matched.Between("rightUpperArm", "rightElbow"), {0, -0.3F, 0.3F * std::tan(60.0F * Degree)}, 1e-4F);
    ExpectNear(matched.Between("rightUpperArm", "rightWrist"), {0, -0.6F, 0}, 1e-4F);
}

TEST(LimbRotations, FeetStayLevelAndTheBodyOnItsFloor) {
    // The source stands with its legs apart.
    const PlacedJoints source =
        PlacedBiped({0.5F, 1.4F, 0}, {0.8F, 1.4F, 0}, {0.3F, 0.5F, 0}, {0.5F, 0.1F, 0});
    // 0.8 long, the legs now reach 0.8 * 2 / sqrt(5) far down.
    const float sunk = 0.8F - 0.8F * 2.0F / std::sqrt(5.0F);
    const MatchedBody matched = Match(source, PlacedBiped());
    ExpectNear(matched.PositionOf("hips"), {0, 1.0F - sunk, 0}, 1e-4F);
    for (const std::string side : {"right", "left"}) {
        EXPECT_LT(AngleBetween(matched.PoseOf(side + "Ankle").orientation, Quaternionf::Identity), 1e-3F);
        EXPECT_NEAR(matched.PositionOf(side + "Ankle").y, 0.1F, 1e-4F);
        ExpectNear(matched.Between(side + "Ankle", side + "Toes"), {0, 0, 0.2F}, 1e-4F,
            "the foot hangs on the ankle as it was");
    }
    // Along another up axis the body keeps its height.
    const MatchedBody lifted = Match(source, PlacedBiped(), {0, 0, -1});
    ExpectNear(lifted.PositionOf("hips"), {0, 1, 0}, 1e-5F);
    EXPECT_NEAR(lifted.PositionOf("leftAnkle").y, 0.1F + sunk, 1e-4F);
}

// A shoulder joint half as long as the upper arm turns by a twelfth of the arm's turn.
TEST(LimbRotations, AShoulderTakesPartOfTheTurn) {
    const auto withShoulder = [](const PlacedJoints& joints) {
        return WithJointAbove(joints, "rightUpperArm", {"rightShoulder", "chest", {0.05F, 1.4F, 0}});
    };
    const PlacedJoints target = withShoulder(PlacedBiped());
    const MatchedBody matched = Match(withShoulder(HangingArms()), target);
    // 0.15 of 0.45 is a third, and a quarter of that is the share of the quarter turn.
    const float angle = 90.0F * Degree / 12;
    ExpectNear(matched.Between("rightShoulder", "rightUpperArm"),
        {0.15F * std::cos(angle), -0.15F * std::sin(angle), 0}, 1e-5F);
    // The arm makes up for it.
    ExpectNear(matched.Between("rightUpperArm", "rightWrist"), {0, -0.6F, 0}, 1e-4F);
    const MatchedBody unturned = Match(HangingArms(), target);
    ExpectNear(
        unturned.Between("rightShoulder", "rightUpperArm"), {0.15F, 0, 0}, 1e-6F, "the source has none");
}

TEST(LimbRotations, LimbsWithoutLengthOrCounterpartStayAsTheyAre) {
    const PlacedBody body(PlacedBiped());
    const Vector3f start(0.2F, 1.4F, 0);
    const PlacedBody armless(PlacedBiped(start, start));
    EXPECT_TRUE(AreAlike(MatchPoseLimbRotations(armless.rest, body.pose, Up), body.pose));
    EXPECT_TRUE(AreAlike(MatchPoseLimbRotations(body.rest, armless.pose, Up), armless.pose));
    const MatchedBody matched = Match(Renamed(HangingArms(), "rightWrist", "rightStump"), PlacedBiped());
    ExpectNear(matched.PositionOf("rightWrist"), {0.8F, 1.4F, 0}, 1e-5F, "the source has no right wrist");
    ExpectNear(matched.PositionOf("leftWrist"), {-0.2F, 0.8F, 0}, 1e-4F);
}
