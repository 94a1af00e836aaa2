// The exports that drive the retargeter and read back what it did.

#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"

using namespace Velkori_Utility;

namespace {

bool HasName(const char* manifestation) {
    return manifestation != nullptr && manifestation[0] != '\0';
}

// A manifestation without joints tracks nothing, and is treated as unknown. One with a gap in its hierarchy
// can't stand for a part of the body: the retargeter would read a whole skeleton where a part was given.
velkori_Result CheckManifestation(
    const SkeletonData& skeleton, const char* name, const char* skeletonWord, velkori_Result unknownResult) {
    if (skeleton.GetManifestationJointCount(name) < 1) {
        return Fail(
            unknownResult, "Could not find manifestation named: %s in %sskeleton data.", name, skeletonWord);
    }
    if (!skeleton.GetManifestation(name).IsValid()) {
        return Fail(velkori_Result_InvalidData,
            "Manifestation named: %s is invalid - please check Config Data", name);
    }
    return velkori_Result_Success;
}

// That `count` transforms are what the source skeleton, or the named manifestation of it, has.
velkori_Result CheckSourceCount(const SkeletonData& source, int32_t count, const char* manifestation,
    const char* countName, velkori_Result code) {
    if (!HasName(manifestation)) {
        return count == source.GetJointCount()
                   ? velkori_Result_Success
                   : Fail(code, "%s does not match the source skeleton joint count", countName);
    }
    if (const velkori_Result result = CheckManifestation(source, manifestation, "source ", code);
        result != velkori_Result_Success) {
        return result;
    }
    return count == source.GetManifestationJointCount(manifestation)
               ? velkori_Result_Success
               : Fail(code, "%s does not match the joint count in manifestation: %s", countName,
                     manifestation);
}

bool IsRetargetingBehavior(velkori_RetargetingBehavior behavior) {
    return behavior >= 0 && behavior < RetargetingBehaviorCount;
}

// The joints that drive a target joint, at the small and at the large end, in the order of their entries.
FastRangedIntegralSet<int> CollectSourceJoints(
    const UtilityConfigData& config, const JointMappingSet& min, const JointMappingSet& max) {
    FastRangedIntegralSet<int> joints(0, config.GetSkeletonData(min.GetType()).GetJointCount(),
        FastRangedIntegralSet<int>::EmptyInitialValues);
    for (const JointMappingSet* set : {&min, &max}) {
        for (const JointMappingEntry& entry : set->GetEntries()) {
            joints.insertInternal(entry.jointIndex);
        }
    }
    return joints;
}

} // namespace

