#include "retargeting/MappedHierarchy.h"

#include "core/JointSpaces.h"

#include <algorithm>
#include <cmath>

namespace Velkori_Utility {

namespace {

using MappedData = SourceToTargetMappedAncestorDescendantData;

const auto& MappingsOfType(const JointMappingData& data, velkori_SkeletonType type) {
    return type == velkori_SkeletonType_Source ? data.GetSourceMappings() : data.GetTargetMappings();
}

bool HasBehavior(const JointMappingSet* set, JointMappingBehaviorType behavior) {
    return set != nullptr && set->GetBehavior() == behavior;
}

// Which target joints count as mapped.
std::vector<bool> FindMappedJoints(const UtilityConfigData& config, velkori_SkeletonType type) {
    const int jointCount = config.GetTargetSkeleton().GetJointCount();
    const auto& mappings = MappingsOfType(config.GetMinMappingData(), type);
    std::vector<bool> isMapped(jointCount, false);
    for (int joint = 0; joint < jointCount; ++joint) {
        isMapped[joint] = type == velkori_SkeletonType_Source
                              ? HasBehavior(mappings.Find(joint), velkori_JointMappingBehaviorType_Normal)
                              : mappings.contains(joint);
    }
    return isMapped;
}

// Tells every joint up to and including the next mapped one above that `mappedJoint` lies below it.
void AnnounceToAncestors(const Skeleton& skeleton, const std::vector<bool>& isMapped, int mappedJoint,
    std::vector<MappedData>& records) {
    for (int joint = skeleton.GetParentJointIndex(mappedJoint); joint != -1;
         joint = skeleton.GetParentJointIndex(joint)) {
        records[joint].mappedDescendants.push_back(mappedJoint);
        if (isMapped[joint]) {
            return;
        }
    }
}

// A position's unsigned projection onto the way from the ancestor to the middle of the descendants, as a
// share of that way: a joint behind its ancestor counts as if it were in front.
float CalculateAncestorRatio(const MappedData& record, int joint, std::span<const JointPose> pose) {
    if (record.mappedAncestor == -1 || record.mappedDescendants.empty()) {
        return 0.0F;
    }
    Vector3f mean;
    for (const int descendant : record.mappedDescendants) {
        mean += pose[descendant].position;
    }
    mean = mean / static_cast<float>(record.mappedDescendants.size());
    const Vector3f& origin = pose[record.mappedAncestor].position;
    const Vector3f way = mean - origin;
    const float length = way.Length();
    if (!(length > 0.0F)) {
        return 0.0F;
    }
    return std::min(1.0F, std::abs(way.Dot(pose[joint].position - origin)) / length / length);
}

// Gives every joint beneath `mappedJoint`, down to and including the next mapped ones, that ancestor.
void AnnounceToDescendants(const Skeleton& skeleton, const std::vector<bool>& isMapped, int mappedJoint,
    std::vector<MappedData>& records) {
    std::vector<int> queue = skeleton.GetChildJointIndexArray(mappedJoint);
    for (std::size_t next = 0; next < queue.size(); ++next) {
        const int joint = queue[next];
        records[joint].mappedAncestor = mappedJoint;
        if (!isMapped[joint]) {
            const std::vector<int>& children = skeleton.GetChildJointIndexArray(joint);
            queue.insert(queue.end(), children.begin(), children.end());
        }
    }
}

// The joints concerned by target-type mappings along the hierarchy; IK-derived ones at the end, children
// first.
std::vector<int> CollectConcernedJoints(
    const Skeleton& skeleton, const auto& targetMappings, std::span<const MappedData> mappedData) {
    std::vector<int> order;
    std::vector<int> deferred;
    for (const int joint : skeleton.GetHierarchicalUpdateOrder()) {
        const JointMappingSet* set = targetMappings.Find(joint);
        if (HasBehavior(set, velkori_JointMappingBehaviorType_IKDerived)) {
            deferred.push_back(joint);
        } else if (set != nullptr || mappedData[joint].mappedAncestor != -1 ||
                   !mappedData[joint].mappedDescendants.empty()) {
            order.push_back(joint);
        }
    }
    order.insert(order.end(), deferred.rbegin(), deferred.rend());
    return order;
}

// Which joints the target-type mappings of one joint read.
class ReadJoints {
  public:
    ReadJoints(const UtilityConfigData& config, int joint)
        : minSet(config.GetMinMappingData().GetTargetMappings().Find(joint)),
          maxSet(config.GetMaxMappingData().GetTargetMappings().Find(joint)) {}

    bool Contains(int joint) const { return IsReadBy(minSet, joint) || IsReadBy(maxSet, joint); }

  private:
    static bool IsReadBy(const JointMappingSet* set, int joint) {
        return set != nullptr && set->GetMappedJoints().contains(joint);
    }

