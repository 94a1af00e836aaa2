// Calls that must fail: each names its first fault, though the faults of later checks come with it, and
// writes nothing.

#include "Velkori_Utility.h"
#include "support/HostPoses.h"
#include "support/LogCapture.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr auto NoSpace = static_cast<velkori_JointRelativeSpaceType>(4);

constexpr auto NoHandle = velkori_Result_InvalidHandle;
constexpr auto Null = velkori_Result_NullParameter;
constexpr auto Parameter = velkori_Result_InvalidParameter;
constexpr auto Value = velkori_Result_InvalidValue;
constexpr auto Data = velkori_Result_InvalidData;
constexpr auto TooSmall = velkori_Result_BufferTooSmall;
constexpr auto Failed = velkori_Result_OperationFailed;
constexpr auto Failure = velkori_Result_Failure;

constexpr velkori_Handle Unknown = 0xFFFFFFFFFFU;
constexpr int JointCount = 5;

const std::string NoInstance = "Could not find handle ffffffffff to load as instance";
const std::string NoSpaceText = "Joint space type 4 is not between 0 and 3";
const std::string BrokenText =
    "Transform Array contains either nan/inf values or an invalid (Zero) Quaternion";
const std::string GapText = "Source Manifestation named: gap is invalid - please check Config Data";

std::string IsNull(const std::string& parameter) {
    return "Parameter " + parameter + " must not be Null";
}

// Calls on a configuration that has seen neither a frame nor a snapshot.
class Refusals : public testing::Test {
  protected:
    void TearDown() override {
        EXPECT_TRUE(SameBits(pose, records.pose)) << "written by a refused call";
        EXPECT_EQ(one, 1);
        EXPECT_EQ(count, JointCount);
    }

    // A handle that isn't there gets a line more, ahead of the one that says why.
    static void Expect(velkori_Result given, velkori_Result expected, const std::string& line,
        int where = __builtin_LINE()) {
        EXPECT_EQ(given, expected) << "in line " << where;
        std::vector<std::string> lines = {"[ERROR]: " + line};
        if (expected == NoHandle) {
            lines.insert(lines.begin(), "[ERROR]: Could not find utilityIntance with handle.");
        }
        EXPECT_EQ(LogCapture::TakeTexts(), lines) << "in line " << where;
    }

    static velkori_Result Create(const velkori_UtilityConfigInitParams_& params) {
        velkori_Handle made = 77;
        const velkori_Result result = velkori_createOrUpdateUtilityConfig("n", &params, &made);
        EXPECT_EQ(made, 77U);
        return result;
    }

    const SmallRecords records{};
    const RecordedConfig config{records.Config()};
    const velkori_Handle h = config.handle;
    Transforms pose = records.pose;
    velkori_Transform_* const p = pose.data();
    // No orientation at all.
    Transforms broken{JointCount, velkori_Transform_{}};
    velkori_Transform_* const b = broken.data();
    int32_t count = JointCount;
    int32_t one = 1;
    int32_t joints[JointCount] = {};
    const velkori_CoordinateSpace_ space = VELKORI_DEFAULT_COORDINATE_SPACE;
    const velkori_CoordinateSpace_ doubled = {{0, 2, 0}, {0, 0, 1}, {1, 0, 0}};
    const LogCapture capture;
};

} // namespace

TEST_F(Refusals, CreationNamesItsFirstFault) {
    const std::string noHandle = "Handle Pointer output variable in_out_handle is null.";
    const std::string noName = "Config name not specified or invalid";
    velkori_Handle made = 77;
    const velkori_UtilityConfigInitParams_ good = records.Config();
    Expect(velkori_createOrUpdateHandle(nullptr, nullptr), velkori_Result_ConfigNull, "Config is null.");
    Expect(velkori_createOrUpdateHandle("", nullptr), Parameter, "Handle Pointer output variable is null.");
    Expect(velkori_createOrUpdateHandle("{", &made), velkori_Result_ParseFailed,
        "Failed to parse configuration due to possible JSON error.");
    Expect(velkori_createOrUpdateUtilityConfig(nullptr, nullptr, nullptr), Parameter, noHandle);
    Expect(velkori_createOrUpdateUtilityConfig(nullptr, nullptr, &made), Data, noName);
    Expect(velkori_createOrUpdateUtilityConfig("", &good, &made), Data, noName);
    Expect(velkori_createOrUpdateUtilityConfig("n", nullptr, &made), Value,
        "Initialization Parameter structure is null");
    Expect(velkori_createOrUpdateSimpleUtilityConfig("n", Source, nullptr, nullptr), Value,
        "Skeleton Initialization Parameter structure is null");
    EXPECT_EQ(made, 77U);
}

