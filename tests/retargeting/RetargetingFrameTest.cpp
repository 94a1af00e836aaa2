#include "retargeting/DirtyJointQueue.h"
#include "retargeting/MappedHierarchy.h"
#include "retargeting/MappingInfo.h"
#include "retargeting/OrientationFixup.h"
#include "retargeting/TwistBlending.h"
#include "support/AllocationCount.h"
#include "support/MovingBody.h"
#include "support/PoseMatchers.h"
#include "support/Rotations.h"
#include "support/Samples.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

// A chain along x: a at 0, b at 1, c at 2, and a leaf d beside b.
TestSkeletons::Params Chain() {
    return TestSkeletons::MakeParams(
        {{"a", -1, {0, 0, 0}}, {"b", 0, {1, 0, 0}}, {"c", 1, {1, 0, 0}}, {"d", 0, {1, 1, 0}}}, {0, 1, 2, 3});
}

// A configuration over two such chains with the given mappings at both ends of the size range.
UtilityConfigInitializationParams ChainConfig(const std::vector<SerializedJointMapping>& mappings) {
    const CoordinateSpace space(VELKORI_DEFAULT_COORDINATE_SPACE);
    return {"chain", Configuration(space, velkori_RetargetingBehaviorFlags_None), Chain(), Chain(), mappings,
        mappings};
}

SerializedJointMapping Mapping(int target, JointMappingType type, JointMappingBehaviorType behavior,
    const std::vector<int>& entryJoints) {
    SerializedJointMapping mapping = {target, type, behavior, {}};
    for (const int joint : entryJoints) {
        mapping.entries.push_back({joint, 0.5F, 0.5F});
    }
    return mapping;
}

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto Normal = velkori_JointMappingBehaviorType_Normal;
constexpr auto Twist = velkori_JointMappingBehaviorType_Twist;
constexpr auto IKDerived = velkori_JointMappingBehaviorType_IKDerived;

} // namespace

TEST(RetargetingFrame, AllocatesNothingAfterTheFirstOfItsKind) {
    const LoadedConfig config(ReadSample("full.json"));
    const MovingBody body(config.Get(), 0.4F);
    const std::vector<Transforms> frames = {body.Frame(0.0F), body.Frame(0.3F), body.Frame(0.6F)};
    std::vector<int32_t> members(100);
    auto memberCount = static_cast<int32_t>(members.size());
    ASSERT_EQ(velkori_getJointsInManifestation(
                  config.Get(), velkori_SkeletonType_Source, "upperBody", members.data(), &memberCount),
        velkori_Result_Success);
    Transforms result(200);
    for (const char* part : {static_cast<const char*>(nullptr), "upperBody"}) {
        for (int kind = 0; kind < 4 * 2 * 4 * 3; ++kind) {
            const velkori_RetargetingBehaviorInfo_ info = {
                static_cast<velkori_JointRelativeSpaceType>(kind / 8 % 4),
                static_cast<velkori_RetargetingBehavior>(kind % 4),
                static_cast<velkori_RetargetingRootMotionBehavior>(kind / 32),
                static_cast<velkori_RetargetingBehaviorFlags>(kind / 4 % 2)};
            const auto retarget = [&](const Transforms& frame) {
                Transforms& input = const_cast<Transforms&>(frame);
                auto count = static_cast<int32_t>(result.size());
                ASSERT_EQ(velkori_retargetFromSourceFrameData(config.Get(), info, input.data(),
                              part == nullptr ? static_cast<int32_t>(frame.size()) : memberCount,
                              result.data(), &count, part, part),
                    velkori_Result_Success);
            };
            retarget(frames[0]);
            EXPECT_EQ(CountAllocations([&] {
                retarget(frames[1]);
                retarget(frames[2]);
            }),
                0U)
                << "kind " << kind << (part == nullptr ? "" : part);
        }
    }
}

TEST(DirtyJointQueue, AJointThatComesAgainKeepsItsPlace) {
    DirtyJointQueue queue(6);
    for (const int joint : {4, 2, 5}) {
        queue.Insert(joint);
    }
    EXPECT_TRUE(queue.Remove(2));
    EXPECT_FALSE(queue.Remove(2));
    EXPECT_EQ(queue.Take(), 4);
    queue.Insert(2);
    queue.Insert(0);
    queue.Insert(4);
    for (const int expected : {4, 2, 5, 0, -1}) {
        EXPECT_EQ(queue.Take(), expected);
    }
    queue.Clear();
    queue.Insert(2);
    queue.Insert(4);
    EXPECT_EQ(queue.Take(), 2) << "clearing forgets the places";
}

