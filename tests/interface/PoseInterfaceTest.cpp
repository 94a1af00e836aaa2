// Poses of a body of five joints with two manifestations, one of which has a gap.

#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;
constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto LocalSpace = velkori_JointRelativeSpaceType_Local;
constexpr auto NoSpace = static_cast<velkori_JointRelativeSpaceType>(4);
constexpr int JointCount = 5;

// root -> hips -> chest -> head, and a staff beside it. "top" is chest and head, "gap" hips and head.
class SmallConfig {
  public:
    // The chest follows the staff, by a mapping of the target's own joints; root and staff follow the source.
    SmallConfig() {
        static const char* const names[] = {"root", "hips", "chest", "head", "staff"};
        static const char* const parents[] = {nullptr, "root", "hips", "chest", "root"};
        static const char* const manifestations[] = {"top", "gap"};
        static const int32_t counts[] = {2, 2};
        static const char* const members[] = {"chest", "head", "hips", "head"};
        static const char* const known[VELKORI_KNOWN_JOINT_COUNT] = {"root", "hips"};
        static const velkori_JointMapping_ mappings[] = {
            {0, Source, velkori_JointMappingBehaviorType_Normal, 1},
            {4, Source, velkori_JointMappingBehaviorType_Normal, 1},
            {2, Target, velkori_JointMappingBehaviorType_Normal, 1}};
        static const velkori_JointMappingEntry_ entries[] = {{0, 1, 1}, {4, 1, 1}, {4, 1, 1}};
        velkori_UtilityConfigInitParams_ params = {};
        velkori_SkeletonInitParams_& skeleton = params.sourceSkeleton;
        skeleton.jointCount = JointCount;
        skeleton.jointNames = names;
        skeleton.parentJointNames = parents;
        skeleton.unscaledTPose = rest.data();
        skeleton.knownJoints = known;
        skeleton.optional_manifestationCount = 2;
        skeleton.optional_manifestationNames = manifestations;
        skeleton.optional_manifestationJointCounts = counts;
        skeleton.optional_manifestationJointNames = members;
        params.targetSkeleton = skeleton;
        params.minMappings = params.maxMappings = {3, 3, mappings, entries};
        EXPECT_EQ(velkori_createOrUpdateUtilityConfig("small", &params, &handle), velkori_Result_Success);
    }

    ~SmallConfig() { EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success); }

    SmallConfig(const SmallConfig&) = delete;
    SmallConfig& operator=(const SmallConfig&) = delete;

    const Transforms rest = {{{0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}}, {{0, 0, 0, 1}, {0, 1, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {0, 1.5F, 0}, {1, 1, 1}}, {{0, 0, 0, 1}, {0, 1.75F, 0.25F}, {1, 1, 1}},
        {{0, 0, 0, 1}, {1, 1, 0}, {1, 1, 1}}};
    velkori_Handle handle = 0;
};

constexpr velkori_RetargetingBehaviorInfo_ Info = {RootSpace, velkori_RetargetingBehavior_MatchProportions,
    velkori_RetargetingRootMotionBehavior_Unchanged, velkori_RetargetingBehaviorFlags_None};

} // namespace

