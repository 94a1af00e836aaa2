#include "retargeting/alignment/LimbRotations.h"

#include "UtilityContextInstance.h"
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

constexpr float Degree = std::numbers::pi_v<float> / 180.0F;

// From the shoulder at (0.2, 1.4, 0) to the wrist at (0.8, 1.4, 0), with the elbow at a share of the way and
// bent forward by an angle as seen from the shoulder.
PlacedJoints BentArms(float share, float degrees) {
    const float along = 0.6F * share;
    return PlacedBiped({0.2F + along, 1.4F, along * std::tan(degrees * Degree)});
}

Vector3f Between(
    const PlacedBody& body, const PoseData& pose, const std::string& from, const std::string& to) {
    return PositionOf(to, body, pose) - PositionOf(from, body, pose);
}

} // namespace

TEST(LimbRotations, LimbsRunInTheSourcesDirection) {
    // Arms that hang, against arms that are stretched out and longer by a half and have one more joint.
    const PlacedBody source(PlacedBiped({0.2F, 1.1F, 0}, {0.2F, 0.8F, 0}));
    const PlacedBody target(WithJointAbove(PlacedBiped({0.65F, 1.4F, 0}, {1.1F, 1.4F, 0}), "rightElbow",
        {"rightTwist", "rightUpperArm", {0.5F, 1.4F, 0}}));
    const PoseData matched = MatchPoseLimbRotations(source.pose, target.pose);
    for (const auto& [side, x] : {std::pair<std::string, float>("right", 0.2F), {"left", -0.2F}}) {
        ExpectNear(PositionOf(side + "UpperArm", target, matched), {x, 1.4F, 0}, 1e-5F, "without a shoulder");
        ExpectNear(Between(target, matched, side + "UpperArm", side + "Elbow"), {0, -0.45F, 0}, 1e-4F,
            "its own length, the source's direction");
        ExpectNear(Between(target, matched, side + "Elbow", side + "Wrist"), {0, -0.45F, 0}, 1e-4F);
        ExpectNear(Between(target, matched, side + "Wrist", side + "Hand"), {0, -0.1F, 0}, 1e-4F,
            "the hand turns with the forearm");
    }
    ExpectNear(Between(target, matched, "rightUpperArm", "rightTwist"), {0, -0.3F, 0}, 1e-4F);
}

