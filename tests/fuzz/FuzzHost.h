#pragma once

#include "Velkori_Utility.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <vector>

// A small body that several fuzzers load: a hierarchy with branches, a leaf chain, and blend shapes.
class SmallBody {
  public:
    static constexpr int SourceJointCount = 4;
    static constexpr int TargetJointCount = 8;
    static constexpr int ShapeCount = 3;

    // Replaces the instance of a live handle.
    explicit SmallBody(velkori_Handle previous = 0) : handle(previous) {
        const velkori_UtilityConfigInitParams_ params = {
            MakeSkeleton(SourceJointCount), MakeSkeleton(TargetJointCount), MakeMappings(), MakeMappings()};
        if (velkori_createOrUpdateUtilityConfig("body", &params, &handle) != velkori_Result_Success) {
            std::abort();
        }
    }

    ~SmallBody() { velkori_destroy(handle); }

    SmallBody(const SmallBody&) = delete;
    SmallBody& operator=(const SmallBody&) = delete;

    velkori_Handle Get() const { return handle; }

    // A record of a frame that is coded against the ack, with as many bytes as a reader may read.
    std::vector<std::uint8_t> Send(int ack, std::size_t number) const {
        std::array<velkori_Transform_, TargetJointCount> pose = Pose;
        pose[0].position.x = static_cast<float>(number % 16) / 8.0F;
        const std::array<std::int32_t, TargetJointCount> joints = {0, 1, 2, 3, 4, 5, 6, 7};
        const std::array<float, ShapeCount> face = {0.1F, 0.5F, static_cast<float>(number % 8) / 8.0F};
        const velkori_FrameData_ frameData = {
            1, 2.0, true, 0.5F, 1, 2, true, false, 77, pose[0], pose[1], pose[2]};
        velkori_createSnapshot(handle, ack, static_cast<double>(number));
        velkori_snapshotSkeleton(
            handle, velkori_SkeletonType_Source, pose.data(), joints.data(), SourceJointCount);
        velkori_snapshotSkeleton(
            handle, velkori_SkeletonType_Target, pose.data(), joints.data(), TargetJointCount);
        velkori_snapshotFace(handle, face.data(), nullptr, 0);
        velkori_snapshotFrameData(handle, &frameData);
        std::vector<std::uint8_t> record(VELKORI_MAX_SNAPSHOT_SIZE);
        auto size = static_cast<std::int32_t>(record.size());
        if (velkori_serializeSnapshot(handle, record.data(), &size) != velkori_Result_Success) {
            std::abort();
        }
        return record;
    }

    static constexpr std::array<const char*, TargetJointCount> Names = {
        "root", "hips", "chest", "neck", "leftArm", "leftTwist", "leftWrist", "rightArm"};
    static constexpr std::array<const char*, TargetJointCount> Parents = {
        nullptr, "root", "hips", "chest", "chest", "leftArm", "leftTwist", "chest"};
    static constexpr std::array<velkori_Transform_, TargetJointCount> Pose = {{
        {{0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {0, 1, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {0, 1.25F, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {0, 1.5F, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {-0.25F, 1.25F, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {-0.5F, 1.25F, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {-0.75F, 1.25F, 0}, {1, 1, 1}},
        {{0, 0, 0, 1}, {0.25F, 1.25F, 0}, {1, 1, 1}},
    }};
    static constexpr std::array<const char*, ShapeCount> Shapes = {"smile", "blink", "frown"};

    // In the order of the enumeration; null for one that isn't known.
    static constexpr std::array<const char*, VELKORI_KNOWN_JOINT_COUNT> KnownTargetJoints = {"root", "hips",
        "rightArm", "leftArm", nullptr, "leftWrist", "chest", "neck", nullptr, nullptr, nullptr, nullptr};
    static constexpr std::array<const char*, VELKORI_KNOWN_JOINT_COUNT> KnownSourceJoints = {"root", "hips",
        nullptr, nullptr, nullptr, nullptr, "chest", "neck", nullptr, nullptr, nullptr, nullptr};

    static velkori_SkeletonInitParams_ MakeSkeleton(int jointCount) {
        static constexpr const char* ManifestationName = "top";
        static constexpr std::int32_t ManifestationJointCount = 2;
        velkori_SkeletonInitParams_ params = {};
        params.blendShapeCount = ShapeCount;
        params.blendShapeNames = Shapes.data();
        params.jointCount = jointCount;
        params.jointNames = Names.data();
        params.parentJointNames = Parents.data();
        params.unscaledTPose = Pose.data();
        params.knownJoints =
            jointCount == TargetJointCount ? KnownTargetJoints.data() : KnownSourceJoints.data();
        params.optional_manifestationCount = 1;
        params.optional_manifestationNames = &ManifestationName;
        params.optional_manifestationJointCounts = &ManifestationJointCount;
        params.optional_manifestationJointNames = &Names[2];
        return params;
    }

  private:
    static velkori_JointMappingDefinition_ MakeMappings() {
        static constexpr velkori_JointMapping_ Mappings[] = {
            {0, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 1},
            {1, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 1},
            {2, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 2},
            {5, velkori_SkeletonType_Target, velkori_JointMappingBehaviorType_Twist, 2}};
        static constexpr velkori_JointMappingEntry_ Entries[] = {
            {0, 1, 1}, {1, 1, 1}, {2, 0.5F, 0.5F}, {3, 0.5F, 0.5F}, {4, 0.5F, 0.5F}, {6, 0.5F, 0.5F}};
        return {4, 6, Mappings, Entries};
    }

    velkori_Handle handle;
};
