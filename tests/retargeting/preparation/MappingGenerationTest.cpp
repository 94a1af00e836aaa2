#include "retargeting/preparation/MappingGeneration.h"

#include "support/PlacedBiped.h"

#include <gtest/gtest.h>

#include <map>
#include <span>

using namespace Velkori_Utility;
using AutoMapping::GenerateJointMappings;

namespace {

constexpr Vector3f Up = Vector3f::Identity_up_LH;
constexpr auto SkipTwist = velkori_AutoMappingFlags_SkipTwistMappings;

// 10 m from the hips to the head, so that the radius is at most 1.5 m; for upper arm, finger and tail it is
// their mean bone, 1 m. The tail belongs to no limb.
PlacedBody Target() {
    return PlacedBody({{"root", "", {0, 0, 0}}, {"hips", "root", {0, 1, 0}}, {"chest", "hips", {0, 2, 0}},
        {"neck", "chest", {0, 3, 0}}, {"head", "neck", {0, 11, 0}}, {"leftUpperArm", "chest", {-1, 2, 0}},
        {"leftWrist", "leftUpperArm", {-2, 2, 0}}, {"finger", "leftWrist", {-3, 2, 0}},
        {"tail", "hips", {0, 1, -1}}});
}

// Out of any reach, but for the joints that are given by where they are from `origin`.
PlacedBody SourceAround(const Vector3f& origin, const std::map<std::string, Vector3f>& offsets,
    const std::vector<std::string>& excluded, bool armsShareTheirFirstJoint) {
    PlacedJoints joints = {{"root", ""}, {"hips", "root"}, {"chest", "hips"}, {"leftCollar", "chest"},
        {"leftElbow", "leftCollar"}, {"leftWrist", "leftElbow"}, {"finger", "leftWrist"}, {"tail", "hips"}};
    if (armsShareTheirFirstJoint) {
        joints.push_back({"rightWrist", "leftCollar"});
    }
    for (PlacedJoint& joint : joints) {
        const auto offset = offsets.find(joint.name);
        joint.position = offset != offsets.end() ? origin + offset->second : Vector3f(0, 0, 100);
    }
    return PlacedBody(joints, excluded);
}

struct Entry {
    std::string joint;
    float rotation = 0.0F;
    float position = 0.0F;
};

void ExpectEntries(const PlacedBody& skeletonOfEntries, const SerializedJointMapping& mapping,
    const std::vector<Entry>& expected, const char* rule) {
    ASSERT_EQ(mapping.entries.size(), expected.size()) << rule;
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(mapping.entries[i].jointIndex, skeletonOfEntries.Find(expected[i].joint)) << rule;
        EXPECT_NEAR(mapping.entries[i].rotationWeight, expected[i].rotation, 1e-5F) << rule;
        EXPECT_NEAR(mapping.entries[i].positionWeight, expected[i].position, 1e-5F) << rule;
    }
}

const SerializedJointMapping* FindMapping(
    const std::vector<SerializedJointMapping>& mappings, int targetJoint) {
    const auto found = std::ranges::find(mappings, targetJoint, &SerializedJointMapping::targetJointIndex);
    return found == mappings.end() ? nullptr : &*found;
}

// Half a metre off weighs 1 / 0.5 = 2, 80 cm off 1.25: of their sum, 8 and 5 thirteenths.
constexpr float Near = 8.0F / 13.0F;
constexpr float Far = 5.0F / 13.0F;

struct Case {
    const char* rule;
    std::string targetJoint;
    std::map<std::string, Vector3f> offsets;
    // None: the joint has no mapping.
    std::vector<Entry> expected;
    std::vector<std::string> excluded{};
    bool armsShareTheirFirstJoint = false;
};

void ExpectWeighed(std::span<const Case> cases) {
    const PlacedBody target = Target();
    for (const Case& each : cases) {
        const PlacedBody source = SourceAround(target.PoseOf(each.targetJoint, target.pose).position,
            each.offsets, each.excluded, each.armsShareTheirFirstJoint);
        const auto mappings = GenerateJointMappings(source.rest, target.rest, Up, SkipTwist);
        const SerializedJointMapping* mapping = FindMapping(mappings, target.Find(each.targetJoint));
        ASSERT_EQ(mapping != nullptr, !each.expected.empty()) << each.rule;
        if (mapping != nullptr) {
            ExpectEntries(source, *mapping, each.expected, each.rule);
        }
    }
}

} // namespace