TEST_F(Refusals, EachSkeletonNamesItsFirstFault) {
    struct Case {
        std::function<void(velkori_SkeletonInitParams_&)> damage;
        const char* text;
    };

    const Case cases[] = {
        {[](auto& s) { s.blendShapeNames = nullptr, s.jointNames = nullptr; },
            "Skeleton has a non-zero blendShapeCount with an invalid blendShapeName pointer"},
        {[](auto& s) { s.jointCount = 0; },
            "Skeleton has optional joints specified without specifying any joints"},
        {[](auto& s) { s.jointNames = nullptr, s.parentJointNames = nullptr; },
            "Skeleton has a non-zero joint count with an invalid jointNames pointer"},
        {[](auto& s) { s.parentJointNames = nullptr, s.minTPose = s.unscaledTPose = nullptr; },
            "Skeleton has a non-zero joint count with an invalid parentJointNames pointer"},
        {[](auto& s) { s.minTPose = s.maxTPose = s.unscaledTPose = nullptr; },
            "Skeleton is missing a minimum rest pose definition"},
        {[](auto& s) {
             s.maxTPose = s.unscaledTPose = nullptr, s.optional_autoMapExcludedJointNames = nullptr;
         },
            "Skeleton is missing a maximum rest pose definition"},
        {[](auto& s) {
             s.optional_autoMapExcludedJointNames = nullptr, s.optional_manifestationNames = nullptr;
         },
            "Skeleton has a non-zero optional_autoMapExcludedJointCount with an invalid "
            "optional_autoMapExcludedJointNames pointer"},
        {[](auto& s) { s.optional_manifestationJointCounts = nullptr; },
            "Skeleton has a non-zero optional_manifestationCount with an invalid pointer(s) for the names, "
            "joint "
            "counts and/or joint names arrays"},
    };
    for (const Case& each : cases) {
        for (const bool isTarget : {false, true}) {
            velkori_UtilityConfigInitParams_ params = records.Config();
            each.damage(isTarget ? params.targetSkeleton : params.sourceSkeleton);
            Expect(Create(params), Value, each.text);
        }
    }
    velkori_UtilityConfigInitParams_ params = records.Config();
    params.targetSkeleton.unscaledTPose = nullptr;
    Expect(Create(params), Value, "Target Skeleton is missing an unscaled rest pose definition");
}

TEST_F(Refusals, MappingsNameTheFirstPlaceWhereTheyLeaveTheirArrays) {
    const std::string wrongCount = "Invalid number of mapping entries provided: 3 - ";
    const std::string overrun = wrongCount + "Provided Mappings are overrunning the buffer";

    struct Case {
        std::function<void(SmallRecords&)> damage;
        std::string text;
    };

    const Case cases[] = {
        {[](auto& r) { r.mappings.clear(); }, wrongCount + "Expected less: 0"},
        {[](auto& r) { r.mappings[1].jointIndex = 5; },
            "Mapping data at index 1 has an invalid target joint index of 5. Target Joint Count is 5"},
        {[](auto& r) { r.mappings[1].jointIndex = -1; },
            "Mapping data at index 1 has an invalid target joint index of -1. Target Joint Count is 5"},
        {[](auto& r) { r.mappings[2].entryCount = 2; }, overrun},
        {[](auto& r) { r.mappings[2].entryCount = 0; }, wrongCount + "Expected less: 2"},
        {[](auto& r) {
             r.mappings.pop_back();
             r.mappings[1].entryCount = 2;
             r.entries[2].jointIndex = 5;
         },
            "Mapping entry 1 for Mapping at index 1 has an invalid source or target joint index of 5.  "
            "source/target Joint count is 5"},
        // A negative count steps back, and must not step out of the list.
        {[](auto& r) {
             r.mappings[0].entryCount = -5;
             r.mappings[1].entryCount = 7;
         },
            overrun},
        {[](auto& r) { r.mappings[0].behavior = static_cast<velkori_JointMappingBehaviorType>(4); },
            "Mapping data at index 0 has an invalid behavior of 4"},
    };
    for (const Case& each : cases) {
        SmallRecords damaged;
        each.damage(damaged);
        Expect(Create(damaged.Config()), Value, each.text);
    }
    velkori_UtilityConfigInitParams_ params = records.Config();
    for (velkori_JointMappingDefinition_* mappings : {&params.minMappings, &params.maxMappings}) {
        mappings->mappingCount = -1;
        Expect(Create(params), Value, "Mapping data cannot have negative number of mappings specified.");
        *mappings = records.Config().maxMappings;
    }
    params.maxMappings.mappingEntries = nullptr;
    Expect(Create(params), Value,
        "Mapping data has a non-zero value, but no mappings or mapping entries specified");
}

