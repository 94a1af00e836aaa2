#pragma once

#include "shared/DataTypes.h"
#include "shared/InsertionOrderedMap.h"
#include "shared/LogMessages.h"

#include <span>
#include <string>
#include <vector>

namespace Velkori_Utility {

// The plain, name-keyed description of a skeleton: what a document or the public records yield, what
// validation judges, and what a skeleton is built from. Parsing gathers whatever it finds, however
// incomplete; only parameters that passed CheckIsValid may become a skeleton.
struct SkeletonInitializationParams {
    using ManifestationMap = InsertionOrderedMap<std::vector<std::string>>;

    // Indices are the positions in `names`: a refused name leaves a gap.
    static NameToIndexMap StringArrayToLookupMap(LogMsgMap& messages, std::span<const std::string> names);

    // Runs every rule and reports every fault.
    bool CheckIsValid(LogMsgMap& messages) const;

    std::vector<std::string> blendShapeNames;
    // The order gives the joint index.
    std::vector<std::string> jointNames;
    NameToIndexMap jointNameToIndex;
    // By joint index, empty for a root.
    std::vector<std::string> parentJointNames;
    // Empty, or one entry per known joint, by velkori_KnownJointType and empty where unassigned.
    std::vector<std::string> knownJointNames;
    // Joints that automatic mapping leaves alone.
    std::vector<std::string> autoMappingExcludedJoints;
    // A manifestation's name to its joints' names.
    ManifestationMap manifestations;
    // Rest poses in root space by joint index; each may be empty.
    std::vector<JointPose> minTPose;
    std::vector<JointPose> maxTPose;
    std::vector<JointPose> unscaledTPose;
};

} // namespace Velkori_Utility
