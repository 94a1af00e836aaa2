// The exports that tell what a configuration holds.

#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"

#include <string>
#include <vector>

using namespace Velkori_Utility;

namespace {

std::vector<std::string_view> ViewsOf(const std::vector<std::string>& names) {
    return {names.begin(), names.end()};
}

const JointMappingData& MappingDataFor(const UtilityInstance& instance, velkori_SkeletonTPoseType tPoseType) {
    return tPoseType == velkori_SkeletonTPoseType_Max ? instance.config.GetMaxMappingData()
                                                      : instance.config.GetMinMappingData();
}

} // namespace

velkori_Result velkori_getConfigName(velkori_Handle handle, char* out_buffer, int32_t* in_out_bufferSize) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        return CopyText(instance.config.GetName(), out_buffer, in_out_bufferSize);
    });
}

velkori_Result velkori_getVersion(velkori_Handle handle, double* out_version) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (out_version == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_version");
        }
        *out_version = instance.config.GetConfiguration().version;
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getSkeletonInfo(
    velkori_Handle handle, velkori_SkeletonType skeletonType, velkori_SkeletonInfo_* out_skeletonInfo) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (out_skeletonInfo == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_skeletonInfo");
        }
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        *out_skeletonInfo = {
            skeleton.GetSkeletonType(), skeleton.GetJointCount(), skeleton.GetBlendShapeCount()};
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getBlendShapeNames(velkori_Handle handle, velkori_SkeletonType skeletonType,
    char* out_buffer, int32_t* in_out_bufferSize, const char** out_blendShapeNames,
    int32_t* in_out_numBlendShapeNames) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        return CopyTexts(ViewsOf(skeleton.GetBlendShapeNames()), skeleton.GetBlendShapeNamesBufferSize(),
            out_buffer, in_out_bufferSize, out_blendShapeNames, in_out_numBlendShapeNames,
            "Parameter in_out_numBlendShapeNames if a valid out_blendShapeNames buffer is provided");
    });
}

velkori_Result velkori_getJointNames(velkori_Handle handle, velkori_SkeletonType skeletonType,
    char* out_buffer, int32_t* in_out_bufferSize, const char** out_jointNames,
    int32_t* in_out_numJointNames) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        return CopyTexts(ViewsOf(skeleton.GetJointNames()), skeleton.GetJointNamesBufferSize(), out_buffer,
            in_out_bufferSize, out_jointNames, in_out_numJointNames,
            "Parameter in_out_numJointNames if a valid out_jointNames buffer is provided");
    });
}

velkori_Result velkori_getManifestationNames(velkori_Handle handle, velkori_SkeletonType skeletonType,
    char* out_buffer, int32_t* in_out_bufferSize, const char** out_manifestationNames,
    int32_t* in_out_numManifestationNames) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        std::vector<std::string_view> names;
        for (const auto& [name, manifestation] : skeleton.GetManifestationMap()) {
            names.push_back(name);
        }
        return CopyTexts(names, skeleton.GetManifestationNamesBufferSize(), out_buffer, in_out_bufferSize,
            out_manifestationNames, in_out_numManifestationNames,
            "Parameter in_out_numManifestationNames if a valid out_manifestationNames buffer is provided");
    });
}

velkori_Result velkori_getSkeletonTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_numJoints == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_numJoints");
        }
        if (!IsJointSpaceType(jointSpaceType)) {
            return FailWithJointSpaceType(jointSpaceType);
        }
        const std::span<const JointPose> joints =
            instance.retargeting.GetTPose(skeletonType, tPoseType, jointSpaceType);
        if (std::ssize(joints) != instance.config.GetSkeletonData(skeletonType).GetJointCount()) {
            return Fail(velkori_Result_OperationFailed, "TPose data is not valid.");
        }
        return CopyPoses(joints, out_transformData, in_out_numJoints,
            "Parameter in_out_numJoints is not large enough for Joint Count");
    });
}

