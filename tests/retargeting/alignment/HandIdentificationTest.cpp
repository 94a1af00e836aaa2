#include "retargeting/alignment/HandIdentification.h"

#include "support/PlacedHands.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;
using Alignment::FingerData;
using Alignment::HandData;

namespace {

using Names = std::vector<std::string>;

Names NamesOf(const PlacedBody& body, const FingerData& finger) {
    Names names;
    for (const int joint : finger.joints) {
        names.push_back(body.skeleton.GetJointName(joint));
    }
    return names;
}

Names FirstJoints(const PlacedBody& body, const HandData& hand) {
    Names names;
    for (const FingerData& finger : hand.fingers) {
        names.push_back(NamesOf(body, finger).front());
    }
    return names;
}

bool FindHand(const PlacedBody& body, HumanoidLimb limb, HandData& hand) {
    return Alignment::IdentifyFingersFromSkeleton(body.skeleton,
        body.rest.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative),
        body.rest.GetJointLengths(), limb, hand);
}

HandData Identify(const PlacedBody& body, HumanoidLimb limb = HumanoidLimb_RightHand) {
    HandData hand;
    EXPECT_TRUE(FindHand(body, limb, hand));
    EXPECT_EQ(hand.limb, limb);
    return hand;
}

// Hangs joints, all in one place, beneath the right wrist.
PlacedBody MakeHand(
    const std::vector<std::pair<std::string, std::string>>& namesAndParents, const Names& excluded = {}) {
    PlacedJoints joints = TrunkAndArms();
    for (const auto& [name, parent] : namesAndParents) {
        joints.push_back({name, parent, {0.8F, 1.4F, 0}});
    }
    return PlacedBody(joints, excluded);
}

} // namespace

// With right along +x and up along +y, the rest pose's own forward axis is -z.
TEST(HandIdentification, FingersAreSortedAlongForward) {
    PlacedJoints joints = TrunkAndArms() + RightFinger("ring", {{0.1F, 0, -0.02F}}) +
                          RightFinger("thumb", {{0.03F, 0, 0.06F}}) +
                          RightFinger("index", {{0.11F, 0, 0.01F}});
    const PlacedBody body(joints);
    const HandData hand = Identify(body);
    EXPECT_EQ(FirstJoints(body, hand), (Names{"thumb0", "index0", "ring0"}));
    ExpectNear(hand.center, RightWristPosition + Vector3f(0.08F, 0, 0.05F / 3), 1e-6F);
    ExpectNear(hand.acrossDirection, Vector3f(0.07F, 0, -0.08F).Normalize(), 1e-6F);

    for (PlacedJoint& joint : joints) {
        joint.position.x = -joint.position.x;
    }
    const PlacedBody mirrored(joints);
    EXPECT_EQ(FirstJoints(mirrored, Identify(mirrored)), (Names{"ring0", "index0", "thumb0"}));
}

TEST(HandIdentification, AFingersPoseIsTheMeanOfItsJointsAndLooksAlongIt) {
    const PlacedBody body(
        TrunkAndArms() + RightFinger("bent", {{0.1F, 0, 0.2F}, {0.03F, 0, 0}, {0, 0, 0.03F}}) +
        RightFinger("short", {{0, 0, -0.1F}}) + RightFinger("upright", {{0.1F, 0, 0}, {0, 0.1F, 0}}));
    const HandData hand = Identify(body);
    const auto expectLooks = [](const FingerData& finger, const Vector3f& direction) {
        ExpectNear(
            finger.pose.orientation.Rotate(Vector3f::Identity_forward_LH), direction.Normalize(), 1e-3F);
        EXPECT_NEAR(finger.pose.orientation.LengthSquared(), 1.0F, 1e-5F);
    };
    ASSERT_EQ(hand.fingers.size(), 3U);
    ExpectNear(hand.fingers[0].pose.position, RightWristPosition + Vector3f(0.12F, 0, 0.21F), 1e-6F);
    expectLooks(hand.fingers[0], {1, 0, 1});
    expectLooks(hand.fingers[1], {0, 1, 0});
    expectLooks(hand.fingers[2], {0, 0, -1});
}

TEST(HandIdentification, WristExtensionsArePassedByUnlessTheHandNeverBranches) {
    const PlacedBody branching =
        MakeHand({{"carpus", "rightWrist"}, {"palm", "carpus"}, {"a", "palm"}, {"b", "palm"}});
    const HandData hand = Identify(branching);
    EXPECT_EQ(hand.handJoint, branching.Find("palm"));
    EXPECT_EQ(FirstJoints(branching, hand), (Names{"a", "b"}));

    const PlacedBody chain = MakeHand({{"a", "rightWrist"}, {"b", "a"}, {"c", "b"}});
    const HandData mitten = Identify(chain);
    EXPECT_EQ(mitten.handJoint, chain.Find("rightWrist"));
    ASSERT_EQ(mitten.fingers.size(), 1U);
    EXPECT_EQ(NamesOf(chain, mitten.fingers[0]), (Names{"a", "b", "c"}));
    EXPECT_EQ(mitten.acrossDirection, Vector3f::Zero);
}

