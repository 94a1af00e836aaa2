// Skeleton parameters from the public records.

#include "core/SkeletonInitializationParams.h"
#include "shared/ToolUtilities.h"

#include <algorithm>
#include <span>

namespace Velkori_Utility {

namespace {

SkeletonInitializationParams::ManifestationMap ReadManifestations(const velkori_SkeletonInitParams_& record) {
    SkeletonInitializationParams::ManifestationMap manifestations;
    if (record.optional_manifestationCount < 1 || record.optional_manifestationNames == nullptr ||
        record.optional_manifestationJointCounts == nullptr ||
        record.optional_manifestationJointNames == nullptr) {
        return manifestations;
    }
    const std::vector<std::string> names = ToStringVectorFromCharPointerArrayAndSize(
        record.optional_manifestationNames, record.optional_manifestationCount);
    const char* const* jointNames = record.optional_manifestationJointNames;
    for (std::size_t i = 0; i < names.size(); ++i) {
        const std::int32_t count = std::max(record.optional_manifestationJointCounts[i], 0);
        manifestations.Insert(names[i], ToStringVectorFromCharPointerArrayAndSize(jointNames, count));
        jointNames += count;
    }
    return manifestations;
}

} // namespace

SkeletonInitializationParams SkeletonInitializationParams::FromVelkoriSkeletonInitParams(
    LogMsgMap& messages, const velkori_SkeletonInitParams_& record) {
    // A missing smallest pose is the largest or else the unscaled one, a missing largest pose the smallest.
    const velkori_Transform_* minTPose = record.minTPose != nullptr   ? record.minTPose
                                         : record.maxTPose != nullptr ? record.maxTPose
                                                                      : record.unscaledTPose;
    const velkori_Transform_* maxTPose = record.maxTPose != nullptr ? record.maxTPose : minTPose;

    SkeletonInitializationParams params;
    params.blendShapeNames =
        ToStringVectorFromCharPointerArrayAndSize(record.blendShapeNames, record.blendShapeCount);
    params.jointNames = ToStringVectorFromCharPointerArrayAndSize(record.jointNames, record.jointCount);
    params.jointNameToIndex = StringArrayToLookupMap(messages, params.jointNames);
    params.parentJointNames =
        ToStringVectorFromCharPointerArrayAndSize(record.parentJointNames, record.jointCount);
    params.knownJointNames =
        ToStringVectorFromCharPointerArrayAndSize(record.knownJoints, VELKORI_KNOWN_JOINT_COUNT);
    params.autoMappingExcludedJoints = ToStringVectorFromCharPointerArrayAndSize(
        record.optional_autoMapExcludedJointNames, record.optional_autoMapExcludedJointCount);
    params.manifestations = ReadManifestations(record);
    params.minTPose = ToJointPoseVectorFromVelkoriPoseArray(minTPose, record.jointCount);
    params.maxTPose = ToJointPoseVectorFromVelkoriPoseArray(maxTPose, record.jointCount);
    params.unscaledTPose = ToJointPoseVectorFromVelkoriPoseArray(record.unscaledTPose, record.jointCount);
    return params;
}

} // namespace Velkori_Utility
