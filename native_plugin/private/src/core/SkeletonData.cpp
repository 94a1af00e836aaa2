#include "core/SkeletonData.h"

#include "core/JointSpaces.h"
#include "core/PoseBlending.h"

namespace Velkori_Utility {

SkeletonData::SkeletonData(velkori_SkeletonType type, const InitializationParams& params)
    : Skeleton(params), skeletonType(type), restPoses(*this, params), emptyManifestation(*this, {}) {
    manifestations.Reserve(params.manifestations.Size());
    for (const auto& [name, memberNames] : params.manifestations) {
        manifestationNamesBufferSize += name.size() + 1;
        manifestations.Insert(name, Manifestation(*this, ConvertJointNameArrayToJointIndexList(memberNames)));
    }
}

const RestPose& SkeletonData::GetTPoseData(velkori_SkeletonTPoseType type) const {
    if (type == velkori_SkeletonTPoseType_Unscaled && skeletonType == velkori_SkeletonType_Target) {
        return restPoses.GetUnscaled();
    }
    return type == velkori_SkeletonTPoseType_Max ? restPoses.GetMax() : restPoses.GetMin();
}

const RestPose& SkeletonData::GetUnscaledOrMinTPose() const {
    return restPoses.GetUnscaled().IsInitialized() ? restPoses.GetUnscaled() : restPoses.GetMin();
}

const Manifestation& SkeletonData::GetManifestation(std::string_view name) const {
    const Manifestation* found = manifestations.Find(name);
    return found == nullptr ? emptyManifestation : *found;
}

int SkeletonData::GetManifestationJointCount(std::string_view name) const {
    return static_cast<int>(GetManifestation(name).GetJointIndices().size());
}

InsertionOrderedMap<std::vector<std::string>> SkeletonData::GenerateManifestationStringMap() const {
    InsertionOrderedMap<std::vector<std::string>> jointNamesByManifestation;
    jointNamesByManifestation.Reserve(manifestations.Size());
    for (const auto& [name, manifestation] : manifestations) {
        jointNamesByManifestation.Insert(name, manifestation.GenerateJointNameArray(*this));
    }
    return jointNamesByManifestation;
}

SkeletonData::InitializationParams SkeletonData::GenerateInitializationParams(bool preferMidPose) const {
    const std::vector<JointPose>& minPose = restPoses.GetMin().GetJointPoses(RootSpace);
    const std::vector<JointPose>& maxPose = restPoses.GetMax().GetJointPoses(RootSpace);
    if (preferMidPose && !restPoses.GetUnscaled().IsInitialized()) {
        return GenerateInitializationParams(minPose, maxPose, LerpRootSpacePoses(minPose, maxPose, 0.5F));
    }
    return GenerateInitializationParams(minPose, maxPose, restPoses.GetUnscaled().GetJointPoses(RootSpace));
}

SkeletonData::InitializationParams SkeletonData::GenerateInitializationParams(
    std::span<const JointPose> minPose, std::span<const JointPose> maxPose,
    std::span<const JointPose> unscaledPose) const {
    InitializationParams params;
    params.blendShapeNames = GetBlendShapeNames();
    params.jointNames = GetJointNames();
    params.jointNameToIndex = GetJointNameToIndexMap();
    params.parentJointNames.reserve(GetJointNames().size());
    for (const int parent : GetParentIndices()) {
        params.parentJointNames.push_back(GetJointName(parent));
    }
    params.knownJointNames.resize(VELKORI_KNOWN_JOINT_COUNT);
    for (const auto& [knownJoint, joint] : GetKnownJoints()) {
        params.knownJointNames[knownJoint] = GetJointName(joint);
    }
    for (const int joint : GetAutoMappingExcludedJoints()) {
        params.autoMappingExcludedJoints.push_back(GetJointName(joint));
    }
    params.manifestations = GenerateManifestationStringMap();
    params.minTPose.assign(minPose.begin(), minPose.end());
    params.maxTPose.assign(maxPose.begin(), maxPose.end());
    params.unscaledTPose.assign(unscaledPose.begin(), unscaledPose.end());
    return params;
}

} // namespace Velkori_Utility
