#include "core/SkeletonData.h"

#include "support/SkeletonParams.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

using Params = SkeletonInitializationParams;

// Without rest poses.
Params Bare() {
    Params params;
    params.jointNames = {"a", "b"};
    params.parentJointNames = {"", "a"};
    return params;
}

} // namespace

TEST(SkeletonData, RestPosesByType) {
    const Params params = TestSkeletons::MakeBipedParams();
    const SourceSkeletonData source(params);
    const TargetSkeletonData target(params);
    const TargetSkeletonData poseless(Bare());
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
    EXPECT_EQ(poseless.GetRestPoses().GetMinDimensionMask(), std::vector<Vector3f>(2));
    Params wrong = params;
    wrong.unscaledTPose.pop_back();
    EXPECT_FALSE(TargetSkeletonData(wrong).GetUnscaledTPose().IsInitialized())
        << "a pose of another size is no pose";
}

TEST(SkeletonData, AnUnknownManifestationIsEmptyAndStandsForTheRestPose) {
    const SourceSkeletonData skeleton(MakeFullParams());
    const Manifestation& empty = skeleton.GetManifestation("nobody");
    EXPECT_TRUE(empty.IsValid());
    EXPECT_TRUE(empty.GetJointIndices().empty());
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
    EXPECT_TRUE(SourceSkeletonData(Bare()).GenerateInitializationParams(true).unscaledTPose.empty());
}
