#include "core/SkeletonData.h"

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

TEST(SkeletonData, PathHoldsTheBonesBetweenTwoJoints) {
    const LogCapture capture;
    const SourceSkeletonData skeleton(TwoTrees());
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

TEST(SkeletonData, UpdateOrderIsBreadthFirstOverAllRoots) {
    const LogCapture capture;
    const SourceSkeletonData skeleton(TwoTrees());
    EXPECT_EQ(skeleton.GetRootJoints(), (Indices{0, 6}));
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), (Indices{0, 6, 1, 7, 2, 5, 3, 4}));
}

TEST(SkeletonData, AncestorsAndDescendants) {
    const LogCapture capture;
    const SourceSkeletonData skeleton(TwoTrees());
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

TEST(SkeletonData, AJointIsOneKnownJointAtMostAndNoIndexIsTooFar) {
    Params params = Chain(3);
    params.knownJointNames = Texts(12);
    params.knownJointNames[velkori_KnownJointType_Hips] = "1";
    params.knownJointNames[velkori_KnownJointType_Chest] = "1";
    params.knownJointNames[velkori_KnownJointType_Neck] = "nobody";
    const SourceSkeletonData skeleton(params);
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
        EXPECT_TRUE(skeleton.GetTPoseDimensionMask(static_cast<JointMappingType>(index)).empty());
    }
}

TEST(SkeletonData, LogsWhatValidationWouldHaveRefusedAndGoesOn) {
    const LogCapture capture;
    Params params;
    params.jointNames = {"a", "", "a", "b"};
    params.parentJointNames = {"", "", "nobody", "a"};
    params.blendShapeNames = {"smile", "smile"};
    params.autoMappingExcludedJoints = {"b", "nobody"};
    params.unscaledTPose.resize(2);
    const SourceSkeletonData skeleton(params);
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
    EXPECT_FALSE(skeleton.GetUnscaledTPose().IsInitialized()) << "a pose of another size is no pose";
}

TEST(SkeletonData, WalksEndOnCircularJoints) {
    Params params;
    params.jointNames = {"a", "b", "c", "d"};
    params.parentJointNames = {"b", "c", "a", "c"};
    const SourceSkeletonData skeleton(params);
    EXPECT_EQ(skeleton.GetRootJoints(), Indices{0});
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), (Indices{0, 2, 1, 3}));
    EXPECT_FALSE(skeleton.IsAncestorOfJointIndex(3, 0));
    EXPECT_LE(skeleton.GetAncestorsOfJointIndex(3, true).size(), 5U);
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(0, FastRangedIntegralSet<int>::EmptySet).size(), 3U);
    EXPECT_EQ(skeleton.GetConnectedPathBetweenJoints(3, 1), (Indices{3, 2, 0}));
}

TEST(SkeletonData, ChainsMayBeLong) {
    constexpr int Length = 100000;
    const SourceSkeletonData skeleton(Chain(Length));
    EXPECT_EQ(skeleton.GetHierarchicalUpdateOrder(), TestSkeletons::InOrder(Length));
    EXPECT_EQ(skeleton.GetConnectedPathBetweenJoints(Length - 1, 0).size(), Length - 1U);
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(Length - 1, false).size(), Length - 1U);
    EXPECT_EQ(
        skeleton.GetDescendantsOfJointIndex(0, FastRangedIntegralSet<int>::EmptySet).size(), Length - 1U);
}

TEST(SkeletonData, RestPosesByType) {
    const Params params = TestSkeletons::MakeBipedParams();
    const SourceSkeletonData source(params);
    const TargetSkeletonData target(params);
    const TargetSkeletonData poseless(Chain(3));
    const auto poseOf = [](const SkeletonData& skeleton, velkori_SkeletonTPoseType type) {
        return skeleton.GetTPoseData(type).GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative);
    };
    for (const int number : {-1, 0, 1, 2, 3, 4}) {
        const auto type = static_cast<velkori_SkeletonTPoseType>(number);
        const auto& ofSource = type == velkori_SkeletonTPoseType_Max ? params.maxTPose : params.minTPose;
        EXPECT_EQ(poseOf(source, type), ofSource) << number;
        EXPECT_EQ(poseOf(target, type),
            type == velkori_SkeletonTPoseType_Unscaled ? params.unscaledTPose : ofSource)
            << number;
        EXPECT_FALSE(poseless.GetTPoseData(type).IsInitialized());
    }
    EXPECT_EQ(poseless.GetTPoseDimensionMask(velkori_SkeletonType_Source), std::vector<Vector3f>(3));
}

TEST(SkeletonData, AnUnknownManifestationIsEmptyAndStandsForTheRestPose) {
    const SourceSkeletonData skeleton(MakeFullParams());
    const Manifestation& empty = skeleton.GetManifestation("nobody");
    EXPECT_TRUE(empty.IsValid());
    EXPECT_TRUE(empty.GetJointIndices().empty());
    EXPECT_EQ(std::ssize(empty.ConvertFromManifestationRootSpacePose({})), skeleton.GetJointCount());
    EXPECT_EQ(skeleton.GetManifestationJointCount("nobody"), 0);
    EXPECT_EQ(skeleton.GetManifestationJointCount("upper body"), 3);
    EXPECT_EQ(skeleton.GetManifestationNamesBufferSize(), sizeof("upper body") + sizeof("legs"));
}

TEST(SkeletonData, GivesItsParametersBack) {
    Params params = MakeFullParams();
    ExpectEqualParams(SourceSkeletonData(params).GenerateInitializationParams(true), params);
    params.unscaledTPose.clear();
    const SourceSkeletonData skeleton(params);
    ExpectEqualParams(skeleton.GenerateInitializationParams(false), params);
    const std::vector<JointPose> mid = skeleton.GenerateInitializationParams(true).unscaledTPose;
    ASSERT_EQ(mid.size(), params.jointNames.size());
    for (std::size_t i = 0; i < mid.size(); ++i) {
        const Vector3f expected = (params.minTPose[i].position + params.maxTPose[i].position) * 0.5F;
        EXPECT_LT((mid[i].position - expected).Length(), 1e-6F);
    }
    EXPECT_TRUE(SourceSkeletonData(Chain(2)).GenerateInitializationParams(true).unscaledTPose.empty());
}