TEST(MappingGeneration, EqualBodiesMapOneToOneAndCarryTheTwistUpTheirLimbs) {
    const PlacedBody body(PlacedBiped());
    const auto mappings = GenerateJointMappings(body.rest, body.rest, Up, velkori_AutoMappingFlags_None);
    const std::vector<int>& order = body.skeleton.GetHierarchicalUpdateOrder();
    ASSERT_EQ(mappings.size(), order.size() + 6);
    for (std::size_t i = 0; i < order.size(); ++i) {
        EXPECT_EQ(mappings[i].targetJointIndex, order[i]);
        ExpectEntries(body, mappings[i], {{body.skeleton.GetJointName(order[i]), 1, 1}}, "one to one");
    }

    struct ChainMapping {
        std::string joint;
        std::string below;
        float share = 0.0F;
    };

    // Both legs are alike, but the right one's chain is looked for under another limb.
    const ChainMapping chains[] = {{"leftElbow", "leftWrist", 0.75F}, {"leftUpperArm", "leftElbow", 0.5F},
        {"rightElbow", "rightWrist", 0.75F}, {"rightUpperArm", "rightElbow", 0.5F},
        {"leftKnee", "leftAnkle", 0.75F}, {"leftUpperLeg", "leftKnee", 0.5F}};
    for (std::size_t i = 0; i < std::size(chains); ++i) {
        const auto& [joint, below, share] = chains[i];
        const SerializedJointMapping& mapping = mappings[order.size() + i];
        EXPECT_EQ(mapping.targetJointIndex, body.Find(joint));
        EXPECT_EQ(mapping.type, velkori_SkeletonType_Target);
        EXPECT_EQ(mapping.behavior, velkori_JointMappingBehaviorType_ChildAlignedTwist);
        ExpectEntries(body, mapping, {{below, share, 0}, {joint, 1 - share, 0}}, "chain");
    }
    EXPECT_EQ(GenerateJointMappings(body.rest, body.rest, Up, SkipTwist).size(), order.size());
    EXPECT_TRUE(GenerateJointMappings(RestPose(body.skeleton, {}), body.rest, Up, SkipTwist).empty());
}

TEST(MappingGeneration, WeighsSourceJointsByNearnessAndLimb) {
    const Case cases[] = {
        // 1.7 m along the skeleton are within 1 + 0.8 m from the arm's joint, not within 1 + 0.5 m from the
        // chest.
        {"a joint of the limb is best before a nearer one that came earlier, which has its share of the "
         "place",
            "leftUpperArm",
            {{"chest", {0.5F, 0, 0}}, {"leftCollar", {-0.15F, 0.547723F, 0}}, {"leftElbow", {-0.8F, 0, 0}}},
            {{"chest", 0, Near}, {"leftElbow", 1, Far}}, {"leftCollar"}},
        // The collar is too far along the skeleton from the finger. It comes back as the first of its chain.
        {"a nearer joint that comes later is best, whatever its limb", "leftUpperArm",
            {{"leftCollar", {-0.8F, 0, 0}}, {"leftElbow", {-0.8F, 0.2F, 0}}, {"leftWrist", {0.5F, 0.2F, 0}},
                {"finger", {0.5F, 0, 0}}},
            {{"leftCollar", 0.5F, 0}, {"finger", 0.5F, 1}}, {"leftElbow", "leftWrist"}},
        {"the counterpart on the chain gets its share of the place too, if it is near", "leftUpperArm",
            {{"chest", {0.8F, 0, 0}}, {"leftCollar", {0.5F, 0, 0}}},
            {{"leftCollar", 1, Near}, {"chest", 0, Far}}, {}, true},
        {"hands don't look along their chain", "finger",
            {{"chest", {0.5F, 0, 0}}, {"leftCollar", {0.8F, 0, 0}}},
            {{"chest", 0, Near}, {"leftCollar", 0, Far}}},
        {"with none near, the counterpart on the chain drives the rotation alone", "leftUpperArm", {},
            {{"leftCollar", 1, 0}}},
        {"a head is driven by its very counterpart or not at all", "head", {{"chest", {0, 0, 0.5F}}}, {}},
    };
    ExpectWeighed(cases);
}

