#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto Local = velkori_JointRelativeSpaceType_Local;
constexpr velkori_Handle Unknown = 0xFFFFFFFFFFU;

std::string Error(const std::string& text) {
    return "[ERROR]: " + text;
}

// A call that must fail, with the result and the last line that say why.
struct Failure {
    std::function<velkori_Result()> call;
    velkori_Result result;
    const char* text;
};

void ExpectFailures(const std::vector<Failure>& failures) {
    const LogCapture capture;
    for (std::size_t i = 0; i < failures.size(); ++i) {
        EXPECT_EQ(failures[i].call(), failures[i].result) << i;
        const Texts lines = LogCapture::TakeTexts();
        ASSERT_EQ(lines.size(), failures[i].result == velkori_Result_InvalidHandle ? 2U : 1U) << i;
        EXPECT_EQ(lines.back(), Error(failures[i].text)) << i;
    }
}

const velkori_CoordinateSpace_ Default = VELKORI_DEFAULT_COORDINATE_SPACE;

} // namespace

TEST(Queries, RefuseInTheOrderOfTheirChecks) {
    const LoadedConfig config(ReadSample("full.json"));
    const velkori_Handle h = config.Get();
    char buffer[8] = {};
    const char* starts[1] = {};
    int32_t small = 1;
    int32_t indices[1] = {};
    velkori_Transform_ pose[1] = {};
    velkori_JointMapping_ mappings[1] = {};
    velkori_JointMappingEntry_ entries[1] = {};
    const char* notFound = "Could not find handle ffffffffff to load as instance";
    const char* sizeNull = "Parameter in_out_bufferSize must not be Null";
    const char* tooSmall = "Parameter in_out_bufferSize is not large enough for write";
    constexpr auto NullOut = velkori_Result_NullParameter;
    constexpr auto TooSmall = velkori_Result_BufferTooSmall;
    constexpr auto Invalid = velkori_Result_InvalidParameter;
    ExpectFailures({
        {[&] { return velkori_getConfigName(Unknown, nullptr, nullptr); }, velkori_Result_InvalidHandle,
            notFound},
        {[&] { return velkori_getConfigName(h, buffer, nullptr); }, Invalid,
            "in_out_bufferSize parameter must not be null."},
        {[&] { return velkori_getConfigName(h, buffer, &small); }, TooSmall, tooSmall},
        {[&] { return velkori_getVersion(h, nullptr); }, NullOut, "Parameter out_version must not be Null"},
        {[&] { return velkori_getSkeletonInfo(h, Source, nullptr); }, NullOut,
            "Parameter out_skeletonInfo must not be Null"},
        {[&] { return velkori_getJointNames(h, Source, nullptr, nullptr, nullptr, nullptr); }, NullOut,
            sizeNull},
        {[&] { return velkori_getJointNames(h, Source, buffer, &small, starts, nullptr); }, NullOut,
            "Parameter in_out_numJointNames if a valid out_jointNames buffer is provided"},
        {[&] { return velkori_getJointNames(h, Source, buffer, &small, nullptr, nullptr); }, TooSmall,
            tooSmall},
        {[&] { return velkori_getBlendShapeNames(h, Target, buffer, &small, starts, nullptr); }, NullOut,
            "Parameter in_out_numBlendShapeNames if a valid out_blendShapeNames buffer is provided"},
        {[&] { return velkori_getManifestationNames(h, Target, buffer, &small, starts, nullptr); }, NullOut,
            "Parameter in_out_numManifestationNames if a valid out_manifestationNames buffer is provided"},
        {[&] {
             return velkori_getSkeletonTPose(
                 h, Source, velkori_SkeletonTPoseType_Min, RootSpace, pose, nullptr);
         },
            NullOut, "Parameter in_out_numJoints must not be Null"},
        {[&] {
             return velkori_getSkeletonTPose(
                 h, Source, velkori_SkeletonTPoseType_Current, Local, pose, &small);
         },
            velkori_Result_OperationFailed, "TPose data is not valid."},
        {[&] {
             return velkori_getSkeletonTPose(
                 h, Source, velkori_SkeletonTPoseType_Min, RootSpace, pose, &small);
         },
            TooSmall, "Parameter in_out_numJoints is not large enough for Joint Count"},
        {[&] { return velkori_getSkeletonMappings(h, velkori_SkeletonTPoseType_Min, mappings, nullptr); },
            NullOut, "Parameter in_out_numMappings must not be Null"},
        {[&] { return velkori_getSkeletonMappings(h, velkori_SkeletonTPoseType_Min, mappings, &small); },
            TooSmall, "Parameter in_out_numMappings is not large enough for Mapping Count"},
        {[&] {
             return velkori_getSkeletonMappingEntries(h, velkori_SkeletonTPoseType_Max, entries, nullptr);
         },
            NullOut, "Parameter in_out_numMappings must not be Null"},
        {[&] { return velkori_getSkeletonMappingEntries(h, velkori_SkeletonTPoseType_Max, entries, &small); },
            TooSmall, "Parameter in_out_numMappingEntries is not large enough for Mapping Count"},
        {[&] { return velkori_getSkeletonMappingTargetJoints(h, indices, nullptr); }, Invalid,
            "Parameter in_out_jointCount must not be Null"},
        {[&] { return velkori_getSkeletonMappingTargetJoints(h, indices, &small); }, TooSmall,
            "Parameter out_jointIndexList/in_out_jointCount too small for target joint count list"},
        // These check their own parameters before the handle.
        {[&] { return velkori_getJointIndex(Unknown, Source, nullptr, nullptr); }, Invalid,
            "Parameter in_jointName must not be Null"},
        {[&] { return velkori_getJointIndex(Unknown, Source, "hips", nullptr); }, NullOut,
            "Parameter out_jointIndex must not be Null"},
        {[&] {
             return velkori_getJointIndexByKnownJointType(
                 Unknown, Source, velkori_KnownJointType_Hips, nullptr);
         },
            NullOut, "Parameter out_jointIndex must not be Null"},
        {[&] { return velkori_getParentJointIndex(Unknown, Source, 0, nullptr); }, NullOut,
            "Parameter out_parentJointIndex must not be Null"},
        {[&] { return velkori_getParentJointIndex(Unknown, Source, 0, indices); },
            velkori_Result_InvalidHandle, notFound},
        {[&] { return velkori_getParentJointIndexes(h, Source, indices, nullptr); }, NullOut,
            "Parameter in_out_numJoints must not be Null"},
        {[&] { return velkori_getJointsInManifestation(h, Source, nullptr, indices, nullptr); }, Invalid,
            "Parameter in_out_jointCount must not be Null"},
        {[&] { return velkori_getJointsInManifestation(h, Source, nullptr, indices, &small); }, Invalid,
            "Parameter manifestationName must be a valid Manifestation Name"},
        {[&] { return velkori_getJointsInManifestation(h, Source, "feet", indices, &small); },
            velkori_Result_InvalidValue, "Could not find Manifestation named: feet"},
        {[&] { return velkori_getJointsInManifestation(h, Source, "upperBody", indices, &small); }, TooSmall,
            "Parameter out_jointIndexList/in_out_jointCount too small for manifestation joint count list"},
    });
}