TEST_F(Refusals, QueriesOfTextsNameTheirFirstFault) {
    char text[8] = {};
    const char* starts[1] = {};
    const std::string tooSmall = "Parameter in_out_bufferSize is not large enough for write";
    Expect(velkori_getConfigName(Unknown, nullptr, nullptr), NoHandle, NoInstance);
    Expect(
        velkori_getConfigName(h, text, nullptr), Parameter, "in_out_bufferSize parameter must not be null.");
    Expect(velkori_getConfigName(h, text, &one), TooSmall, tooSmall);
    Expect(velkori_getJointNames(h, Source, nullptr, nullptr, nullptr, nullptr), Null,
        IsNull("in_out_bufferSize"));
    Expect(velkori_getJointNames(h, Source, text, &one, starts, nullptr), Null,
        "Parameter in_out_numJointNames if a valid out_jointNames buffer is provided");
    Expect(velkori_getJointNames(h, Source, text, &one, nullptr, nullptr), TooSmall, tooSmall);
    Expect(velkori_getBlendShapeNames(h, Target, text, &one, starts, nullptr), Null,
        "Parameter in_out_numBlendShapeNames if a valid out_blendShapeNames buffer is provided");
    Expect(velkori_getManifestationNames(h, Target, text, &one, starts, nullptr), Null,
        "Parameter in_out_numManifestationNames if a valid out_manifestationNames buffer is provided");
    Expect(velkori_writeConfigDataToJSON(Unknown, nullptr, nullptr, nullptr), NoHandle, NoInstance);
    Expect(velkori_writeConfigDataToJSON(h, &doubled, nullptr, nullptr), Null, IsNull("in_out_bufferSize"));
    Expect(velkori_writeConfigDataToJSON(h, &doubled, text, &one), Value,
        "Parameter optional_coordinateSpace must be an Axis Aligned matrix if provided");
    Expect(velkori_writeConfigDataToJSON(h, nullptr, text, &one), TooSmall,
        "Parameter in_out_bufferSize is not large enough to write to buffer out_buffer");
    EXPECT_EQ(std::string(text), "");
}

TEST_F(Refusals, QueriesOfJointsNameTheirFirstFault) {
    const std::string countNull = IsNull("in_out_jointCount");
    const std::string tooSmall = "Parameter out_jointIndexList/in_out_jointCount too small for ";
    // These check their own parameters before the handle.
    Expect(velkori_getJointIndex(Unknown, Source, nullptr, nullptr), Parameter, IsNull("in_jointName"));
    Expect(velkori_getJointIndex(Unknown, Source, "hips", nullptr), Null, IsNull("out_jointIndex"));
    Expect(velkori_getJointIndexByKnownJointType(Unknown, Source, velkori_KnownJointType_Hips, nullptr), Null,
        IsNull("out_jointIndex"));
    Expect(velkori_getParentJointIndex(Unknown, Source, 0, nullptr), Null, IsNull("out_parentJointIndex"));
    Expect(velkori_getParentJointIndex(Unknown, Source, 0, joints), NoHandle, NoInstance);

    Expect(velkori_getVersion(h, nullptr), Null, IsNull("out_version"));
    Expect(velkori_getSkeletonInfo(h, Source, nullptr), Null, IsNull("out_skeletonInfo"));
    Expect(velkori_getParentJointIndexes(h, Source, joints, nullptr), Null, IsNull("in_out_numJoints"));
    Expect(velkori_getSkeletonMappingTargetJoints(h, joints, nullptr), Parameter, countNull);
    Expect(velkori_getSkeletonMappingTargetJoints(h, joints, &one), TooSmall,
        tooSmall + "target joint count list");
    Expect(velkori_getJointsInManifestation(h, Source, nullptr, joints, nullptr), Parameter, countNull);
    Expect(velkori_getJointsInManifestation(h, Source, nullptr, joints, &one), Parameter,
        "Parameter manifestationName must be a valid Manifestation Name");
    Expect(velkori_getJointsInManifestation(h, Source, "feet", joints, &one), Value,
        "Could not find Manifestation named: feet");
    Expect(velkori_getJointsInManifestation(h, Source, "gap", joints, &one), Data,
        "Manifestation named: gap is invalid - please check Config Data");
    Expect(velkori_getJointsInManifestation(h, Source, "top", joints, &one), TooSmall,
        tooSmall + "manifestation joint count list");
    velkori_JointMapping_ mapping = {};
    velkori_JointMappingEntry_ entry = {};
    Expect(velkori_getSkeletonMappings(h, Min, &mapping, nullptr), Null, IsNull("in_out_numMappings"));
    Expect(velkori_getSkeletonMappings(h, Min, &mapping, &one), TooSmall,
        "Parameter in_out_numMappings is not large enough for Mapping Count");
    Expect(velkori_getSkeletonMappingEntries(h, Min, &entry, nullptr), Null, IsNull("in_out_numMappings"));
    Expect(velkori_getSkeletonMappingEntries(h, Min, &entry, &one), TooSmall,
        "Parameter in_out_numMappingEntries is not large enough for Mapping Count");
}

