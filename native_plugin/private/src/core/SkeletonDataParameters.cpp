// From a living skeleton back to the parameters that would build it.

#include "core/SkeletonData.h"

namespace Velkori_Utility {

namespace {

std::vector<JointPose> CopyRootSpacePose(const PoseData& pose) {
    return pose.IsInitialized() ? pose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative)
                                : std::vector<JointPose>();
}

} // namespace

InsertionOrderedMap<std::vector<std::string>> SkeletonData::GenerateManifestationStringMap() const {
    InsertionOrderedMap<std::vector<std::string>> jointNamesByManifestation;
    jointNamesByManifestation.Reserve(GetManifestationMap().Size());
    for (const auto& [name, manifestation] : GetManifestationMap()) {
        jointNamesByManifestation.Insert(name, manifestation->GenerateJointNameArray());
    }
    return jointNamesByManifestation;
}

SkeletonData::InitializationParams SkeletonData::GenerateInitializationParams(bool preferMidPose) const {
    const PoseData& minPose = GetTPoseData(velkori_SkeletonTPoseType_Min);
    const PoseData& maxPose = GetTPoseData(velkori_SkeletonTPoseType_Max);
    if (preferMidPose && !unscaledTPose.IsInitialized()) {
        return GenerateInitializationParams(minPose, maxPose, minPose.Lerp(maxPose, 0.5F));
    }
    return GenerateInitializationParams(minPose, maxPose, unscaledTPose);
}

SkeletonData::InitializationParams SkeletonData::GenerateInitializationParams(
    const PoseData& minPose, const PoseData& maxPose, const PoseData& pose) const {
    InitializationParams params;
    params.blendShapeNames = blendShapeNames;
    params.jointNames = jointNames;
    params.jointNameToIndex = jointNameToIndex;
    params.parentJointNames.reserve(jointNames.size());
    for (const int parent : parentIndices) {
        params.parentJointNames.push_back(GetJointName(parent));
    }
    params.knownJointNames.resize(VELKORI_KNOWN_JOINT_COUNT);
    for (const auto& [knownJoint, joint] : knownJointToIndex) {
        params.knownJointNames[knownJoint] = GetJointName(joint);
    }
    for (const int joint : autoMappingExcludedJoints) {
        params.autoMappingExcludedJoints.push_back(GetJointName(joint));
    }
    params.manifestations = GenerateManifestationStringMap();
    params.minTPose = CopyRootSpacePose(minPose);
    params.maxTPose = CopyRootSpacePose(maxPose);
    params.unscaledTPose = CopyRootSpacePose(pose);
    return params;
}

} // namespace Velkori_Utility