velkori_Result velkori_updateSourceReferenceTPose(velkori_Handle handle,
    const velkori_Transform_* in_transformData, int32_t in_numJoints, const char* manifestation) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_transformData == nullptr) {
            return Fail(velkori_Result_InvalidParameter,
                "Parameter in_transformData and in_numJoints must not be Null");
        }
        if (const velkori_Result result =
                CheckTransforms(in_transformData, in_numJoints, velkori_Result_InvalidParameter);
            result != velkori_Result_Success) {
            return result;
        }
        if (const velkori_Result result = CheckSourceCount(instance.config.GetSourceSkeleton(), in_numJoints,
                manifestation, "in_numJoints", velkori_Result_InvalidParameter);
            result != velkori_Result_Success) {
            return result;
        }
        instance.retargeting.UpdateSourceReferenceTPose(in_transformData, in_numJoints, manifestation);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_retargetFromSourceFrameData(velkori_Handle handle,
    velkori_RetargetingBehaviorInfo_ info, const velkori_Transform_* in_sourceTransformData,
    int32_t in_numSourceJoints, velkori_Transform_* out_targetTransformData, int32_t* in_out_numTargetJoints,
    const char* sourceManifestation, const char* targetManifestation) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_numTargetJoints == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_numTargetJoints");
        }
        const SkeletonData& target = instance.config.GetTargetSkeleton();
        int32_t requiredCount = target.GetJointCount();
        if (HasName(targetManifestation)) {
            if (const velkori_Result result =
                    CheckManifestation(target, targetManifestation, "target ", velkori_Result_InvalidValue);
                result != velkori_Result_Success) {
                return result;
            }
            requiredCount = target.GetManifestationJointCount(targetManifestation);
        }
        if (out_targetTransformData == nullptr && requiredCount > 0) {
            *in_out_numTargetJoints = requiredCount;
            return velkori_Result_Success;
        }
        if (*in_out_numTargetJoints < requiredCount) {
            return HasName(targetManifestation)
                       ? Fail(velkori_Result_BufferTooSmall,
                             "Parameter in_out_numTargetJoints is not large enough for Target Skeleton Joint "
                             "Count in manifestation %s",
                             targetManifestation)
                       : Fail(velkori_Result_BufferTooSmall,
                             "Parameter in_out_numTargetJoints is not large enough for Target Skeleton Joint "
                             "Count. Expected {} joints, got {} joints");
        }
        if (in_sourceTransformData == nullptr) {
            return Fail(velkori_Result_InvalidParameter,
                "Parameter in_sourceTransformData and in_numSourceJoints must not be Null");
        }
        if (const velkori_Result result = CheckTransforms(in_sourceTransformData, in_numSourceJoints);
            result != velkori_Result_Success) {
            return result;
        }
        if (const velkori_Result result = CheckSourceCount(instance.config.GetSourceSkeleton(),
                in_numSourceJoints, sourceManifestation, "in_numSourceJoints", velkori_Result_InvalidValue);
            result != velkori_Result_Success) {
            return result;
        }
        if (!IsRetargetingBehavior(info.behavior)) {
            return Fail(
                velkori_Result_InvalidValue, "Retargeting behavior %d is not between 0 and 3", info.behavior);
        }
        if (!IsJointSpaceType(info.jointSpaceType)) {
            return FailWithJointSpaceType(info.jointSpaceType);
        }
        *in_out_numTargetJoints = ToVelkoriPoseArrayFromJointPoseVector(
            instance.retargeting.RetargetFromSourceFrameData(
                info, in_sourceTransformData, in_numSourceJoints, sourceManifestation, targetManifestation),
            out_targetTransformData);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getLastProcessedFramePose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType jointSpaceType, velkori_Transform_* out_transformData,
    int32_t* in_out_numJoints, const char* manifestation) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_numJoints == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_numJoints");
        }
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        int32_t requiredCount = skeleton.GetJointCount();
        if (HasName(manifestation)) {
            if (!skeleton.IsValidManifestation(manifestation)) {
                return Fail(velkori_Result_InvalidValue,
                    "Could not find manifestation named: %s in skeleton data.", manifestation);
            }
            requiredCount = skeleton.GetManifestationJointCount(manifestation);
        }
        if (!IsJointSpaceType(jointSpaceType)) {
            return FailWithJointSpaceType(jointSpaceType);
        }
        const std::span<const JointPose> pose =
            JointPosesOf(instance.retargeting.GetLastFramePose(skeletonType), jointSpaceType);
        if (std::ssize(pose) != skeleton.GetJointCount()) {
            return Fail(velkori_Result_OperationFailed, "Retargeting cached frame data is not valid.");
        }
        if (out_transformData == nullptr) {
            *in_out_numJoints = static_cast<int32_t>(pose.size());
            return velkori_Result_Success;
        }
        if (*in_out_numJoints < requiredCount) {
            return Fail(velkori_Result_BufferTooSmall,
                "Parameter in_out_numJoints is not large enough for Joint Count");
        }
        *in_out_numJoints = requiredCount;
        if (!HasName(manifestation)) {
            ToVelkoriPoseArrayFromJointPoseVector(pose, out_transformData);
            return velkori_Result_Success;
        }
        for (const int joint : skeleton.GetManifestation(manifestation).GetJointIndices()) {
            *out_transformData++ =
                static_cast<velkori_Transform_>(joint != -1 ? pose[joint] : JointPose::Identity);
        }
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getLastRetargetedMappingData(velkori_Handle handle, int32_t targetJointIndex,
    velkori_SkeletonType* out_sourceSkeletonType, velkori_Transform_* out_mappingTPose,
    velkori_Transform_* out_mappingPose, int32_t* out_sourceJointIndexList,
    int32_t* in_out_sourceJointCount) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_sourceJointCount == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_sourceJointCount");
        }
        const JointMappingSet* min =
            instance.config.GetMinMappingData().FindCombinedMapping(targetJointIndex);
        const JointMappingSet* max =
            instance.config.GetMaxMappingData().FindCombinedMapping(targetJointIndex);
        if (min == nullptr || max == nullptr) {
            return Fail(velkori_Result_InvalidValue,
                "Invalid Target Joint Index: %d - cannot find mapping to joint", targetJointIndex);
        }
        const std::vector<int> joints = CollectSourceJoints(instance.config, *min, *max).ToKeyVector();
        const auto jointCount = static_cast<int32_t>(joints.size());
        if (out_sourceJointIndexList == nullptr) {
            *in_out_sourceJointCount = jointCount;
            return velkori_Result_Success;
        }
        if (*in_out_sourceJointCount < jointCount) {
            return Fail(velkori_Result_BufferTooSmall,
                "Parameter out_sourceJointIndexList is not large enough to store source joint index list");
        }
        if (out_sourceSkeletonType == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "out_sourceSkeletonType");
        }
        Retargeting& retargeting = instance.retargeting;
        if ((out_mappingTPose != nullptr || out_mappingPose != nullptr) &&
            !retargeting.GetLastFramePose(velkori_SkeletonType_Target).IsInitialized()) {
            return Fail(velkori_Result_InvalidValue,
                "Retargeting cached data isn't valid - updateSourceReferenceTPose and "
                "retargetFromSourceFrameData must be called before retrieving blended transform data!");
        }
        *out_sourceSkeletonType = min->GetType();
        if (out_mappingTPose != nullptr) {
            *out_mappingTPose =
                static_cast<velkori_Transform_>(retargeting.GetCalculatedMappingTPose(targetJointIndex));
        }
        if (out_mappingPose != nullptr) {
            *out_mappingPose =
                static_cast<velkori_Transform_>(retargeting.GetCalculatedMappingPose(targetJointIndex));
        }
        return CopyIndices(joints, out_sourceJointIndexList, in_out_sourceJointCount, "");
    });
}