TEST_F(Refusals, RestPosesNameTheirFirstFault) {
    const std::string countNull = IsNull("in_out_numJoints");
    const std::string tooSmall = "Parameter in_out_numJoints is not large enough for Joint Count";
    Expect(velkori_getSkeletonTPose(h, Source, Current, NoSpace, p, nullptr), Null, countNull);
    Expect(velkori_getSkeletonTPose(h, Source, Current, NoSpace, p, &one), Value, NoSpaceText);
    Expect(velkori_getSkeletonTPose(h, Source, Current, LocalSpace, p, &one), Failed,
        "TPose data is not valid.");
    Expect(velkori_getSkeletonTPose(h, Source, Min, RootSpace, p, &one), TooSmall, tooSmall);
    Expect(velkori_calculateSkeletonTPose(h, Source, NoSpace, NAN, p, nullptr), Null, countNull);
    Expect(velkori_calculateSkeletonTPose(h, Source, NoSpace, NAN, p, &one), Value, NoSpaceText);
    Expect(velkori_calculateSkeletonTPose(h, Source, LocalSpace, NAN, p, &one), Value,
        "Parameter interpolation must be a finite number");
    Expect(velkori_calculateSkeletonTPose(h, Source, LocalSpace, 0.5F, p, &one), TooSmall, tooSmall);
    Expect(velkori_calculateSkeletonTPoseAtHeight(h, Source, NoSpace, INFINITY, p, nullptr), Null, countNull);
    Expect(velkori_calculateSkeletonTPoseAtHeight(h, Source, NoSpace, INFINITY, p, &one), Value, NoSpaceText);
    Expect(velkori_calculateSkeletonTPoseAtHeight(h, Source, LocalSpace, INFINITY, p, &one), Value,
        "Parameter height must be a finite number");
    Transforms flat(5, At(0, 0, 0));
    Expect(velkori_scalePoseToHeight(h, Source, RootSpace, 1.0F, 5, flat.data()), Value,
        "A pose without height can't be scaled to one");
    EXPECT_TRUE(SameBits(flat, Transforms(5, At(0, 0, 0))));

    velkori_PoseInfo_ info = {};
    float length = 0;
    const std::string noLength = "Cannot Measure Distance between Joints - ";
    Expect(velkori_getPoseInfo(h, Source, Current, nullptr), Parameter, IsNull("out_poseHeight"));
    Expect(velkori_getPoseInfo(h, Source, Current, &info), Value,
        "Cannot Populate PoseInfo - TPoseData is currently invalid");
    Expect(velkori_getLengthBetweenJoints(h, Source, Min, 5, -1, nullptr), Parameter, IsNull("out_length"));
    Expect(velkori_getLengthBetweenJoints(h, Source, Min, 5, -1, &length), Value,
        noLength + "startJointIndex 5 is invalid");
    Expect(velkori_getLengthBetweenJoints(h, Source, Min, 0, -1, &length), Value,
        noLength + "endJointIndex -1 is invalid");
}

TEST_F(Refusals, PoseArraysNameTheirFirstFault) {
    const std::string arrayNull = IsNull("in_out_transformData");
    const std::string countDiffers = "ERROR: JointCount: 4 does not match skeleton Joint Count of 5.";
    velkori_PoseExtents_ extents = {};
    Expect(velkori_convertJointPose(h, Source, NoSpace, LocalSpace, nullptr, 4), Parameter, arrayNull);
    Expect(velkori_convertJointPose(h, Source, NoSpace, LocalSpace, b, 4), Value, BrokenText);
    Expect(velkori_convertJointPose(h, Source, NoSpace, LocalSpace, p, 4), TooSmall, countDiffers);
    Expect(velkori_convertJointPose(h, Source, NoSpace, LocalSpace, p, 5), Value, NoSpaceText);
    Expect(velkori_calculatePoseExtents(h, Source, NoSpace, nullptr, 4, nullptr), Parameter, arrayNull);
    Expect(velkori_calculatePoseExtents(h, Source, NoSpace, p, 4, nullptr), Parameter, IsNull("out_extents"));
    Expect(velkori_calculatePoseExtents(h, Source, NoSpace, p, 4, &extents), TooSmall, countDiffers);
    Expect(velkori_calculatePoseExtents(h, Source, NoSpace, p, 5, &extents), Value, NoSpaceText);
    Expect(velkori_scalePoseToHeight(h, Source, NoSpace, NAN, 4, p), TooSmall,
        "Parameter jointCount does not match the skeleton joint count definition. Required length 5, Actual "
        "length 4");
    Expect(velkori_scalePoseToHeight(h, Source, NoSpace, NAN, 5, p), Value, NoSpaceText);
    Expect(velkori_scalePoseToHeight(h, Source, RootSpace, NAN, 5, p), Value,
        "Parameter height must be a finite number");
    const auto convertSpace = [&](int32_t given, const velkori_CoordinateSpace_& from,
                                  const velkori_CoordinateSpace_& to) {
        return velkori_applyCoordinateSpaceConversion(h, Source, NoSpace, p, given, from, to);
    };
    Expect(convertSpace(4, doubled, doubled), TooSmall, countDiffers);
    Expect(convertSpace(5, doubled, doubled), Value,
        "ERROR: in_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned.");
    Expect(convertSpace(5, space, doubled), Value,
        "ERROR: out_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned.");
    Expect(convertSpace(5, space, space), Value, NoSpaceText);
    Expect(velkori_applyWorldSpaceCoordinateSpaceConversion(nullptr, 0, doubled, doubled), Parameter,
        IsNull("in_out_worldSpaceTransformData"));
    Expect(velkori_applyWorldSpaceCoordinateSpaceConversion(p, 0, doubled, doubled), Value,
        "ERROR: in_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned.");
    Expect(velkori_applyWorldSpaceCoordinateSpaceConversion(p, 0, space, doubled), Value,
        "ERROR: out_coordinateSpace: CoordinateSpace is invalid, MUST be Axis Aligned.");
}

