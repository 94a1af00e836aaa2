#include "core/LimbClassification.h"

#include "core/Skeleton.h"

namespace Velkori_Utility::AutoMapping {

namespace {

constexpr auto PastLastLimb = static_cast<HumanoidLimb>(HumanoidLimb_RightFoot + 1);

// Who has which joint while the limbs state their claims, one after the other.
class LimbClaims {
  public:
    explicit LimbClaims(int inJointCount) : jointCount(inJointCount) {
        jointToLimb.initialize(0, jointCount);
        limbToJoints.initialize(HumanoidLimb_Invalid, PastLastLimb);
        FastRangedIntegralSet<int> noJoints;
        noJoints.initialize(0, jointCount);
        for (int limb = HumanoidLimb_Invalid; limb < PastLastLimb; ++limb) {
            limbToJoints.insert(static_cast<HumanoidLimb>(limb), noJoints);
        }
    }

    void Claim(int joint, HumanoidLimb limb) {
        const HumanoidLimb* holder = jointToLimb.Find(joint);
        if (holder == nullptr) {
            Assign(joint, limb);
            return;
        }
        const HumanoidLimb parentLimb = *LimbHierarchy.Find(*holder);
        if (parentLimb == *LimbHierarchy.Find(limb)) {
            JointsOf(*holder).erase(joint);
            Assign(joint, parentLimb);
        }
    }

    FastRangedIntegralMap<HumanoidLimb, FastRangedIntegralSet<int>> Finish() {
        for (int joint = 0; joint < jointCount; ++joint) {
            if (!jointToLimb.contains(joint)) {
                Assign(joint, HumanoidLimb_Invalid);
            }
        }
        return limbToJoints;
    }

  private:
    FastRangedIntegralSet<int>& JointsOf(HumanoidLimb limb) { return *limbToJoints.Find(limb); }

    void Assign(int joint, HumanoidLimb limb) {
        JointsOf(limb).insertInternal(joint);
        jointToLimb.insert(joint, limb);
    }

    int jointCount;
    FastRangedIntegralMap<int, HumanoidLimb> jointToLimb;
    FastRangedIntegralMap<HumanoidLimb, FastRangedIntegralSet<int>> limbToJoints;
};

} // namespace

FastRangedIntegralMap<HumanoidLimb, FastRangedIntegralSet<int>> ClassifyJointsByLimb(
    const Skeleton& skeleton, FastRangedIntegralMap<HumanoidLimb, std::vector<int>>& chains) {
    LimbClaims claims(skeleton.GetJointCount());
    chains.initialize(HumanoidLimb_Invalid, PastLastLimb);
    for (const auto& [limb, ends] : LimbToKnownJointChains) {
        if (limb == HumanoidLimb_Invalid) {
            continue;
        }
        const auto [first, last] = ends;
        const int start = skeleton.GetJointIndex(first);
        const std::vector<int> chain =
            last == velkori_KnownJointType_Invalid
                ? skeleton.GetDescendantsOfJointIndex(start, FastRangedIntegralSet<int>::EmptySet)
                : skeleton.GetConnectedPathBetweenJoints(start, skeleton.GetJointIndex(last));
        // A limb's first joint belongs to the limb above. Nothing is above the root, which is its own limb's
        // first joint even though the way down from it doesn't hold it.
        if (first == velkori_KnownJointType_Root && !chain.empty()) {
            claims.Claim(start, limb);
        }
        for (const int joint : chain) {
            if (joint != start) {
                claims.Claim(joint, limb);
            }
        }
        chains.insert(limb, chain);
    }
    return claims.Finish();
}

} // namespace Velkori_Utility::AutoMapping