velkori_Result velkori_getSkeletonMappings(velkori_Handle handle, velkori_SkeletonTPoseType tPoseType,
    velkori_JointMapping_* out_mappings, int32_t* in_out_numMappings) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (in_out_numMappings == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_numMappings");
        }
        const JointMappingData& data = MappingDataFor(instance, tPoseType);
        const int count = data.GetMappingCount();
        if (out_mappings != nullptr) {
            if (*in_out_numMappings < count) {
                return Fail(velkori_Result_BufferTooSmall,
                    "Parameter in_out_numMappings is not large enough for Mapping Count");
            }
            data.PopulateJointMappingData(*in_out_numMappings, out_mappings);
        }
        *in_out_numMappings = count;
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getSkeletonMappingEntries(velkori_Handle handle, velkori_SkeletonTPoseType tPoseType,
    velkori_JointMappingEntry_* out_mappingEntries, int32_t* in_out_numMappingEntries) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (in_out_numMappingEntries == nullptr) {
            // The text is the sister function's.
            return FailWithNull(velkori_Result_NullParameter, "in_out_numMappings");
        }
        const JointMappingData& data = MappingDataFor(instance, tPoseType);
        const int count = data.GetTotalMappingEntryCount();
        if (out_mappingEntries != nullptr) {
            if (*in_out_numMappingEntries < count) {
                return Fail(velkori_Result_BufferTooSmall,
                    "Parameter in_out_numMappingEntries is not large enough for Mapping Count");
            }
            data.PopulateJointMappingEntryData(*in_out_numMappingEntries, out_mappingEntries);
        }
        *in_out_numMappingEntries = count;
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getSkeletonMappingTargetJoints(
    velkori_Handle handle, int32_t* out_jointIndexList, int32_t* in_out_jointCount) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (in_out_jointCount == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_jointCount");
        }
        return CopyIndices(instance.config.GetMinMappingData().GetMappedTargetJoints().ToKeyVector(),
            out_jointIndexList, in_out_jointCount,
            "Parameter out_jointIndexList/in_out_jointCount too small for target joint count list");
    });
}

velkori_Result velkori_getBlendShapeName(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t blendShapeIndex, char* out_buffer, int32_t* in_out_bufferSize) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        return CopyText(instance.config.GetSkeletonData(skeletonType).GetBlendShapeName(blendShapeIndex),
            out_buffer, in_out_bufferSize);
    });
}

velkori_Result velkori_getJointName(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t jointIndex, char* out_buffer, int32_t* in_out_bufferSize) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        return CopyText(instance.config.GetSkeletonData(skeletonType).GetJointName(jointIndex), out_buffer,
            in_out_bufferSize);
    });
}

velkori_Result velkori_getJointIndex(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const char* in_jointName, int32_t* out_jointIndex) {
    return AtBoundary(__func__, [&] {
        if (in_jointName == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_jointName");
        }
        if (out_jointIndex == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_jointIndex");
        }
        const auto instance = FindInstance(handle, "instance");
        if (instance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        *out_jointIndex = SkeletonData::GetIndexFromNameToIdxMap(
            in_jointName, instance->config.GetSkeletonData(skeletonType).GetJointNameToIndexMap(), -1);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getJointIndexByKnownJointType(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_KnownJointType knownJointType, int32_t* out_jointIndex) {
    return AtBoundary(__func__, [&] {
        if (out_jointIndex == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_jointIndex");
        }
        const auto instance = FindInstance(handle, "instance");
        if (instance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        *out_jointIndex = instance->config.GetSkeletonData(skeletonType).GetJointIndex(knownJointType);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getParentJointIndex(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t jointIndex, int32_t* out_parentJointIndex) {
    return AtBoundary(__func__, [&] {
        if (out_parentJointIndex == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_parentJointIndex");
        }
        const auto instance = FindInstance(handle, "instance");
        if (instance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        *out_parentJointIndex =
            instance->config.GetSkeletonData(skeletonType).GetParentJointIndex(jointIndex);
        // That a joint is a root is an answer, not an error: nothing is logged.
        return *out_parentJointIndex != -1 ? velkori_Result_Success : velkori_Result_Failure;
    });
}

velkori_Result velkori_getParentJointIndexes(velkori_Handle handle, velkori_SkeletonType skeletonType,
    int32_t* out_jointIndexArray, int32_t* in_out_numJoints) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (in_out_numJoints == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_numJoints");
        }
        return CopyIndices(instance.config.GetSkeletonData(skeletonType).GetParentIndices(),
            out_jointIndexArray, in_out_numJoints,
            "Parameter in_out_numJoints is not large enough for Joint Count");
    });
}

velkori_Result velkori_getJointsInManifestation(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const char* manifestationName, int32_t* out_jointIndexList, int32_t* in_out_jointCount) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (in_out_jointCount == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_jointCount");
        }
        if (manifestationName == nullptr) {
            return Fail(velkori_Result_InvalidParameter,
                "Parameter manifestationName must be a valid Manifestation Name");
        }
        const Manifestation& manifestation =
            instance.config.GetSkeletonData(skeletonType).GetManifestation(manifestationName);
        if (manifestation.GetJointIndices().empty()) {
            return Fail(
                velkori_Result_InvalidValue, "Could not find Manifestation named: %s", manifestationName);
        }
        if (!manifestation.IsValid()) {
            return Fail(velkori_Result_InvalidData,
                "Manifestation named: %s is invalid - please check Config Data", manifestationName);
        }
        return CopyIndices(manifestation.GetJointIndices(), out_jointIndexList, in_out_jointCount,
            "Parameter out_jointIndexList/in_out_jointCount too small for manifestation joint count list");
    });
}
