#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto Max = velkori_SkeletonTPoseType_Max;

} // namespace

TEST(Queries, NamesAreCopiedWithoutTheirEnd) {
    const LoadedConfig config(ReadSample("simple.json"));
    int32_t size = 0;
    // "spine" is the third joint.
    ASSERT_EQ(velkori_getJointName(config.Get(), Source, 2, nullptr, &size), velkori_Result_Success);
    EXPECT_EQ(size, 6);
    std::string buffer(8, '#');
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
    std::vector<velkori_JointMapping_> mappings(1000);
    std::vector<velkori_JointMappingEntry_> entries(1000);
    auto count = static_cast<int32_t>(mappings.size());
    int32_t entryCount = count;
    ASSERT_EQ(
        velkori_getSkeletonMappings(config.Get(), Max, mappings.data(), &count), velkori_Result_Success);
    ASSERT_EQ(velkori_getSkeletonMappingEntries(config.Get(), Max, entries.data(), &entryCount),
        velkori_Result_Success);
    const int shin = JointIndex(config.Get(), Target, "Shin_L");
    int32_t entriesBefore = 0;
    int found = 0;
    for (int32_t i = 0; i < count; ++i) {
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
    EXPECT_EQ(index, -1);
    EXPECT_EQ(velkori_getParentJointIndex(config.Get(), Source, 2, &index), velkori_Result_Success);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(velkori_getJointIndex(config.Get(), Source, "tail", &index), velkori_Result_Success);
    EXPECT_EQ(index, -1);
    index = 5;
    EXPECT_EQ(velkori_getJointIndexByKnownJointType(
                  config.Get(), Source, static_cast<velkori_KnownJointType>(99), &index),
        velkori_Result_Success);
    EXPECT_EQ(index, -1);
    double version = -1.0;
    EXPECT_EQ(velkori_getVersion(config.Get(), &version), velkori_Result_Success);
    EXPECT_EQ(version, 0.0);
    velkori_SkeletonInfo_ info = {};
    EXPECT_EQ(velkori_getSkeletonInfo(config.Get(), static_cast<velkori_SkeletonType>(7), &info),
        velkori_Result_Success);
    EXPECT_EQ(info.type, Target);
    EXPECT_EQ(info.jointCount, 20);
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}
