#include "Velkori_Utility.h"
#include "support/HostPoses.h"
#include "support/LogCapture.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

Texts Errors(Texts lines) {
    for (std::string& line : lines) {
        line.insert(0, "[ERROR]: ");
    }
    return lines;
}

// That there is nothing to create from records, for this one reason.
void ExpectRefused(const velkori_UtilityConfigInitParams_& params, const std::string& line) {
    const LogCapture capture;
    velkori_Handle handle = 0;
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", &params, &handle), velkori_Result_InvalidValue);
    EXPECT_EQ(LogCapture::TakeTexts(), Errors({line}));
    EXPECT_EQ(handle, 0U) << line;
}

} // namespace

TEST(CreateFromDocument, RefusesInTheOrderOfItsChecks) {
    const LogCapture capture;
    velkori_Handle handle = 77;
    EXPECT_EQ(velkori_createOrUpdateHandle(nullptr, nullptr), velkori_Result_ConfigNull);
    EXPECT_EQ(velkori_createOrUpdateHandle("", nullptr), velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_createOrUpdateHandle("{", &handle), velkori_Result_ParseFailed);
    EXPECT_EQ(LogCapture::TakeTexts(), Errors({"Config is null.", "Handle Pointer output variable is null.",
                                           "Failed to parse configuration due to possible JSON error."}));

    // A document in no space is refused though its skeletons are sound.
    const std::string noSpace = ReplaceAll(ReadSample("simple.json"), "coordinateSpace", "coordinateSpacf");
    for (const char* document : {"[]", noSpace.c_str()}) {
        EXPECT_EQ(velkori_createOrUpdateHandle(document, &handle), velkori_Result_InvalidData);
        const Texts lines = LogCapture::TakeTexts();
        EXPECT_EQ(std::count(lines.begin(), lines.end(),
                      "[ERROR]: Initialization Parameters contain invalid data.  Cannot initialize handle."),
            1);
        EXPECT_EQ(lines.back(), "[ERROR]: CONFIG: Provided coordinate space is not Axis Aligned");
        EXPECT_EQ(handle, 77U);
    }
}

TEST(CreateFromDocument, AFailedUpdateLeavesTheInstanceAndNamesEveryFault) {
    const LoadedConfig config(ReadSample("simple.json"));
    const std::string before = WriteDocument(config.Get());
    const std::string damaged = ReplaceAll(ReplaceAll(before, R"("spine": "hips")", R"("spine": "pelvis")"),
        R"("chest": "chest")", R"("chest": "ribs")");
    const LogCapture capture;
    velkori_Handle handle = config.Get();
    EXPECT_EQ(velkori_createOrUpdateHandle(damaged.c_str(), &handle), velkori_Result_InvalidData);
    const Texts lines = LogCapture::TakeTexts();
    for (const char* fault : {"[ERROR]: SKELETON: Could not find parent joint named: pelvis",
             "[ERROR]: SKELETON: Could not find known joint chest named: ribs"}) {
        EXPECT_EQ(std::count(lines.begin(), lines.end(), fault), 2) << fault << ", on either skeleton";
    }
    EXPECT_EQ(handle, config.Get());
    EXPECT_EQ(WriteDocument(config.Get()), before);
}

TEST(CreateFromDocument, ALiveHandleIsReplacedAndAStaleOneIsGivenAnew) {
    velkori_Handle handle = 0xDEADBEEF;
    ASSERT_EQ(velkori_createOrUpdateHandle(ReadSample("simple.json").c_str(), &handle), Success);
    EXPECT_NE(handle, 0xDEADBEEFU);
    const velkori_Handle first = handle;
    ASSERT_EQ(velkori_createOrUpdateHandle(ReadSample("full.json").c_str(), &handle), Success);
    EXPECT_EQ(handle, first);
    EXPECT_NE(WriteDocument(handle).find("ForeArmTwist_R"), std::string::npos);
    EXPECT_EQ(velkori_destroy(handle), Success);
}

TEST(CreateFromRecords, ChecksItsParametersInTurn) {
    const SmallRecords records;
    const velkori_UtilityConfigInitParams_ good = records.Config();
    velkori_Handle handle = 0;
    const LogCapture capture;
    EXPECT_EQ(
        velkori_createOrUpdateUtilityConfig(nullptr, nullptr, nullptr), velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig(nullptr, nullptr, &handle), velkori_Result_InvalidData);
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("", &good, &handle), velkori_Result_InvalidData);
    EXPECT_EQ(velkori_createOrUpdateUtilityConfig("n", nullptr, &handle), velkori_Result_InvalidValue);
    EXPECT_EQ(velkori_createOrUpdateSimpleUtilityConfig("n", Source, nullptr, nullptr),
        velkori_Result_InvalidValue);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Errors(
            {"Handle Pointer output variable in_out_handle is null.", "Config name not specified or invalid",
                "Config name not specified or invalid", "Initialization Parameter structure is null",
                "Skeleton Initialization Parameter structure is null"}));
}

