#pragma once

#include "Velkori_Utility.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace Velkori_Utility {

class SkeletonData;

// One pose of one skeleton, in up to four representations that are indexed by velkori_JointRelativeSpaceType:
// root space and local space without scale, and both with each joint's scale relative to the skeleton's
// unscaled rest pose. Whatever isn't there is derived on first use from what is, and kept; which one it is
// derived from depends on what is there at that moment, and decides results.
//
// Reading fills these caches, so a pose isn't safe to read from two threads at once. Initialising again keeps
// the memory of all lists: a pose object that is reused frame after frame allocates nothing after the first.
class PoseData {
  public:
    // A pose that holds nothing.
    explicit PoseData(const SkeletonData& owner);
    PoseData(const PoseData& other);
    PoseData(const SkeletonData& owner, velkori_JointRelativeSpaceType space,
        std::span<const JointPose> joints, const JointPose& conversion);
    PoseData& operator=(const PoseData& other);

    void Initialize(const PoseData& other);
    // Takes `joints`, one per joint in `space`, through `conversion`.
    void Initialize(
        velkori_JointRelativeSpaceType space, std::span<const JointPose> joints, const JointPose& conversion);
    // A copy of the skeleton's own rest pose.
    void Initialize(velkori_SkeletonTPoseType type);
    // Makes this pose hold nothing, keeping its memory.
    void Clear();

    // Whether the pose holds anything.
    bool IsInitialized() const { return validFlags != 0; }

    const SkeletonData& GetSkeleton() const { return *skeleton; }

    int GetJointCount() const;

    // Fill one cache if it is empty and can be filled.
    void InitializeJointPoseData(velkori_JointRelativeSpaceType space) const;
    void InitializeJointLengths() const;
    void InitializeExtents() const;
    void InitializeEstimatedPoseExtents() const;
    void InitializeRotationalDirectionVectors() const;

    // The same, and what was filled. A pose that holds nothing gives what is left in the cache: test
    // IsInitialized first where that can be.
    const std::vector<JointPose>& GetJointPoses(velkori_JointRelativeSpaceType space) const;
    const std::vector<float>& GetJointLengths() const;
    const PoseExtents& GetExtents() const;
    const Vector3f& GetEstimatedExtentRange() const;
    const std::vector<Vector3f>& GetRotationalDirectionVectors() const;

    std::vector<int> GetConnectedPathBetweenJoints(int start, int end) const;
    // Along the bones; 0 where there is no way.
    float GetLengthBetweenJoints(int start, int end) const;

    // Blends towards another pose of the same skeleton. Empty if either side holds nothing.
    PoseData Lerp(const PoseData& other, float t) const;
    // The same with a share per axis, which keeps the bones' directions consistent with their positions.
    PoseData Lerp(const PoseData& other, const Vector3f& t) const;
    // Just the root-space joints of that; none if either side holds nothing.
    void LerpRootSpacePose(
        const PoseData& other, const Vector3f& t, std::vector<JointPose>& out_rootSpacePose) const;

    PoseData CalculatePoseAtHeight(float height) const;
    PoseData CalculatePoseAtScale(float scale) const;
    // The skeleton's rest pose with this pose's joint lengths.
    PoseData CalculateAsTPose() const;
    // `poseToScale` with the bone lengths of `reference`.
    static PoseData MatchPoseScale(const PoseData& poseToScale, const PoseData& reference);

    // Takes over `pose` with its root rewritten from the hips.
    void InitializeAndApplyRootMotionBehavior(
        const PoseData& pose, const PoseData& reference, velkori_RetargetingRootMotionBehavior behavior);

    // Per joint the signed share of its length that counts towards each axis of the body's extent, for the
    // bones that span it.
    std::vector<Vector3f> GenerateJointDimensionMask(const FastRangedIntegralSet<int>& excludedJoints) const;
    void CalculateJointDimensionMaskForAxis(std::span<const JointPose> rootSpacePose, int start, int end,
        const Vector3f& axis, std::vector<Vector3f>& mask) const;

    void UnscaleLocalSpacePose(std::vector<JointPose>& localSpacePose) const;
    static void CalculateJointLengthsFromUnscaledLocalSpacePoseData(
        std::span<const JointPose> localSpacePose, std::vector<float>& out_lengths);

    bool IsApproxEqual(const PoseData& other) const;

  private:
    // What is valid: a bit per representation, by its index, and one per measure.
    static constexpr std::uint32_t RootSpaceFlag = 1;
    static constexpr std::uint32_t JointLengthsFlag = 16;
    static constexpr std::uint32_t ExtentsFlag = 32;
    static constexpr std::uint32_t EstimatedExtentsFlag = 64;
    static constexpr std::uint32_t DirectionVectorsFlag = 128;

    void DeriveRootSpacePose() const;
    void DeriveLocalSpacePose() const;
    void DeriveScaledRootSpacePose() const;
    void DeriveScaledLocalSpacePose() const;

    // The skeleton's own unscaled pose is what scale is measured against; it has none itself.
    bool IsUsingUnscaledReference() const;

    const SkeletonData* skeleton;
    mutable std::array<std::vector<JointPose>, 4> jointPoses;
    mutable std::vector<float> jointLengths;
    mutable PoseExtents extents;
    mutable Vector3f estimatedExtentRange;
    mutable std::vector<Vector3f> rotationalDirectionVectors;
    mutable std::uint32_t validFlags = 0;
};

} // namespace Velkori_Utility
