#include "core/LimbClassification.h"

#include "core/SkeletonData.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <map>

using namespace Velkori_Utility;

namespace {

using Params = SkeletonInitializationParams;
using Names = std::vector<std::string>;

FastRangedIntegralMap<HumanoidLimb, FastRangedIntegralSet<int>> SortIntoLimbs(const SkeletonData& skeleton) {
    FastRangedIntegralMap<HumanoidLimb, std::vector<int>> chains;
    return AutoMapping::ClassifyJointsByLimb(skeleton, chains);
}

// Limbs that hold no joint are left out.
std::map<int, Names> JointsByLimb(const SkeletonData& skeleton) {
    std::map<int, Names> namesByLimb;
    for (const auto& [limb, joints] : SortIntoLimbs(skeleton)) {
        for (const int joint : joints) {
            EXPECT_EQ(skeleton.GetLimb(joint), limb);
            namesByLimb[limb].push_back(skeleton.GetJointName(joint));
        }
    }
    return namesByLimb;
}

Names ChainOf(const SkeletonData& skeleton, HumanoidLimb limb) {
    Names names;
    for (const int joint : skeleton.GetJointChainByHumanoidLimb(limb)) {
        names.push_back(skeleton.GetJointName(joint));
    }
    return names;
}

// A body without poses: joints can be put in and known joints taken away.
Params Body() {
    Params params = TestSkeletons::MakeBipedParams();
    params.minTPose.clear();
    params.maxTPose.clear();
    params.unscaledTPose.clear();
    return params;
}

void PutBetween(Params& params, const std::string& name, const std::string& parent, const Names& children) {
    params.jointNames.push_back(name);
    params.parentJointNames.push_back(parent);
    for (std::size_t i = 0; i < params.jointNames.size(); ++i) {
        if (std::find(children.begin(), children.end(), params.jointNames[i]) != children.end()) {
            params.parentJointNames[i] = name;
        }
    }
}

std::map<int, Names> LimbsOfBody() {
    return {
        {HumanoidLimb_Root, {"root", "hips"}},
        {HumanoidLimb_Spine, {"spine", "chest"}},
        {HumanoidLimb_Neck, {"neck"}},
        {HumanoidLimb_Head, {"head"}},
        {HumanoidLimb_LeftArm, {"leftShoulder", "leftUpperArm", "leftLowerArm", "leftWrist"}},
        {HumanoidLimb_RightArm, {"rightShoulder", "rightUpperArm", "rightLowerArm", "rightWrist"}},
        {HumanoidLimb_LeftLeg, {"leftUpperLeg", "leftLowerLeg", "leftAnkle"}},
        {HumanoidLimb_RightLeg, {"rightUpperLeg", "rightLowerLeg", "rightAnkle"}},
        {HumanoidLimb_LeftHand, {"leftFinger"}},
        {HumanoidLimb_RightHand, {"rightFinger"}},
        {HumanoidLimb_LeftFoot, {"leftToes"}},
        {HumanoidLimb_RightFoot, {"rightToes"}},
    };
}

} // namespace

TEST(LimbClassification, SortsABody) {
    const SourceSkeletonData skeleton(Body());
    EXPECT_EQ(JointsByLimb(skeleton), LimbsOfBody());
    EXPECT_EQ(ChainOf(skeleton, HumanoidLimb_Root), Names{"hips"}) << "a way down doesn't hold its start";
    EXPECT_EQ(ChainOf(skeleton, HumanoidLimb_LeftArm), LimbsOfBody()[HumanoidLimb_LeftArm]);
    EXPECT_EQ(ChainOf(skeleton, HumanoidLimb_RightHand), Names{"rightFinger"});
    EXPECT_EQ(SortIntoLimbs(skeleton).ToKeyVector().size(), 13U) << "every limb has a set";
}

