#include "core/ManifestationData.h"

#include "core/InterpolationRatio.h"
#include "core/JointComposition.h"
#include "core/JointSpaces.h"
#include "core/PoseData.h"
#include "core/SkeletonData.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

FastRangedIntegralSet<int> EmptySetOver(int jointCount) {
    return FastRangedIntegralSet<int>(0, jointCount, FastRangedIntegralSet<int>::EmptyInitialValues);
}

FastRangedIntegralSet<int> FindExcludedJoints(const SkeletonData& skeleton, const std::vector<int>& members) {
    const FastRangedIntegralSet<int> memberSet(0, 0, members);
    FastRangedIntegralSet<int> excluded = EmptySetOver(skeleton.GetJointCount());
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        if (!memberSet.contains(joint)) {
            excluded.insertInternal(joint);
        }
    }
    return excluded;
}

FastRangedIntegralMap<int, int> IndexByJoint(const SkeletonData& skeleton, std::span<const int> joints) {
    FastRangedIntegralMap<int, int> indices;
    indices.initialize(0, skeleton.GetJointCount());
    for (std::size_t i = 0; i < joints.size(); ++i) {
        indices.insert(joints[i], static_cast<int>(i));
    }
    return indices;
}

PoseExtents MeasureExtents(const PoseData& pose, const FastRangedIntegralSet<int>& excludedJoints) {
    return pose.IsInitialized() ? PoseExtents(pose.GetJointPoses(RootSpace), excludedJoints)
                                : PoseExtents::EmptyExtents;
}

// Keeps the relation that the two joints have in the rest pose.
JointPose PlaceFrom(const JointPose& placed, const JointPose& restOfPlaced, const JointPose& restOfJoint) {
    return placed.ApplyWithoutScale(restOfPlaced.Inverted().ApplyWithoutScale(restOfJoint));
}

} // namespace

Manifestation::Manifestation(const SkeletonData& owner, std::vector<int> joints)
    : skeleton(&owner),
      jointIndices(std::move(joints)),
      isValid(ValidateNoManifestationHierarchyGaps(owner, jointIndices)) {}

Manifestation::Tables::Tables(const SkeletonData& skeleton, const std::vector<int>& jointIndices)
    : jointToManifestationIndex(IndexByJoint(skeleton, jointIndices)),
      hierarchicalOrder(GenerateHierarchicalOrderArray(skeleton, jointToManifestationIndex)),
      excludedJoints(FindExcludedJoints(skeleton, jointIndices)),
      excludedJointDependencies(
          GenerateManifestationExcludedJointDependencyList(skeleton, jointIndices, excludedJoints)) {
    const PoseData& minPose = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& maxPose = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Max);
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    const auto unmeasured =
        FastRangedIntegralSet<int>::Combine(excludedJoints, FastRangedIntegralSet<int>(root, root, {root}));
    minTPoseExtents = MeasureExtents(minPose, unmeasured);
    maxTPoseExtents = MeasureExtents(maxPose, unmeasured);
    minDimensionMask = minPose.GenerateJointDimensionMask(unmeasured);
    maxDimensionMask = maxPose.GenerateJointDimensionMask(unmeasured);
}

const Manifestation::Tables& Manifestation::GetTables() const {
    if (tables == nullptr) {
        tables = std::make_unique<const Tables>(*skeleton, jointIndices);
        scratch.placedJoints = EmptySetOver(skeleton->GetJointCount());
    }
    return *tables;
}

std::vector<int> Manifestation::GenerateHierarchicalOrderArray(
    const SkeletonData& skeleton, const FastRangedIntegralMap<int, int>& jointToManifestationIndex) {
    const std::vector<int>& wholeOrder = skeleton.GetHierarchicalUpdateOrder();
    std::vector<int> order;
    std::copy_if(wholeOrder.begin(), wholeOrder.end(), std::back_inserter(order),
        [&](int joint) { return jointToManifestationIndex.contains(joint); });
    return order;
}