TEST(MappedHierarchy, EveryJointKnowsItsMappedNeighbours) {
    const UtilityConfigData config(ChainConfig({Mapping(0, Source, Normal, {0}),
        Mapping(2, Source, Normal, {2}), Mapping(1, Source, Twist, {1}), Mapping(3, Target, Normal, {0})}));
    const auto records = GenerateMappedAncestorDescendantData(config, Source);
    // b lies halfway between a and c: its twist mapping doesn't count as one.
    EXPECT_EQ(records[1].mappedAncestor, 0);
    EXPECT_EQ(records[1].mappedDescendants, std::vector<int>{2});
    EXPECT_FLOAT_EQ(records[1].ancestorRatio, 0.5F);
    EXPECT_EQ(records[0].mappedDescendants, std::vector<int>{2});
    EXPECT_EQ(records[0].mappedAncestor, -1);
    EXPECT_EQ(records[3].mappedAncestor, 0);
    EXPECT_EQ(records[3].ancestorRatio, 0.0F);
    EXPECT_EQ(GenerateMappedAncestorDescendantData(config, Target)[3].mappedAncestor, -1);

    // Of several on one bone only the nearest counts.
    const UtilityConfigData everyJoint(ChainConfig(
        {Mapping(0, Source, Normal, {0}), Mapping(1, Source, Normal, {1}), Mapping(2, Source, Normal, {2})}));
    const auto neighbours = GenerateMappedAncestorDescendantData(everyJoint, Source);
    EXPECT_EQ(neighbours[0].mappedDescendants, std::vector<int>{1});
    EXPECT_EQ(neighbours[1].mappedDescendants, std::vector<int>{2});
    EXPECT_EQ(neighbours[2].mappedAncestor, 1);
}

TEST(MappedHierarchy, NoJointIsUpdatedBeforeOneThatItReads) {
    struct Case {
        std::vector<SerializedJointMapping> mappings;
        std::vector<int> order;
    };

    const Case cases[] = {
        {{Mapping(1, Source, Normal, {1})}, {}},
        // b reads d, which the hierarchy puts behind it; c hangs on b.
        {{Mapping(1, Target, Normal, {3}), Mapping(3, Target, Normal, {0})}, {0, 3, 1, 2}},
        // IK-derived joints come last, children first.
        {{Mapping(1, Target, IKDerived, {0}), Mapping(2, Target, IKDerived, {0}),
             Mapping(3, Target, Twist, {0})},
            {0, 3, 2, 1}},
        // Of two that read each other, b moves behind d and then d behind b, where the sweep leaves them.
        {{Mapping(1, Target, Normal, {3}), Mapping(3, Target, Normal, {1})}, {0, 1, 3, 2}},
    };
    for (const Case& each : cases) {
        const UtilityConfigData config(ChainConfig(each.mappings));
        EXPECT_EQ(GenerateUpdateOrderFromMappedAncestorDescendantData(
                      config, GenerateMappedAncestorDescendantData(config, Target)),
            each.order);
    }
    const UtilityConfigData config(
        ChainConfig({Mapping(1, Source, IKDerived, {1}), Mapping(3, Source, IKDerived, {1})}));
    EXPECT_EQ(GenerateIKDerivedJointMappingUpdateOrder(config, Source), (std::vector<int>{3, 1}));
}

TEST(BlendPoses, OfEqualPosesKeepsUnitRotationsAndNormalisesOthers) {
    // A squared length of 1 + 8e-6, which counts as 1.
    const JointPose unit(Quaternionf(0.6F, 0, 0, 0.800005F), {1, 2, 3});
    EXPECT_EQ(BlendPoses(unit, unit, 0.3F), unit);
    const JointPose twice(Quaternionf(0, 1.2F, 0, 1.6F), {1, 2, 3}, {2, 2, 2});
    const JointPose blended = BlendPoses(twice, twice, 0.3F);
    EXPECT_EQ(blended, JointPose(twice.orientation.Normalize(), twice.position, twice.scale));
    EXPECT_NEAR(blended.orientation.LengthSquared(), 1.0F, 1e-6F);
}

TEST(TwistBlending, TakesTheRollAndStaysOnTheBone) {
    const TargetSkeletonData skeleton(Chain());
    const std::vector<JointPose> pose = {{Quaternionf(), {0, 0, 0}}, {Quaternionf(), {1, 0, 0}},
        {Quaternionf(), {2, 0, 0}}, {Quaternionf(), {1, 1, 0}}};
    const JointPose current = pose[1];
    // The mapping rolls b by 0.8 about its bone, swings it by 0.5 and moves it off the bone.
    const Quaternionf roll = RotationOf({0.8F, 0, 0});
    const Quaternionf swing = RotationOf({0, 0, 0.5F});
    const JointPose mapped(swing * roll, {0.6F, 0.3F, 0}, {2, 2, 2});

    const auto blend = [&](JointMappingBehaviorType behavior, int joint, const JointPose& seated) {
        return ApplyTwistBlendToJoint(behavior, joint, skeleton, pose, seated, mapped);
    };
    // Aligned to the child, the bone starts at the joint itself.
    for (const auto behavior : {Twist, velkori_JointMappingBehaviorType_ChildAlignedTwist}) {
        const JointPose result = blend(behavior, 1, current);
        EXPECT_LT(AngleBetween(result.orientation, roll), 1e-5F);
        ExpectNear(result.position, {0.6F, 0, 0}, 1e-6F);
        EXPECT_EQ(result.scale, Vector3f::One) << "the scale is the seated one";
    }
    // A joint without a parent has no bone; one at its parent's position keeps its orientation.
    EXPECT_EQ(blend(Twist, 0, current), mapped);
    const JointPose boneless = blend(Twist, 1, pose[0]);
    EXPECT_EQ(boneless.orientation, pose[0].orientation);
    EXPECT_EQ(boneless.position, mapped.position);
}

