#include "retargeting/preparation/MappingGeneration.h"

#include "core/JointSpaces.h"
#include "core/PoseMeasures.h"
#include "retargeting/preparation/TwistJointIdentification.h"

#include <algorithm>
#include <cmath>

namespace Velkori_Utility::AutoMapping {

namespace {

// As a share of the body's height, how far a source joint may be from the target joint that it drives.
constexpr float LargestRadius = 0.15F;
// So near a joint of the same limb is the counterpart.
constexpr float ExactMatchDistance = 0.005F;
// Weights that are a smaller share of their sum are dropped.
constexpr float SmallestShare = 0.075F;
// What is nearer counts as being so near, so that no weight becomes infinite.
constexpr float SmallestDistance = 1e-5F;

using JointSet = FastRangedIntegralSet<int>;

JointSet FindSkippedJoints(const Skeleton& skeleton, std::span<const velkori_TwistJointDefinition_> twists) {
    JointSet skipped(0, skeleton.GetJointCount(), skeleton.GetAutoMappingExcludedJoints().ToKeyVector());
    for (const velkori_TwistJointDefinition_& twist : twists) {
        skipped.insertInternal(twist.twistJointIndex);
    }
    return skipped;
}

bool IsHand(HumanoidLimb limb) {
    return limb == HumanoidLimb_LeftHand || limb == HumanoidLimb_RightHand;
}

// The joint of the source's chain of a limb at the place that a joint has on the target's; -1 if there is
// none.
int FindCounterpartOnChain(
    const Skeleton& source, const Skeleton& target, HumanoidLimb limb, int targetJoint) {
    const std::vector<int>& sourceChain = source.GetJointChainByHumanoidLimb(limb);
    const std::vector<int>& targetChain = target.GetJointChainByHumanoidLimb(limb);
    for (std::size_t i = 0; i < std::min(sourceChain.size(), targetChain.size()); ++i) {
        if (targetChain[i] == targetJoint) {
            return sourceChain[i];
        }
    }
    return -1;
}

// The entries of one mapping, with the sums of their weights.
class WeightedEntries {
  public:
    // Takes the place of the first entry if that is of the same joint. No other joint comes twice.
    void Set(int joint, float rotationWeight, float positionWeight) {
        if (!entries.empty() && entries.front().jointIndex == joint) {
            rotationTotal -= entries.front().rotationWeight;
            positionTotal -= entries.front().positionWeight;
            entries.front() = {joint, rotationWeight, positionWeight};
        } else {
            entries.push_back({joint, rotationWeight, positionWeight});
        }
        rotationTotal += rotationWeight;
        positionTotal += positionWeight;
    }

    bool DriveNothing() const { return !(rotationTotal > 0.0F) && !(positionTotal > 0.0F); }

    // Without the smallest shares, and as shares of the sums.
    std::vector<velkori_JointMappingEntry_> TakeNormalised() {
        Normalise(&velkori_JointMappingEntry_::rotationWeight, rotationTotal);
        Normalise(&velkori_JointMappingEntry_::positionWeight, positionTotal);
        return std::move(entries);
    }

  private:
    void Normalise(float velkori_JointMappingEntry_::*weight, float total) {
        const float smallestWeight = SmallestShare * total;
        for (velkori_JointMappingEntry_& entry : entries) {
            if (entry.*weight < smallestWeight) {
                total -= entry.*weight;
                entry.*weight = 0.0F;
            }
        }
        if (total > 0.0F && total != 1.0F) {
            for (velkori_JointMappingEntry_& entry : entries) {
                entry.*weight /= total;
            }
        }
    }

    std::vector<velkori_JointMappingEntry_> entries;
    float rotationTotal = 0.0F;
    float positionTotal = 0.0F;
};

// Finds the source joints that drive a target joint.
class NearnessMapper {
  public:
    NearnessMapper(const RestPose& sourceRestPose, const JointSet& skippedSourceJoints,
        const RestPose& targetRestPose, const Vector3f& up)
        : sourcePose(sourceRestPose),
          targetPose(targetRestPose),
          source(sourceRestPose.GetSkeleton()),
          target(targetRestPose.GetSkeleton()) {
        for (const int joint : source.GetHierarchicalUpdateOrder()) {
            if (!skippedSourceJoints.contains(joint)) {
                candidates.push_back(joint);
            }
        }
        largestRadius = LargestRadius * targetPose.GetExtents().range.Multiply(up).Length();
        distances.initialize(0, source.GetJointCount());
        sameLimb.initialize(0, source.GetJointCount());
    }

