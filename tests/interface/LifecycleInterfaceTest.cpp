#include "Velkori_Utility.h"
#include "support/HostPoses.h"
#include "support/LogCapture.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

// The reason comes last.
TEST(CreateFromDocument, ADocumentInNoSpaceIsRefusedThoughItsSkeletonsAreSound) {
    const std::string noSpace = ReplaceAll(ReadSample("simple.json"), "coordinateSpace", "coordinateSpacf");
    for (const char* document : {"[]", noSpace.c_str()}) {
        const LogCapture capture;
        velkori_Handle handle = 77;
        EXPECT_EQ(velkori_createOrUpdateHandle(document, &handle), velkori_Result_InvalidData);
        const std::vector<std::string> lines = LogCapture::TakeTexts();
        EXPECT_EQ(std::count(lines.begin(), lines.end(),
                      "[ERROR]: Initialization Parameters contain invalid data.  Cannot initialize handle."),
            1);
        EXPECT_EQ(lines.back(), "[ERROR]: CONFIG: Provided coordinate space is not Axis Aligned");
        EXPECT_EQ(handle, 77U);
    }
}

TEST(CreateFromDocument, BothMappingsAskForTheirObject) {
    const std::pair<std::string, std::string> cases[] = {
        {R"({"name":"n","mapping":true})",
            "[ERROR]: JSON value for key \"mapping\" type mismatch.  Expected object, found bool."},
        {R"({"name":"n","mapping":5})",
            "[ERROR]: [JointMappingData::CreateFromJSON] Invalid mapping data.  Structure is not a JSON "
            "object/map."}};
    const auto countIn = [](const std::string& document, const std::string& line) {
        const LogCapture capture;
        velkori_Handle handle = 0;
        EXPECT_EQ(velkori_createOrUpdateHandle(document.c_str(), &handle), velkori_Result_InvalidData);
        const std::vector<std::string> lines = LogCapture::TakeTexts();
        return std::count(lines.begin(), lines.end(), line);
    };
    for (const auto& [document, line] : cases) {
        EXPECT_EQ(countIn(document, line), 2) << document;
    }
    // As do the configuration and the two skeletons, where the document is no object.
    EXPECT_EQ(countIn("[]", "[ERROR]: Cannot retrieve JSON Object, rapidJson Value is of type array"), 3 + 2);
}

TEST(CreateFromDocument, AFailedUpdateLeavesTheInstanceAndNamesEveryFault) {
    const LoadedConfig config(ReadSample("simple.json"));
    const std::string before = WriteDocument(config.Get());
    const std::string damaged = ReplaceAll(ReplaceAll(before, R"("spine": "hips")", R"("spine": "pelvis")"),
        R"("chest": "chest")", R"("chest": "ribs")");
    const LogCapture capture;
    velkori_Handle handle = config.Get();
    EXPECT_EQ(velkori_createOrUpdateHandle(damaged.c_str(), &handle), velkori_Result_InvalidData);
    const std::vector<std::string> lines = LogCapture::TakeTexts();
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

TEST(CreateFromRecords, OneSkeletonIsEnough) {
    const SmallRecords records{};
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
    // Smallest and largest mappings differ here, and stay where they are.
    std::string document = ReadSample("simple.json");
    const std::string weight = "\"weightRotation\": 1.0";
    document.replace(
        document.find(weight, document.find("\"mapping\"")), weight.size(), "\"weightRotation\": 0.5");
    EXPECT_EQ(WriteDocument(LoadedConfig(document).Get()) + "\n", document);
}

TEST(WriteDocument, HoldsAMappingWhoseEntriesWereAllDropped) {
    // The staff is the second of the mapped joints; the chest follows the staff and, empty-handed, the
    // source.
    SmallRecords records;
    records.entries[1] = {4, -1, -1};
    records.mappings.push_back({2, Source, velkori_JointMappingBehaviorType_Twist, 1});
    records.entries.push_back({2, 0, -1});
    const RecordedConfig config(records.Config());
    std::string document = WriteDocument(config.handle);
    std::erase_if(document, [](char c) { return c == ' ' || c == '\n'; });
    const std::string full = R"({"weightPosition":1.0,"weightRotation":1.0})";
    const std::string mappings = R"("root":{"type":"source","behavior":"normal","mappings":{"root":)" + full +
                                 R"(}},"staff":{"type":"source","behavior":"normal","mappings":{}},)"
                                 R"("chest":{"source":{"behavior":"twist","mappings":{}},)"
                                 R"("target":{"behavior":"normal","mappings":{"staff":)" +
                                 full + "}}}";
    EXPECT_NE(document.find(R"("mapping":{"min":{)" + mappings + R"(},"max":{)" + mappings + "}}"),
        std::string::npos)
        << document;
    // Where no entry is left at all, the mappings are still there.
    records.entries = {{0, -1, 0}, {4, 0, -1}, {4, 0, 0}, {2, -1, -1}};
    EXPECT_NE(WriteDocument(RecordedConfig(records.Config()).handle).find("\"mapping\""), std::string::npos);
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
