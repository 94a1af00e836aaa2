#pragma once

#include "Velkori_Utility.h"
#include "core/SkeletonData.h"
#include "shared/DataTypes.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace Velkori_Utility {

// One pose of one skeleton that is worked with, in up to four representations that are indexed by
// velkori_JointRelativeSpaceType: root space and local space without scale, and both with each joint's scale
// relative to the skeleton's unscaled rest pose. Whatever isn't there is derived when it is first asked for,
// from what is there, and kept; which one it is derived from decides results to the last bit. Asking is
// therefore no const operation.
//
// Initialising again keeps the memory of all lists: a pose object that is reused frame after frame allocates
// nothing after the first.
class PoseData {
  public:
    // A pose that holds nothing.
    explicit PoseData(const SkeletonData& owner) : skeleton(&owner) {}

    PoseData(const SkeletonData& owner, velkori_JointRelativeSpaceType space,
        std::span<const JointPose> joints, const JointPose& conversion);
    PoseData(const SkeletonData& owner, const RestPose& restPose);

    // Takes `joints`, one per joint in `space`, through `conversion`. A list of another size than the
    // skeleton's gives a pose that holds nothing.
    void Initialize(
        velkori_JointRelativeSpaceType space, std::span<const JointPose> joints, const JointPose& conversion);
    // Takes a rest pose in root space, with its measures.
    void Initialize(const RestPose& restPose);

    // Makes this pose hold nothing, keeping its memory.
    void Clear() { validFlags = 0; }

    // Whether the pose holds anything.
    bool IsInitialized() const { return validFlags != 0; }

    // Whether a representation was given or has been derived.
    bool Has(velkori_JointRelativeSpaceType space) const { return (validFlags & FlagOf(space)) != 0; }

    const SkeletonData& GetSkeleton() const { return *skeleton; }

    int GetJointCount() const { return skeleton->GetJointCount(); }

    // Derive what isn't there. A pose that holds nothing gives what is left in its lists: test IsInitialized
    // first where that can be.
    const std::vector<JointPose>& GetJointPoses(velkori_JointRelativeSpaceType space);
    // From local space a root's length is its distance from the origin, from root space it is 0.
    const std::vector<float>& GetJointLengths();
    const Vector3f& GetEstimatedExtentRange();
    // Measured anew by each call.
    PoseExtents MeasureExtents();

    PoseData CalculatePoseAtHeight(float height, const Vector3f& up);
    PoseData CalculatePoseAtScale(float scale);
    // The skeleton's rest pose with this pose's joint lengths.
    PoseData CalculateAsTPose();
    // `poseToScale` with the bone lengths of `reference`.
    static PoseData MatchPoseScale(PoseData& poseToScale, PoseData& reference);

  private:
    static constexpr std::uint32_t FlagOf(velkori_JointRelativeSpaceType space) { return 1U << space; }

    void DeriveJointPoses(velkori_JointRelativeSpaceType space);
    void DeriveRootSpacePose();
    void DeriveLocalSpacePose();
    void DeriveScaledRootSpacePose();
    void DeriveScaledLocalSpacePose();

    bool HasUnscaledReference() const { return skeleton->GetRestPoses().GetUnscaled().IsInitialized(); }

    const SkeletonData* skeleton;
    std::array<std::vector<JointPose>, 4> jointPoses;
    std::vector<float> jointLengths;
    Vector3f estimatedExtentRange;
    // What is valid: a bit per representation, by its index, and one per measure.
    std::uint32_t validFlags = 0;
};

} // namespace Velkori_Utility