TEST_F(Refusals, ConversionsBetweenManifestationsNameTheirFirstFault) {
    const auto convert = [&](const char* from, const velkori_Transform_* given, int32_t givenCount,
                             const char* to, int32_t* outCount,
                             velkori_JointRelativeSpaceType fromSpace = NoSpace) {
        return velkori_convertPoseFromToManifestation(
            h, Source, from, fromSpace, given, givenCount, to, LocalSpace, p, outCount);
    };
    const auto tooSmall = [](const std::string& parameter, int size) {
        return "Parameter " + parameter + " too small for manifestation NONE joint count list.  Size " +
               std::to_string(size) + ", Required 5.";
    };
    Expect(convert("feet", b, 5, "feet", nullptr), Value, BrokenText);
    Expect(convert("feet", p, 5, "feet", nullptr), Value, "Could not find Output Manifestation named: feet");
    Expect(convert("feet", p, 5, "gap", nullptr), Data, GapText);
    Expect(convert("feet", p, 5, "", nullptr), Parameter, IsNull("in_out_numOutputJoints"));
    Expect(convert("feet", nullptr, 4, "", &one), Value, "Could not find Source Manifestation named: feet");
    Expect(convert("gap", nullptr, 4, "", &one), Data, GapText);
    Expect(convert("", nullptr, 4, "", &one), Parameter, IsNull("in_transformData"));
    Expect(convert("", p, 4, "", &one), TooSmall, tooSmall("in_sourceManifestationJointCount", 4));
    Expect(convert("", p, 5, "", &one), TooSmall, tooSmall("in_out_numOutputJoints", 1));
    Expect(convert("", p, 5, "", &count), Value, NoSpaceText);
}

TEST_F(Refusals, RetargetingNamesItsFirstFaultAndLeavesNoTrace) {
    SetReference(h, records.pose);
    Transforms frame = records.pose;
    frame[4] = At(1, 1.5F, 2);
    const Transforms good = Retarget(h, frame, Info(0));
    velkori_RetargetingBehaviorInfo_ info = Info(4);
    info.jointSpaceType = NoSpace;
    const auto retarget = [&](const velkori_Transform_* given, int32_t givenCount, int32_t room,
                              const char* from, const char* to) {
        return velkori_retargetFromSourceFrameData(h, info, given, givenCount, p, &room, from, to);
    };
    const auto unknown = [](const std::string& name, const std::string& skeleton) {
        return "Could not find manifestation named: " + name + " in " + skeleton + "skeleton data.";
    };
    const std::string gap = "Manifestation named: gap is invalid - please check Config Data";
    Expect(velkori_retargetFromSourceFrameData(h, info, b, 4, p, nullptr, "feet", "feet"), Parameter,
        IsNull("in_out_numTargetJoints"));
    Expect(retarget(nullptr, 4, 1, "feet", "feet"), Value, unknown("feet", "target "));
    Expect(retarget(nullptr, 4, 0, "feet", "empty"), Value, unknown("empty", "target "));
    // The braces are part of the line.
    Expect(retarget(nullptr, 4, 4, "feet", nullptr), TooSmall,
        "Parameter in_out_numTargetJoints is not large enough for Target Skeleton Joint Count. Expected {} "
        "joints, got {} joints");
    Expect(retarget(nullptr, 4, 5, "feet", nullptr), Parameter,
        "Parameter in_sourceTransformData and in_numSourceJoints must not be Null");
    Expect(retarget(b, 4, 5, "feet", nullptr), Value, BrokenText);
    Expect(retarget(p, 4, 5, "feet", nullptr), Value, unknown("feet", "source "));
    Expect(retarget(p, 0, 5, "empty", nullptr), Value, unknown("empty", "source "));
    Expect(retarget(p, 2, 5, "gap", nullptr), Data, gap);
    Expect(retarget(p, 3, 5, "top", nullptr), Value,
        "in_numSourceJoints does not match the joint count in manifestation: top");
    Expect(retarget(p, 4, 5, nullptr, nullptr), Value,
        "in_numSourceJoints does not match the source skeleton joint count");
    Expect(retarget(p, 5, 5, nullptr, nullptr), Value, "Retargeting behavior 4 is not between 0 and 3");
    info.behavior = static_cast<velkori_RetargetingBehavior>(-1);
    Expect(retarget(p, 5, 5, nullptr, nullptr), Value, "Retargeting behavior -1 is not between 0 and 3");
    info.behavior = velkori_RetargetingBehavior_MatchProportions;
    Expect(retarget(p, 5, 5, nullptr, nullptr), Value, NoSpaceText);

    Expect(velkori_updateSourceReferenceTPose(h, nullptr, 0, nullptr), Parameter,
        IsNull("in_transformData and in_numJoints"));
    Expect(velkori_updateSourceReferenceTPose(h, b, 5, "feet"), Parameter, BrokenText);
    Expect(velkori_updateSourceReferenceTPose(h, p, 5, "feet"), Parameter, unknown("feet", "source "));
    Expect(velkori_updateSourceReferenceTPose(h, p, 0, "empty"), Parameter, unknown("empty", "source "));
    Expect(velkori_updateSourceReferenceTPose(h, p, 3, "top"), Parameter,
        "in_numJoints does not match the joint count in manifestation: top");
    EXPECT_TRUE(SameBits(Retarget(h, frame, Info(0)), good));
}

