#include "retargeting/TwistJointIdentification.h"

#include "support/PlacedBody.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;
using AutoMapping::IdentifyTwistJoints;

TEST(TwistJointIdentification, WalksTheHierarchyByItsRules) {
    struct Found {
        std::string twist;
        std::string start;
        std::string end;
        float ratio = 0.0F;
    };

    struct Case {
        const char* rule;
        PlacedJoints joints;
        std::vector<Found> expected;
        std::vector<std::string> excluded{};
    };

    // A leaf on the line of two bones that go on downwards; the longer one comes first.
    const PlacedJoints twoBones = {{"a", "", {0, 0, 0}}, {"leaf", "a", {0.5F, 0, 0}},
        {"long", "a", {2, 0, 0}}, {"longEnd", "long", {2, -1, 0}}, {"short", "a", {1, 0, 0}},
        {"shortEnd", "short", {1, -1, 0}}};
    const Case cases[] = {
        {"a root's name says nothing, what hangs on it is looked at",
            {{"twist", "", {0, 0, 0}}, {"leaf", "twist", {0.5F, 0, 0}}, {"b", "twist", {1, 0, 0}},
                {"c", "b", {1, 1, 0}}},
            {{"leaf", "twist", "b", 0.5F}}},
        {"a bone without length has ratio 0",
            {{"a", "", {0, 0, 0}}, {"twist", "a", {1, 0, 0}}, {"b", "twist", {0, 0, 0}}},
            {{"twist", "a", "b", 0.0F}}},
        {"what forks goes on, however straight",
            {{"a", "", {0, 0, 0}}, {"leaf", "a", {0.5F, 0, 0}}, {"b", "a", {1, 0, 0}}, {"c", "b", {2, 0, 0}},
                {"c1", "c", {3, 0, 0}}, {"c2", "c", {4, 0, 0}}},
            {{"leaf", "a", "b", 0.5F}}},
        {"two straight chains are no bone for each other",
            {{"a", "", {0, 0, 0}}, {"leaf", "a", {0.5F, 0, 0}}, {"b", "a", {1, 0, 0}}, {"c", "b", {2, 0, 0}}},
            {}},
        {"the first bone has it", twoBones, {{"leaf", "a", "long", 0.25F}}},
        {"an excluded bone is none", twoBones, {{"leaf", "a", "short", 0.5F}}, {"long"}},
        {"in a straight chain beside a bone, names say nothing",
            {{"a", "", {0, 0, 0}}, {"twist1", "a", {0.25F, 0, 0}}, {"twist2", "twist1", {0.5F, 0, 0}},
                {"b", "a", {1, 0, 0}}, {"c", "b", {1, 1, 0}}},
            {{"twist2", "a", "b", 0.5F}, {"twist1", "a", "b", 0.25F}}},
        {"the upper ones come first",
            {{"a", "", {0, 0, 0}}, {"p", "a", {0, 1, 0}}, {"pTwist", "p", {0, 2, 0}},
                {"pEnd", "pTwist", {1, 2, 0}}, {"q", "a", {0, -1, 0}}, {"leaf", "q", {0.5F, -1, 0}},
                {"qEnd", "q", {1, -1, 0}}, {"qTip", "qEnd", {1, -2, 0}}},
            {{"leaf", "q", "qEnd", 0.5F}, {"pTwist", "p", "pEnd", 0.5F}}},
    };
    for (const Case& each : cases) {
        const PlacedBody body(each.joints, each.excluded);
        const std::vector<velkori_TwistJointDefinition_> found = IdentifyTwistJoints(body.pose);
        ASSERT_EQ(found.size(), each.expected.size()) << each.rule;
        for (std::size_t i = 0; i < found.size(); ++i) {
            EXPECT_EQ(found[i].twistJointIndex, body.Find(each.expected[i].twist)) << each.rule;
            EXPECT_EQ(found[i].startJointIndex, body.Find(each.expected[i].start)) << each.rule;
            EXPECT_EQ(found[i].endJointIndex, body.Find(each.expected[i].end)) << each.rule;
            EXPECT_NEAR(found[i].ratio, each.expected[i].ratio, 1e-6F) << each.rule;
        }
        EXPECT_TRUE(IdentifyTwistJoints(PoseData(body.skeleton)).empty());
    }
}