TEST(MappingGeneration, TakesExactMatchesAndDropsSmallShares) {
    const Case cases[] = {
        {"to belong to no limb is nothing in common", "tail",
            {{"hips", {0.8F, 0, 0}}, {"tail", {0.5F, 0, 0}}}, {{"hips", 0, Far}, {"tail", 0, Near}}},
        {"but for an exact match it is", "tail", {{"hips", {0, 0.001F, 0}}, {"tail", {0, 0.0049F, 0}}},
            {{"tail", 1, 1}}},
        {"the first exact match is taken, not the nearest", "leftUpperArm",
            {{"leftCollar", {0, 0.0049F, 0}}, {"leftElbow", {0, 0.001F, 0}}}, {{"leftCollar", 1, 1}}},
        {"just not exact", "leftUpperArm", {{"leftCollar", {0, 0.01F, 0}}, {"leftElbow", {0, -0.01F, 0}}},
            {{"leftCollar", 0.5F, 0.5F}, {"leftElbow", 0.5F, 0.5F}}},
        {"no weight is infinite, and beside a huge one others are dropped", "leftUpperArm",
            {{"chest", {0, 0, 0}}, {"leftElbow", {0.5F, 0, 0}}, {"leftCollar", {0.25F, 0, 0}}},
            {{"chest", 0, 1}, {"leftElbow", 1, 0}}, {"leftCollar"}},
        // 20 against 1.25.
        {"a share below 7.5 percent is dropped, and the others make up for it", "leftUpperArm",
            {{"leftCollar", {0.05F, 0, 0}}, {"leftElbow", {0.8F, 0, 0}}},
            {{"leftCollar", 1, 1}, {"leftElbow", 0, 0}}},
        {"the only one drives alone, wherever within the radius", "finger", {{"chest", {0, 0, 0.99F}}},
            {{"chest", 1, 1}}},
        {"beyond the radius is nothing", "finger", {{"chest", {0, 0, 1.01F}}}, {}},
    };
    ExpectWeighed(cases);
}

// Lying on its side the body is 3 m high: the radius is 45 cm.
TEST(MappingGeneration, MeasuresTheHeightAlongTheProcessesUp) {
    const PlacedBody target = Target();
    for (const float distance : {0.44F, 0.46F}) {
        const PlacedBody source = SourceAround({-3, 2, 0}, {{"chest", {0, 0, distance}}}, {}, false);
        const auto mappings = GenerateJointMappings(source.rest, target.rest, {-1, 0, 0}, SkipTwist);
        EXPECT_EQ(FindMapping(mappings, target.Find("finger")) != nullptr, distance < 0.45F);
    }
}

// A twist joint that belongs to no limb, of a bone that ends in the arm, is enough for the arm to have some.
// The head's counterpart is one, too, which leaves the head without.
TEST(MappingGeneration, TakesTheTwistJointsThatItIsGiven) {
    const PlacedBody target = Target();
    const velkori_TwistJointDefinition_ targetTwist = {
        target.Find("tail"), target.Find("hips"), target.Find("leftWrist"), -0.5F};
    const velkori_TwistJointDefinition_ sourceTwist = {target.Find("head"), 0, 0, 0};
    const auto mappings =
        GenerateJointMappings(target.rest, {&sourceTwist, 1}, target.rest, {&targetTwist, 1}, Up, {});
    std::vector<std::string> mapped;
    mapped.reserve(mappings.size());
    for (const SerializedJointMapping& mapping : mappings) {
        mapped.push_back(target.skeleton.GetJointName(mapping.targetJointIndex));
    }
    EXPECT_EQ(mapped, (std::vector<std::string>{
                          "root", "hips", "chest", "neck", "leftUpperArm", "leftWrist", "finger", "tail"}));
    EXPECT_EQ(mappings.back().type, velkori_SkeletonType_Target);
    EXPECT_EQ(mappings.back().behavior, velkori_JointMappingBehaviorType_Twist);
    ExpectEntries(target, mappings.back(), {{"hips", 1.5F, 1.5F}, {"leftWrist", -0.5F, -0.5F}}, "weights");
}
