#include "core/ManifestationConverter.h"

#include "core/InterpolationRatio.h"
#include "core/JointComposition.h"
#include "core/JointSpaceConversions.h"
#include "core/JointSpaces.h"
#include "core/PoseMeasures.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

FastRangedIntegralSet<int> EmptySetOver(int jointCount) {
    return FastRangedIntegralSet<int>(0, jointCount, FastRangedIntegralSet<int>::EmptyInitialValues);
}

FastRangedIntegralSet<int> FindExcludedJoints(const Skeleton& skeleton, const std::vector<int>& members) {
    const FastRangedIntegralSet<int> memberSet(0, 0, members);
    FastRangedIntegralSet<int> excluded = EmptySetOver(skeleton.GetJointCount());
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        if (!memberSet.contains(joint)) {
            excluded.insertInternal(joint);
        }
    }
    return excluded;
}

FastRangedIntegralMap<int, int> IndexByJoint(const Skeleton& skeleton, std::span<const int> joints) {
    FastRangedIntegralMap<int, int> indices;
    indices.initialize(0, skeleton.GetJointCount());
    for (std::size_t i = 0; i < joints.size(); ++i) {
        indices.insert(joints[i], static_cast<int>(i));
    }
    return indices;
}

std::vector<int> OrderAlongHierarchy(
    const Skeleton& skeleton, const FastRangedIntegralMap<int, int>& members) {
    const std::vector<int>& wholeOrder = skeleton.GetHierarchicalUpdateOrder();
    std::vector<int> order;
    std::copy_if(wholeOrder.begin(), wholeOrder.end(), std::back_inserter(order),
        [&](int joint) { return members.contains(joint); });
    return order;
}

// The members on which the excluded joints hang, each of those on one member. Further excluded children of a
// member are reached from it when they are placed.
std::vector<int> FindDependencies(const Skeleton& skeleton, std::span<const int> members,
    const FastRangedIntegralSet<int>& excludedJoints) {
    std::vector<int> dependencies;
    FastRangedIntegralSet<int> claimed = EmptySetOver(skeleton.GetJointCount());
    const auto isClaimable = [&](int joint) {
        return excludedJoints.contains(joint) && !claimed.contains(joint);
    };
    for (const int member : members) {
        const std::vector<int>& children = skeleton.GetChildJointIndexArray(member);
        int boundary = skeleton.GetParentJointIndex(member);
        if (!isClaimable(boundary)) {
            const auto child = std::find_if(children.begin(), children.end(), isClaimable);
            boundary = child != children.end() ? *child : -1;
        }
        if (boundary != -1) {
            claimed.insertInternal(boundary);
            dependencies.push_back(member);
        }
    }
    return dependencies;
}

// Keeps the relation that the two joints have in the rest pose.
JointPose PlaceFrom(const JointPose& placed, const JointPose& restOfPlaced, const JointPose& restOfJoint) {
    return placed.ApplyWithoutScale(restOfPlaced.Inverted().ApplyWithoutScale(restOfJoint));
}

} // namespace

ManifestationConverter::ManifestationConverter(const RestPoses& owner, const Manifestation& part)
    : restPoses(&owner),
      skeleton(&owner.GetSkeleton()),
      manifestation(&part),
      jointToManifestationIndex(IndexByJoint(*skeleton, part.GetJointIndices())),
      hierarchicalOrder(OrderAlongHierarchy(*skeleton, jointToManifestationIndex)),
      excludedJoints(FindExcludedJoints(*skeleton, part.GetJointIndices())),
      excludedJointDependencies(FindDependencies(*skeleton, part.GetJointIndices(), excludedJoints)),
      placedJoints(EmptySetOver(skeleton->GetJointCount())) {
    const auto unmeasured = FastRangedIntegralSet<int>::Combine(excludedJoints, KnownRootOf(*skeleton));
    const auto extentsOf = [&](const RestPose& pose) {
        return pose.IsInitialized() ? PoseExtents(pose.GetJointPoses(RootSpace), unmeasured)
                                    : PoseExtents::EmptyExtents;
    };
    const RestPose& min = owner.GetMin();
    const RestPose& max = owner.GetMax();
    minTPoseExtents = extentsOf(min);
    maxTPoseExtents = extentsOf(max);
    minDimensionMask = GenerateJointDimensionMask(*skeleton, min.GetJointPoses(RootSpace), unmeasured);
    maxDimensionMask = GenerateJointDimensionMask(*skeleton, max.GetJointPoses(RootSpace), unmeasured);
}

// -- Between the spaces of a manifestation pose ------------------------------------------------------------

void ManifestationConverter::ConvertManifestationPoseJointSpace(
    std::span<JointPose> pose, velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to) const {
    if (!manifestation->IsValid() || from == to || pose.size() != manifestation->GetJointIndices().size()) {
        return;
    }
    if (from == LocalSpace || from == ScaledLocalSpace) {
        ConvertToRootSpace(pose);
        from = from == LocalSpace ? RootSpace : ScaledRootSpace;
    }
    if (from == to) {
        return;
    }
    if (to == RootSpace || to == LocalSpace) {
        ResetScale(pose);
    }
    if (to == LocalSpace || to == ScaledLocalSpace) {
        ConvertToLocalSpace(pose);
    }
}

// A member whose parent isn't one stays as it is in both directions.
void ManifestationConverter::ConvertToRootSpace(std::span<JointPose> pose) const {
    for (const int joint : hierarchicalOrder) {
        if (const int* parent = jointToManifestationIndex.Find(skeleton->GetParentJointIndex(joint))) {
            JointPose& own = pose[*jointToManifestationIndex.Find(joint)];
            own = ComposeWithParent(pose[*parent], own);
        }
    }
}