TEST_F(Refusals, WhatTheLastFrameDidNamesItsFirstFault) {
    velkori_SkeletonType type = {};
    const auto lastFrame = [&](velkori_JointRelativeSpaceType in, int32_t* outCount, const char* part) {
        return velkori_getLastProcessedFramePose(h, Source, in, p, outCount, part);
    };
    Expect(lastFrame(NoSpace, nullptr, "nobody"), Null, IsNull("in_out_numJoints"));
    Expect(lastFrame(NoSpace, &count, "nobody"), Value,
        "Could not find manifestation named: nobody in skeleton data.");
    Expect(lastFrame(NoSpace, &count, nullptr), Value, NoSpaceText);
    Expect(lastFrame(RootSpace, &count, nullptr), Failed, "Retargeting cached frame data is not valid.");

    const auto mapping = [&](int32_t joint, velkori_SkeletonType* outType, int32_t* outCount) {
        return velkori_getLastRetargetedMappingData(h, joint, outType, nullptr, p, joints, outCount);
    };
    Expect(mapping(3, nullptr, nullptr), Parameter, IsNull("in_out_sourceJointCount"));
    Expect(mapping(3, nullptr, &one), Value, "Invalid Target Joint Index: 3 - cannot find mapping to joint");
    Expect(mapping(4, nullptr, &one), Parameter, IsNull("out_sourceSkeletonType"));
    Expect(mapping(4, &type, &one), Value,
        "Retargeting cached data isn't valid - updateSourceReferenceTPose and retargetFromSourceFrameData "
        "must be called before retrieving blended transform data!");

    const char* const names[] = {"hips", nullptr};
    const auto pair = [&](const char* const* named, int32_t* out) {
        return velkori_generateTargetToSourceJointPairsFromNames(h, h, 1, named, out);
    };
    Expect(pair(nullptr, nullptr), Null, IsNull("out_pairs"));
    Expect(pair(nullptr, joints), Parameter, IsNull("in_namedPairs"));
    Expect(pair(names, joints), Value, "Invalid Source Joint Name: <NULL>");
}

TEST_F(Refusals, AlignmentNamesItsFirstFault) {
    const auto align = [&](velkori_Handle source, velkori_Handle target, velkori_Handle* out) {
        return velkori_alignTargetToSource("a", velkori_AlignmentFlags_None, source, Source, target, out);
    };
    velkori_Handle made = 77;
    Expect(
        align(Unknown, Unknown, nullptr), Parameter, "Handle Pointer output variable in_out_handle is null.");
    Expect(align(Unknown, Unknown, &made), NoHandle,
        "Could not find handle ffffffffff to load as sourceInstance");
    Expect(align(h, Unknown, &made), NoHandle, "Could not find handle ffffffffff to load as targetInstance");
    const RecordedConfig onlySource({records.Skeleton(), {}, {}, {}}, "one");
    const RecordedConfig onlyTarget({{}, records.Skeleton(), {}, {}}, "two");
    Expect(align(onlySource.handle, onlySource.handle, &made), Failure,
        "Failed to Align Source and Target Min Pose");
    EXPECT_EQ(made, 77U);

    const auto noMappings = [](const std::string& name, const std::string& skeleton) {
        return "Cannot Generate Mappings for Config: " + name + ".  Config must have valid " + skeleton +
               " Skeleton Data!";
    };
    constexpr auto None = velkori_AutoMappingFlags_None;
    Expect(velkori_generateMappings(Unknown, None), NoHandle, NoInstance);
    Expect(velkori_generateMappings(onlyTarget.handle, None), Data, noMappings("two", "Source"));
    Expect(velkori_generateMappings(onlySource.handle, None), Data, noMappings("one", "Target"));

    const auto simple = [&](velkori_Handle handle, int32_t given, const char* const* names,
                            const velkori_Transform_* rest, const char* const* mapping, velkori_Handle* out) {
        return velkori_generateSimpleMappingConfig(handle, given, names, nullptr, rest, mapping, out);
    };
    const char* const* names = records.names.data();
    Expect(simple(Unknown, 0, nullptr, nullptr, nullptr, nullptr), NoHandle, NoInstance);
    Expect(
        simple(h, 0, nullptr, nullptr, nullptr, nullptr), Value, "Target Joint Count must be Greater than 0");
    Expect(simple(h, 1, nullptr, nullptr, nullptr, nullptr), Parameter, IsNull("targetJointNames"));
    Expect(simple(h, 5, names, nullptr, nullptr, nullptr), Parameter, IsNull("targetRestPose"));
    Expect(simple(h, 5, names, b, nullptr, nullptr), Value, BrokenText);
    Expect(simple(h, 5, names, p, nullptr, nullptr), Parameter, IsNull("sourceJointNamesMapping"));
    Expect(simple(h, 5, names, p, names, nullptr), Parameter, IsNull("out_generatedConfigHandle"));
    // Its checks are all that it does.
    EXPECT_EQ(simple(h, 5, names, p, names, &made), Failure);
    EXPECT_EQ(made, 77U);
}