TEST(Poses, RefuseWhatTheyCantUse) {
    const SmallConfig config;
    const velkori_Handle h = config.handle;
    Transforms pose = config.rest;
    Transforms out(JointCount);
    int32_t count = JointCount;
    velkori_Transform_* const p = pose.data();
    velkori_Transform_* const o = out.data();
    velkori_PoseExtents_ extents;
    const velkori_CoordinateSpace_ space = VELKORI_DEFAULT_COORDINATE_SPACE;
    const std::string noSpace = "Joint space type 4 is not between 0 and 3";
    const auto convert = [&](const char* from, int32_t fromCount, const char* to, int32_t* toCount) {
        return velkori_convertPoseFromToManifestation(
            h, Source, from, RootSpace, p, fromCount, to, LocalSpace, o, toCount);
    };
    const auto retarget = [&](int32_t* outCount, const velkori_Transform_* frame, int32_t frameCount,
                              const char* from) {
        return velkori_retargetFromSourceFrameData(h, Info, frame, frameCount, o, outCount, from, nullptr);
    };
    Transforms flat(JointCount, {{0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}});

    struct Case {
        std::function<velkori_Result()> call;
        velkori_Result result;
        std::string line;
    };

    const Case cases[] = {
        {[&] { return velkori_calculateSkeletonTPose(h, Source, NoSpace, 0.5F, o, &count); },
            velkori_Result_InvalidValue, noSpace},
        {[&] { return velkori_calculateSkeletonTPose(h, Source, RootSpace, NAN, o, &count); },
            velkori_Result_InvalidValue, "Parameter interpolation must be a finite number"},
        {[&] { return velkori_calculateSkeletonTPoseAtHeight(h, Source, RootSpace, 1.0F, o, nullptr); },
            velkori_Result_NullParameter, "Parameter in_out_numJoints must not be Null"},
        {[&] { return velkori_calculateSkeletonTPoseAtHeight(h, Source, RootSpace, INFINITY, o, &count); },
            velkori_Result_InvalidValue, "Parameter height must be a finite number"},
        {[&] { return velkori_scalePoseToHeight(h, Source, NoSpace, 1.0F, JointCount, p); },
            velkori_Result_InvalidValue, noSpace},
        {[&] { return velkori_scalePoseToHeight(h, Source, RootSpace, NAN, JointCount, p); },
            velkori_Result_InvalidValue, "Parameter height must be a finite number"},
        {[&] {
             return velkori_applyCoordinateSpaceConversion(h, Source, NoSpace, p, JointCount, space, space);
         },
            velkori_Result_InvalidValue, noSpace},
        {[&] { return velkori_calculatePoseExtents(h, Source, NoSpace, p, JointCount, &extents); },
            velkori_Result_InvalidValue, noSpace},
        {[&] { return convert("gap", 2, nullptr, &count); }, velkori_Result_InvalidData,
            "Source Manifestation named: gap is invalid - please check Config Data"},
        {[&] { return convert(nullptr, JointCount, "gap", &count); }, velkori_Result_InvalidData,
            "Source Manifestation named: gap is invalid - please check Config Data"},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, "top", RootSpace, nullptr, 2, nullptr, LocalSpace, o, &count);
         },
            velkori_Result_InvalidParameter, "Parameter in_transformData must not be Null"},
        {[&] {
             return velkori_convertPoseFromToManifestation(
                 h, Source, "top", NoSpace, p, 2, nullptr, LocalSpace, o, &count);
         },
            velkori_Result_InvalidValue, noSpace},
        {[&] { return retarget(nullptr, p, JointCount, nullptr); }, velkori_Result_InvalidParameter,
            "Parameter in_out_numTargetJoints must not be Null"},
        {[&] { return retarget(&count, nullptr, JointCount, nullptr); }, velkori_Result_InvalidParameter,
            "Parameter in_sourceTransformData and in_numSourceJoints must not be Null"},
        {[&] { return retarget(&count, p, 2, "gap"); }, velkori_Result_InvalidData,
            "Manifestation named: gap is invalid - please check Config Data"},
        {[&] { return retarget(&count, p, 3, "top"); }, velkori_Result_InvalidValue,
            "in_numSourceJoints does not match the joint count in manifestation: top"},
        {[&] { return velkori_updateSourceReferenceTPose(h, p, 3, "top"); }, velkori_Result_InvalidParameter,
            "in_numJoints does not match the joint count in manifestation: top"},
        {[&] { return velkori_getLastProcessedFramePose(h, Source, RootSpace, o, nullptr, nullptr); },
            velkori_Result_NullParameter, "Parameter in_out_numJoints must not be Null"},
        {[&] { return velkori_getLastProcessedFramePose(h, Source, RootSpace, o, &count, "nobody"); },
            velkori_Result_InvalidValue, "Could not find manifestation named: nobody in skeleton data."},
        {[&] { return velkori_getLastProcessedFramePose(h, Source, NoSpace, o, &count, nullptr); },
            velkori_Result_InvalidValue, noSpace},
        {[&] {
             int32_t found = 4;
             int32_t joints[4];
             return velkori_getLastRetargetedMappingData(h, 4, nullptr, nullptr, nullptr, joints, &found);
         },
            velkori_Result_InvalidParameter, "Parameter out_sourceSkeletonType must not be Null"},
        {[&] {
             return velkori_getLastRetargetedMappingData(h, 4, nullptr, nullptr, nullptr, nullptr, nullptr);
         },
            velkori_Result_InvalidParameter, "Parameter in_out_sourceJointCount must not be Null"},
    };
    for (const Case& each : cases) {
        const LogCapture capture;
        count = JointCount;
        EXPECT_EQ(each.call(), each.result) << each.line;
        EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: " + each.line});
        EXPECT_EQ(pose[3].position.y, 1.75F) << each.line;
    }
}