    // No entries if nothing does.
    std::vector<velkori_JointMappingEntry_> Map(int targetJoint) {
        const HumanoidLimb limb = target.GetLimb(targetJoint);
        const float radius = std::min(MeanBoneLength(targetJoint), largestRadius);
        if (const int exact = CollectCandidates(targetJoint, limb, radius); exact != -1) {
            return {{exact, 1.0F, 1.0F}};
        }
        // A head is driven by its very counterpart or not at all.
        if (limb == HumanoidLimb_Head) {
            return {};
        }
        DropCandidatesFarAlongSkeleton(radius);
        WeightedEntries entries;
        int chainJoint = -1;
        if (sameLimb.IsEmpty() && limb != HumanoidLimb_Invalid && !IsHand(limb)) {
            chainJoint = FindCounterpartOnChain(source, target, limb, targetJoint);
            if (chainJoint != -1) {
                entries.Set(chainJoint, 1.0F, 0.0F);
            }
        }
        for (const auto& [joint, distance] : distances) {
            const float weight = radius / std::max(distance, SmallestDistance);
            float rotationWeight = sameLimb.contains(joint) ? weight : 0.0F;
            if (joint == chainJoint || distances.Size() == 1) {
                rotationWeight = 1.0F;
            }
            entries.Set(joint, rotationWeight, weight);
        }
        if (entries.DriveNothing()) {
            return {};
        }
        return entries.TakeNormalised();
    }

  private:
    // Of a joint's own bone and those to its children.
    float MeanBoneLength(int joint) const {
        const std::vector<float>& lengths = targetPose.GetJointLengths();
        const std::vector<int>& children = target.GetChildJointIndexArray(joint);
        float sum = lengths[joint];
        for (const int child : children) {
            sum += lengths[child];
        }
        return sum / static_cast<float>(children.size() + 1);
    }

    // Gathers what is within the radius, and which is best: the nearest, but one of the joint's own limb
    // displaces one of another that came before. Ends at an exact match, whose joint is returned, else -1.
    int CollectCandidates(int targetJoint, HumanoidLimb limb, float radius) {
        distances.Clear();
        sameLimb.Clear();
        best = -1;
        bestDistance = 0.0F;
        HumanoidLimb bestLimb = HumanoidLimb_Invalid;
        const Vector3f& position = targetPose.GetJointPoses(RootSpace)[targetJoint].position;
        const std::vector<JointPose>& sourceJoints = sourcePose.GetJointPoses(RootSpace);
        for (const int joint : candidates) {
            const float distanceSquared = (sourceJoints[joint].position - position).LengthSquared();
            if (distanceSquared > radius * radius) {
                continue;
            }
            const float distance = std::sqrt(distanceSquared);
            const HumanoidLimb jointLimb = source.GetLimb(joint);
            if (distance <= ExactMatchDistance && jointLimb == limb) {
                return joint;
            }
            const bool isSameLimb = limb != HumanoidLimb_Invalid && jointLimb == limb;
            if (best == -1 || distance < bestDistance || (isSameLimb && bestLimb != limb)) {
                best = joint;
                bestDistance = distance;
                bestLimb = jointLimb;
            }
            distances.insert(joint, distance);
            if (isSameLimb) {
                sameLimb.insertInternal(joint);
            }
        }
        return -1;
    }

    // What is near in space may be far along the skeleton: a hand by the hip.
    void DropCandidatesFarAlongSkeleton(float radius) {
        for (const auto& [joint, distance] : distances) {
            if (joint != best &&
                SumJointLengths(source, sourcePose.GetJointLengths(), joint, best) > radius + bestDistance) {
                dropped.push_back(joint);
            }
        }
        for (const int joint : dropped) {
            distances.erase(joint);
            sameLimb.erase(joint);
        }
        dropped.clear();
    }