TEST(HandIdentification, AFingerFollowsTheFirstBranchThatGoesOn) {
    struct Case {
        std::vector<std::pair<std::string, std::string>> beneathFinger;
        Names excluded;
        Names expected;
    };

    const Case cases[] = {
        {{{"leaf", "f"}, {"on", "f"}, {"end", "on"}, {"other", "f"}, {"x", "other"}}, {}, {"f", "on", "end"}},
        {{{"leaf", "f"}, {"last", "f"}}, {}, {"f", "last"}},
        {{{"leaf", "f"}, {"gone", "f"}, {"on", "f"}, {"end", "on"}}, {"gone"}, {"f", "leaf"}},
        {{{"gone", "f"}, {"on", "f"}, {"end", "on"}}, {"gone"}, {"f"}},
    };
    for (const Case& c : cases) {
        auto joints = c.beneathFinger;
        joints.insert(joints.begin(), {{"other finger", "rightWrist"}, {"f", "rightWrist"}});
        const PlacedBody body = MakeHand(joints, c.excluded);
        const HandData hand = Identify(body);
        ASSERT_EQ(hand.fingers.size(), 2U);
        EXPECT_EQ(NamesOf(body, hand.fingers[1]), c.expected);
    }
}

// By the lengths of a finger's bones, the first of which ends at its first joint.
TEST(HandIdentification, AFingerThatBeginsInThePalmHasAShortFirstBone) {
    struct Case {
        std::vector<float> lengths;
        bool asFirstFinger;
        bool asOtherFinger;
    };

    const Case cases[] = {
        {{0.1F, 0.061F, 0.02F, 0.02F}, true, true},
        {{0.1F, 0.02F, 0.061F, 0.02F}, true, true},
        {{0.1F, 0.02F, 0.02F, 0.061F}, false, true},
        {{0.1F, 0.059F, 0.059F, 0.059F, 0.1F}, false, false},
        {{0.1F, 0.061F, 0.02F}, true, false},
        {{0.1F, 0.061F}, false, false},
    };
    for (const Case& c : cases) {
        // The second finger, which lies behind the first along forward, has the same bones.
        std::vector<Vector3f> bones;
        for (const float length : c.lengths) {
            bones.push_back(Vector3f::Identity_right_LH * length);
        }
        PlacedJoints other = RightFinger("other", bones);
        for (PlacedJoint& joint : other) {
            joint.position.z -= 1e-5F;
        }
        const HandData hand = Identify(PlacedBody(TrunkAndArms() + RightFinger("first", bones) + other));
        EXPECT_EQ(hand.fingers.at(0).hasPalmJoint, c.asFirstFinger) << ::testing::PrintToString(c.lengths);
        EXPECT_EQ(hand.fingers.at(1).hasPalmJoint, c.asOtherFinger) << ::testing::PrintToString(c.lengths);
    }
    const HandData noPalm = Identify(PlacedBody(
        TrunkAndArms() + RightFinger("f", {{}, Vector3f::Identity_right_LH, Vector3f::Identity_right_LH})));
    EXPECT_FALSE(noPalm.fingers.at(0).hasPalmJoint) << "a first bone without length";
}

TEST(HandIdentification, ExcludedJointsAreNoFingersAndAHandWithoutAnyIsInvalid) {
    const std::vector<std::pair<std::string, std::string>> joints = {
        {"a", "rightWrist"}, {"b", "rightWrist"}};
    const PlacedBody body = MakeHand(joints, {"a"});
    HandData hand = Identify(body);
    EXPECT_EQ(FirstJoints(body, hand), Names{"b"});
    EXPECT_TRUE(FindHand(body, HumanoidLimb_RightHand, hand));
    EXPECT_EQ(FirstJoints(body, hand), Names{"b"}) << "a second call starts afresh";

    const PlacedBody fingerless = MakeHand(joints, {"a", "b"});
    const PlacedBody withoutChest(
        {{"hips", ""}, {"rightWrist", "hips"}, {"leftWrist", "hips"}, {"a", "rightWrist"}});
    const PlacedBody empty({});
    const std::pair<const PlacedBody*, HumanoidLimb> failing[] = {{&fingerless, HumanoidLimb_RightHand},
        {&withoutChest, HumanoidLimb_RightHand}, {&empty, HumanoidLimb_RightHand},
        {&body, HumanoidLimb_LeftHand}, {&body, HumanoidLimb_RightFoot}};
    for (const auto& [each, limb] : failing) {
        HandData used = hand;
        EXPECT_FALSE(FindHand(*each, limb, used));
        EXPECT_FALSE(used.IsValid());
        EXPECT_TRUE(used.fingers.empty());
        EXPECT_EQ(used.limb, HumanoidLimb_Invalid);
        EXPECT_EQ(used.center, Vector3f::Zero);
    }
}
