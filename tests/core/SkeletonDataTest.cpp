#include "core/SkeletonData.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>
#include <optional>
#include <queue>
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

Params LargeTree(std::mt19937& random) {
    Params params = TestSkeletons::MakeRandomTreeParams(random, 500, 4);
    TestSkeletons::MakeUnreachable(params, random, 10);
    return params;
}

// Over bones in either direction, by breadth-first search; nothing where there is no way.
std::vector<std::optional<int>> DistancesFrom(const SkeletonData& skeleton, int start) {
    std::vector<std::optional<int>> distances(skeleton.GetJointCount());
    std::queue<int> open;
    distances[start] = 0;
    open.push(start);
    while (!open.empty()) {
        const int joint = open.front();
        open.pop();
        Indices neighbours = skeleton.GetChildJointIndexArray(joint);
        neighbours.push_back(skeleton.GetParentJointIndex(joint));
        for (const int neighbour : neighbours) {
            if (neighbour != -1 && !distances[neighbour]) {
                distances[neighbour] = *distances[joint] + 1;
                open.push(neighbour);
            }
        }
    }
    return distances;
}

// Where one gets from `start` by walking each joint's bone to its other end; -1 if a bone doesn't adjoin.
int WalkBones(const SkeletonData& skeleton, int start, const Indices& path) {
    int current = start;
    for (const int joint : path) {
        const int parent = skeleton.GetParentJointIndex(joint);
        if (current != joint && current != parent) {
            return -1;
        }
        current = current == joint ? parent : joint;
    }
    return current;
}

void ExpectEqual(const Params& actual, const Params& expected) {
    const auto entriesOf = [](const auto& map) { return std::vector(map.begin(), map.end()); };
    EXPECT_EQ(actual.blendShapeNames, expected.blendShapeNames);
    EXPECT_EQ(actual.jointNames, expected.jointNames);
    EXPECT_EQ(entriesOf(actual.jointNameToIndex), entriesOf(expected.jointNameToIndex));
    EXPECT_EQ(actual.parentJointNames, expected.parentJointNames);
    EXPECT_EQ(actual.knownJointNames, expected.knownJointNames);
    EXPECT_EQ(actual.autoMappingExcludedJoints, expected.autoMappingExcludedJoints);
    EXPECT_EQ(entriesOf(actual.manifestations), entriesOf(expected.manifestations));
    EXPECT_EQ(actual.minTPose, expected.minTPose);
    EXPECT_EQ(actual.maxTPose, expected.maxTPose);
    EXPECT_EQ(actual.unscaledTPose, expected.unscaledTPose);
}

Params FullParams() {
    Params params = TestSkeletons::MakeBipedParams();
    params.blendShapeNames = {"smile", "blink"};
    params.autoMappingExcludedJoints = {"rightToes", "head"};
    params.manifestations.Insert("upper body", {"hips", "spine", "chest"});
    params.manifestations.Insert("legs", {"leftLowerLeg", "leftUpperLeg"});
    return params;
}

// The whole way of a skeleton to a document's text and back.
Params ThroughText(const SkeletonData& skeleton, const JointPose& out, const JointPose& in) {
    JSONDocument document;
    const std::string text = ToText(skeleton.WriteToJSON(out, document.GetAllocator()));
    LogMsgMap messages;
    const LogCapture capture;
    Params params = Params::CreateFromJSON(messages, Parse(text), skeleton.GetSkeletonType(), in);
    EXPECT_TRUE(messages.empty()) << text;
    EXPECT_TRUE(params.CheckIsValid(messages)) << text;
    EXPECT_EQ(LogCapture::TakeTexts(), Texts()) << text;
    return params;
}

} // namespace

