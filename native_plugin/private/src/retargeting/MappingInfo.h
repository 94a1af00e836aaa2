#pragma once

#include "core/JointMappingSet.h"
#include "shared/DataTypes.h"

#include <array>
#include <span>
#include <vector>

namespace Velkori_Utility {

// As many columns as velkori_RetargetingBehavior has values, which are their indices.
constexpr int RetargetingBehaviorCount = 4;

template <typename T>
using PerBehavior = std::array<T, RetargetingBehaviorCount>;

// What the retargeter keeps for one mapped target joint: its mapping at both ends of the size range, where
// the tracked body lies between them, and what the mapping yields on the rest poses. One column per
// retargeting behaviour.
struct MappingInfo {
    // The references become the poses that are reported until the first frame.
    MappingInfo(const JointMappingSet& min, const JointMappingSet& max, const PerBehavior<float>& weights,
        const PerBehavior<JointPose>& minReferences, const PerBehavior<JointPose>& maxReferences,
        const PerBehavior<JointPose>& offsets);

    // The joint's pose in root space as the mapping has it. What no entry of the mapping drives, position or
    // rotation, is kept from `currentPose`. `behavior` is a column.
    JointPose RetargetFromSourcePose(std::span<const JointPose> sourceReferencePose,
        std::span<const JointPose> sourceJointPoses, const JointPose& currentPose, int behavior);

    const JointMappingSet* minMappingSet;
    const JointMappingSet* maxMappingSet;
    // From the minimum (0) to the maximum (1); not limited to that range.
    PerBehavior<float> blendWeights;
    // Applied to the blended pose.
    PerBehavior<JointPose> localOffsets;
    PerBehavior<JointPose> minReferencePoses;
    PerBehavior<JointPose> maxReferencePoses;
    // Whether both mappings and both references are equal, so that one evaluation does for both.
    PerBehavior<bool> endsAreAlike = {};
    // The last results of the two mappings.
    PerBehavior<JointPose> lastMinPoses;
    PerBehavior<JointPose> lastMaxPoses;
};

// From a (0) to b (1): the orientation along the shortest arc, position and scale linearly. Equal poses blend
// to themselves, normalised: a rotation of unit length keeps its bits.
JointPose BlendPoses(const JointPose& a, const JointPose& b, float weight);

} // namespace Velkori_Utility
