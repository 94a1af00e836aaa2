// Every export that reads or fills a caller's array, with an array that ends where memory does: as large as
// the export asks for, and one element shorter.

#include "Velkori_Utility.h"
#include "support/GuardedArray.h"
#include "support/HostPoses.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <string>
#include <vector>

namespace {

// Asks for the size, then fills an array of it, and one that is too short, which is refused untouched. The
// array and its count are the export's last parameters.
template <typename Element, typename Export, typename... Given>
void FillExactly(const char* name, const Export& fill, const Given&... given) {
    int32_t needed = 0;
    ASSERT_EQ(fill(given..., nullptr, &needed), Success) << name;
    ASSERT_GT(needed, 0) << name;
    GuardedArray<Element> exact(needed);
    int32_t count = needed;
    EXPECT_EQ(fill(given..., exact.Data(), &count), Success) << name;
    EXPECT_EQ(count, needed) << name;
    GuardedArray<Element> tooShort(needed - 1);
    const std::size_t size = (needed - 1) * sizeof(Element);
    const std::string untouched(size, '#');
    std::memcpy(tooShort.Data(), untouched.data(), size);
    count = needed - 1;
    EXPECT_EQ(fill(given..., tooShort.Data(), &count), velkori_Result_BufferTooSmall) << name;
    EXPECT_EQ(count, needed - 1) << name;
    EXPECT_EQ(std::memcmp(tooShort.Data(), untouched.data(), size), 0) << name;
}

class GuardedBuffers : public testing::Test {
  protected:
    const LoadedConfig config{ReadSample("full.json")};
    const velkori_Handle handle = config.Get();
    const LogCapture capture;
};

} // namespace

TEST_F(GuardedBuffers, OfQueriesAreFilledToTheirEnd) {
    FillExactly<char>("document", velkori_writeConfigDataToJSON, handle, nullptr);
    FillExactly<char>("name", velkori_getConfigName, handle);
    FillExactly<char>("blend shape", velkori_getBlendShapeName, handle, Target, 0);
    FillExactly<char>("joint", velkori_getJointName, handle, Target, 0);
    FillExactly<char>("blend shapes", [&](char* out, int32_t* count) {
        return velkori_getBlendShapeNames(handle, Target, out, count, nullptr, nullptr);
    });
    FillExactly<char>("joints", [&](char* out, int32_t* count) {
        return velkori_getJointNames(handle, Target, out, count, nullptr, nullptr);
    });
    FillExactly<char>("manifestations", [&](char* out, int32_t* count) {
        return velkori_getManifestationNames(handle, Source, out, count, nullptr, nullptr);
    });
    FillExactly<int32_t>("parents", velkori_getParentJointIndexes, handle, Target);
    FillExactly<int32_t>("manifestation", velkori_getJointsInManifestation, handle, Source, "upperBody");
    FillExactly<int32_t>("mapped joints", velkori_getSkeletonMappingTargetJoints, handle);
    FillExactly<velkori_JointMapping_>("mappings", velkori_getSkeletonMappings, handle, Max);
    FillExactly<velkori_JointMappingEntry_>("entries", velkori_getSkeletonMappingEntries, handle, Max);
    FillExactly<velkori_Transform_>("rest pose", velkori_getSkeletonTPose, handle, Target, Max, LocalSpace);
    FillExactly<velkori_Transform_>(
        "calculated rest pose", velkori_calculateSkeletonTPose, handle, Target, LocalSpace, 0.3F);
    FillExactly<velkori_Transform_>(
        "rest pose at a height", velkori_calculateSkeletonTPoseAtHeight, handle, Target, RootSpace, 1.7F);
}

