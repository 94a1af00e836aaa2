#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

const velkori_CoordinateSpace_ Default = VELKORI_DEFAULT_COORDINATE_SPACE;

// Two joints on either side and one mapping of two entries, as records whose arrays a test may damage.
struct SmallRecords {
    std::vector<const char*> names = {"hips", "head"};
    std::vector<const char*> parents = {nullptr, "hips"};
    std::vector<const char*> shapes = {"smile"};
    std::vector<const char*> excluded = {"head"};
    std::vector<const char*> manifestationNames = {"top"};
    std::vector<int32_t> manifestationCounts = {1};
    std::vector<const char*> manifestationJoints = {"head"};
    std::vector<velkori_Transform_> pose = {
        {{0, 0, 0, 1}, {0, 1, 0}, {1, 1, 1}}, {{0, 0, 0, 1}, {0, 2, 0}, {1, 1, 1}}};
    std::vector<velkori_JointMapping_> mappings = {
        {0, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 2}};
    std::vector<velkori_JointMappingEntry_> entries = {{0, 0.5F, 0.5F}, {1, 0.5F, 0.5F}};

    velkori_SkeletonInitParams_ Skeleton() const {
        velkori_SkeletonInitParams_ record = VELKORI_EMPTY_SKELETON_INIT_PARAMS;
        record.blendShapeCount = 1;
        record.blendShapeNames = shapes.data();
        record.jointCount = static_cast<int32_t>(names.size());
        record.jointNames = names.data();
        record.parentJointNames = parents.data();
        record.minTPose = record.maxTPose = record.unscaledTPose = pose.data();
        record.optional_autoMapExcludedJointCount = 1;
        record.optional_autoMapExcludedJointNames = excluded.data();
        record.optional_manifestationCount = 1;
        record.optional_manifestationNames = manifestationNames.data();
        record.optional_manifestationJointCounts = manifestationCounts.data();
        record.optional_manifestationJointNames = manifestationJoints.data();
        return record;
    }

    velkori_UtilityConfigInitParams_ Config() const {
        const velkori_JointMappingDefinition_ definition = {static_cast<int32_t>(mappings.size()),
            static_cast<int32_t>(entries.size()), mappings.data(), entries.data()};
        return {Skeleton(), Skeleton(), definition, definition};
    }
};

std::vector<velkori_Transform_> RestPose(velkori_Handle handle) {
    int32_t count = 0;
    const auto get = [&](velkori_Transform_* pose) {
        return velkori_getSkeletonTPose(handle, velkori_SkeletonType_Target, velkori_SkeletonTPoseType_Min,
            velkori_JointRelativeSpaceType_RootOriginRelative, pose, &count);
    };
    EXPECT_EQ(get(nullptr), velkori_Result_Success);
    std::vector<velkori_Transform_> pose(count);
    EXPECT_EQ(get(pose.data()), velkori_Result_Success);
    return pose;
}

float Distance(const velkori_Vector3f_& a, const velkori_Vector3f_& b) {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

// 1 for the same rotation.
float Alignment(const velkori_Quaternionf_& a, const velkori_Quaternionf_& b) {
    return std::abs(a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w);
}

std::string Error(const std::string& text) {
    return "[ERROR]: " + text;
}

} // namespace

TEST(CreateFromDocument, RefusesInTheOrderOfItsChecks) {
    const LogCapture capture;
    velkori_Handle handle = 77;
    EXPECT_EQ(velkori_createOrUpdateHandle(nullptr, nullptr), velkori_Result_ConfigNull);
    EXPECT_EQ(velkori_createOrUpdateHandle("", nullptr), velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_createOrUpdateHandle("{", &handle), velkori_Result_ParseFailed);
    const Texts expected = {Error("Config is null."), Error("Handle Pointer output variable is null."),
        Error("Failed to parse configuration due to possible JSON error.")};
    EXPECT_EQ(LogCapture::TakeTexts(), expected);

    EXPECT_EQ(velkori_createOrUpdateHandle("[]", &handle), velkori_Result_InvalidData);
    const Texts lines = LogCapture::TakeTexts();
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                  Error("Initialization Parameters contain invalid data.  Cannot initialize handle.")),
        1);
    EXPECT_EQ(lines.back(), Error("CONFIG: Provided coordinate space is not Axis Aligned"));
    EXPECT_EQ(handle, 77U);
}

