// Every export that reads or fills a caller's array, with an array that ends where memory does: as large as
// the export asks for, and one element shorter.

#include "Velkori_Utility.h"
#include "support/GuardedArray.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

namespace {

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto LocalSpace = velkori_JointRelativeSpaceType_Local;

// Asks for the size, then fills an array of it, and one that is too short, which is refused.
template <typename Element>
void FillExactly(const char* name, const std::function<velkori_Result(Element*, int32_t*)>& fill) {
    int32_t needed = 0;
    ASSERT_EQ(fill(nullptr, &needed), velkori_Result_Success) << name;
    ASSERT_GT(needed, 0) << name;
    GuardedArray<Element> exact(needed);
    int32_t count = needed;
    EXPECT_EQ(fill(exact.Data(), &count), velkori_Result_Success) << name;
    GuardedArray<Element> tooShort(needed - 1);
    count = needed - 1;
    EXPECT_EQ(fill(tooShort.Data(), &count), velkori_Result_BufferTooSmall) << name;
}

} // namespace

TEST(GuardedBuffers, OfQueriesAreFilledToTheirEnd) {
    const LoadedConfig config(ReadSample("full.json"));
    const velkori_Handle handle = config.Get();
    const LogCapture capture;
    FillExactly<char>("config", [&](char* out, int32_t* count) {
        return velkori_writeConfigDataToJSON(handle, nullptr, out, count);
    });
    FillExactly<char>(
        "name", [&](char* out, int32_t* count) { return velkori_getConfigName(handle, out, count); });
    FillExactly<char>("blend shape",
        [&](char* out, int32_t* count) { return velkori_getBlendShapeName(handle, Target, 0, out, count); });
    FillExactly<char>("joint",
        [&](char* out, int32_t* count) { return velkori_getJointName(handle, Target, 0, out, count); });
    FillExactly<char>("blend shapes", [&](char* out, int32_t* count) {
        return velkori_getBlendShapeNames(handle, Target, out, count, nullptr, nullptr);
    });
    FillExactly<char>("joints", [&](char* out, int32_t* count) {
        return velkori_getJointNames(handle, Target, out, count, nullptr, nullptr);
    });
    FillExactly<char>("manifestations", [&](char* out, int32_t* count) {
        return velkori_getManifestationNames(handle, Source, out, count, nullptr, nullptr);
    });
    FillExactly<int32_t>("parents", [&](int32_t* out, int32_t* count) {
        return velkori_getParentJointIndexes(handle, Target, out, count);
    });
    FillExactly<int32_t>("mapped joints", [&](int32_t* out, int32_t* count) {
        return velkori_getSkeletonMappingTargetJoints(handle, out, count);
    });
    FillExactly<velkori_JointMapping_>("mappings", [&](velkori_JointMapping_* out, int32_t* count) {
        return velkori_getSkeletonMappings(handle, velkori_SkeletonTPoseType_Max, out, count);
    });
    FillExactly<velkori_JointMappingEntry_>("entries", [&](velkori_JointMappingEntry_* out, int32_t* count) {
        return velkori_getSkeletonMappingEntries(handle, velkori_SkeletonTPoseType_Max, out, count);
    });
    FillExactly<velkori_Transform_>("rest pose", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_getSkeletonTPose(
            handle, Target, velkori_SkeletonTPoseType_Max, LocalSpace, out, count);
    });
    FillExactly<velkori_Transform_>("calculated rest pose", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_calculateSkeletonTPose(handle, Target, LocalSpace, 0.3F, out, count);
    });
    FillExactly<velkori_Transform_>("rest pose at a height", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_calculateSkeletonTPoseAtHeight(handle, Target, RootSpace, 1.7F, out, count);
    });
    const std::string manifestation = "upperBody";
    FillExactly<int32_t>("manifestation", [&](int32_t* out, int32_t* count) {
        return velkori_getJointsInManifestation(handle, Source, manifestation.c_str(), out, count);
    });
}

