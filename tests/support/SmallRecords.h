#pragma once

#include "support/MovingBody.h"

#include <gtest/gtest.h>

#include <vector>

// Without a turn, in metres.
inline velkori_Transform_ At(float x, float y, float z) {
    return {{0, 0, 0, 1}, {x, y, z}, {1, 1, 1}};
}

// A small body as the public records tell it, the same on either side: root -> hips -> chest -> head, and a
// staff beside them. The target's root and staff follow the source's, its chest follows its own staff. The
// arrays may be changed before records are made of them.
struct SmallRecords {
    std::vector<const char*> names = {"root", "hips", "chest", "head", "staff"};
    std::vector<const char*> parents = {nullptr, "root", "hips", "chest", "root"};
    Transforms pose = {At(0, 0, 0), At(0, 1, 0), At(0, 1.5F, 0), At(0, 1.75F, 0.25F), At(1, 1, 0)};
    std::vector<const char*> shapes = {"smile", "frown"};
    std::vector<const char*> excluded = {"staff"};
    // A part of the body, one with a gap between its joints, and one without joints.
    std::vector<const char*> manifestations = {"top", "gap", "empty"};
    std::vector<int32_t> manifestationCounts = {2, 2, 0};
    std::vector<const char*> manifestationJoints = {"chest", "head", "hips", "head"};
    std::vector<velkori_JointMapping_> mappings = {
        {0, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 1},
        {4, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 1},
        {2, velkori_SkeletonType_Target, velkori_JointMappingBehaviorType_Normal, 1}};
    std::vector<velkori_JointMappingEntry_> entries = {{0, 1, 1}, {4, 1, 1}, {4, 1, 1}};

    velkori_SkeletonInitParams_ Skeleton() const {
        static constexpr const char* known[VELKORI_KNOWN_JOINT_COUNT] = {"root", "hips"};
        velkori_SkeletonInitParams_ record = VELKORI_EMPTY_SKELETON_INIT_PARAMS;
        record.blendShapeCount = static_cast<int32_t>(shapes.size());
        record.blendShapeNames = shapes.data();
        record.jointCount = static_cast<int32_t>(names.size());
        record.jointNames = names.data();
        record.parentJointNames = parents.data();
        record.minTPose = record.maxTPose = record.unscaledTPose = pose.data();
        record.knownJoints = known;
        record.optional_autoMapExcludedJointCount = static_cast<int32_t>(excluded.size());
        record.optional_autoMapExcludedJointNames = excluded.data();
        record.optional_manifestationCount = static_cast<int32_t>(manifestations.size());
        record.optional_manifestationNames = manifestations.data();
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

// A configuration of records that lives as long as this object.
class RecordedConfig {
  public:
    explicit RecordedConfig(const velkori_UtilityConfigInitParams_& params, const char* name = "recorded") {
        EXPECT_EQ(velkori_createOrUpdateUtilityConfig(name, &params, &handle), velkori_Result_Success);
    }

    ~RecordedConfig() { EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success); }

    RecordedConfig(const RecordedConfig&) = delete;
    RecordedConfig& operator=(const RecordedConfig&) = delete;

    velkori_Handle handle = 0;
};
