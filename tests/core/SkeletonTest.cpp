#include "core/Skeleton.h"

#include "support/LogCapture.h"
#include "support/SkeletonParams.h"

#include <gtest/gtest.h>

#include <climits>
#include <tuple>

using namespace Velkori_Utility;

namespace {

using Params = SkeletonInitializationParams;
using Texts = std::vector<std::string>;
using Indices = std::vector<int>;

// Two trees and a joint whose parent isn't there.
//
//     0 root - 1 hips - 2 spine - 3 left        6 other - 7 otherChild        8 lost
//                     |         - 4 right
//                     - 5 leg
Params TwoTrees() {
    Params params;
    params.jointNames = {"root", "hips", "spine", "left", "right", "leg", "other", "otherChild", "lost"};
    params.parentJointNames = {"", "root", "hips", "spine", "spine", "hips", "", "other", "nobody"};
    return params;
}

Params Chain(int jointCount) {
    Params params;
    for (int i = 0; i < jointCount; ++i) {
        params.jointNames.push_back(std::to_string(i));
        params.parentJointNames.push_back(i == 0 ? "" : std::to_string(i - 1));
    }
    return params;
}

} // namespace

TEST(Skeleton, PathHoldsTheBonesBetweenTwoJoints) {
    const LogCapture capture;
    const Skeleton skeleton(TwoTrees());
    const std::tuple<int, int, Indices> cases[] = {
        {4, 1, {4, 2}},    // up, without the end
        {0, 3, {1, 2, 3}}, // down, without the start
        {5, 4, {5, 2, 4}}, // across, without the common parent
        {3, 7, {}},        // between two trees
        {2, 2, {}},
        {-1, 2, {}},
        {2, -1, {}},
        {9, 2, {}},
        {2, 9, {}},
        {INT_MIN, INT_MAX, {}},
    };
    for (const auto& [start, end, path] : cases) {
        EXPECT_EQ(skeleton.GetConnectedPathBetweenJoints(start, end), path) << start << " to " << end;
    }
}

TEST(Skeleton, UpdateOrderIsBreadthFirstOverAllRoots) {
    const LogCapture capture;
    const Skeleton skeleton(TwoTrees());
    EXPECT_EQ(skeleton.GetRootJoints(), (Indices{0, 6}));
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), (Indices{0, 6, 1, 7, 2, 5, 3, 4}));
}

TEST(Skeleton, AncestorsAndDescendants) {
    const LogCapture capture;
    const Skeleton skeleton(TwoTrees());
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(3, true), (Indices{3, 2, 1, 0}));
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(3, false), (Indices{2, 1, 0}));
    for (const int alone : {0, -5, 99}) {
        EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(alone, true), Indices{alone});
        EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(alone, false), Indices());
    }
    const auto& nowhere = FastRangedIntegralSet<int>::EmptySet;
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(0, nowhere), (Indices{1, 2, 5, 3, 4}));
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(0, {2, 2, {2}}), (Indices{1, 2, 5}));
    for (const int alone : {3, -1, 9}) {
        EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(alone, nowhere), Indices());
    }
    for (int joint = -2; joint < 11; ++joint) {
        const Indices ancestors = skeleton.GetAncestorsOfJointIndex(joint, false);
        for (int ancestor = -2; ancestor < 11; ++ancestor) {
            EXPECT_EQ(skeleton.IsAncestorOfJointIndex(ancestor, joint),
                std::find(ancestors.begin(), ancestors.end(), ancestor) != ancestors.end())
                << ancestor << " of " << joint;
        }
    }
}

