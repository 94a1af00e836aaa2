#include "core/ManifestationConverter.h"

#include "core/SkeletonData.h"
#include "support/AllocationCount.h"
#include "support/PoseMatchers.h"
#include "support/Rotations.h"
#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

using Names = std::vector<std::string>;

constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;

const Names Arm = {"rightUpperArm", "rightLowerArm", "rightWrist"};
const Names UpperBody = {"hips", "spine", "chest", "neck", "head", "rightShoulder", "rightUpperArm",
    "rightLowerArm", "rightWrist"};

// A body with one manifestation.
TargetSkeletonData BipedWith(const Names& part) {
    // All bones grow alike, so that every size of the body has the same bone directions.
    std::vector<TestSkeletons::Joint> joints = TestSkeletons::BipedJoints();
    for (TestSkeletons::Joint& joint : joints) {
        joint.minFactor = Vector3f::One * 0.8F;
        joint.maxFactor = Vector3f::One * 1.3F;
    }
    TestSkeletons::Params params =
        TestSkeletons::MakeBipedParams(joints, TestSkeletons::InOrder(joints.size()));
    params.manifestations.Insert("part", part);
    return TargetSkeletonData(params);
}

ManifestationConverter ConverterOf(const SkeletonData& skeleton, const char* name = "part") {
    return ManifestationConverter(skeleton.GetRestPoses(), skeleton.GetManifestation(name));
}

std::vector<JointPose> CutOut(const SkeletonData& skeleton, std::span<const JointPose> pose) {
    std::vector<JointPose> part;
    ConverterOf(skeleton).ConvertToManifestationPose(pose, Root, part);
    return part;
}

std::vector<JointPose> Expand(
    const SkeletonData& skeleton, std::span<const JointPose> part, const char* name = "part") {
    std::vector<JointPose> expanded;
    ConverterOf(skeleton, name).ConvertFromManifestationRootSpacePose(part, expanded);
    return expanded;
}

} // namespace

TEST(Manifestation, AGapBetweenMembersMakesItInvalid) {
    const std::pair<Names, bool> cases[] = {
        {UpperBody, true},
        {{"hips", "rightWrist"}, false},
        {{"hips", "spine", "neck"}, false},
        // The search starts at the first joint listed: what lies outside its part of the tree is no gap.
        {{"rightWrist", "hips"}, true},
        {{"rightUpperArm", "leftWrist"}, true},
        {{"head"}, true},
    };
    for (const auto& [joints, isValid] : cases) {
        const TargetSkeletonData skeleton = BipedWith(joints);
        EXPECT_EQ(skeleton.GetManifestation("part").IsValid(), isValid) << joints.front();
    }
}

TEST(Manifestation, APartOfARestPoseExpandsToIt) {
    const JointPose moved(RotationOf({0.3F, 1.0F, -0.2F}), {1, 2, 3});
    for (const Names& joints : {UpperBody, Arm, Names{"head"}}) {
        const TargetSkeletonData skeleton = BipedWith(joints);
        const std::vector<JointPose>& pose =
            skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max).GetJointPoses(Root);
        // Of one joint no size can be told, which counts as the largest.
        std::vector<JointPose> partPose = CutOut(skeleton, pose);
        ExpectNear(Expand(skeleton, partPose), pose, 1e-3F);
        // Turned and moved as a whole, the body comes along.
        for (JointPose& joint : partPose) {
            joint = moved.ApplyWithoutScale(joint);
        }
        const std::vector<JointPose> expanded = Expand(skeleton, partPose);
        for (std::size_t i = 0; i < expanded.size(); ++i) {
            ExpectNear(expanded[i].position, moved.ApplyWithoutScale(pose[i]).position, 1e-2F);
        }
    }
}

TEST(Manifestation, AnInvalidOrUnknownOneGivesARestPose) {
    const TargetSkeletonData skeleton = BipedWith({"hips", "rightWrist"});
    const std::vector<JointPose>& unscaled = skeleton.GetUnscaledTPose().GetJointPoses(Root);
    const std::vector<JointPose> anything(2);
    EXPECT_EQ(Expand(skeleton, anything), unscaled);
    std::vector<JointPose> untouched = anything;
    ConverterOf(skeleton).ConvertManifestationPoseJointSpace(
        untouched, Root, velkori_JointRelativeSpaceType_Local);
    EXPECT_EQ(untouched, anything);
    EXPECT_TRUE(skeleton.GetManifestation("").GetJointIndices().empty());
    EXPECT_EQ(Expand(skeleton, {}, ""), unscaled);
}

TEST(Manifestation, SpacesLeadToEachOtherAndBack) {
    const TargetSkeletonData skeleton = BipedWith(UpperBody);
    ManifestationConverter part = ConverterOf(skeleton);
    const std::vector<JointPose> pose =
        CutOut(skeleton, skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max).GetJointPoses(Root));
    for (const auto space :
        {velkori_JointRelativeSpaceType_Local, velkori_JointRelativeSpaceType_RootOriginRelativeScaled,
            velkori_JointRelativeSpaceType_LocalScaled}) {
        std::vector<JointPose> converted = pose;
        part.ConvertManifestationPoseJointSpace(converted, Root, space);
        part.ConvertManifestationPoseJointSpace(converted, space, Root);
        ExpectNear(converted, pose, 1e-5F);
    }
    // The hips' parent is no member: they stay in root space. The spine is relative to them.
    std::vector<JointPose> local = pose;
    part.ConvertManifestationPoseJointSpace(local, Root, velkori_JointRelativeSpaceType_Local);
    EXPECT_EQ(local[0], pose[0]);
    EXPECT_NEAR(local[1].position.Length(), (pose[1].position - pose[0].position).Length(), 1e-5F);
}

TEST(Manifestation, ConvertingFrameAfterFrameAllocatesNothing) {
    const TargetSkeletonData skeleton = BipedWith(UpperBody);
    ManifestationConverter part = ConverterOf(skeleton);
    const std::vector<JointPose>& pose =
        skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max).GetJointPoses(Root);
    std::vector<JointPose> partPose;
    std::vector<JointPose> expanded;
    const auto work = [&] {
        part.ConvertToManifestationPose(pose, velkori_JointRelativeSpaceType_Local, partPose);
        part.ConvertManifestationPoseJointSpace(partPose, velkori_JointRelativeSpaceType_Local, Root);
        part.ConvertFromManifestationRootSpacePose(partPose, expanded);
    };
    work();
    EXPECT_EQ(CountAllocations(work), 0U);
}
