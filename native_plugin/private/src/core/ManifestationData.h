#pragma once

#include "Velkori_Utility.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <memory>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Utility {

class SkeletonData;

// A named subset of a skeleton's joints: what a tracker delivers that doesn't track the whole body. It cuts a
// skeleton's pose down to its joints, and expands a pose of its joints to the whole skeleton, filling the
// others from a rest pose of the size that the tracked joints imply.
//
// A manifestation pose has one element per entry of GetJointIndices, in that order.
class Manifestation {
  public:
    // `joints` may hold -1 for a name that wasn't found. What the conversions need beyond the list has the
    // size of the whole skeleton, and is made by the first conversion: a skeleton may have thousands of
    // manifestations of which a host uses one.
    Manifestation(const SkeletonData& owner, std::vector<int> joints);

    static std::vector<int> GenerateHierarchicalOrderArray(
        const SkeletonData& skeleton, const FastRangedIntegralMap<int, int>& jointToManifestationIndex);
    static std::vector<int> GenerateManifestationExcludedJointDependencyList(const SkeletonData& skeleton,
        std::span<const int> jointIndices, const FastRangedIntegralSet<int>& excludedJoints);
    // False if a member lies below a joint that isn't one and that itself lies below a member.
    static bool ValidateNoManifestationHierarchyGaps(
        const SkeletonData& skeleton, std::span<const int> jointIndices);

    // Conversions with a list for the result keep no memory of their own between calls but the list's: what
    // is converted frame after frame allocates nothing after the first.
    void ConvertToManifestationPose(std::span<const JointPose> skeletonPose,
        velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to,
        std::vector<JointPose>& out_pose) const;
    std::vector<JointPose> ConvertToManifestationPose(std::span<const JointPose> skeletonPose,
        velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to) const;
    // Expands to the whole skeleton in root space; a rest pose if the manifestation isn't valid or is empty.
    void ConvertFromManifestationRootSpacePose(
        std::span<const JointPose> pose, std::vector<JointPose>& out_skeletonPose) const;
    std::vector<JointPose> ConvertFromManifestationRootSpacePose(std::span<const JointPose> pose) const;
    // Does nothing if the manifestation isn't valid or the list has another size.
    void ConvertManifestationPoseJointSpace(std::vector<JointPose>& pose, velkori_JointRelativeSpaceType from,
        velkori_JointRelativeSpaceType to) const;
    // The skeleton's rest pose of the size that the tracked joints imply.
    std::vector<JointPose> GetSkeletonTPoseFromManifestationRootSpacePose(
        std::span<const JointPose> pose) const;
    std::vector<std::string> GenerateJointNameArray() const;

    const std::vector<int>& GetJointIndices() const { return jointIndices; }

    // Whether the joints form a part of the hierarchy without gaps.
    bool IsValid() const { return isValid; }

  private:
    void ConvertToRootSpaceFromLocalSpaceManifestationPose_Internal(std::vector<JointPose>& pose) const;
    void ConvertToLocalSpaceFromRootSpaceManifestationPose_Internal(std::vector<JointPose>& pose) const;
    void ExpandManifestationRootSpacePoseToSkeletonPose_Internal(
        std::span<const JointPose> pose, std::vector<JointPose>& out_expanded) const;
    void GetSkeletonTPoseFromExpandedRootSpacePose_Internal(
        std::span<const JointPose> expanded, std::vector<JointPose>& out_tPose) const;
    void ApplyExcludedTPoseJointsToExpandedRootSpacePose_Internal(
        std::span<const JointPose> tPose, std::vector<JointPose>& expanded) const;
    void PlaceExcludedAncestors(
        int joint, std::span<const JointPose> tPose, std::vector<JointPose>& expanded) const;
    void PlaceExcludedDescendants(
        int joint, std::span<const JointPose> tPose, std::vector<JointPose>& expanded) const;

    // What follows from the list and the skeleton.
    struct Tables {
        Tables(const SkeletonData& skeleton, const std::vector<int>& jointIndices);

        FastRangedIntegralMap<int, int> jointToManifestationIndex;
        std::vector<int> hierarchicalOrder;
        FastRangedIntegralSet<int> excludedJoints;
        std::vector<int> excludedJointDependencies;
        PoseExtents minTPoseExtents;
        PoseExtents maxTPoseExtents;
        std::vector<Vector3f> minDimensionMask;
        std::vector<Vector3f> maxDimensionMask;
    };

    const Tables& GetTables() const;

    // Lists that live for one conversion, kept for the next.
    struct Scratch {
        std::vector<float> jointLengths;
        std::vector<JointPose> tPose;
        std::vector<int> queue;
        std::vector<int> placedAncestors;
        FastRangedIntegralSet<int> placedJoints;
    };

    const SkeletonData* skeleton;
    std::vector<int> jointIndices;
    bool isValid = false;
    mutable std::unique_ptr<const Tables> tables;
    mutable Scratch scratch;
};

} // namespace Velkori_Utility