TEST(CreateFromRecords, ChecksEachSkeletonsArraysInTurn) {
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
    const SmallRecords records;
    for (const Case& each : cases) {
        for (const bool isTarget : {false, true}) {
            velkori_UtilityConfigInitParams_ params = records.Config();
            each.damage(isTarget ? params.targetSkeleton : params.sourceSkeleton);
            ExpectRefused(params, each.text);
        }
    }
    velkori_UtilityConfigInitParams_ params = records.Config();
    params.targetSkeleton.unscaledTPose = nullptr;
    ExpectRefused(params, "Target Skeleton is missing an unscaled rest pose definition");
}

TEST(CreateFromRecords, RefusesMappingsThatLeaveTheirArrays) {
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
        SmallRecords records;
        each.damage(records);
        ExpectRefused(records.Config(), each.text);
    }
    const SmallRecords records;
    velkori_UtilityConfigInitParams_ params = records.Config();
    params.maxMappings.mappingCount = -1;
    ExpectRefused(params, "Mapping data cannot have negative number of mappings specified.");
    params.maxMappings = params.minMappings;
    params.maxMappings.mappingEntries = nullptr;
    ExpectRefused(params, "Mapping data has a non-zero value, but no mappings or mapping entries specified");
}

TEST(CreateFromRecords, OneSkeletonIsEnough) {
    const SmallRecords records;
    velkori_SkeletonInitParams_ skeleton = records.Skeleton();
    velkori_Handle handle = 0;
    // A target, which any type but 0 stands for, needs an unscaled pose.
    constexpr auto NoType = static_cast<velkori_SkeletonType>(5);
    const auto create = [&](velkori_SkeletonType type) {
        return velkori_createOrUpdateSimpleUtilityConfig("one", type, &skeleton, &handle);
    };
    skeleton.unscaledTPose = nullptr;
    EXPECT_EQ(create(NoType), velkori_Result_InvalidValue);
    ASSERT_EQ(create(Source), Success);
    const std::string document = WriteDocument(handle);
    EXPECT_NE(document.find("\"source\""), std::string::npos);
    EXPECT_EQ(document.find("\"target\""), std::string::npos);
    EXPECT_EQ(document.find("\"mapping\""), std::string::npos);
    skeleton.unscaledTPose = records.pose.data();
    EXPECT_EQ(create(NoType), Success);
    EXPECT_NE(WriteDocument(handle).find("\"target\""), std::string::npos);
    EXPECT_EQ(velkori_destroy(handle), Success);
}

TEST(WriteDocument, GivesTheTextThatWasRead) {
    for (const char* sample : {"simple.json", "full.json"}) {
        const LoadedConfig config(ReadSample(sample));
        EXPECT_EQ(WriteDocument(config.Get()) + "\n", ReadSample(sample));
    }
}

TEST(WriteDocument, RoundTripsThroughEveryOtherSpace) {
    const velkori_CoordinateSpace_ yUp = VELKORI_DEFAULT_COORDINATE_SPACE;
    const velkori_Vector3f_ axes[] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}, {0, -1, 0}, {0, 0, -1}};
    const auto cross = [](velkori_Vector3f_ a, velkori_Vector3f_ b) {
        return velkori_Vector3f_{a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
    };
    const LoadedConfig original(ReadSample("full.json"));
    const std::string reference = WriteDocument(original.Get());
    const Transforms pose = TPose(original.Get(), Target, Min);
    int roundTrips = 0;
    for (const velkori_Vector3f_& up : axes) {
        for (const velkori_Vector3f_& forward : axes) {
            const velkori_Vector3f_ right = cross(up, forward);
            for (const float sign : {1.0F, -1.0F}) {
                // The other handedness comes back where its right lies on the process's right axis.
                if (Length(right) == 0 || (sign < 0 && right.x == 0)) {
                    continue;
                }
                const velkori_CoordinateSpace_ space = {up, forward, Scaled(right, sign)};
                const std::string inSpace = WriteDocument(original.Get(), &space);
                const LoadedConfig reloaded(inSpace);
                EXPECT_EQ(WriteDocument(reloaded.Get(), &space), inSpace);
                ExpectNear(TPose(reloaded.Get(), Target, Min), pose, 1e-5F);
                ++roundTrips;
            }
        }
    }
    EXPECT_EQ(roundTrips, 24 + 8);
    EXPECT_EQ(WriteDocument(original.Get()), reference);
    EXPECT_EQ(WriteDocument(original.Get(), &yUp), reference);
}