TEST_F(Refusals, MatchingPosesNamesItsFirstFault) {
    const auto wrongCount = [](int32_t given) {
        return "Parameter in_out_jointCount does not match the skeleton joint count definition. Required "
               "length 5, Actual length " +
               std::to_string(given);
    };
    const auto current = [&](velkori_Transform_* given, int32_t givenCount, int space = 4) {
        return velkori_matchCurrentTPose(h, Source, velkori_MatchBehavior_Scale,
            static_cast<velkori_JointRelativeSpaceType>(space), givenCount, given);
    };
    Expect(current(nullptr, 1), Parameter, IsNull("in_out_transform"));
    Expect(current(b, 1), Value, BrokenText);
    Expect(current(p, -1), TooSmall, wrongCount(-1));
    Expect(current(p, 4), TooSmall, wrongCount(4));
    Expect(current(p, 5), Value, NoSpaceText);
    Expect(current(p, 5, 0), Failed,
        "Error - current TPose isn't initialized.  Call velkori_updateSourceReferenceTPose before this "
        "function.");
    const auto match = [&](velkori_Handle handle, const velkori_Transform_* like, velkori_Transform_* given,
                           int32_t givenCount, velkori_JointRelativeSpaceType in = NoSpace) {
        return velkori_matchPose(handle, Source, velkori_MatchBehavior_Scale, in, givenCount, like, given);
    };
    Expect(match(Unknown, nullptr, nullptr, 1), NoHandle, NoInstance);
    Expect(match(h, nullptr, nullptr, 1), Parameter, IsNull("in_transformSourcePose"));
    Expect(match(h, b, nullptr, 1), Parameter, IsNull("in_out_transformData"));
    Expect(match(h, b, p, 1), Value, BrokenText);
    Expect(match(h, p, b, 1), Value, BrokenText);
    Expect(match(h, p, p, 1), TooSmall, wrongCount(1));
    Expect(match(h, p, p, 5), Value, NoSpaceText);

    // What the skeleton lacks for it. Without rest poses it comes from a document only.
    velkori_SkeletonInitParams_ skeleton = records.Skeleton();
    skeleton.knownJoints = nullptr;
    const RecordedConfig hipless({skeleton, {}, {}, {}});
    Expect(match(hipless.handle, p, p, 5, RootSpace), Failure,
        "Cannot match a pose of a skeleton without a known hips joint");
    const LoadedConfig shapeless(R"({"name": "shapeless", "config": {"version": 0, "coordinateSpace": {
        "up": {"x": 0, "y": 1, "z": 0}, "forward": {"x": 0, "y": 0, "z": 1},
        "right": {"x": 1, "y": 0, "z": 0}}}, "source": {"joints": ["root", "hips"],
        "hierarchy": {"hips": "root"}, "knownJoints": {"root": "root", "hips": "hips"}}})");
    LogCapture::TakeLines();
    for (const velkori_Handle handle : {hipless.handle, shapeless.Get()}) {
        Expect(velkori_matchCurrentTPose(handle, Source, velkori_MatchBehavior_JointLengths, RootSpace,
                   handle == hipless.handle ? 5 : 2, p),
            Failure,
            std::string("Cannot match a pose of a skeleton without ") +
                (handle == hipless.handle ? "a known hips joint" : "rest poses"));
    }
}