TEST(GuardedBuffers, OfPosesAreReadAndWrittenToTheirEnd) {
    const LoadedConfig config(ReadSample("full.json"));
    const velkori_Handle handle = config.Get();
    const LogCapture capture;
    const MovingBody body(handle, 0.5F);
    GuardedArray<velkori_Transform_> rest(body.Rest());
    ASSERT_EQ(velkori_updateSourceReferenceTPose(handle, rest.Data(), rest.Count(), nullptr),
        velkori_Result_Success);
    GuardedArray<velkori_Transform_> frame(body.Frame(0.7F));
    const velkori_RetargetingBehaviorInfo_ info = {LocalSpace, velkori_RetargetingBehavior_MatchProportions,
        velkori_RetargetingRootMotionBehavior_RootFromHips,
        velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup};
    FillExactly<velkori_Transform_>("retargeting", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_retargetFromSourceFrameData(
            handle, info, frame.Data(), frame.Count(), out, count, nullptr, nullptr);
    });
    FillExactly<velkori_Transform_>("last pose", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_getLastProcessedFramePose(handle, Target, RootSpace, out, count, nullptr);
    });
    FillExactly<velkori_Transform_>("to a manifestation", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_convertPoseFromToManifestation(handle, Source, nullptr, RootSpace, frame.Data(),
            frame.Count(), "upperBody", LocalSpace, out, count);
    });
    EXPECT_EQ(velkori_convertJointPose(handle, Source, RootSpace, LocalSpace, frame.Data(), frame.Count()),
        velkori_Result_Success);
    EXPECT_EQ(velkori_scalePoseToHeight(handle, Source, LocalSpace, 1.5F, frame.Count(), frame.Data()),
        velkori_Result_Success);
    velkori_PoseExtents_ extents;
    EXPECT_EQ(velkori_calculatePoseExtents(handle, Source, LocalSpace, frame.Data(), frame.Count(), &extents),
        velkori_Result_Success);
    EXPECT_EQ(velkori_matchCurrentTPose(
                  handle, Source, velkori_MatchBehavior_Scale, LocalSpace, frame.Count(), frame.Data()),
        velkori_Result_Success);
    EXPECT_EQ(velkori_matchPose(handle, Source, velkori_MatchBehavior_Scale, LocalSpace, frame.Count(),
                  frame.Data(), frame.Data()),
        velkori_Result_Success);
    const velkori_CoordinateSpace_ space = VELKORI_DEFAULT_COORDINATE_SPACE;
    const velkori_CoordinateSpace_ other = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
    EXPECT_EQ(velkori_applyCoordinateSpaceConversion(
                  handle, Source, RootSpace, rest.Data(), rest.Count(), space, other),
        velkori_Result_Success);
    EXPECT_EQ(velkori_applyWorldSpaceCoordinateSpaceConversion(rest.Data(), rest.Count(), space, other),
        velkori_Result_Success);
    velkori_SkeletonType mappedType = {};
    velkori_Transform_ mappingTPose;
    velkori_Transform_ mappingPose;
    int32_t joint = -1;
    ASSERT_EQ(velkori_getJointIndexByKnownJointType(handle, Target, velkori_KnownJointType_Hips, &joint),
        velkori_Result_Success);
    FillExactly<int32_t>("mapping data", [&](int32_t* out, int32_t* count) {
        return velkori_getLastRetargetedMappingData(
            handle, joint, &mappedType, &mappingTPose, &mappingPose, out, count);
    });
}

TEST(GuardedBuffers, OfTheStreamAreReadAndWrittenToTheirEnd) {
    const LoadedConfig config(ReadSample("full.json"));
    const velkori_Handle handle = config.Get();
    const LogCapture capture;
    const auto restPose = [&](velkori_SkeletonType type) {
        int32_t count = 0;
        velkori_calculateSkeletonTPose(handle, type, LocalSpace, 0.5F, nullptr, &count);
        Transforms pose(count);
        velkori_calculateSkeletonTPose(handle, type, LocalSpace, 0.5F, pose.data(), &count);
        return pose;
    };
    GuardedArray<velkori_Transform_> source(restPose(Source));
    GuardedArray<velkori_Transform_> target(restPose(Target));
    int32_t shapeCount = 0;
    ASSERT_EQ(velkori_getInterpolatedFacePose(handle, 0, nullptr, &shapeCount, 0.0), velkori_Result_Success);
    GuardedArray<float> face(std::vector<float>(shapeCount, 0.5F));
    std::vector<int32_t> indices(target.Count());
    std::iota(indices.begin(), indices.end(), 0);
    GuardedArray<int32_t> joints(indices);
    ASSERT_EQ(velkori_createSnapshot(handle, -1, 1.0), velkori_Result_Success);
    EXPECT_EQ(velkori_snapshotSkeleton(handle, Source, source.Data(), joints.Data(), joints.Count()),
        velkori_Result_Success);
    EXPECT_EQ(velkori_snapshotSkeleton(handle, Target, target.Data(), joints.Data(), joints.Count()),
        velkori_Result_Success);
    EXPECT_EQ(velkori_snapshotFace(handle, face.Data(), nullptr, 0), velkori_Result_Success);
    int32_t size = 0;
    ASSERT_EQ(velkori_serializeSnapshot(handle, nullptr, &size), velkori_Result_Success);
    GuardedArray<unsigned char> record(size);
    ASSERT_EQ(velkori_serializeSnapshot(handle, record.Data(), &size), velkori_Result_Success);
    double time = 0.0;
    velkori_CompressionType type = {};
    int32_t ack = -1;
    EXPECT_EQ(velkori_deserializeSnapshot(handle, record.Data(), &time, &type, &ack, target.Data(),
                  face.Data(), source.Data(), nullptr),
        velkori_Result_Success);
    FillExactly<velkori_Transform_>("interpolated pose", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_getInterpolatedSkeletonPose(handle, Target, out, count, 2.0);
    });
    FillExactly<float>("interpolated face", [&](float* out, int32_t* count) {
        return velkori_getInterpolatedFacePose(handle, 0, out, count, 2.0);
    });
}