    const RestPose& sourcePose;
    const RestPose& targetPose;
    const Skeleton& source;
    const Skeleton& target;
    std::vector<int> candidates;
    float largestRadius = 0.0F;
    // Of the joint that is being mapped.
    FastRangedIntegralMap<int, float> distances;
    JointSet sameLimb;
    std::vector<int> dropped;
    int best = -1;
    float bestDistance = 0.0F;
};

// A twist joint lies between the two ends of its bone.
void AppendTwistMappings(
    std::span<const velkori_TwistJointDefinition_> twists, std::vector<SerializedJointMapping>& mappings) {
    for (const velkori_TwistJointDefinition_& twist : twists) {
        const float rest = 1.0F - twist.ratio;
        mappings.push_back(
            {twist.twistJointIndex, velkori_SkeletonType_Target, velkori_JointMappingBehaviorType_Twist,
                {{twist.startJointIndex, rest, rest}, {twist.endJointIndex, twist.ratio, twist.ratio}}});
    }
}

FastRangedIntegralSet<HumanoidLimb> FindLimbsWithTwist(
    const Skeleton& skeleton, std::span<const velkori_TwistJointDefinition_> twists) {
    FastRangedIntegralSet<HumanoidLimb> limbs;
    limbs.initialize(HumanoidLimb_Invalid, static_cast<HumanoidLimb>(HumanoidLimb_RightFoot + 1));
    for (const velkori_TwistJointDefinition_& twist : twists) {
        for (const int joint : {twist.twistJointIndex, twist.startJointIndex, twist.endJointIndex}) {
            limbs.insertInternal(skeleton.GetLimb(joint));
        }
    }
    return limbs;
}

// The bone chain from one end of a limb to the other, both included; empty unless both belong to the limb.
std::vector<int> FindTwistChain(const Skeleton& skeleton, const TwistLimbKnownJointPair& row) {
    const int start = skeleton.GetJointIndex(row.start);
    const int end = skeleton.GetJointIndex(row.end);
    if (start == -1 || end == -1 || skeleton.GetLimb(start) != row.limb ||
        skeleton.GetLimb(end) != row.limb) {
        return {};
    }
    std::vector<int> path = skeleton.GetConnectedPathBetweenJoints(start, end);
    path.push_back(end);
    return path;
}

// Carries the twist of a limb's end up the limb: three quarters to the next joint, then half of each joint's
// to the one after it.
void AppendChainMappings(std::span<const int> path, std::vector<SerializedJointMapping>& mappings) {
    for (std::size_t i = 1; i < path.size(); ++i) {
        const float share = i == 1 ? 0.75F : 0.5F;
        mappings.push_back(
            {path[i], velkori_SkeletonType_Target, velkori_JointMappingBehaviorType_ChildAlignedTwist,
                {{path[i - 1], share, 0.0F}, {path[i], 1.0F - share, 0.0F}}});
    }
}

} // namespace

std::vector<SerializedJointMapping> GenerateJointMappings(
    const RestPose& source, const RestPose& target, const Vector3f& up, velkori_AutoMappingFlags flags) {
    return GenerateJointMappings(
        source, IdentifyTwistJoints(source), target, IdentifyTwistJoints(target), up, flags);
}

std::vector<SerializedJointMapping> GenerateJointMappings(const RestPose& source,
    std::span<const velkori_TwistJointDefinition_> sourceTwists, const RestPose& target,
    std::span<const velkori_TwistJointDefinition_> targetTwists, const Vector3f& up,
    velkori_AutoMappingFlags flags) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return {};
    }
    const Skeleton& targetSkeleton = target.GetSkeleton();
    const JointSet targetSkip = FindSkippedJoints(targetSkeleton, targetTwists);
    NearnessMapper mapper(source, FindSkippedJoints(source.GetSkeleton(), sourceTwists), target, up);
    std::vector<SerializedJointMapping> mappings;
    mappings.reserve(targetSkeleton.GetJointCount());
    for (const int joint : targetSkeleton.GetHierarchicalUpdateOrder()) {
        if (targetSkip.contains(joint)) {
            continue;
        }
        std::vector<velkori_JointMappingEntry_> entries = mapper.Map(joint);
        if (!entries.empty()) {
            mappings.push_back({joint, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal,
                std::move(entries)});
        }
    }
    if ((flags & velkori_AutoMappingFlags_SkipTwistMappings) != 0) {
        return mappings;
    }
    AppendTwistMappings(targetTwists, mappings);
    const FastRangedIntegralSet<HumanoidLimb> limbsWithTwist =
        FindLimbsWithTwist(targetSkeleton, targetTwists);
    for (const TwistLimbKnownJointPair& row : LimbTwistKnownJointChains) {
        if (!limbsWithTwist.contains(row.limb)) {
            AppendChainMappings(FindTwistChain(targetSkeleton, row), mappings);
        }
    }
    return mappings;
}

} // namespace Velkori_Utility::AutoMapping