TEST_F(GuardedBuffers, OfPosesAreReadAndWrittenToTheirEnd) {
    const MovingBody body(handle, 0.5F);
    SetReference(handle, body.Rest());
    GuardedArray<velkori_Transform_> frame(body.Frame(0.7F));
    FillExactly<velkori_Transform_>("retargeting", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_retargetFromSourceFrameData(
            handle, Info(1, true, 0), frame.Data(), frame.Count(), out, count, nullptr, nullptr);
    });
    FillExactly<velkori_Transform_>("last pose", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_getLastProcessedFramePose(handle, Target, RootSpace, out, count, nullptr);
    });
    FillExactly<velkori_Transform_>("to a manifestation", velkori_convertPoseFromToManifestation, handle,
        Source, nullptr, RootSpace, frame.Data(), frame.Count(), "upperBody", LocalSpace);
    velkori_SkeletonType mappedType = {};
    velkori_Transform_ mappingTPose;
    velkori_Transform_ mappingPose;
    FillExactly<int32_t>("mapping data", velkori_getLastRetargetedMappingData, handle,
        JointIndex(handle, Target, "Hips"), &mappedType, &mappingTPose, &mappingPose);

    velkori_PoseExtents_ extents;
    const velkori_CoordinateSpace_ yUp = VELKORI_DEFAULT_COORDINATE_SPACE;
    const velkori_CoordinateSpace_ zUp = {{0, 0, 1}, {0, 1, 0}, {1, 0, 0}};
    velkori_Transform_* const pose = frame.Data();
    const int32_t count = frame.Count();
    for (const velkori_Result result : {
             velkori_updateSourceReferenceTPose(handle, pose, count, nullptr),
             velkori_convertJointPose(handle, Source, RootSpace, LocalSpace, pose, count),
             velkori_scalePoseToHeight(handle, Source, LocalSpace, 1.5F, count, pose),
             velkori_calculatePoseExtents(handle, Source, LocalSpace, pose, count, &extents),
             velkori_matchCurrentTPose(handle, Source, velkori_MatchBehavior_Scale, LocalSpace, count, pose),
             velkori_matchPose(handle, Source, velkori_MatchBehavior_Scale, LocalSpace, count, pose, pose),
             velkori_applyCoordinateSpaceConversion(handle, Source, RootSpace, pose, count, yUp, zUp),
             velkori_applyWorldSpaceCoordinateSpaceConversion(pose, count, yUp, zUp),
         }) {
        EXPECT_EQ(result, Success);
    }
}

TEST_F(GuardedBuffers, OfTheStreamAreReadAndWrittenToTheirEnd) {
    GuardedArray<velkori_Transform_> source(TPose(handle, Source, Max, LocalSpace));
    GuardedArray<velkori_Transform_> target(TPose(handle, Target, Max, LocalSpace));
    int32_t shapeCount = 0;
    ASSERT_EQ(velkori_getInterpolatedFacePose(handle, 0, nullptr, &shapeCount, 0.0), Success);
    GuardedArray<float> face(std::vector<float>(shapeCount, 0.5F));
    std::vector<int32_t> indices(target.Count());
    std::iota(indices.begin(), indices.end(), 0);
    GuardedArray<int32_t> joints(indices);
    ASSERT_EQ(velkori_createSnapshot(handle, -1, 1.0), Success);
    EXPECT_EQ(
        velkori_snapshotSkeleton(handle, Source, source.Data(), joints.Data(), joints.Count()), Success);
    EXPECT_EQ(
        velkori_snapshotSkeleton(handle, Target, target.Data(), joints.Data(), joints.Count()), Success);
    EXPECT_EQ(velkori_snapshotFace(handle, face.Data(), nullptr, 0), Success);
    FillExactly<unsigned char>("record", velkori_serializeSnapshot, handle);
    int32_t size = 0;
    ASSERT_EQ(velkori_serializeSnapshot(handle, nullptr, &size), Success);
    GuardedArray<unsigned char> record(size);
    ASSERT_EQ(velkori_serializeSnapshot(handle, record.Data(), &size), Success);
    double time = 0.0;
    velkori_CompressionType type = {};
    int32_t ack = -1;
    EXPECT_EQ(velkori_deserializeSnapshot(handle, record.Data(), &time, &type, &ack, target.Data(),
                  face.Data(), source.Data(), nullptr),
        Success);
    FillExactly<velkori_Transform_>("interpolated pose", [&](velkori_Transform_* out, int32_t* count) {
        return velkori_getInterpolatedSkeletonPose(handle, Target, out, count, 2.0);
    });
    FillExactly<float>("interpolated face", [&](float* out, int32_t* count) {
        return velkori_getInterpolatedFacePose(handle, 0, out, count, 2.0);
    });
}