TEST(CreateFromDocument, ADocumentInNoSpaceIsRefusedThoughItsSkeletonsAreSound) {
    const LogCapture capture;
    std::string document = ReadSample("simple.json");
    document.replace(document.find("\"coordinateSpace\""), 17, "\"coordinateSpacf\"");
    velkori_Handle handle = 0;
    EXPECT_EQ(velkori_createOrUpdateHandle(document.c_str(), &handle), velkori_Result_InvalidData);
    EXPECT_EQ(LogCapture::TakeTexts().back(), Error("CONFIG: Provided coordinate space is not Axis Aligned"));
}

TEST(CreateFromDocument, AFailedUpdateLeavesTheInstanceAndNamesEveryFault) {
    const LoadedConfig config(ReadSample("simple.json"));
    const std::string before = WriteDocument(config.Get());
    std::string damaged = before;
    const auto replaceAll = [&](const std::string& from, const std::string& to) {
        for (auto at = damaged.find(from); at != std::string::npos; at = damaged.find(from, at + to.size())) {
            damaged.replace(at, from.size(), to);
        }
    };
    replaceAll("\"spine\": \"hips\"", "\"spine\": \"pelvis\"");
    replaceAll("\"chest\": \"chest\"", "\"chest\": \"ribs\"");
    const LogCapture capture;
    velkori_Handle handle = config.Get();
    EXPECT_EQ(velkori_createOrUpdateHandle(damaged.c_str(), &handle), velkori_Result_InvalidData);
    const Texts lines = LogCapture::TakeTexts();
    for (const char* fault : {"SKELETON: Could not find parent joint named: pelvis",
             "SKELETON: Could not find known joint chest named: ribs"}) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), Error(fault)), 2) << fault << ", on either skeleton";
    }
    EXPECT_EQ(handle, config.Get());
    EXPECT_EQ(WriteDocument(config.Get()), before);
}

TEST(CreateFromDocument, ALiveHandleIsReplacedAndAStaleOneIsGivenAnew) {
    velkori_Handle handle = 0xDEADBEEF;
    const std::string simple = ReadSample("simple.json");
    const std::string full = ReadSample("full.json");
    ASSERT_EQ(velkori_createOrUpdateHandle(simple.c_str(), &handle), velkori_Result_Success);
    EXPECT_NE(handle, 0xDEADBEEFU);
    const velkori_Handle first = handle;
    ASSERT_EQ(velkori_createOrUpdateHandle(full.c_str(), &handle), velkori_Result_Success);
    EXPECT_EQ(handle, first);
    EXPECT_NE(WriteDocument(handle).find("ForeArmTwist_R"), std::string::npos);
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

TEST(CreateFromRecords, RefusesInTheOrderOfItsChecks) {
    const SmallRecords records;
    velkori_Handle handle = 0;
    velkori_UtilityConfigInitParams_ good = records.Config();
    const LogCapture capture;
    EXPECT_EQ(
        velkori_createOrUpdateUtilityConfig(nullptr, nullptr, nullptr), velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig(nullptr, nullptr, &handle), velkori_Result_InvalidData);
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("", &good, &handle), velkori_Result_InvalidData);
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", nullptr, &handle), velkori_Result_InvalidValue);
    EXPECT_EQ(velkori_createOrUpdateSimpleUtilityConfig("n", velkori_SkeletonType_Source, nullptr, nullptr),
        velkori_Result_InvalidValue);
    const Texts expected = {Error("Handle Pointer output variable in_out_handle is null."),
        Error("Config name not specified or invalid"), Error("Config name not specified or invalid"),
        Error("Initialization Parameter structure is null"),
        Error("Skeleton Initialization Parameter structure is null")};
    EXPECT_EQ(LogCapture::TakeTexts(), expected);

    struct Case {
        std::function<void(velkori_SkeletonInitParams_&)> damage;
        const char* text;
    };

    const std::string optional = "Skeleton has a non-zero optional_";
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
            EXPECT_EQ(
                velkori_createOrUpdateUtilityConfig("n", &params, &handle), velkori_Result_InvalidValue);
            EXPECT_EQ(LogCapture::TakeTexts(), Texts{Error(each.text)});
        }
    }
    velkori_UtilityConfigInitParams_ params = records.Config();
    params.targetSkeleton.unscaledTPose = nullptr;
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", &params, &handle), velkori_Result_InvalidValue);
    EXPECT_EQ(
        LogCapture::TakeTexts(), Texts{Error("Target Skeleton is missing an unscaled rest pose definition")});
    EXPECT_EQ(handle, 0U);
}