// The members on which the excluded joints hang, each of those on one member. Further excluded children of a
// member are reached from it when they are placed.
std::vector<int> Manifestation::GenerateManifestationExcludedJointDependencyList(const SkeletonData& skeleton,
    std::span<const int> jointIndices, const FastRangedIntegralSet<int>& excludedJoints) {
    std::vector<int> dependencies;
    FastRangedIntegralSet<int> claimed = EmptySetOver(skeleton.GetJointCount());
    const auto isClaimable = [&](int joint) {
        return excludedJoints.contains(joint) && !claimed.contains(joint);
    };
    for (const int member : jointIndices) {
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

// Members that don't hang from the first one are no gap, wherever they are.
bool Manifestation::ValidateNoManifestationHierarchyGaps(
    const SkeletonData& skeleton, std::span<const int> jointIndices) {
    if (jointIndices.empty()) {
        return true;
    }
    const int first = jointIndices.front();
    const FastRangedIntegralSet<int> members(
        0, 0, std::vector<int>(jointIndices.begin(), jointIndices.end()));
    return std::none_of(jointIndices.begin(), jointIndices.end(), [&](int member) {
        const int parent = skeleton.GetParentJointIndex(member);
        return member != first && parent != -1 && !members.contains(parent) &&
               skeleton.IsAncestorOfJointIndex(first, parent);
    });
}

std::vector<std::string> Manifestation::GenerateJointNameArray() const {
    std::vector<std::string> names;
    for (const int joint : jointIndices) {
        names.push_back(skeleton->GetJointName(joint));
    }
    return names;
}

// -- Between the spaces of a manifestation pose ------------------------------------------------------------

void Manifestation::ConvertManifestationPoseJointSpace(std::vector<JointPose>& pose,
    velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to) const {
    if (!isValid || from == to || pose.size() != jointIndices.size()) {
        return;
    }
    if (from == LocalSpace || from == ScaledLocalSpace) {
        ConvertToRootSpaceFromLocalSpaceManifestationPose_Internal(pose);
        from = from == LocalSpace ? RootSpace : ScaledRootSpace;
    }
    if (from == to) {
        return;
    }
    if (to == RootSpace || to == LocalSpace) {
        for (JointPose& joint : pose) {
            joint.scale = Vector3f::One;
        }
    }
    if (to == LocalSpace || to == ScaledLocalSpace) {
        ConvertToLocalSpaceFromRootSpaceManifestationPose_Internal(pose);
    }
}

// A member whose parent isn't one stays as it is in both directions.
void Manifestation::ConvertToRootSpaceFromLocalSpaceManifestationPose_Internal(
    std::vector<JointPose>& pose) const {
    const Tables& members = GetTables();
    for (const int joint : members.hierarchicalOrder) {
        if (const int* parent =
                members.jointToManifestationIndex.Find(skeleton->GetParentJointIndex(joint))) {
            JointPose& own = pose[*members.jointToManifestationIndex.Find(joint)];
            own = ComposeWithParent(pose[*parent], own);
        }
    }
}

void Manifestation::ConvertToLocalSpaceFromRootSpaceManifestationPose_Internal(
    std::vector<JointPose>& pose) const {
    const Tables& members = GetTables();
    for (std::size_t i = members.hierarchicalOrder.size(); i-- > 0;) {
        const int joint = members.hierarchicalOrder[i];
        if (const int* parent =
                members.jointToManifestationIndex.Find(skeleton->GetParentJointIndex(joint))) {
            JointPose& own = pose[*members.jointToManifestationIndex.Find(joint)];
            own = ExpressInParent(pose[*parent], own);
        }
    }
}

// -- From the skeleton -------------------------------------------------------------------------------------

void Manifestation::ConvertToManifestationPose(std::span<const JointPose> skeletonPose,
    velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to,
    std::vector<JointPose>& out_pose) const {
    if (from != RootSpace) {
        const PoseData pose(*skeleton, from, skeletonPose, JointPose::Identity);
        ConvertToManifestationPose(pose.GetJointPoses(RootSpace), RootSpace, to, out_pose);
        return;
    }
    out_pose.clear();
    for (const int joint : jointIndices) {
        const bool isThere = joint >= 0 && joint < std::ssize(skeletonPose);
        const JointPose& pose = isThere ? skeletonPose[joint] : JointPose::Identity;
        out_pose.emplace_back(pose.orientation, pose.position);
    }
    ConvertManifestationPoseJointSpace(out_pose, RootSpace, to);
}

std::vector<JointPose> Manifestation::ConvertToManifestationPose(std::span<const JointPose> skeletonPose,
    velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to) const {
    std::vector<JointPose> pose;
    ConvertToManifestationPose(skeletonPose, from, to, pose);
    return pose;
}

// -- To the skeleton ---------------------------------------------------------------------------------------

void Manifestation::ConvertFromManifestationRootSpacePose(
    std::span<const JointPose> pose, std::vector<JointPose>& out_skeletonPose) const {
    if (isValid && !jointIndices.empty()) {
        ExpandManifestationRootSpacePoseToSkeletonPose_Internal(pose, out_skeletonPose);
        GetSkeletonTPoseFromExpandedRootSpacePose_Internal(out_skeletonPose, scratch.tPose);
        ApplyExcludedTPoseJointsToExpandedRootSpacePose_Internal(scratch.tPose, out_skeletonPose);
    } else if (skeleton->GetUnscaledTPose().IsInitialized()) {
        out_skeletonPose = skeleton->GetUnscaledTPose().GetJointPoses(RootSpace);
    } else {
        skeleton->GetRootSpaceTPoseFromRatio(Vector3f(0.5F, 0.5F, 0.5F), out_skeletonPose);
    }
}

std::vector<JointPose> Manifestation::ConvertFromManifestationRootSpacePose(
    std::span<const JointPose> pose) const {
    std::vector<JointPose> skeletonPose;
    ConvertFromManifestationRootSpacePose(pose, skeletonPose);
    return skeletonPose;
}

std::vector<JointPose> Manifestation::GetSkeletonTPoseFromManifestationRootSpacePose(
    std::span<const JointPose> pose) const {
    std::vector<JointPose> expanded;
    std::vector<JointPose> tPose;
    ExpandManifestationRootSpacePoseToSkeletonPose_Internal(pose, expanded);
    GetSkeletonTPoseFromExpandedRootSpacePose_Internal(expanded, tPose);
    return tPose;
}

void Manifestation::ExpandManifestationRootSpacePoseToSkeletonPose_Internal(
    std::span<const JointPose> pose, std::vector<JointPose>& out_expanded) const {
    out_expanded.assign(skeleton->GetJointCount(), JointPose::Identity);
    for (std::size_t i = 0; i < std::min(pose.size(), jointIndices.size()); ++i) {
        if (jointIndices[i] != -1) {
            out_expanded[jointIndices[i]] = {pose[i].orientation, pose[i].position};
        }
    }
}

void Manifestation::GetSkeletonTPoseFromExpandedRootSpacePose_Internal(
    std::span<const JointPose> expanded, std::vector<JointPose>& out_tPose) const {
    skeleton->MeasureJointLengths(expanded, scratch.jointLengths);
    const Tables& members = GetTables();
    const Vector3f range = skeleton->EstimateExtentRange(
        scratch.jointLengths, members.minDimensionMask, members.maxDimensionMask);
    const Vector3f ratio =
        CalculateInterpolationRatio(range, members.minTPoseExtents.range, members.maxTPoseExtents.range);
    skeleton->GetRootSpaceTPoseFromRatio(ratio, out_tPose);
}

// A skeleton without rest poses leaves the excluded joints where they are.
void Manifestation::ApplyExcludedTPoseJointsToExpandedRootSpacePose_Internal(
    std::span<const JointPose> tPose, std::vector<JointPose>& expanded) const {
    if (tPose.size() != expanded.size()) {
        return;
    }
    const Tables& members = GetTables();
    scratch.placedJoints.Clear();
    scratch.placedAncestors.clear();
    for (const int member : members.excludedJointDependencies) {
        PlaceExcludedAncestors(member, tPose, expanded);
        PlaceExcludedDescendants(member, tPose, expanded);
    }
    // Side branches of the ancestors.
    for (const int ancestor : scratch.placedAncestors) {
        PlaceExcludedDescendants(ancestor, tPose, expanded);
    }
}

void Manifestation::PlaceExcludedAncestors(
    int joint, std::span<const JointPose> tPose, std::vector<JointPose>& expanded) const {
    const FastRangedIntegralSet<int>& excludedJoints = GetTables().excludedJoints;
    int placed = joint;
    int ancestor = skeleton->GetParentJointIndex(placed);
    while (excludedJoints.contains(ancestor) && !scratch.placedJoints.contains(ancestor)) {
        scratch.placedJoints.insertInternal(ancestor);
        scratch.placedAncestors.push_back(ancestor);
        expanded[ancestor] = PlaceFrom(expanded[placed], tPose[placed], tPose[ancestor]);
        placed = ancestor;
        ancestor = skeleton->GetParentJointIndex(placed);
    }
}

void Manifestation::PlaceExcludedDescendants(
    int joint, std::span<const JointPose> tPose, std::vector<JointPose>& expanded) const {
    const FastRangedIntegralSet<int>& excludedJoints = GetTables().excludedJoints;
    std::vector<int>& queue = scratch.queue;
    queue = skeleton->GetChildJointIndexArray(joint);
    for (std::size_t next = 0; next < queue.size(); ++next) {
        const int child = queue[next];
        if (!excludedJoints.contains(child) || scratch.placedJoints.contains(child)) {
            continue;
        }
        scratch.placedJoints.insertInternal(child);
        const int parent = skeleton->GetParentJointIndex(child);
        expanded[child] = PlaceFrom(expanded[parent], tPose[parent], tPose[child]);
        const std::vector<int>& grandchildren = skeleton->GetChildJointIndexArray(child);
        queue.insert(queue.end(), grandchildren.begin(), grandchildren.end());
    }
}

} // namespace Velkori_Utility