velkori_Result velkori_generateTargetToSourceJointPairsFromNames(velkori_Handle sourceHandle,
    velkori_Handle targetHandle, int32_t pairCount, const char* const* in_namedPairs, int32_t* out_pairs) {
    return AtBoundary(__func__, [&] {
        const auto sourceInstance = FindInstance(sourceHandle, "sourceInstance");
        if (sourceInstance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        const auto targetInstance = FindInstance(targetHandle, "targetInstance");
        if (targetInstance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        if (out_pairs == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_pairs");
        }
        if (in_namedPairs == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_namedPairs");
        }
        const auto find = [](const SkeletonData& skeleton, const char* name) {
            return name == nullptr
                       ? -1
                       : SkeletonData::GetIndexFromNameToIdxMap(name, skeleton.GetJointNameToIndexMap(), -1);
        };
        const auto printed = [](const char* name) { return name == nullptr ? "<NULL>" : name; };
        for (int64_t i = 0; i < int64_t{2} * pairCount; i += 2) {
            const int target = find(targetInstance->config.GetTargetSkeleton(), in_namedPairs[i]);
            if (target == -1) {
                return Fail(
                    velkori_Result_InvalidValue, "Invalid Target Joint Name: %s", printed(in_namedPairs[i]));
            }
            const int source = find(sourceInstance->config.GetSourceSkeleton(), in_namedPairs[i + 1]);
            if (source == -1) {
                return Fail(velkori_Result_InvalidValue, "Invalid Source Joint Name: %s",
                    printed(in_namedPairs[i + 1]));
            }
            out_pairs[i] = target;
            out_pairs[i + 1] = source;
        }
        return velkori_Result_Success;
    });
}