TEST(Queries, NamesAreCopiedWithoutTheirEnd) {
    const LoadedConfig config(ReadSample("simple.json"));
    int32_t size = 0;
    // "spine" is the third joint.
    ASSERT_EQ(velkori_getJointName(config.Get(), Source, 2, nullptr, &size), velkori_Result_Success);
    EXPECT_EQ(size, 6);
    std::string buffer(8, '#');
    size = 5;
    EXPECT_EQ(
        velkori_getJointName(config.Get(), Source, 2, buffer.data(), &size), velkori_Result_BufferTooSmall);
    size = 6;
    EXPECT_EQ(velkori_getJointName(config.Get(), Source, 2, buffer.data(), &size), velkori_Result_Success);
    EXPECT_EQ(buffer, "spine###");
    EXPECT_EQ(size, 6);
    EXPECT_EQ(velkori_getJointName(config.Get(), Source, -7, nullptr, &size), velkori_Result_Success);
    EXPECT_EQ(size, 1) << "a joint that isn't there has an empty name";

    int32_t count = 0;
    ASSERT_EQ(
        velkori_getJointNames(config.Get(), Target, nullptr, &size, nullptr, &count), velkori_Result_Success);
    EXPECT_EQ(count, 20);
    std::string names(size, '#');
    std::vector<const char*> starts(count);
    ASSERT_EQ(velkori_getJointNames(config.Get(), Target, names.data(), &size, starts.data(), &count),
        velkori_Result_Success);
    EXPECT_EQ(names.substr(0, 16), "root#hips#spine#");
    EXPECT_EQ(starts[2], names.data() + 10);
    EXPECT_EQ(names.back(), '#');
}