TEST(Skeleton, AJointIsOneKnownJointAtMostAndNoIndexIsTooFar) {
    Params params = Chain(3);
    params.knownJointNames = Texts(12);
    params.knownJointNames[velkori_KnownJointType_Hips] = "1";
    params.knownJointNames[velkori_KnownJointType_Chest] = "1";
    params.knownJointNames[velkori_KnownJointType_Neck] = "nobody";
    const Skeleton skeleton(params);
    EXPECT_EQ(skeleton.GetJointIndex(velkori_KnownJointType_Hips), 1);
    EXPECT_EQ(skeleton.GetJointIndex(velkori_KnownJointType_Chest), -1);
    EXPECT_EQ(skeleton.GetJointIndex(velkori_KnownJointType_Neck), -1);
    const auto has = [&](std::vector<velkori_KnownJointType> knownJoints) {
        return skeleton.HasValidKnownJoints(knownJoints);
    };
    EXPECT_TRUE(has({}));
    EXPECT_TRUE(has({velkori_KnownJointType_Hips}));
    EXPECT_FALSE(has({velkori_KnownJointType_Hips, velkori_KnownJointType_Chest}));
    for (const int index : {-1, 3, INT_MIN, INT_MAX}) {
        EXPECT_EQ(skeleton.GetJointName(index), "");
        EXPECT_EQ(skeleton.GetBlendShapeName(index), "");
        EXPECT_EQ(skeleton.GetLimb(index), HumanoidLimb_Invalid);
        EXPECT_TRUE(skeleton.GetJointChainByHumanoidLimb(static_cast<HumanoidLimb>(index)).empty());
    }
}

TEST(Skeleton, LogsWhatValidationWouldHaveRefusedAndGoesOn) {
    const LogCapture capture;
    Params params;
    params.jointNames = {"a", "", "a", "b"};
    params.parentJointNames = {"", "", "nobody", "a"};
    params.blendShapeNames = {"smile", "smile"};
    params.autoMappingExcludedJoints = {"b", "nobody"};
    const Skeleton skeleton(params);
    EXPECT_EQ(LogCapture::TakeTexts(), (Texts{"[ERROR]: String in Name array cannot be an empty string",
                                           "[ERROR]: Duplicate name found in string array: \"a\"",
                                           "[ERROR]: Duplicate name found in string array: \"smile\"",
                                           "[ERROR]: Could not find Joint Parent named \"nobody\""}));
    EXPECT_EQ(skeleton.GetJointCount(), 4);
    EXPECT_EQ(*skeleton.GetJointNameToIndexMap().Find("a"), 0);
    EXPECT_EQ(*skeleton.GetJointNameToIndexMap().Find("b"), 3) << "refused names leave a gap";
    EXPECT_EQ(skeleton.GetJointNamesBufferSize(), 7U) << "refused names count";
    EXPECT_EQ(skeleton.GetBlendShapeNamesBufferSize(), 12U);
    EXPECT_EQ(skeleton.GetRootJoints(), (Indices{0, 1}));
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), (Indices{0, 1, 3}));
    EXPECT_EQ(skeleton.GetAutoMappingExcludedJoints().ToKeyVector(), (Indices{3, -1}));
}

TEST(Skeleton, WalksEndOnCircularJoints) {
    Params params;
    params.jointNames = {"a", "b", "c", "d"};
    params.parentJointNames = {"b", "c", "a", "c"};
    const Skeleton skeleton(params);
    EXPECT_EQ(skeleton.GetRootJoints(), Indices{0});
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), (Indices{0, 2, 1, 3}));
    EXPECT_FALSE(skeleton.IsAncestorOfJointIndex(3, 0));
    EXPECT_LE(skeleton.GetAncestorsOfJointIndex(3, true).size(), 5U);
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(0, FastRangedIntegralSet<int>::EmptySet).size(), 3U);
    EXPECT_EQ(skeleton.GetConnectedPathBetweenJoints(3, 1), (Indices{3, 2, 0}));
}

TEST(Skeleton, ChainsMayBeLong) {
    constexpr int Length = 100000;
    const Skeleton skeleton(Chain(Length));
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), TestSkeletons::InOrder(Length));
    EXPECT_EQ(skeleton.GetConnectedPathBetweenJoints(Length - 1, 0).size(), Length - 1U);
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(Length - 1, false).size(), Length - 1U);
    EXPECT_EQ(
        skeleton.GetDescendantsOfJointIndex(0, FastRangedIntegralSet<int>::EmptySet).size(), Length - 1U);
}
