#include "retargeting/preparation/TwistJointIdentification.h"

#include "support/PlacedBody.h"

#include <gtest/gtest.h>

#include <cmath>
#include <span>

using namespace Velkori_Utility;
using AutoMapping::IdentifyTwistJoints;

namespace {

using Texts = std::vector<std::string>;

// "twist: start -> end, ratio in hundredths", in the order found.
Texts FoundTwists(const PlacedBody& body) {
    const auto name = [&](int joint) { return body.skeleton.GetJointName(joint); };
    Texts found;
    for (const auto& [twist, start, end, ratio] : IdentifyTwistJoints(body.rest)) {
        found.push_back(name(twist) + ": " + name(start) + " -> " + name(end) + ", " +
                        std::to_string(std::lround(ratio * 100)));
    }
    return found;
}

// A joint beside a bone from a to b, which goes on.
PlacedJoints Beside(const Vector3f& place) {
    return {{"a", "", {0, 0, 0}}, {"leaf", "a", place}, {"b", "a", {1, 0, 0}}, {"c", "b", {1, 1, 0}}};
}

struct Case {
    const char* rule;
    PlacedJoints joints;
    Texts expected;
    Texts excluded{};
};

void ExpectFound(std::span<const Case> cases) {
    for (const Case& each : cases) {
        EXPECT_EQ(FoundTwists(PlacedBody(each.joints, each.excluded)), each.expected) << each.rule;
    }
}

} // namespace

TEST(TwistJointIdentification, TakesInnerJointsByTheirName) {
    const PlacedJoints nested = {{"a", "", {0, 0, 0}}, {"stop", "a", {1, 0, 0}}, {"twist", "stop", {2, 0, 0}},
        {"b", "twist", {3, 0, 0}}};
    const Case cases[] = {
        {"wherever it lies: behind the start the ratio is negative",
            {{"a", "", {0, 0, 0}}, {"ArmTWIST1", "a", {-0.5F, 0, 0}}, {"b", "ArmTWIST1", {1, 0, 0}}},
            {"ArmTWIST1: a -> b, -50"}},
        {"beyond the end it is 1",
            {{"a", "", {0, 0, 0}}, {"twist", "a", {3, 1, 0}}, {"b", "twist", {1, 0, 0}}},
            {"twist: a -> b, 100"}},
        {"a bone without length has ratio 0",
            {{"a", "", {0, 0, 0}}, {"twist", "a", {1, 0, 0}}, {"b", "twist", {0, 0, 0}}},
            {"twist: a -> b, 0"}},
        {"a leaf's name says nothing", {{"a", "", {0, 0, 0}}, {"twist", "a", {1, 0, 0}}}, {}},
        {"nor does a root's, but what hangs on it is looked at",
            {{"twist", "", {0, 0, 0}}, {"leaf", "twist", {0.5F, 0, 0}}, {"b", "twist", {1, 0, 0}},
                {"c", "b", {1, 1, 0}}},
            {"leaf: twist -> b, 50"}},
        {"deeper down", nested, {"twist: stop -> b, 50"}},
        {"but not beneath what is excluded", nested, {}, {"stop"}},
    };
    ExpectFound(cases);
}

TEST(TwistJointIdentification, TakesStraightChainsBesideABone) {
    // A leaf on the line of two bones that go on downwards; the longer one comes first.
    const PlacedJoints twoBones = {{"a", "", {0, 0, 0}}, {"leaf", "a", {0.5F, 0, 0}},
        {"long", "a", {2, 0, 0}}, {"longEnd", "long", {2, -1, 0}}, {"short", "a", {1, 0, 0}},
        {"shortEnd", "short", {1, -1, 0}}};
    const PlacedJoints chain = {{"a", "", {0, 0, 0}}, {"twist1", "a", {0.25F, 0, 0}},
        {"twist2", "twist1", {0.5F, 0, 0}}, {"b", "a", {1, 0, 0}}, {"c", "b", {1, 1, 0}}};
    const Case cases[] = {
        {"2.4 degrees off the bone's line", Beside({0.5F, 0.020956F, 0}), {"leaf: a -> b, 50"}},
        {"2.6 degrees are too many", Beside({0.5F, 0.022705F, 0}), {}},
        {"as far as the bone's end is too far", Beside({1, 0, 0}), {}},
        {"what forks goes on, however straight",
            {{"a", "", {0, 0, 0}}, {"leaf", "a", {0.5F, 0, 0}}, {"b", "a", {1, 0, 0}}, {"c", "b", {2, 0, 0}},
                {"c1", "c", {3, 0, 0}}, {"c2", "c", {4, 0, 0}}},
            {"leaf: a -> b, 50"}},
        {"two straight chains are no bone for each other",
            {{"a", "", {0, 0, 0}}, {"leaf", "a", {0.5F, 0, 0}}, {"b", "a", {1, 0, 0}}, {"c", "b", {2, 0, 0}}},
            {}},
        {"the first bone has it", twoBones, {"leaf: a -> long, 25"}},
        {"an excluded bone is none", twoBones, {"leaf: a -> short, 50"}, {"long"}},
        {"a straight chain to a leaf counts as leaves, the last one first, whatever their names", chain,
            {"twist2: a -> b, 50", "twist1: a -> b, 25"}},
        {"a chain that begins with an excluded joint is none", chain, {}, {"twist1"}},
        {"an excluded joint within it is passed by", chain, {"twist1: a -> b, 25"}, {"twist2"}},
        {"the upper ones come first",
            {{"a", "", {0, 0, 0}}, {"p", "a", {0, 1, 0}}, {"pTwist", "p", {0, 2, 0}},
                {"pEnd", "pTwist", {1, 2, 0}}, {"q", "a", {0, -1, 0}}, {"leaf", "q", {0.5F, -1, 0}},
                {"qEnd", "q", {1, -1, 0}}, {"qTip", "qEnd", {1, -2, 0}}},
            {"leaf: q -> qEnd, 50", "pTwist: p -> pEnd, 50"}},
    };
    ExpectFound(cases);
    const PlacedBody body(chain);
    EXPECT_TRUE(IdentifyTwistJoints(RestPose(body.skeleton, {})).empty());
}