TEST(LimbClassification, WhatSiblingLimbsShareRisesToTheLimbAbove) {
    Params params = Body();
    PutBetween(params, "collar", "chest", {"leftShoulder", "rightShoulder"});
    PutBetween(params, "upperChest", "chest", {"collar", "neck"});
    PutBetween(params, "pelvis", "hips", {"leftUpperLeg", "rightUpperLeg"});
    PutBetween(params, "hand", "leftWrist", {"leftFinger"});
    const SourceSkeletonData skeleton(params);

    std::map<int, Names> expected = LimbsOfBody();
    expected[HumanoidLimb_Spine] = {"spine", "chest", "upperChest", "collar"};
    expected[HumanoidLimb_Root] = {"root", "hips", "pelvis"};
    expected[HumanoidLimb_LeftHand] = {"hand", "leftFinger"};
    EXPECT_EQ(JointsByLimb(skeleton), expected);
    // The chains stay whole.
    EXPECT_EQ(ChainOf(skeleton, HumanoidLimb_Neck), (Names{"upperChest", "neck"}));
    for (const HumanoidLimb arm : {HumanoidLimb_LeftArm, HumanoidLimb_RightArm}) {
        Names chain = LimbsOfBody()[arm];
        chain.insert(chain.begin(), {"upperChest", "collar"});
        EXPECT_EQ(ChainOf(skeleton, arm), chain);
    }
}

TEST(LimbClassification, WithoutItsKnownJointsALimbIsEmptyAndItsJointsAreOfNone) {
    Params params = Body();
    params.knownJointNames[velkori_KnownJointType_LeftWrist].clear();
    std::map<int, Names> expected = LimbsOfBody();
    expected.erase(HumanoidLimb_LeftArm);
    expected.erase(HumanoidLimb_LeftHand);
    expected[HumanoidLimb_Invalid] = {
        "leftShoulder", "leftUpperArm", "leftLowerArm", "leftWrist", "leftFinger"};
    EXPECT_EQ(JointsByLimb(SourceSkeletonData(params)), expected);
    params.knownJointNames.clear();
    EXPECT_EQ(JointsByLimb(SourceSkeletonData(params)),
        (std::map<int, Names>{{HumanoidLimb_Invalid, params.jointNames}}));
}

// Down from the neck lies the right arm, too, when it hangs there: it is the head's before it is an arm.
TEST(LimbClassification, LimbsThatAreNoSiblingsKeepWhatTheyHave) {
    Params params = Body();
    const auto shoulder = std::find(params.jointNames.begin(), params.jointNames.end(), "rightShoulder");
    params.parentJointNames[shoulder - params.jointNames.begin()] = "neck";
    std::map<int, Names> expected = LimbsOfBody();
    expected[HumanoidLimb_Head] = {
        "head", "rightShoulder", "rightUpperArm", "rightLowerArm", "rightWrist", "rightFinger"};
    // The right arm's way leads through the neck, which is its sibling's.
    expected.erase(HumanoidLimb_Neck);
    expected[HumanoidLimb_Spine] = {"spine", "chest", "neck"};
    expected.erase(HumanoidLimb_RightArm);
    expected.erase(HumanoidLimb_RightHand);
    EXPECT_EQ(JointsByLimb(SourceSkeletonData(params)), expected);
}

TEST(LimbClassification, EveryJointIsInOneLimbWhereverTheKnownJointsSit) {
    std::mt19937 random(5);
    for (int round = 0; round < 200; ++round) {
        Params params = TestSkeletons::MakeRandomTreeParams(random, 40, 2);
        const std::vector<int> joints = TestSkeletons::Shuffled(params.jointNames.size(), random);
        params.knownJointNames.resize(12);
        for (int i = 0; i < 12; ++i) {
            params.knownJointNames[i] = random() % 4 == 0 ? "" : params.jointNames[joints[i]];
        }
        const SourceSkeletonData skeleton(params);
        std::vector<int> memberships(params.jointNames.size());
        for (const auto& [limb, members] : SortIntoLimbs(skeleton)) {
            for (const int joint : members) {
                ++memberships[joint];
            }
        }
        EXPECT_EQ(memberships, std::vector<int>(params.jointNames.size(), 1));
        for (const auto& [limb, ends] : LimbToKnownJointChains) {
            const bool endsInLeaves = ends.second == velkori_KnownJointType_Invalid;
            if (limb != HumanoidLimb_Invalid &&
                (skeleton.GetJointIndex(ends.first) == -1 ||
                    (!endsInLeaves && skeleton.GetJointIndex(ends.second) == -1))) {
                EXPECT_TRUE(skeleton.GetJointChainByHumanoidLimb(limb).empty()) << "without its known joints";
            }
        }
        const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
        const bool hasRootLimb = !skeleton.GetJointChainByHumanoidLimb(HumanoidLimb_Root).empty();
        EXPECT_EQ(skeleton.GetLimb(root) == HumanoidLimb_Root, hasRootLimb);
    }
}