    const JointMappingSet* minSet;
    const JointMappingSet* maxSet;
};

// The last position, from `position` on, of a joint that the joint at `position` reads. A joint that is
// merely carried along by it sets no constraint.
std::size_t FindLastReadPosition(const UtilityConfigData& config, std::span<const MappedData> mappedData,
    std::span<const int> order, std::size_t position) {
    const auto& targetMappings = config.GetMinMappingData().GetTargetMappings();
    const int joint = order[position];
    const ReadJoints reads(config, joint);
    std::size_t last = position;
    for (std::size_t k = position; k < order.size(); ++k) {
        const bool isCarriedAlong =
            mappedData[order[k]].mappedAncestor == joint && !targetMappings.contains(order[k]);
        if (reads.Contains(order[k]) && !isCarriedAlong) {
            last = k;
        }
    }
    return last;
}

} // namespace

std::vector<SourceToTargetMappedAncestorDescendantData> GenerateMappedAncestorDescendantData(
    const UtilityConfigData& config, velkori_SkeletonType type) {
    const TargetSkeletonData& skeleton = config.GetTargetSkeleton();
    const std::vector<bool> isMapped = FindMappedJoints(config, type);
    std::vector<MappedData> records(skeleton.GetJointCount());
    // Parents come first, so that a deeper mapped joint takes over everything below it.
    for (const int joint : skeleton.GetHierarchicalUpdateOrder()) {
        if (isMapped[joint]) {
            AnnounceToAncestors(skeleton, isMapped, joint, records);
            AnnounceToDescendants(skeleton, isMapped, joint, records);
        }
    }
    const RestPose& restPose = skeleton.GetUnscaledOrMinTPose();
    if (restPose.IsInitialized()) {
        const auto& joints = restPose.GetJointPoses(RootSpace);
        for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
            records[joint].ancestorRatio = CalculateAncestorRatio(records[joint], joint, joints);
        }
    }
    return records;
}

std::vector<int> GenerateIKDerivedJointMappingUpdateOrder(
    const UtilityConfigData& config, velkori_SkeletonType type) {
    const auto& mappings = MappingsOfType(config.GetMinMappingData(), type);
    std::vector<int> order;
    for (int i = static_cast<int>(config.GetSkeletonData(type).GetHierarchicalUpdateOrder().size()) - 1;
         i >= 0; --i) {
        if (HasBehavior(mappings.Find(i), velkori_JointMappingBehaviorType_IKDerived)) {
            order.push_back(i);
        }
    }
    return order;
}

std::vector<int> GenerateUpdateOrderFromMappedAncestorDescendantData(
    const UtilityConfigData& config, std::span<const SourceToTargetMappedAncestorDescendantData> mappedData) {
    const TargetSkeletonData& skeleton = config.GetTargetSkeleton();
    const auto& targetMappings = config.GetMinMappingData().GetTargetMappings();
    std::vector<int> order = CollectConcernedJoints(skeleton, targetMappings, mappedData);

    // One sweep that moves each joint behind the last one that it reads. A joint that has been moved is
    // stepped over, and the joint behind it is taken without that test. Joints which read each other come to
    // an end too: the position never goes back, and there are ever fewer joints that haven't been moved.
    std::vector<bool> isMoved(skeleton.GetJointCount(), false);
    std::size_t i = 0;
    while (i < order.size()) {
        const std::size_t position = isMoved[order[i]] ? i + 1 : i;
        if (position >= order.size()) {
            break;
        }
        const int joint = order[position];
        const std::size_t last = targetMappings.contains(joint)
                                     ? FindLastReadPosition(config, mappedData, order, position)
                                     : position;
        if (last == position) {
            i = position + 1;
            continue;
        }
        const auto from = order.begin() + static_cast<std::ptrdiff_t>(position);
        std::rotate(from, from + 1, order.begin() + static_cast<std::ptrdiff_t>(last) + 1);
        isMoved[joint] = true;
        i = position;
    }
    return order;
}

FastRangedIntegralSet<int> FindAllDescendantsOfSkeletonJointSet(
    const Skeleton& skeleton, std::span<const velkori_KnownJointType> knownJoints) {
    FastRangedIntegralSet<int> descendants(
        0, skeleton.GetJointCount(), FastRangedIntegralSet<int>::EmptyInitialValues);
    for (const velkori_KnownJointType knownJoint : knownJoints) {
        const int joint = skeleton.GetJointIndex(knownJoint);
        for (const int descendant :
            skeleton.GetDescendantsOfJointIndex(joint, FastRangedIntegralSet<int>::EmptySet)) {
            descendants.insertInternal(descendant);
        }
    }
    return descendants;
}

} // namespace Velkori_Utility