TEST(SkeletonData, PathHoldsTheBonesBetweenTwoJoints) {
    const LogCapture capture;
    const SourceSkeletonData skeleton(TwoTrees());

    struct Case {
        int start;
        int end;
        Indices path;
    };

    const Case cases[] = {
        {4, 1, {4, 2}},    // up, without the end
        {0, 3, {1, 2, 3}}, // down, without the start
        {3, 4, {3, 4}},    // across, without the common parent
        {3, 5, {3, 2, 5}},
        {5, 4, {5, 2, 4}},
        {3, 7, {}}, // between two trees
        {0, 6, {}},
        {8, 0, {}},
        {2, 2, {}},
        {-1, 2, {}},
        {2, -1, {}},
        {9, 2, {}},
        {2, 9, {}},
        {INT_MIN, INT_MAX, {}},
    };
    for (const Case& each : cases) {
        EXPECT_EQ(skeleton.GetConnectedPathBetweenJoints(each.start, each.end), each.path)
            << each.start << " to " << each.end;
    }
}

TEST(SkeletonData, PathIsTheShortestWayOnAnyTree) {
    const LogCapture capture;
    std::mt19937 random(7);
    for (int tree = 0; tree < 5; ++tree) {
        const SourceSkeletonData skeleton(LargeTree(random));
        for (int start = 0; start < skeleton.GetJointCount(); start += 37) {
            const auto distances = DistancesFrom(skeleton, start);
            for (int end = 0; end < skeleton.GetJointCount(); ++end) {
                Indices path = skeleton.GetConnectedPathBetweenJoints(start, end);
                ASSERT_EQ(static_cast<int>(path.size()), distances[end].value_or(0));
                ASSERT_EQ(WalkBones(skeleton, start, path), distances[end] ? end : start);
                std::reverse(path.begin(), path.end());
                ASSERT_EQ(skeleton.GetConnectedPathBetweenJoints(end, start), path);
            }
        }
    }
}

TEST(SkeletonData, UpdateOrderIsBreadthFirstOverAllRoots) {
    const LogCapture capture;
    std::mt19937 random(11);
    for (int tree = 0; tree < 20; ++tree) {
        const Params params = LargeTree(random);
        const SourceSkeletonData skeleton(params);
        const Indices& order = skeleton.GetHierarchicalUpdateOrder();
        // (depth, place of the parent, index), which has to rise from each joint to the next.
        std::map<int, std::tuple<int, int, int>> rank;
        std::tuple<int, int, int> last(-1, -1, -1);
        Indices branches;
        for (std::size_t i = 0; i < order.size(); ++i) {
            const int parent = skeleton.GetParentJointIndex(order[i]);
            ASSERT_TRUE(parent == -1 || rank.contains(parent)) << "a parent stands before its children";
            const int depth = parent == -1 ? 0 : std::get<0>(rank[parent]) + 1;
            const auto place = std::find(order.begin(), order.end(), parent) - order.begin();
            rank[order[i]] = {depth, parent == -1 ? 0 : static_cast<int>(place), order[i]};
            ASSERT_LT(last, rank[order[i]]);
            last = rank[order[i]];
            if (std::count(params.parentJointNames.begin(), params.parentJointNames.end(),
                    params.jointNames[order[i]]) >= 2) {
                branches.push_back(order[i]);
            }
        }
        EXPECT_EQ(skeleton.GetBranchJoints(), branches);
        // Complete: whoever isn't in it hangs, at some height, on the parent that isn't there.
        for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
            const int top = skeleton.GetAncestorsOfJointIndex(joint, true).back();
            EXPECT_EQ(rank.contains(joint), params.parentJointNames[top].empty());
        }
    }
    const SourceSkeletonData rootsOnly([] {
        Params params;
        params.jointNames = {"a", "b", "c"};
        params.parentJointNames = {"", "", ""};
        return params;
    }());
    EXPECT_EQ(rootsOnly.GetHierarchicalUpdateOrder(), (Indices{0, 1, 2}));
    EXPECT_EQ(rootsOnly.GetRootJoints(), (Indices{0, 1, 2}));
}