TEST_F(Refusals, SendingNamesItsFirstFault) {
    const float face[2] = {};
    velkori_FrameData_ frameData = {};
    const auto noSnapshot = [](const std::string& what) {
        return "Cannot " + what + " the current snapshot because it doesn't exist yet.";
    };
    Expect(velkori_getSerializationSettings(h, nullptr), Null, IsNull("out_serializationSettings"));
    Expect(velkori_updateSerializationSettings(h, nullptr), Parameter, IsNull("in_serializationSettings"));
    Expect(velkori_getCurrentAck(h, nullptr), Null, "Parameter out_ack must not be null!");
    Expect(velkori_snapshotSkeleton(h, Target, nullptr, nullptr, 1), Parameter, IsNull("skeletonPose"));
    Expect(velkori_snapshotSkeleton(h, Target, b, nullptr, 1), Value, BrokenText);
    Expect(velkori_snapshotSkeleton(h, Target, p, nullptr, 1), Parameter, IsNull("indices"));
    Expect(velkori_snapshotSkeleton(h, Target, p, nullptr, 0), Failed, noSnapshot("add a pose to"));
    Expect(velkori_snapshotFace(h, nullptr, nullptr, 1), Parameter, IsNull("facePose"));
    Expect(velkori_snapshotFace(h, face, nullptr, 1), Parameter, IsNull("indices"));
    Expect(velkori_snapshotFace(h, face, nullptr, 0), Failed, noSnapshot("add a face to"));
    Expect(velkori_snapshotFrameData(h, nullptr), Parameter, IsNull("frameData"));
    EXPECT_EQ(velkori_snapshotFrameData(h, &frameData), Failed);
    EXPECT_EQ(LogCapture::TakeTexts(),
        (std::vector<std::string>{
            "[ERROR]: Cannot add framedata to current snapshot because it doesn't exist yet.",
            "[ERROR]: Could not add framedata."}));
    Expect(velkori_serializeSnapshot(h, nullptr, nullptr), Null, IsNull("in_out_bufferSizeInBytes"));
    Expect(velkori_serializeSnapshot(h, nullptr, &one), Failed, noSnapshot("serialize"));
    Expect(velkori_serializeStartHeader({}, nullptr), Null, IsNull("out_header"));
    Expect(velkori_serializeEndHeader({}, nullptr), Null, IsNull("out_header"));

    ASSERT_EQ(velkori_createSnapshot(h, -1, 1.0), Success);
    int32_t size = 0;
    ASSERT_EQ(velkori_serializeSnapshot(h, nullptr, &size), Success);
    Expect(velkori_serializeSnapshot(h, joints, &one), TooSmall,
        "out_buffer Buffer is too small, require " + std::to_string(size) + " bytes, provided 1 bytes");
}

TEST_F(Refusals, ReceivingNamesItsFirstFault) {
    const unsigned char bytes[VELKORI_MAX_SNAPSHOT_SIZE] = {};
    double time = 0.0;
    velkori_CompressionType type = {};
    const auto read = [&](const void* data, double* outTime, velkori_CompressionType* outType, int32_t* ack) {
        return velkori_deserializeSnapshot(
            h, data, outTime, outType, ack, nullptr, nullptr, nullptr, nullptr);
    };
    Expect(velkori_deserializeStartHeader(nullptr, {}), Null, IsNull("out_header"));
    Expect(velkori_deserializeEndHeader(nullptr, {}), Null, IsNull("out_header"));
    Expect(velkori_deserializeSnapshotTimestamp(nullptr, nullptr), Parameter, IsNull("data"));
    Expect(velkori_deserializeSnapshotTimestamp(bytes, nullptr), Null, IsNull("out_timestamp"));
    Expect(read(nullptr, nullptr, nullptr, nullptr), Parameter, IsNull("data"));
    Expect(read(bytes, nullptr, nullptr, nullptr), Null, IsNull("out_timestamp"));
    Expect(read(bytes, &time, nullptr, nullptr), Null, IsNull("out_compressionType"));
    Expect(read(bytes, &time, &type, nullptr), Null, IsNull("out_ack"));

    float weights[2] = {};
    const auto interpolate = [&](int32_t* outCount, double at) {
        return velkori_getInterpolatedSkeletonPose(h, Target, p, outCount, at);
    };
    const std::string notFinite = "Parameter time must be a finite number of seconds";
    Expect(interpolate(nullptr, INFINITY), Null, IsNull("in_out_jointCount"));
    Expect(interpolate(&one, INFINITY), TooSmall,
        "Parameter out_bodyPose is not large enough for body pose. Required length 5, Actual length 1");
    Expect(interpolate(&count, INFINITY), Value, notFinite);
    Expect(velkori_getInterpolatedFacePose(h, 0, weights, nullptr, NAN), Null, IsNull("in_out_shapeCount"));
    Expect(velkori_getInterpolatedFacePose(h, 0, weights, &one, NAN), TooSmall,
        "Parameter out_facePose is not large enout for body pose. Required length 2, Actual length 1");
    Expect(velkori_getInterpolatedFacePose(h, 0, weights, &count, NAN), Value, notFinite);
    Expect(velkori_getInterpolatedTrackerJointPose(h, 0, nullptr, NAN), Null, IsNull("out_pose"));
    Expect(velkori_getInterpolatedTrackerJointPose(h, 0, p, NAN), Value, notFinite);
    Expect(velkori_resetInterpolators(Unknown), NoHandle, NoInstance);
}