// The target's elbow lies at a quarter of its way, so its upper arm points to where the source's curve, which
// bends half way, is after a quarter of its length, and its forearm from there to the curve's end.
TEST(LimbRotations, PlacesOnTheCurveAreSharesOfItsLength) {
    const PlacedBody source(BentArms(0.5F, 20.0F));
    // What is bent out of the way doesn't count, nor add to the length.
    const PlacedBody cluttered(WithJointAbove(
        BentArms(0.5F, 20.0F), "rightElbow", {"rightDetour", "rightUpperArm", {0.35F, 1.7F, 0}}));
    const PlacedBody target(BentArms(0.25F, 0.0F));
    const float halfDepth = 0.15F * std::tan(20.0F * Degree);
    for (const PlacedBody* each : {&source, &cluttered}) {
        const PoseData matched = MatchPoseLimbRotations(each->pose, target.pose);
        ExpectNear(Between(target, matched, "rightUpperArm", "rightElbow"),
            Vector3f(0.15F, 0, halfDepth).Normalize() * 0.15F, 1e-5F);
        ExpectNear(Between(target, matched, "rightElbow", "rightWrist"),
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
        EXPECT_EQ(MatchPoseLimbRotations(bent.pose, straight.pose).IsApproxEqual(straight.pose), isPassedOver)
            << "source's elbow at " << share;
        // A target's elbow rides along with the arm, which is straight as a whole.
        EXPECT_EQ(MatchPoseLimbRotations(straight.pose, bent.pose).IsApproxEqual(bent.pose), isPassedOver)
            << "target's elbow at " << share;
    }
    const PlacedBody hanging(PlacedBiped({0.2F, 1.1F, 0}, {0.2F, 0.8F, 0}));
    const PlacedBody bent(BentArms(0.5F, 60.0F));
    const PoseData matched = MatchPoseLimbRotations(hanging.pose, bent.pose);
    ExpectNear(Between(bent, matched, "rightUpperArm", "rightElbow"),
        {0, -0.3F, 0.3F * std::tan(60.0F * Degree)}, 1e-4F);
    ExpectNear(Between(bent, matched, "rightUpperArm", "rightWrist"), {0, -0.6F, 0}, 1e-4F);
}

TEST(LimbRotations, FeetStayLevelAndTheBodyOnItsFloor) {
    // The source stands with its legs apart.
    const PlacedBody source(PlacedBiped({0.5F, 1.4F, 0}, {0.8F, 1.4F, 0}, {0.3F, 0.5F, 0}, {0.5F, 0.1F, 0}));
    const PlacedBody target(PlacedBiped());
    // 0.8 long, the legs now reach 0.8 * 2 / sqrt(5) far down.
    const float sunk = 0.8F - 0.8F * 2.0F / std::sqrt(5.0F);
    const PoseData matched = MatchPoseLimbRotations(source.pose, target.pose);
    ExpectNear(PositionOf("hips", target, matched), {0, 1.0F - sunk, 0}, 1e-4F);
    for (const std::string side : {"right", "left"}) {
        EXPECT_LT(
            AngleBetween(target.PoseOf(side + "Ankle", matched).orientation, Quaternionf::Identity), 1e-3F);
        EXPECT_NEAR(PositionOf(side + "Ankle", target, matched).y, 0.1F, 1e-4F);
        ExpectNear(Between(target, matched, side + "Ankle", side + "Toes"), {0, 0, 0.2F}, 1e-4F,
            "the foot hangs on the ankle as it was");
    }
    // Along another up axis the body keeps its height.
    UtilityContext::SetCoordinateSpace({{0, 0, -1}, {0, 1, 0}, {1, 0, 0}});
    const PoseData lifted = MatchPoseLimbRotations(source.pose, target.pose);
    UtilityContext::SetCoordinateSpace(VELKORI_DEFAULT_COORDINATE_SPACE);
    ExpectNear(PositionOf("hips", target, lifted), {0, 1, 0}, 1e-5F);
    EXPECT_NEAR(PositionOf("leftAnkle", target, lifted).y, 0.1F + sunk, 1e-4F);
}

// A shoulder joint half as long as the upper arm turns by a twelfth of the arm's turn.
TEST(LimbRotations, AShoulderTakesPartOfTheTurn) {
    const auto withShoulder = [](const PlacedJoints& joints) {
        return WithJointAbove(joints, "rightUpperArm", {"rightShoulder", "chest", {0.05F, 1.4F, 0}});
    };
    const PlacedJoints hanging = PlacedBiped({0.2F, 1.1F, 0}, {0.2F, 0.8F, 0});
    const PlacedBody source(withShoulder(hanging));
    const PlacedBody target(withShoulder(PlacedBiped()));
    const PoseData matched = MatchPoseLimbRotations(source.pose, target.pose);
    // 0.15 of 0.45 is a third, and a quarter of that is the share of the quarter turn.
    const float angle = 90.0F * Degree / 12;
    ExpectNear(Between(target, matched, "rightShoulder", "rightUpperArm"),
        {0.15F * std::cos(angle), -0.15F * std::sin(angle), 0}, 1e-5F);
    // The arm makes up for it.
    ExpectNear(Between(target, matched, "rightUpperArm", "rightWrist"), {0, -0.6F, 0}, 1e-4F);
    const PoseData unturned = MatchPoseLimbRotations(PlacedBody(hanging).pose, target.pose);
    ExpectNear(Between(target, unturned, "rightShoulder", "rightUpperArm"), {0.15F, 0, 0}, 1e-6F,
        "the source has none");
}

TEST(LimbRotations, LimbsWithoutLengthOrCounterpartStayAsTheyAre) {
    const PlacedBody body(PlacedBiped());
    const Vector3f start(0.2F, 1.4F, 0);
    const PlacedBody armless(PlacedBiped(start, start));
    EXPECT_TRUE(MatchPoseLimbRotations(armless.pose, body.pose).IsApproxEqual(body.pose));
    EXPECT_TRUE(MatchPoseLimbRotations(body.pose, armless.pose).IsApproxEqual(armless.pose));
    const PlacedBody oneHanded(
        Renamed(PlacedBiped({0.2F, 1.1F, 0}, {0.2F, 0.8F, 0}), "rightWrist", "rightStump"));
    const PoseData matched = MatchPoseLimbRotations(oneHanded.pose, body.pose);
    ExpectNear(
        PositionOf("rightWrist", body, matched), {0.8F, 1.4F, 0}, 1e-5F, "the source has no right wrist");
    ExpectNear(PositionOf("leftWrist", body, matched), {-0.2F, 0.8F, 0}, 1e-4F);
}