TEST(CreateFromRecords, RefusesMappingsThatLeaveTheirArrays) {
    struct Case {
        std::function<void(SmallRecords&)> damage;
        const char* text;
    };

    const Case cases[] = {
        {[](SmallRecords& r) { r.mappings.clear(); },
            "Invalid number of mapping entries provided: 2 - Expected less: 0"},
        {[](SmallRecords& r) { r.mappings[0].jointIndex = 2; },
            "Mapping data at index 0 has an invalid target joint index of 2. Target Joint Count is 2"},
        {[](SmallRecords& r) { r.mappings[0].jointIndex = -1; },
            "Mapping data at index 0 has an invalid target joint index of -1. Target Joint Count is 2"},
        {[](SmallRecords& r) { r.mappings[0].entryCount = 3; },
            "Invalid number of mapping entries provided: 2 - Provided Mappings are overrunning the buffer"},
        {[](SmallRecords& r) { r.mappings[0].entryCount = 1; },
            "Invalid number of mapping entries provided: 2 - Expected less: 1"},
        {[](SmallRecords& r) { r.entries[1].jointIndex = 2; },
            "Mapping entry 1 for Mapping at index 0 has an invalid source or target joint index of 2.  "
            "source/target "
            "Joint count is 2"},
        // A negative count steps back, and must not step out of the list.
        {[](SmallRecords& r) {
             r.mappings[0].entryCount = -5;
             r.mappings.push_back(
                 {1, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 7});
         },
            "Invalid number of mapping entries provided: 2 - Provided Mappings are overrunning the buffer"},
        {[](SmallRecords& r) { r.mappings[0].behavior = static_cast<velkori_JointMappingBehaviorType>(4); },
            "Mapping data at index 0 has an invalid behavior of 4"},
    };
    const LogCapture capture;
    for (const Case& each : cases) {
        SmallRecords records;
        each.damage(records);
        const velkori_UtilityConfigInitParams_ params = records.Config();
        velkori_Handle handle = 0;
        EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", &params, &handle), velkori_Result_InvalidValue);
        EXPECT_EQ(LogCapture::TakeTexts(), Texts{Error(each.text)});
    }
    const SmallRecords records;
    velkori_UtilityConfigInitParams_ params = records.Config();
    velkori_Handle handle = 0;
    params.maxMappings.mappingCount = -1;
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", &params, &handle), velkori_Result_InvalidValue);
    params.maxMappings = params.minMappings;
    params.maxMappings.mappingEntries = nullptr;
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", &params, &handle), velkori_Result_InvalidValue);
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{Error("Mapping data cannot have negative number of mappings specified."),
            Error("Mapping data has a non-zero value, but no mappings or mapping entries specified")}));
}

