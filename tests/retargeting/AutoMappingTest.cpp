#include "retargeting/MappingGeneration.h"
#include "retargeting/TwistJointIdentification.h"
#include "support/PlacedBody.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

using namespace Velkori_Utility;

namespace {

constexpr auto None = velkori_AutoMappingFlags_None;

// "twist: start -> end, ratio in hundredths", in the order found.
std::vector<std::string> FoundTwists(
    const PlacedJoints& joints, const std::vector<std::string>& excluded = {}) {
    const PlacedBody body(joints, excluded);
    const auto name = [&](int joint) { return body.skeleton.GetJointName(joint); };
    std::vector<std::string> found;
    for (const auto& [twist, start, end, ratio] : AutoMapping::IdentifyTwistJoints(body.pose)) {
        found.push_back(name(twist) + ": " + name(start) + " -> " + name(end) + ", " +
                        std::to_string(std::lround(ratio * 100)));
    }
    return found;
}

using Texts = std::vector<std::string>;

// "target <- joint rotation/position ...", weights in hundredths; "*" before a joint of the target's own.
Texts Describe(
    const PlacedBody& source, const PlacedBody& target, const std::vector<SerializedJointMapping>& mappings) {
    const char* const behaviors[] = {"", " twist", " childAlignedTwist", " ikDerived"};
    Texts texts;
    for (const SerializedJointMapping& mapping : mappings) {
        const bool isSource = mapping.type == velkori_SkeletonType_Source;
        std::string text =
            target.skeleton.GetJointName(mapping.targetJointIndex) + " <-" + behaviors[mapping.behavior];
        for (const velkori_JointMappingEntry_& entry : mapping.entries) {
            text += " " +
                    (isSource ? source.skeleton.GetJointName(entry.jointIndex)
                              : "*" + target.skeleton.GetJointName(entry.jointIndex)) +
                    " " + std::to_string(std::lround(entry.rotationWeight * 100)) + "/" +
                    std::to_string(std::lround(entry.positionWeight * 100));
        }
        texts.push_back(text);
    }
    return texts;
}

Texts Generate(const PlacedBody& source, const PlacedBody& target, velkori_AutoMappingFlags flags = None) {
    return Describe(source, target, AutoMapping::GenerateJointMappings(source.pose, target.pose, flags));
}

// A body of 2 m whose left arm is stretched out sideways; every bone is 30 cm and more.
PlacedJoints Body() {
    return {{"root", "", {0, 0, 0}}, {"hips", "root", {0, 1, 0}}, {"chest", "hips", {0, 1.5F, 0}},
        {"neck", "chest", {0, 1.8F, 0}}, {"head", "neck", {0, 2, 0}},
        {"leftUpperArm", "chest", {-0.3F, 1.5F, 0}}, {"leftElbow", "leftUpperArm", {-0.6F, 1.5F, 0}},
        {"leftWrist", "leftElbow", {-0.9F, 1.5F, 0}}};
}

} // namespace

TEST(TwistJoints, AreFoundByTheirNameWhereverTheyLie) {
    // Behind the start the ratio is negative, beyond the end it is 1.
    EXPECT_EQ(
        FoundTwists({{"a", "", {0, 0, 0}}, {"ArmTWIST1", "a", {-0.5F, 0, 0}}, {"b", "ArmTWIST1", {1, 0, 0}}}),
        Texts{"ArmTWIST1: a -> b, -50"});
    EXPECT_EQ(FoundTwists({{"a", "", {0, 0, 0}}, {"twist", "a", {3, 1, 0}}, {"b", "twist", {1, 0, 0}}}),
        Texts{"twist: a -> b, 100"});
    // Neither a root nor a leaf, nor one that is excluded, with all that hangs on it.
    EXPECT_TRUE(FoundTwists({{"twist", "", {0, 0, 0}}, {"b", "twist", {1, 0, 0}}}).empty());
    EXPECT_TRUE(FoundTwists({{"a", "", {0, 0, 0}}, {"twist", "a", {1, 0, 0}}}).empty());
    const PlacedJoints nested = {{"a", "", {0, 0, 0}}, {"stop", "a", {1, 0, 0}}, {"twist", "stop", {2, 0, 0}},
        {"b", "twist", {3, 0, 0}}};
    EXPECT_EQ(FoundTwists(nested), Texts{"twist: stop -> b, 50"});
    EXPECT_TRUE(FoundTwists(nested, {"stop"}).empty());
}

