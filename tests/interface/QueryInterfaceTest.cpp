#include "Velkori_Utility.h"
#include "support/HostPoses.h"
#include "support/LogCapture.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

TEST(Queries, NamesAreCopiedWithoutTheirEnd) {
    const LoadedConfig config(ReadSample("simple.json"));
    int32_t size = 0;
    // "spine" is the third joint.
    ASSERT_EQ(velkori_getJointName(config.Get(), Source, 2, nullptr, &size), Success);
    EXPECT_EQ(size, 6);
    std::string buffer(8, '#');
    EXPECT_EQ(velkori_getJointName(config.Get(), Source, 2, buffer.data(), &size), Success);
    EXPECT_EQ(buffer, "spine###");
    EXPECT_EQ(size, 6);
    EXPECT_EQ(velkori_getJointName(config.Get(), Source, -7, nullptr, &size), Success);
    EXPECT_EQ(size, 1) << "a joint that isn't there has an empty name";

    int32_t count = 0;
    ASSERT_EQ(velkori_getJointNames(config.Get(), Target, nullptr, &size, nullptr, &count), Success);
    EXPECT_EQ(count, 20);
    std::string names(size, '#');
    std::vector<const char*> starts(count);
    ASSERT_EQ(
        velkori_getJointNames(config.Get(), Target, names.data(), &size, starts.data(), &count), Success);
    EXPECT_EQ(names.substr(0, 16), "root#hips#spine#");
    EXPECT_EQ(starts[2], names.data() + 10);
    EXPECT_EQ(names.back(), '#');
}

TEST(Queries, MappingsComeByTargetJointTheSourcesFirst) {
    SmallRecords records;
    records.mappings.push_back({2, Source, velkori_JointMappingBehaviorType_Normal, 2});
    records.entries.insert(records.entries.end(), {{1, 0.5F, 0.75F}, {3, 0.5F, 0.25F}});
    const RecordedConfig config(records.Config());
    std::vector<velkori_JointMapping_> mappings(4);
    std::vector<velkori_JointMappingEntry_> entries(5);
    int32_t count = 4;
    int32_t entryCount = 5;
    ASSERT_EQ(velkori_getSkeletonMappings(config.handle, Max, mappings.data(), &count), Success);
    ASSERT_EQ(velkori_getSkeletonMappingEntries(config.handle, Max, entries.data(), &entryCount), Success);
    ASSERT_EQ(count, 4);
    ASSERT_EQ(entryCount, 5);
    using Head = std::tuple<int, velkori_SkeletonType, int>;
    const Head heads[] = {{0, Source, 1}, {2, Source, 2}, {2, Target, 1}, {4, Source, 1}};
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(Head(mappings[i].jointIndex, mappings[i].type, mappings[i].entryCount), heads[i]) << i;
    }
    const int joints[] = {0, 1, 3, 4, 4};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(entries[i].jointIndex, joints[i]) << i;
    }
    EXPECT_EQ(entries[1].rotationWeight, 0.5F);
    EXPECT_EQ(entries[1].positionWeight, 0.75F);
}

TEST(Queries, RootsAndUnknownsAreAnswers) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LogCapture capture;
    int32_t index = 5;
    EXPECT_EQ(velkori_getParentJointIndex(config.Get(), Source, 0, &index), velkori_Result_Failure);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(velkori_getParentJointIndex(config.Get(), Source, 2, &index), Success);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(velkori_getJointIndex(config.Get(), Source, "tail", &index), Success);
    EXPECT_EQ(index, -1);
    index = 5;
    EXPECT_EQ(velkori_getJointIndexByKnownJointType(
                  config.Get(), Source, static_cast<velkori_KnownJointType>(99), &index),
        Success);
    EXPECT_EQ(index, -1);
    double version = -1.0;
    EXPECT_EQ(velkori_getVersion(config.Get(), &version), Success);
    EXPECT_EQ(version, 0.0);
    velkori_SkeletonInfo_ info = {};
    EXPECT_EQ(velkori_getSkeletonInfo(config.Get(), static_cast<velkori_SkeletonType>(7), &info), Success);
    EXPECT_EQ(info.type, Target);
    EXPECT_EQ(info.jointCount, 20);
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}
