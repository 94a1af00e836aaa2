#include "core/Manifestation.h"

#include "shared/FastRangedIntegralContainers.h"

#include <algorithm>
#include <utility>

namespace Velkori_Utility {

namespace {

// Members that don't hang from the first one are no gap, wherever they are.
bool HasNoGap(const Skeleton& skeleton, const std::vector<int>& joints) {
    if (joints.empty()) {
        return true;
    }
    const int first = joints.front();
    const FastRangedIntegralSet<int> members(0, 0, joints);
    return std::none_of(joints.begin(), joints.end(), [&](int member) {
        const int parent = skeleton.GetParentJointIndex(member);
        return member != first && parent != -1 && !members.contains(parent) &&
               skeleton.IsAncestorOfJointIndex(first, parent);
    });
}

} // namespace

Manifestation::Manifestation(const Skeleton& skeleton, std::vector<int> joints)
    : jointIndices(std::move(joints)), isValid(HasNoGap(skeleton, jointIndices)) {}

std::vector<std::string> Manifestation::GenerateJointNameArray(const Skeleton& skeleton) const {
    std::vector<std::string> names;
    names.reserve(jointIndices.size());
    for (const int joint : jointIndices) {
        names.push_back(skeleton.GetJointName(joint));
    }
    return names;
}

} // namespace Velkori_Utility