void ManifestationConverter::ConvertToLocalSpace(std::span<JointPose> pose) const {
    for (std::size_t i = hierarchicalOrder.size(); i-- > 0;) {
        const int joint = hierarchicalOrder[i];
        if (const int* parent = jointToManifestationIndex.Find(skeleton->GetParentJointIndex(joint))) {
            JointPose& own = pose[*jointToManifestationIndex.Find(joint)];
            own = ExpressInParent(pose[*parent], own);
        }
    }
}

// -- From the skeleton -------------------------------------------------------------------------------------

void ManifestationConverter::ConvertToManifestationPose(std::span<const JointPose> rootSpacePose,
    velkori_JointRelativeSpaceType to, std::vector<JointPose>& out_pose) const {
    out_pose.clear();
    for (const int joint : manifestation->GetJointIndices()) {
        const bool isThere = joint >= 0 && joint < std::ssize(rootSpacePose);
        const JointPose& pose = isThere ? rootSpacePose[joint] : JointPose::Identity;
        out_pose.emplace_back(pose.orientation, pose.position);
    }
    ConvertManifestationPoseJointSpace(out_pose, RootSpace, to);
}

// -- To the skeleton ---------------------------------------------------------------------------------------

void ManifestationConverter::ConvertFromManifestationRootSpacePose(
    std::span<const JointPose> pose, std::vector<JointPose>& out_skeletonPose) {
    const RestPose& unscaled = restPoses->GetUnscaled();
    if (manifestation->IsValid() && !manifestation->GetJointIndices().empty()) {
        Expand(pose, out_skeletonPose);
        CalculateTPose(out_skeletonPose, tPose);
        PlaceExcludedJoints(out_skeletonPose);
    } else if (unscaled.IsInitialized()) {
        out_skeletonPose = unscaled.GetJointPoses(RootSpace);
    } else {
        restPoses->GetRootSpaceTPoseFromRatio(Vector3f(0.5F, 0.5F, 0.5F), out_skeletonPose);
    }
}

std::vector<JointPose> ManifestationConverter::GetSkeletonTPoseFromManifestationRootSpacePose(
    std::span<const JointPose> pose) {
    std::vector<JointPose> expanded;
    std::vector<JointPose> restPose;
    Expand(pose, expanded);
    CalculateTPose(expanded, restPose);
    return restPose;
}

void ManifestationConverter::Expand(
    std::span<const JointPose> pose, std::vector<JointPose>& out_expanded) const {
    const std::vector<int>& members = manifestation->GetJointIndices();
    out_expanded.assign(skeleton->GetJointCount(), JointPose::Identity);
    for (std::size_t i = 0; i < std::min(pose.size(), members.size()); ++i) {
        if (members[i] != -1) {
            out_expanded[members[i]] = {pose[i].orientation, pose[i].position};
        }
    }
}

void ManifestationConverter::CalculateTPose(
    std::span<const JointPose> expanded, std::vector<JointPose>& out_tPose) {
    MeasureJointLengths(*skeleton, expanded, jointLengths);
    const Vector3f range = restPoses->EstimateExtentRange(jointLengths, minDimensionMask, maxDimensionMask);
    const Vector3f ratio = CalculateInterpolationRatio(range, minTPoseExtents.range, maxTPoseExtents.range);
    restPoses->GetRootSpaceTPoseFromRatio(ratio, out_tPose);
}

// A skeleton without rest poses leaves the excluded joints where they are.
void ManifestationConverter::PlaceExcludedJoints(std::span<JointPose> expanded) {
    if (tPose.size() != expanded.size()) {
        return;
    }
    placedJoints.Clear();
    placedAncestors.clear();
    for (const int member : excludedJointDependencies) {
        PlaceExcludedAncestors(member, expanded);
        PlaceExcludedDescendants(member, expanded);
    }
    // Side branches of the ancestors.
    for (const int ancestor : placedAncestors) {
        PlaceExcludedDescendants(ancestor, expanded);
    }
}

void ManifestationConverter::PlaceExcludedAncestors(int joint, std::span<JointPose> expanded) {
    int placed = joint;
    int ancestor = skeleton->GetParentJointIndex(placed);
    while (excludedJoints.contains(ancestor) && !placedJoints.contains(ancestor)) {
        placedJoints.insertInternal(ancestor);
        placedAncestors.push_back(ancestor);
        expanded[ancestor] = PlaceFrom(expanded[placed], tPose[placed], tPose[ancestor]);
        placed = ancestor;
        ancestor = skeleton->GetParentJointIndex(placed);
    }
}

void ManifestationConverter::PlaceExcludedDescendants(int joint, std::span<JointPose> expanded) {
    queue = skeleton->GetChildJointIndexArray(joint);
    for (std::size_t next = 0; next < queue.size(); ++next) {
        const int child = queue[next];
        if (!excludedJoints.contains(child) || placedJoints.contains(child)) {
            continue;
        }
        placedJoints.insertInternal(child);
        const int parent = skeleton->GetParentJointIndex(child);
        expanded[child] = PlaceFrom(expanded[parent], tPose[parent], tPose[child]);
        const std::vector<int>& grandchildren = skeleton->GetChildJointIndexArray(child);
        queue.insert(queue.end(), grandchildren.begin(), grandchildren.end());
    }
}

} // namespace Velkori_Utility