TEST(SkeletonData, AncestorsAndDescendants) {
    const LogCapture capture;
    const SourceSkeletonData skeleton(TwoTrees());
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(3, true), (Indices{3, 2, 1, 0}));
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(3, false), (Indices{2, 1, 0}));
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(0, true), Indices{0});
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(0, false), Indices());
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(-5, true), Indices{-5});
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(-5, false), Indices());
    EXPECT_EQ(skeleton.GetAncestorsOfJointIndex(99, true), Indices{99});

    const auto& nowhere = FastRangedIntegralSet<int>::EmptySet;
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(0, nowhere), (Indices{1, 2, 5, 3, 4}));
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(0, {2, 2, {2}}), (Indices{1, 2, 5}));
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(3, nowhere), Indices());
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(-1, nowhere), Indices());
    EXPECT_EQ(skeleton.GetDescendantsOfJointIndex(9, nowhere), Indices());

    for (int joint = -2; joint < 11; ++joint) {
        const Indices ancestors = skeleton.GetAncestorsOfJointIndex(joint, false);
        for (int ancestor = -2; ancestor < 11; ++ancestor) {
            EXPECT_EQ(skeleton.IsAncestorOfJointIndex(ancestor, joint),
                std::find(ancestors.begin(), ancestors.end(), ancestor) != ancestors.end())
                << ancestor << " of " << joint;
        }
    }
}

TEST(SkeletonData, LookupsAreSafeForAnyIndex) {
    const SourceSkeletonData skeleton(TestSkeletons::MakeBipedParams());
    for (const int index : {-1, skeleton.GetJointCount(), INT_MIN, INT_MAX}) {
        EXPECT_EQ(skeleton.GetJointName(index), "");
        EXPECT_EQ(skeleton.GetBlendShapeName(index), "");
        EXPECT_EQ(skeleton.GetParentJointIndex(index), -1);
        EXPECT_TRUE(skeleton.GetChildJointIndexArray(index).empty());
        EXPECT_EQ(skeleton.GetKnownJointType(index), velkori_KnownJointType_Invalid);
        EXPECT_EQ(skeleton.GetLimb(index), HumanoidLimb_Invalid);
        EXPECT_EQ(skeleton.GetJointIndex(static_cast<velkori_KnownJointType>(index)), -1);
        EXPECT_TRUE(skeleton.GetJointChainByHumanoidLimb(static_cast<HumanoidLimb>(index)).empty());
        EXPECT_TRUE(skeleton.GetTPoseDimensionMask(static_cast<JointMappingType>(index)).empty());
    }
    EXPECT_EQ(SkeletonData::GetIndexFromNameToIdxMap("hips", skeleton.GetJointNameToIndexMap(), -7), 1);
    EXPECT_EQ(SkeletonData::GetIndexFromNameToIdxMap("hip", skeleton.GetJointNameToIndexMap(), -7), -7);
    EXPECT_EQ(skeleton.ConvertJointNameArrayToJointIndexList(Texts{"hips", "", "hip", "root"}),
        (Indices{1, -1, -1, 0}));
}

