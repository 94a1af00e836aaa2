#include "Velkori_Utility.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

constexpr auto Min = velkori_SkeletonTPoseType_Min;
constexpr auto Max = velkori_SkeletonTPoseType_Max;
constexpr auto None = velkori_AutoMappingFlags_None;
constexpr auto SkipTwist = velkori_AutoMappingFlags_SkipTwistMappings;

velkori_Transform_ At(float height) {
    return {{0, 0, 0, 1}, {0, height, 0}, {1, 1, 1}};
}

const char* const SourceNames[] = {"root", "a", "b"};
const char* const SourceParents[] = {nullptr, "root", "a"};
const velkori_Transform_ SourcePose[] = {At(0), At(1), At(2)};
const char* const TargetNames[] = {"root", "twist", "tip"};
const char* const TargetParents[] = {nullptr, "root", "twist"};
const velkori_Transform_ SmallPose[] = {At(0), At(0.25F), At(1)};
const velkori_Transform_ LargePose[] = {At(0), At(0.5F), At(2)};

// Small, the target's tip is where the source's a is, large, where b is. Until mappings are generated, the
// source's root drives it.
velkori_UtilityConfigInitParams_ Params() {
    static const velkori_JointMapping_ mapping = {
        2, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 1};
    static const velkori_JointMappingEntry_ entry = {0, 1, 1};
    velkori_UtilityConfigInitParams_ params = {};
    params.sourceSkeleton.jointCount = params.targetSkeleton.jointCount = 3;
    params.sourceSkeleton.jointNames = SourceNames;
    params.sourceSkeleton.parentJointNames = SourceParents;
    params.sourceSkeleton.unscaledTPose = SourcePose;
    params.targetSkeleton.jointNames = TargetNames;
    params.targetSkeleton.parentJointNames = TargetParents;
    params.targetSkeleton.unscaledTPose = params.targetSkeleton.maxTPose = LargePose;
    params.targetSkeleton.minTPose = SmallPose;
    params.minMappings = params.maxMappings = {1, 1, &mapping, &entry};
    return params;
}

struct Entry {
    int joint = -1;
    float rotation = 0.0F;
    float position = 0.0F;
    bool operator==(const Entry&) const = default;
};

std::vector<Entry> ReadEntries(velkori_Handle handle, velkori_SkeletonTPoseType type) {
    int32_t count = 0;
    EXPECT_EQ(velkori_getSkeletonMappingEntries(handle, type, nullptr, &count), velkori_Result_Success);
    std::vector<velkori_JointMappingEntry_> read(count);
    EXPECT_EQ(velkori_getSkeletonMappingEntries(handle, type, read.data(), &count), velkori_Result_Success);
    std::vector<Entry> entries;
    entries.reserve(read.size());
    for (const velkori_JointMappingEntry_& entry : read) {
        entries.push_back({entry.jointIndex, entry.rotationWeight, entry.positionWeight});
    }
    return entries;
}

} // namespace

TEST(Mappings, NeedAnInstanceWithBothSkeletons) {
    const velkori_UtilityConfigInitParams_ params = Params();
    velkori_Handle onlySource = 0;
    velkori_Handle onlyTarget = 0;
    ASSERT_EQ(velkori_createOrUpdateSimpleUtilityConfig(
                  "one", velkori_SkeletonType_Source, &params.sourceSkeleton, &onlySource),
        velkori_Result_Success);
    ASSERT_EQ(velkori_createOrUpdateSimpleUtilityConfig(
                  "two", velkori_SkeletonType_Target, &params.targetSkeleton, &onlyTarget),
        velkori_Result_Success);
    const LogCapture capture;
    const Texts unknown = {"[ERROR]: Could not find utilityIntance with handle.",
        "[ERROR]: Could not find handle 3e7 to load as instance"};
    EXPECT_EQ(velkori_generateMappings(999, None), velkori_Result_InvalidHandle);
    EXPECT_EQ(LogCapture::TakeTexts(), unknown);
    EXPECT_EQ(velkori_generateSimpleMappingConfig(999, 0, nullptr, nullptr, nullptr, nullptr, nullptr),
        velkori_Result_InvalidHandle);
    EXPECT_EQ(LogCapture::TakeTexts(), unknown);
    EXPECT_EQ(velkori_generateMappings(onlyTarget, None), velkori_Result_InvalidData);
    EXPECT_EQ(velkori_generateMappings(onlySource, None), velkori_Result_InvalidData);
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{"[ERROR]: Cannot Generate Mappings for Config: two.  Config must have valid Source Skeleton "
               "Data!",
            "[ERROR]: Cannot Generate Mappings for Config: one.  Config must have valid Target Skeleton "
            "Data!"}));
    EXPECT_EQ(velkori_destroy(onlySource), velkori_Result_Success);
    EXPECT_EQ(velkori_destroy(onlyTarget), velkori_Result_Success);
}

TEST(Mappings, ReplaceWhatWasThereForEachSizeAndTheInstanceWithIt) {
    const velkori_UtilityConfigInitParams_ params = Params();
    velkori_Handle handle = 0;
    ASSERT_EQ(velkori_createOrUpdateUtilityConfig("rig", &params, &handle), velkori_Result_Success);
    ASSERT_EQ(velkori_updateSourceReferenceTPose(handle, SourcePose, 3, nullptr), velkori_Result_Success);
    const velkori_Handle before = handle;

    ASSERT_EQ(velkori_generateMappings(handle, SkipTwist), velkori_Result_Success);
    EXPECT_EQ(ReadEntries(handle, Min), (std::vector<Entry>{{0, 1, 1}, {1, 1, 1}}));
    EXPECT_EQ(ReadEntries(handle, Max), (std::vector<Entry>{{0, 1, 1}, {2, 1, 1}}));
    // The reference went with the instance's state.
    int32_t count = 3;
    velkori_Transform_ pose[3] = {};
    EXPECT_EQ(velkori_getSkeletonTPose(before, velkori_SkeletonType_Source, velkori_SkeletonTPoseType_Current,
                  velkori_JointRelativeSpaceType_RootOriginRelative, pose, &count),
        velkori_Result_OperationFailed);

    // Between the two joints of the target that drive it, the twist joint is a quarter of the way up.
    ASSERT_EQ(velkori_generateMappings(handle, None), velkori_Result_Success);
    EXPECT_EQ(ReadEntries(handle, Min),
        (std::vector<Entry>{{0, 1, 1}, {0, 0.75F, 0.75F}, {2, 0.25F, 0.25F}, {1, 1, 1}}));
    EXPECT_EQ(ReadEntries(handle, Max),
        (std::vector<Entry>{{0, 1, 1}, {0, 0.75F, 0.75F}, {2, 0.25F, 0.25F}, {2, 1, 1}}));
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}
