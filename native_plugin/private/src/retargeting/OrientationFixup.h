#pragma once

#include "core/Skeleton.h"
#include "shared/DataTypes.h"
#include "shared/FastRangedIntegralContainers.h"

#include <span>
#include <vector>

namespace Velkori_Utility {

// Turns each joint of a finished pose so that the bone to its single child points at where the child really
// is, as it does in the rest pose. The child itself stays where it is. Keeps its lists from one pose to the
// next.
class OrientationFixup {
  public:
    explicit OrientationFixup(const Skeleton& owner);

    // `pose` is in root space, `restLocalPose` the rest pose in local space. Excluded joints keep their local
    // pose instead.
    void Apply(std::span<const JointPose> restLocalPose, const FastRangedIntegralSet<int>& excludedJoints,
        std::vector<JointPose>& pose);

  private:
    // The child that a joint's bone leads to, -1 where it has none or branches.
    int FindSingleChild(int joint, const FastRangedIntegralSet<int>& excludedJoints) const;

    const Skeleton* skeleton;
    // The pose as it came in.
    std::vector<JointPose> localPose;
    FastRangedIntegralSet<int> fixedJoints;
};

} // namespace Velkori_Utility