TEST(SkeletonData, AJointIsOneKnownJointAtMostTheFirst) {
    Params params = TwoTrees();
    params.parentJointNames.back().clear();
    params.knownJointNames = Texts(12);
    params.knownJointNames[velkori_KnownJointType_Hips] = "hips";
    params.knownJointNames[velkori_KnownJointType_Chest] = "hips";
    params.knownJointNames[velkori_KnownJointType_Neck] = "nobody";
    const SourceSkeletonData skeleton(params);
    EXPECT_EQ(skeleton.GetJointIndex(velkori_KnownJointType_Hips), 1);
    EXPECT_EQ(skeleton.GetJointIndex(velkori_KnownJointType_Chest), -1);
    EXPECT_EQ(skeleton.GetJointIndex(velkori_KnownJointType_Neck), -1);
    EXPECT_EQ(skeleton.GetKnownJointType(1), velkori_KnownJointType_Hips);

    using Known = std::vector<velkori_KnownJointType>;
    EXPECT_TRUE(skeleton.HasValidKnownJoints(Known{velkori_KnownJointType_Hips}));
    EXPECT_FALSE(
        skeleton.HasValidKnownJoints(Known{velkori_KnownJointType_Hips, velkori_KnownJointType_Chest}));
    const SourceSkeletonData unknown(Chain(3));
    EXPECT_TRUE(unknown.HasValidKnownJoints(Known{}));
    EXPECT_FALSE(unknown.HasValidKnownJoints(Known{velkori_KnownJointType_Root}));
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
    const auto poseOf = [](const SkeletonData& skeleton, int type) {
        return skeleton.GetTPoseData(static_cast<velkori_SkeletonTPoseType>(type))
            .GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative);
    };
    for (const int type : {-1, 0, 1, 2, 3, 4}) {
        const auto& ofSource = type == 2 ? params.maxTPose : params.minTPose;
        EXPECT_EQ(poseOf(source, type), ofSource) << type;
        EXPECT_EQ(poseOf(target, type), type == 3 ? params.unscaledTPose : ofSource) << type;
    }
    EXPECT_TRUE(target.IsFullyConstructed());

    const TargetSkeletonData poseless(Chain(3));
    for (const int type : {1, 2, 3}) {
        EXPECT_FALSE(poseless.GetTPoseData(static_cast<velkori_SkeletonTPoseType>(type)).IsInitialized());
    }
    EXPECT_EQ(poseless.GetTPoseDimensionMask(velkori_SkeletonType_Source), std::vector<Vector3f>(3));
}

TEST(SkeletonData, ManifestationsByName) {
    const SourceSkeletonData skeleton(FullParams());
    EXPECT_EQ(skeleton.GetManifestationCount(), 2);
    EXPECT_EQ(skeleton.GetManifestationNamesBufferSize(), sizeof("upper body") + sizeof("legs"));
    EXPECT_EQ(skeleton.GetManifestationMap().begin()->first, "upper body");
    EXPECT_TRUE(skeleton.IsValidManifestation("legs"));
    EXPECT_FALSE(skeleton.IsValidManifestation("leg"));
    EXPECT_EQ(skeleton.GetManifestation("upper body").GetJointIndices(), (Indices{1, 2, 3}));
    EXPECT_EQ(skeleton.GetManifestationJointCount("upper body"), 3);
    EXPECT_EQ(skeleton.GetManifestationJointCount(""), 0);
}

TEST(SkeletonData, AnUnknownManifestationIsEmptyAndStandsForTheRestPose) {
    const SourceSkeletonData skeleton(FullParams());
    const Manifestation& empty = skeleton.GetManifestation("nobody");
    EXPECT_TRUE(empty.GetJointIndices().empty());
    EXPECT_TRUE(empty.IsValid());
    EXPECT_TRUE(empty.GenerateJointNameArray().empty());
    EXPECT_EQ(
        static_cast<int>(empty.ConvertFromManifestationRootSpacePose({}).size()), skeleton.GetJointCount());
}

TEST(SkeletonData, GivesItsParametersBack) {
    const Params params = FullParams();
    const SourceSkeletonData skeleton(params);
    ExpectEqual(skeleton.GenerateInitializationParams(false), params);
    ExpectEqual(skeleton.GenerateInitializationParams(true), params);

    Params unscaledMissing = params;
    unscaledMissing.unscaledTPose.clear();
    const SourceSkeletonData withoutUnscaled(unscaledMissing);
    ExpectEqual(withoutUnscaled.GenerateInitializationParams(false), unscaledMissing);
    const std::vector<JointPose> mid = withoutUnscaled.GenerateInitializationParams(true).unscaledTPose;
    ASSERT_EQ(mid.size(), params.jointNames.size());
    for (std::size_t i = 0; i < mid.size(); ++i) {
        const Vector3f expected = (params.minTPose[i].position + params.maxTPose[i].position) * 0.5F;
        EXPECT_LT((mid[i].position - expected).Length(), 1e-6F);
    }
    EXPECT_TRUE(SourceSkeletonData(Chain(2)).GenerateInitializationParams(true).unscaledTPose.empty());
}