TEST(Queries, MappingsComeByTargetJointTheSourcesFirst) {
    const LoadedConfig config(ReadSample("full.json"));
    int32_t count = 0;
    int32_t entryCount = 0;
    velkori_getSkeletonMappings(config.Get(), velkori_SkeletonTPoseType_Max, nullptr, &count);
    velkori_getSkeletonMappingEntries(config.Get(), velkori_SkeletonTPoseType_Max, nullptr, &entryCount);
    std::vector<velkori_JointMapping_> mappings(count);
    std::vector<velkori_JointMappingEntry_> entries(entryCount);
    ASSERT_EQ(
        velkori_getSkeletonMappings(config.Get(), velkori_SkeletonTPoseType_Max, mappings.data(), &count),
        velkori_Result_Success);
    ASSERT_EQ(velkori_getSkeletonMappingEntries(
                  config.Get(), velkori_SkeletonTPoseType_Max, entries.data(), &entryCount),
        velkori_Result_Success);
    int32_t shin = -1;
    velkori_getJointIndex(config.Get(), Target, "Shin_L", &shin);
    int32_t entriesBefore = 0;
    int found = 0;
    for (std::size_t i = 0; i < mappings.size(); ++i) {
        ASSERT_TRUE(i == 0 || mappings[i - 1].jointIndex <= mappings[i].jointIndex);
        if (mappings[i].jointIndex == shin) {
            // The shin has one of each: driven by one source joint, and by two of the target's.
            EXPECT_EQ(mappings[i].type, found == 0 ? Source : Target);
            EXPECT_EQ(mappings[i].entryCount, found == 0 ? 1 : 2);
            EXPECT_EQ(entries[entriesBefore].rotationWeight, found == 0 ? 1.0F : 0.25F);
            ++found;
        }
        entriesBefore += mappings[i].entryCount;
    }
    EXPECT_EQ(found, 2);
    EXPECT_EQ(entriesBefore, entryCount);
}

TEST(Queries, RootsAndUnknownsAreAnswers) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LogCapture capture;
    int32_t index = 5;
    EXPECT_EQ(velkori_getParentJointIndex(config.Get(), Source, 0, &index), velkori_Result_Failure);
    double version = -1.0;
    EXPECT_EQ(velkori_getVersion(config.Get(), &version), velkori_Result_Success);
    EXPECT_EQ(version, 0.0);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(velkori_getParentJointIndex(config.Get(), Source, 2, &index), velkori_Result_Success);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(velkori_getJointIndex(config.Get(), Source, "tail", &index), velkori_Result_Success);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(velkori_getJointIndexByKnownJointType(
                  config.Get(), Source, static_cast<velkori_KnownJointType>(99), &index),
        velkori_Result_Success);
    EXPECT_EQ(index, -1);
    velkori_SkeletonInfo_ info = {};
    EXPECT_EQ(velkori_getSkeletonInfo(config.Get(), static_cast<velkori_SkeletonType>(7), &info),
        velkori_Result_Success);
    EXPECT_EQ(info.type, Target);
    EXPECT_EQ(info.jointCount, 20);
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}