TEST(TwistJoints, AreFoundBesideABoneOnItsLine) {
    const auto beside = [](const Vector3f& place) {
        return PlacedJoints{{"a", "", {0, 0, 0}}, {"leaf", "a", place}, {"b", "a", {1, 0, 0}},
            {"c1", "b", {2, 1, 0}}, {"c2", "b", {2, -1, 0}}};
    };
    EXPECT_EQ(FoundTwists(beside({0.5F, 0, 0})), Texts{"leaf: a -> b, 50"});
    // 2.4 and 2.6 degrees off; as far as the bone's end is too far.
    EXPECT_EQ(FoundTwists(beside({0.5F, 0.020956F, 0})).size(), 1U);
    EXPECT_TRUE(FoundTwists(beside({0.5F, 0.022705F, 0})).empty());
    EXPECT_TRUE(FoundTwists(beside({1, 0, 0})).empty());
    // A straight chain to a leaf counts as leaves, the last one first; a bent one goes on.
    const PlacedJoints chain = {{"a", "", {0, 0, 0}}, {"t1", "a", {0.25F, 0, 0}}, {"t2", "t1", {0.5F, 0, 0}},
        {"b", "a", {1, 0, 0}}, {"c", "b", {1, 1, 0}}};
    EXPECT_EQ(FoundTwists(chain), (Texts{"t2: a -> b, 50", "t1: a -> b, 25"}));
    EXPECT_EQ(FoundTwists(chain, {"t1"}), Texts{}) << "a chain that begins with an excluded joint is none";
    EXPECT_EQ(FoundTwists(chain, {"t2"}), Texts{"t1: a -> b, 25"});
}

TEST(MappingGeneration, EqualBodiesMapOneToOne) {
    const PlacedBody body(Body());
    EXPECT_EQ(Generate(body, body),
        (Texts{"root <- root 100/100", "hips <- hips 100/100", "chest <- chest 100/100",
            "neck <- neck 100/100", "leftUpperArm <- leftUpperArm 100/100", "head <- head 100/100",
            "leftElbow <- leftElbow 100/100", "leftWrist <- leftWrist 100/100",
            // The wrist's twist is carried up an arm without twist joints.
            "leftElbow <- childAlignedTwist *leftWrist 75/0 *leftElbow 25/0",
            "leftUpperArm <- childAlignedTwist *leftElbow 50/0 *leftUpperArm 50/0"}));
    EXPECT_EQ(Generate(body, body, velkori_AutoMappingFlags_SkipTwistMappings).size(), 8U);
}