TEST(CreateFromRecords, OneSkeletonIsEnough) {
    const SmallRecords records;
    velkori_SkeletonInitParams_ skeleton = records.Skeleton();
    velkori_Handle handle = 0;
    skeleton.unscaledTPose = nullptr;
    ASSERT_EQ(
        velkori_createOrUpdateSimpleUtilityConfig("one", velkori_SkeletonType_Source, &skeleton, &handle),
        velkori_Result_Success);
    const std::string document = WriteDocument(handle);
    EXPECT_NE(document.find("\"source\""), std::string::npos);
    EXPECT_EQ(document.find("\"target\""), std::string::npos);
    EXPECT_EQ(document.find("\"mapping\""), std::string::npos);
    EXPECT_EQ(velkori_createOrUpdateSimpleUtilityConfig(
                  "one", static_cast<velkori_SkeletonType>(5), &skeleton, &handle),
        velkori_Result_InvalidValue)
        << "a target, which any type but 0 stands for, needs an unscaled pose";
    skeleton.unscaledTPose = records.pose.data();
    EXPECT_EQ(velkori_createOrUpdateSimpleUtilityConfig(
                  "one", static_cast<velkori_SkeletonType>(5), &skeleton, &handle),
        velkori_Result_Success);
    EXPECT_NE(WriteDocument(handle).find("\"target\""), std::string::npos);
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

TEST(WriteDocument, RefusesInTheOrderOfItsChecksAndFillsExactly) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LogCapture capture;
    EXPECT_EQ(velkori_writeConfigDataToJSON(999999, nullptr, nullptr, nullptr), velkori_Result_InvalidHandle);
    EXPECT_EQ(
        velkori_writeConfigDataToJSON(config.Get(), nullptr, nullptr, nullptr), velkori_Result_NullParameter);
    int32_t size = 0;
    const velkori_CoordinateSpace_ doubled = {{0, 2, 0}, {0, 0, 1}, {1, 0, 0}};
    EXPECT_EQ(
        velkori_writeConfigDataToJSON(config.Get(), &doubled, nullptr, &size), velkori_Result_InvalidValue);
    const Texts expected = {Error("Could not find utilityIntance with handle."),
        Error("Could not find handle f423f to load as instance"),
        Error("Parameter in_out_bufferSize must not be Null"),
        Error("Parameter optional_coordinateSpace must be an Axis Aligned matrix if provided")};
    EXPECT_EQ(LogCapture::TakeTexts(), expected);

    EXPECT_EQ(velkori_writeConfigDataToJSON(config.Get(), nullptr, nullptr, &size), velkori_Result_Success);
    std::string buffer(size, '#');
    int32_t given = size - 1;
    EXPECT_EQ(velkori_writeConfigDataToJSON(config.Get(), nullptr, buffer.data(), &given),
        velkori_Result_BufferTooSmall);
    EXPECT_EQ(buffer, std::string(size, '#')) << "a failure writes nothing";
    EXPECT_EQ(given, size - 1);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts{Error("Parameter in_out_bufferSize is not large enough to write to buffer out_buffer")});
    given = size;
    EXPECT_EQ(
        velkori_writeConfigDataToJSON(config.Get(), nullptr, buffer.data(), &given), velkori_Result_Success);
    EXPECT_EQ(std::strlen(buffer.c_str()) + 1, static_cast<std::size_t>(size));
    EXPECT_EQ(given, size);
}

TEST(WriteDocument, ASecondRoundGivesTheSameText) {
    for (const char* sample : {"simple.json", "full.json"}) {
        const LoadedConfig first(ReadSample(sample));
        const std::string text = WriteDocument(first.Get());
        EXPECT_EQ(text + "\n", ReadSample(sample)) << "what the library reads it writes again";
        const LoadedConfig second(text);
        EXPECT_EQ(WriteDocument(second.Get()), text);
    }
}

TEST(WriteDocument, RoundTripsThroughEveryOtherSpace) {
    const velkori_Vector3f_ axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0, -1, 0}, {0, 0, -1}};
    const auto cross = [](velkori_Vector3f_ a, velkori_Vector3f_ b) {
        return velkori_Vector3f_{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    };
    const auto negated = [](velkori_Vector3f_ v) { return velkori_Vector3f_{-v.x, -v.y, -v.z}; };
    const LoadedConfig original(ReadSample("full.json"));
    const std::string reference = WriteDocument(original.Get());
    const std::vector<velkori_Transform_> originalPose = RestPose(original.Get());
    int roundTrips = 0;
    for (const velkori_Vector3f_& up : axes) {
        for (const velkori_Vector3f_& forward : axes) {
            const velkori_Vector3f_ right = cross(up, forward);
            if (right.x == 0 && right.y == 0 && right.z == 0) {
                continue;
            }
            std::vector<velkori_CoordinateSpace_> spaces = {{up, forward, right}};
            // The other handedness comes back where its right lies on the process's right axis.
            if (right.x != 0) {
                spaces.push_back({up, forward, negated(right)});
            }
            for (const velkori_CoordinateSpace_& space : spaces) {
                const std::string inSpace = WriteDocument(original.Get(), &space);
                const LoadedConfig reloaded(inSpace);
                EXPECT_EQ(WriteDocument(reloaded.Get(), &space), inSpace);
                const std::vector<velkori_Transform_> pose = RestPose(reloaded.Get());
                for (std::size_t i = 0; i < pose.size(); ++i) {
                    EXPECT_LT(Distance(pose[i].position, originalPose[i].position), 1e-5F);
                    EXPECT_GT(Alignment(pose[i].orientation, originalPose[i].orientation), 1 - 1e-5F);
                }
                ++roundTrips;
            }
        }
    }
    EXPECT_EQ(roundTrips, 24 + 8);
    EXPECT_EQ(WriteDocument(original.Get()), reference);
    EXPECT_EQ(WriteDocument(original.Get(), &Default), reference);
}