TEST(PoseExports, RefuseInTheOrderOfTheirChecks) {
    const LoadedConfig config(ReadSample("simple.json"));
    const velkori_Handle h = config.Get();
    std::vector<velkori_Transform_> pose(20, {{0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}});
    std::vector<velkori_Transform_> broken(20);
    int32_t small = 1;
    int32_t pair[2] = {};
    float length = 0;
    velkori_PoseExtents_ extents = {};
    velkori_PoseInfo_ poseInfo = {};
    const velkori_CoordinateSpace_ doubled = {{0, 2, 0}, {0, 0, 1}, {1, 0, 0}};
    const char* const names[2] = {"hips", nullptr};
    constexpr auto Invalid = velkori_Result_InvalidParameter;
    constexpr auto Value = velkori_Result_InvalidValue;
    constexpr auto TooSmall = velkori_Result_BufferTooSmall;
    const char* arrayNull = "Parameter in_out_transformData must not be Null";
    const char* notFinite = "Transform Array contains either nan/inf values or an invalid (Zero) Quaternion";
    const char* countDiffers = "ERROR: JointCount: 19 does not match skeleton Joint Count of 20.";
    const auto odd = static_cast<velkori_JointRelativeSpaceType>(4);
    const char* oddSpace = "Joint space type 4 is not between 0 and 3";
    ExpectFailures({
        {[&] { return velkori_calculateSkeletonTPose(h, Source, Local, 0.5F, pose.data(), nullptr); },
            velkori_Result_NullParameter, "Parameter in_out_numJoints must not be Null"},
        {[&] { return velkori_calculateSkeletonTPose(h, Source, Local, 0.5F, pose.data(), &small); },
            TooSmall, "Parameter in_out_numJoints is not large enough for Joint Count"},
        {[&] { return velkori_calculateSkeletonTPoseAtHeight(h, Source, odd, 1.7F, pose.data(), &small); },
            Value, oddSpace},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, nullptr, Local, broken.data(), 20, nullptr, Local, nullptr, nullptr);
         },
            Value, notFinite},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, nullptr, Local, pose.data(), 20, "feet", Local, nullptr, nullptr);
         },
            Value, "Could not find Output Manifestation named: feet"},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, "feet", Local, pose.data(), 20, "", Local, pose.data(), nullptr);
         },
            Invalid, "Parameter in_out_numOutputJoints must not be Null"},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, "feet", Local, pose.data(), 20, "", Local, pose.data(), &small);
         },
            Value, "Could not find Source Manifestation named: feet"},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, "", Local, pose.data(), 19, "", Local, pose.data(), &small);
         },
            TooSmall,
            "Parameter in_sourceManifestationJointCount too small for manifestation NONE joint count list.  "
            "Size 19, "
            "Required 20."},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, "", Local, pose.data(), 20, "", Local, pose.data(), &small);
         },
            TooSmall,
            "Parameter in_out_numOutputJoints too small for manifestation NONE joint count list.  Size 1, "
            "Required "
            "20."},
        {[&] { return velkori_getPoseInfo(h, Source, velkori_SkeletonTPoseType_Min, nullptr); }, Invalid,
            "Parameter out_poseHeight must not be Null"},
        {[&] { return velkori_getPoseInfo(h, Source, velkori_SkeletonTPoseType_Current, &poseInfo); }, Value,
            "Cannot Populate PoseInfo - TPoseData is currently invalid"},
        {[&] {
             return velkori_getLengthBetweenJoints(h, Source, velkori_SkeletonTPoseType_Min, 0, 1, nullptr);
         },
            Invalid, "Parameter out_length must not be Null"},
        {[&] {
             return velkori_getLengthBetweenJoints(h, Source, velkori_SkeletonTPoseType_Min, 20, -1, &length);
         },
            Value, "Cannot Measure Distance between Joints - startJointIndex 20 is invalid"},
        {[&] {
             return velkori_getLengthBetweenJoints(h, Source, velkori_SkeletonTPoseType_Min, 0, -1, &length);
         },
            Value, "Cannot Measure Distance between Joints - endJointIndex -1 is invalid"},
        {[&] { return velkori_scalePoseToHeight(h, Source, Local, 1.7F, 19, pose.data()); }, TooSmall,
            "Parameter jointCount does not match the skeleton joint count definition. Required length 20, "
            "Actual "
            "length 19"},
        {[&] { return velkori_convertJointPose(h, Source, Local, Local, nullptr, 20); }, Invalid, arrayNull},
        {[&] { return velkori_convertJointPose(h, Source, Local, Local, broken.data(), 20); }, Value,
            notFinite},
        {[&] { return velkori_convertJointPose(h, Source, Local, Local, pose.data(), 19); }, TooSmall,
            countDiffers},
        {[&] { return velkori_convertJointPose(h, Source, odd, Local, pose.data(), 20); }, Value, oddSpace},
        {[&] { return velkori_calculatePoseExtents(h, Source, Local, nullptr, 20, nullptr); }, Invalid,
            arrayNull},
        {[&] { return velkori_calculatePoseExtents(h, Source, Local, pose.data(), 19, nullptr); }, Invalid,
            "Parameter out_extents must not be Null"},
        {[&] { return velkori_calculatePoseExtents(h, Source, Local, pose.data(), 19, &extents); }, TooSmall,
            countDiffers},
        {[&] {
             return velkori_applyCoordinateSpaceConversion(
                 h, Source, Local, pose.data(), 19, doubled, doubled);
         },
            TooSmall, countDiffers},
        {[&] {
             return velkori_applyCoordinateSpaceConversion(
                 h, Source, Local, pose.data(), 20, doubled, doubled);
         },
            Value, "ERROR: in_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned."},
        {[&] {
             return velkori_applyCoordinateSpaceConversion(
                 h, Source, Local, pose.data(), 20, Default, doubled);
         },
            Value, "ERROR: out_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned."},
        {[&] { return velkori_generateTargetToSourceJointPairsFromNames(h, h, 1, nullptr, nullptr); },
            velkori_Result_NullParameter, "Parameter out_pairs must not be Null"},
        {[&] { return velkori_generateTargetToSourceJointPairsFromNames(h, h, 1, nullptr, pair); }, Invalid,
            "Parameter in_namedPairs must not be Null"},
        {[&] { return velkori_generateTargetToSourceJointPairsFromNames(h, h, 1, names, pair); }, Value,
            "Invalid Source Joint Name: <NULL>"},
    });
}