TEST(OrientationFixup, TurnsBonesToTheirChildren) {
    const TargetSkeletonData skeleton(Chain());
    const std::vector<JointPose> rest = {{Quaternionf(), {0, 0, 0}}, {Quaternionf(), {1, 0, 0}},
        {Quaternionf(), {1, 0, 0}}, {Quaternionf(), {1, 1, 0}}};
    // c has moved up beside b, without b having turned.
    std::vector<JointPose> pose = {{Quaternionf(), {0, 0, 0}}, {Quaternionf(), {1, 0, 0}},
        {Quaternionf(), {1, 1, 0}}, {Quaternionf(), {1, 1, 0}}};
    OrientationFixup fixup(skeleton);
    fixup.Apply(rest, FastRangedIntegralSet<int>(0, 3, {3}), pose);
    const Quaternionf quarter = RotationOf({0, 0, 1.5707964F});
    EXPECT_LT(AngleBetween(pose[1].orientation, quarter), 1e-5F);
    EXPECT_EQ(pose[1].position, Vector3f(1, 0, 0));
    EXPECT_EQ(pose[2], (JointPose{Quaternionf(), {1, 1, 0}})) << "the child stays";
    // Of a's children only b leads on, and it lies where it lay.
    EXPECT_LT(AngleBetween(pose[0].orientation, Quaternionf()), 1e-6F);
}

TEST(OrientationFixup, ExcludedJointsFollowACorrectedParent) {
    const TargetSkeletonData skeleton(TestSkeletons::MakeParams(
        {{"a", -1, {0, 0, 0}}, {"b", 0, {1, 0, 0}}, {"c", 1, {1, 0, 0}}}, {0, 1, 2}));
    const std::vector<JointPose> rest = {
        {Quaternionf(), {0, 0, 0}}, {Quaternionf(), {1, 0, 0}}, {Quaternionf(), {1, 0, 0}}};
    const std::vector<JointPose> upright = {
        {Quaternionf(), {0, 0, 0}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 2, 0}}};
    // The root makes a quarter turn, from x to where its child is; b and c go with it.
    OrientationFixup fixup(skeleton);
    std::vector<JointPose> pose = upright;
    fixup.Apply(rest, FastRangedIntegralSet<int>(0, 2, {1, 2}), pose);
    const Quaternionf quarter = RotationOf({0, 0, 1.5707964F});
    for (int joint = 0; joint < 3; ++joint) {
        EXPECT_LT(AngleBetween(pose[joint].orientation, quarter), 1e-5F);
        ExpectNear(pose[joint].position, {static_cast<float>(-joint), 0, 0}, 1e-5F);
    }
    // Nothing of that is left in the next frame, in which the root stays and b turns.
    pose = upright;
    fixup.Apply(rest, FastRangedIntegralSet<int>(0, 2, {0, 2}), pose);
    EXPECT_EQ(pose[0], upright[0]);
    EXPECT_LT(AngleBetween(pose[1].orientation, quarter), 1e-5F);
    EXPECT_EQ(pose[1].position, upright[1].position);
}

TEST(OrientationFixup, AJointThatForksStays) {
    const TargetSkeletonData skeleton(
        TestSkeletons::MakeParams({{"a", -1, {0, 0, 0}}, {"b", 0, {1, 0, 0}}, {"c", 1, {1, 0, 0}},
                                      {"d", 0, {0, 1, 0}}, {"e", 3, {0, 1, 0}}},
            TestSkeletons::InOrder(5)));
    const std::vector<JointPose> rest = {{Quaternionf(), {0, 0, 0}}, {Quaternionf(), {1, 0, 0}},
        {Quaternionf(), {1, 0, 0}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 1, 0}}};
    const std::vector<JointPose> moved = {{Quaternionf(), {0, 0, 0}}, {Quaternionf(), {0, 0, 1}},
        {Quaternionf(), {1, 0, 1}}, {Quaternionf(), {0, 1, 0}}, {Quaternionf(), {0, 2, 0}}};
    OrientationFixup fixup(skeleton);
    std::vector<JointPose> pose = moved;
    fixup.Apply(rest, FastRangedIntegralSet<int>(0, 4, FastRangedIntegralSet<int>::EmptyInitialValues), pose);
    EXPECT_EQ(pose[0], moved[0]) << "b and d both lead on";
    pose = moved;
    fixup.Apply(rest, FastRangedIntegralSet<int>(0, 4, {3}), pose);
    // Without d there is one way, to b: from x to z, a quarter turn against the sense of y.
    EXPECT_LT(AngleBetween(pose[0].orientation, RotationOf({0, -1.5707964F, 0})), 1e-5F);
}