TEST(SkeletonData, DocumentReadsBackTheSame) {
    Params singlePose = FullParams();
    singlePose.minTPose = singlePose.maxTPose = singlePose.unscaledTPose;
    Params rootsOnly;
    rootsOnly.jointNames = {"a", "b"};
    rootsOnly.jointNameToIndex.Insert("a", 0);
    rootsOnly.jointNameToIndex.Insert("b", 1);
    rootsOnly.parentJointNames = {"", ""};
    rootsOnly.knownJointNames.resize(12);
    std::mt19937 random(3);
    Params tree = TestSkeletons::MakeRandomTreeParams(random, 60, 3);
    tree.knownJointNames.resize(12);
    for (const Params& params : {FullParams(), singlePose, rootsOnly, tree}) {
        const SourceSkeletonData source(params);
        ExpectEqual(ThroughText(source, JointPose::Identity, JointPose::Identity), params);
        if (!params.unscaledTPose.empty()) {
            const TargetSkeletonData target(params);
            ExpectEqual(ThroughText(target, JointPose::Identity, JointPose::Identity), params);
        }
    }
}

TEST(SkeletonData, DocumentLeavesOutWhatIsEmpty) {
    JSONDocument document;
    JSONDocument::AllocatorType& allocator = document.GetAllocator();
    const auto textOf = [&](const Params& params) {
        return ToText(SourceSkeletonData(params).WriteToJSON(JointPose::Identity, allocator));
    };
    Params params = Chain(2);
    EXPECT_EQ(textOf(params), R"({"joints":["0","1"],"hierarchy":{"1":"0"}})");
    params.parentJointNames = {"", ""};
    params.manifestations.Insert("none", {});
    EXPECT_EQ(textOf(params), R"({"joints":["0","1"],"hierarchy":{"0":"","1":""}})");
    params.minTPose = params.maxTPose = std::vector<JointPose>(2);
    const std::string posed = textOf(params);
    for (const auto& [key, isThere] : {std::pair("tpose", false), {"tposeMin", true}, {"tposeMax", true}}) {
        EXPECT_EQ(posed.find("\"" + std::string(key) + "\"") != std::string::npos, isThere) << posed;
    }
    Params shapes;
    shapes.blendShapeNames = {"smile"};
    EXPECT_EQ(textOf(shapes), R"({"blendShapes":["smile"]})");
    EXPECT_EQ(textOf({}), "{}");
}

TEST(SkeletonData, DocumentHoldsPosesInTheSpaceAskedFor) {
    const Params params = FullParams();
    const SourceSkeletonData skeleton(params);
    // A quarter turn about y (z to x) after mirroring x, in centimetres: (x, y, z) to 100 (z, y, x).
    const JointPose out(
        Quaternionf(Vector3f(0, 0, 1), Vector3f(1, 0, 0)), Vector3f::Zero, Vector3f(-100, 100, 100));
    const std::vector<JointPose> written = ThroughText(skeleton, out, JointPose::Identity).maxTPose;
    for (std::size_t i = 0; i < written.size(); ++i) {
        const Vector3f& p = params.maxTPose[i].position;
        EXPECT_LT((written[i].position - Vector3f(p.z, p.y, p.x) * 100.0F).Length(), 1e-3F);
        EXPECT_EQ(written[i].scale, Vector3f::One);
    }
    // Exchanging two axes undoes itself, so the way back is the same turn and mirror, in metres.
    const JointPose in(out.orientation, Vector3f::Zero, Vector3f(-0.01F, 0.01F, 0.01F));
    const Params returned = ThroughText(skeleton, out, in);
    for (std::size_t i = 0; i < written.size(); ++i) {
        const JointPose& pose = returned.unscaledTPose[i];
        EXPECT_LT((pose.position - params.unscaledTPose[i].position).Length(), 1e-5F);
        const Quaternionf change = pose.orientation * params.unscaledTPose[i].orientation.Inverse();
        EXPECT_LT(change.ToRotationVector().Length(), 2e-3F);
    }
}