TEST(PoseExports, ConversionsLeadThereAndBack) {
    const LoadedConfig config(ReadSample("full.json"));
    int32_t count = 0;
    velkori_getSkeletonTPose(config.Get(), Target, velkori_SkeletonTPoseType_Max, RootSpace, nullptr, &count);
    std::vector<velkori_Transform_> pose(count);
    velkori_getSkeletonTPose(
        config.Get(), Target, velkori_SkeletonTPoseType_Max, RootSpace, pose.data(), &count);
    const std::vector<velkori_Transform_> before = pose;
    const velkori_CoordinateSpace_ zUp = {{0, 0, 1}, {0, -1, 0}, {1, 0, 0}};
    EXPECT_EQ(velkori_applyCoordinateSpaceConversion(
                  config.Get(), Target, RootSpace, pose.data(), count, Default, zUp),
        velkori_Result_Success);
    EXPECT_EQ(pose[5].position.z, before[5].position.y) << "up stays up";
    EXPECT_EQ(velkori_applyCoordinateSpaceConversion(
                  config.Get(), Target, RootSpace, pose.data(), count, zUp, Default),
        velkori_Result_Success);
    velkori_PoseExtents_ extents = {};
    EXPECT_EQ(velkori_calculatePoseExtents(config.Get(), Target, RootSpace, pose.data(), count, &extents),
        velkori_Result_Success);
    velkori_PoseInfo_ info = {};
    EXPECT_EQ(velkori_getPoseInfo(config.Get(), Target, velkori_SkeletonTPoseType_Max, &info),
        velkori_Result_Success);
    EXPECT_EQ(extents.max.y, info.extents.max.y);
    EXPECT_EQ(extents.range.x, info.extents.range.x);
    int32_t hand = -1;
    velkori_getJointIndex(config.Get(), Target, "Hand_L", &hand);
    EXPECT_EQ(info.knownJointPositions[velkori_KnownJointType_LeftWrist].x, before[hand].position.x);
    for (int32_t joint = 0; joint < count; ++joint) {
        EXPECT_EQ(pose[joint].position.x, before[joint].position.x);
        EXPECT_EQ(pose[joint].position.y, before[joint].position.y);
    }
    EXPECT_EQ(velkori_scalePoseToHeight(config.Get(), Target, RootSpace, 1.0F, count, pose.data()),
        velkori_Result_Success);
    velkori_calculatePoseExtents(config.Get(), Target, RootSpace, pose.data(), count, &extents);
    EXPECT_NEAR(extents.range.y, 1.0F, 1e-4F);
    float length = 0;
    EXPECT_EQ(
        velkori_getLengthBetweenJoints(config.Get(), Target, velkori_SkeletonTPoseType_Max, 3, 3, &length),
        velkori_Result_Success);
    EXPECT_EQ(length, 0.0F);
}
