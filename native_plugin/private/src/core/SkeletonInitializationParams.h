#pragma once

#include "shared/DataTypes.h"
#include "shared/InsertionOrderedMap.h"
#include "shared/LogMessages.h"
#include "shared/RapidJSON.h"

#include <span>
#include <string>
#include <vector>

namespace Velkori_Utility {

// The plain, name-keyed description of a skeleton: what a document or the public records yield, what
// validation judges, and what a skeleton is built from. Parsing gathers whatever it finds, however
// incomplete; only parameters that passed CheckIsValid may become a skeleton.
struct SkeletonInitializationParams {
    using ManifestationMap = InsertionOrderedMap<std::vector<std::string>>;

    // `skeletonType` is 0 for a source and 1 for a target. Poses are taken through `conversion`.
    static SkeletonInitializationParams CreateFromJSON(
        LogMsgMap& messages, const JSONValue& object, int skeletonType, const JointPose& conversion);

    // A missing smallest or largest rest pose takes the place of the other or of the unscaled one. The
    // record's pointers have been checked against its counts.
    static SkeletonInitializationParams FromVelkoriSkeletonInitParams(
        LogMsgMap& messages, const velkori_SkeletonInitParams_& record);

    // Indices are the positions in `names`: a refused name leaves a gap.
    static NameToIndexMap StringArrayToLookupMap(LogMsgMap& messages, std::span<const std::string> names);

    // Root-space poses by joint index; a joint that the object doesn't name keeps the identity.
    static std::vector<JointPose> ParseRootSpacePoseData(LogMsgMap& messages, const JSONValue& object,
        const NameToIndexMap& nameToIndex, const JointPose& conversion);

    static std::vector<std::string> ParseParentJointNames(
        LogMsgMap& messages, const JSONValue& object, const NameToIndexMap& nameToIndex);

    // Always one name per known joint, empty where the object assigns none.
    static std::vector<std::string> ParseKnownJointsJSONData(const JSONValue& object);

    static ManifestationMap ParseManifestationData(LogMsgMap& messages, const JSONValue& object);

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