// The radius is the mean bone, but at most 0.15 of the height from hips to head: 15 cm.
TEST(MappingGeneration, NearJointsAreWeightedByNearnessAndLimb) {
    // The target's elbow is between two joints of the source's arm, 5 and 10 cm off: the weights are as 2
    // to 1.
    PlacedJoints between = Body();
    between[6].position.x = -0.65F;
    const PlacedBody target(between);
    PlacedJoints sourceJoints = Body();
    sourceJoints[7] = {"forearm", "leftElbow", {-0.75F, 1.5F, 0}};
    const PlacedBody source(sourceJoints + PlacedJoints{{"leftWrist", "forearm", {-0.95F, 1.5F, 0}}});
    const Texts texts = Generate(source, target, velkori_AutoMappingFlags_SkipTwistMappings);
    EXPECT_EQ(texts[6], "leftElbow <- leftElbow 67/67 forearm 33/33");

    // What is as near but far along the skeleton, here two thirds of a metre by the chest, has no share.
    const PlacedBody withBelt(Body() + PlacedJoints{{"belt", "chest", {-0.65F, 1.5F, 0.1F}}});
    EXPECT_EQ(Generate(withBelt, target, velkori_AutoMappingFlags_SkipTwistMappings)[6],
        "leftElbow <- leftElbow 100/100");
    // A share below 7.5 percent is dropped, and the others are scaled up: 1 cm against 14.
    PlacedJoints veryNear = Body();
    veryNear[6].position.x = -0.64F;
    const PlacedBody nearSource(veryNear + PlacedJoints{{"second", "leftElbow", {-0.65F, 1.5F, 0.14F}}});
    EXPECT_EQ(Generate(nearSource, target, velkori_AutoMappingFlags_SkipTwistMappings)[6],
        "leftElbow <- leftElbow 100/100 second 0/0");
}

TEST(MappingGeneration, AHeadNeedsItsCounterpartAndOtherLimbsFallBackToTheirChain) {
    PlacedJoints joints = Body();
    // Neither is near anything: the head stays unmapped, the elbow follows its place on the arm.
    joints[4].position = {0, 2, 0.25F};
    joints[6].position = {-0.6F, 1.5F, 0.5F};
    const Texts texts =
        Generate(PlacedBody(Body()), PlacedBody(joints), velkori_AutoMappingFlags_SkipTwistMappings);
    EXPECT_EQ(
        std::count_if(texts.begin(), texts.end(), [](const std::string& t) { return t.starts_with("head"); }),
        0);
    EXPECT_NE(std::find(texts.begin(), texts.end(), "leftElbow <- leftElbow 100/0"), texts.end());
    EXPECT_TRUE(AutoMapping::GenerateJointMappings(
        PoseData(PlacedBody(Body()).skeleton), PlacedBody(Body()).pose, None)
                    .empty());
}

TEST(MappingGeneration, TwistJointsLieBetweenTheEndsOfTheirBone) {
    const PlacedBody target(
        Body() + PlacedJoints{{"leftTwist", "leftUpperArm", {-0.4F, 1.5F, 0}},
                     {"thumb", "leftWrist", {-1, 1.4F, 0}}, {"index", "leftWrist", {-1, 1.5F, 0}}});
    Texts texts = Generate(target, target);
    texts.erase(texts.begin(), texts.begin() + 10);
    EXPECT_EQ(texts, Texts{"leftTwist <- twist *leftUpperArm 67/67 *leftElbow 33/33"})
        << "and the arm has no chain";
    EXPECT_EQ(Generate(target, target, velkori_AutoMappingFlags_SkipTwistMappings).size(), 10U);
}

// Both legs alike, but the right one's chain is looked for under another limb.
TEST(MappingGeneration, ARightLegGetsNoChain) {
    PlacedJoints legs = Body();
    for (const std::string side : {"left", "right"}) {
        const float x = side == "left" ? -0.1F : 0.1F;
        legs = legs + PlacedJoints{{side + "UpperLeg", "hips", {x, 0.9F, 0}},
                          {side + "Knee", side + "UpperLeg", {x, 0.5F, 0}},
                          {side + "Ankle", side + "Knee", {x, 0.1F, 0}}};
    }
    const PlacedBody body(legs);
    Texts texts = Generate(body, body);
    std::erase_if(
        texts, [](const std::string& text) { return text.find("childAligned") == std::string::npos; });
    ASSERT_EQ(texts.size(), 4U);
    EXPECT_EQ(texts[2], "leftKnee <- childAlignedTwist *leftAnkle 75/0 *leftKnee 25/0");
    EXPECT_EQ(texts[3], "leftUpperLeg <- childAlignedTwist *leftKnee 50/0 *leftUpperLeg 50/0");
}