TEST(Poses, GoThroughManifestationsAndBack) {
    const SmallConfig config;
    const auto convert = [&](const char* from, velkori_JointRelativeSpaceType fromSpace,
                             const Transforms& pose, const char* to, velkori_JointRelativeSpaceType toSpace) {
        Transforms out(to == nullptr ? JointCount : 2);
        auto count = static_cast<int32_t>(out.size());
        EXPECT_EQ(velkori_convertPoseFromToManifestation(config.handle, Source, from, fromSpace, pose.data(),
                      static_cast<int32_t>(pose.size()), to, toSpace, out.data(), &count),
            velkori_Result_Success);
        EXPECT_EQ(count, static_cast<int32_t>(out.size()));
        return out;
    };
    const Transforms top = convert(nullptr, RootSpace, config.rest, "top", RootSpace);
    EXPECT_EQ(top[0].position.y, 1.5F);
    EXPECT_EQ(top[1].position.z, 0.25F);
    // A member whose parent isn't one keeps its place; the other is told from it.
    const Transforms local = convert("top", RootSpace, top, "top", LocalSpace);
    EXPECT_EQ(local[0].position.y, 1.5F);
    EXPECT_EQ(local[1].position.y, 0.25F);
    EXPECT_EQ(convert("top", LocalSpace, local, "top", RootSpace)[1].position.y, 1.75F);
    // The whole body follows from its rest pose.
    const Transforms whole = convert("top", LocalSpace, local, nullptr, RootSpace);
    for (int joint = 0; joint < JointCount; ++joint) {
        EXPECT_LT(Distance(whole[joint].position, config.rest[joint].position), 1e-5F) << joint;
    }
    const Transforms wholeLocal = convert(nullptr, RootSpace, config.rest, nullptr, LocalSpace);
    EXPECT_LT(Distance(wholeLocal[4].position, {1, 1, 0}), 1e-6F);
    EXPECT_LT(Distance(wholeLocal[3].position, {0, 0.25F, 0.25F}), 1e-6F);
    // Equal ends copy, to the bit.
    EXPECT_EQ(convert("top", RootSpace, top, "top", RootSpace)[1].position.y, top[1].position.y);
}

// A joint that another one of the target drives takes its children along, the ones that were finished before.
TEST(Poses, WhatTheTargetsOwnJointsMoveTakesItsChildrenAlong) {
    const SmallConfig config;
    ASSERT_EQ(velkori_updateSourceReferenceTPose(config.handle, config.rest.data(), JointCount, nullptr),
        velkori_Result_Success);
    Transforms frame = config.rest;
    frame[4].position = {1, 1.5F, 2};
    Transforms out(JointCount);
    int32_t count = JointCount;
    ASSERT_EQ(velkori_retargetFromSourceFrameData(
                  config.handle, Info, frame.data(), JointCount, out.data(), &count, nullptr, nullptr),
        velkori_Result_Success);
    // A mapping of the target to itself has no offset: the chest goes to the staff, and the head is as far
    // from it as ever. The hips stay.
    EXPECT_LT(Distance(out[4].position, frame[4].position), 1e-5F);
    EXPECT_LT(Distance(out[2].position, frame[4].position), 1e-5F);
    EXPECT_LT(Distance(out[3].position, {1, 1.75F, 2.25F}), 1e-5F);
    EXPECT_LT(Distance(out[1].position, config.rest[1].position), 1e-5F);

    Transforms part(2);
    count = 2;
    ASSERT_EQ(velkori_getLastProcessedFramePose(config.handle, Target, RootSpace, part.data(), &count, "top"),
        velkori_Result_Success);
    EXPECT_LT(Distance(part[1].position, out[3].position), 1e-6F);
    velkori_SkeletonType type = {};
    velkori_Transform_ mappingTPose;
    velkori_Transform_ mappingPose;
    int32_t joints[2];
    count = 2;
    ASSERT_EQ(velkori_getLastRetargetedMappingData(
                  config.handle, 2, &type, &mappingTPose, &mappingPose, joints, &count),
        velkori_Result_Success);
    EXPECT_EQ(type, Target);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(joints[0], 4);
    EXPECT_LT(Distance(mappingPose.position, frame[4].position), 1e-5F);
    EXPECT_LT(Distance(mappingTPose.position, config.rest[4].position), 1e-5F);
    const char* const pairs[] = {"chest", "staff", "head", "root"};
    int32_t found[4];
    ASSERT_EQ(
        velkori_generateTargetToSourceJointPairsFromNames(config.handle, config.handle, 2, pairs, found),
        velkori_Result_Success);
    EXPECT_EQ(std::vector<int32_t>(found, found + 4), (std::vector<int32_t>{2, 4, 3, 0}));
}
