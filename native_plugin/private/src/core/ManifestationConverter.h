#pragma once

#include "Velkori_Utility.h"
#include "core/Manifestation.h"
#include "core/RestPoses.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// Cuts a skeleton's poses down to the joints of a manifestation, and expands poses of its joints to the whole
// skeleton, filling the others from a rest pose of the size that the tracked joints imply.
//
// Its tables have the size of the whole skeleton, so that one is made for a manifestation that is used, not
// for every one that there is. Conversions keep their lists for the next one: with a list for the result,
// none but the first allocates anything, and one converter isn't for two threads at once.
class ManifestationConverter {
  public:
    // Both must outlive this object.
    ManifestationConverter(const RestPoses& owner, const Manifestation& part);

    void ConvertToManifestationPose(std::span<const JointPose> rootSpacePose,
        velkori_JointRelativeSpaceType to, std::vector<JointPose>& out_pose) const;
    // Expands to the whole skeleton in root space; a rest pose if the manifestation isn't valid or is empty.
    void ConvertFromManifestationRootSpacePose(
        std::span<const JointPose> pose, std::vector<JointPose>& out_skeletonPose);
    // Does nothing if the manifestation isn't valid or the list has another size.
    void ConvertManifestationPoseJointSpace(std::span<JointPose> pose, velkori_JointRelativeSpaceType from,
        velkori_JointRelativeSpaceType to) const;
    // The skeleton's rest pose of the size that the tracked joints imply.
    std::vector<JointPose> GetSkeletonTPoseFromManifestationRootSpacePose(std::span<const JointPose> pose);

  private:
    void ConvertToRootSpace(std::span<JointPose> pose) const;
    void ConvertToLocalSpace(std::span<JointPose> pose) const;
    void Expand(std::span<const JointPose> pose, std::vector<JointPose>& out_expanded) const;
    void CalculateTPose(std::span<const JointPose> expanded, std::vector<JointPose>& out_tPose);
    void PlaceExcludedJoints(std::span<JointPose> expanded);
    void PlaceExcludedAncestors(int joint, std::span<JointPose> expanded);
    void PlaceExcludedDescendants(int joint, std::span<JointPose> expanded);

    const RestPoses* restPoses;
    const Skeleton* skeleton;
    const Manifestation* manifestation;

    // -- What follows from the list of joints --------------------------------------------------------------
    FastRangedIntegralMap<int, int> jointToManifestationIndex;
    // The members in the skeleton's update order.
    std::vector<int> hierarchicalOrder;
    FastRangedIntegralSet<int> excludedJoints;
    // The members from which excluded joints are placed.
    std::vector<int> excludedJointDependencies;
    PoseExtents minTPoseExtents;
    PoseExtents maxTPoseExtents;
    std::vector<Vector3f> minDimensionMask;
    std::vector<Vector3f> maxDimensionMask;

    // -- Lists that live for one conversion ----------------------------------------------------------------
    std::vector<float> jointLengths;
    std::vector<JointPose> tPose;
    std::vector<int> queue;
    std::vector<int> placedAncestors;
    FastRangedIntegralSet<int> placedJoints;
};

} // namespace Velkori_Utility
