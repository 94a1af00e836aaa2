// The exports that compute with poses of one skeleton.

#include "core/ConfigurationData.h"
#include "core/JointSpaces.h"
#include "core/ManifestationConverter.h"
#include "core/PoseBlending.h"
#include "core/PoseMeasures.h"
#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"
#include "shared/ProcessSpace.h"

#include <algorithm>
#include <cmath>

using namespace Velkori_Utility;

namespace {

// Also of a skeleton that has joints but no rest poses.
constexpr const char* EmptySkeletonText = "Config Skeleton is empty (invalid)";
constexpr const char* NotInitializedText = "Failed to initialize Pose Data from transform data";

velkori_Result CheckJointCount(const SkeletonData& skeleton, int32_t jointCount) {
    return jointCount == skeleton.GetJointCount()
               ? velkori_Result_Success
               : Fail(velkori_Result_BufferTooSmall,
                     "ERROR: JointCount: %d does not match skeleton Joint Count of %d.", jointCount,
                     skeleton.GetJointCount());
}

// The checks that the exports start with which convert an array of one transform per joint.
velkori_Result CheckConvertedPose(
    const SkeletonData& skeleton, const velkori_Transform_* transforms, int32_t jointCount) {
    const velkori_Result result = CheckPoseArray({transforms, jointCount});
    return result != velkori_Result_Success ? result : CheckJointCount(skeleton, jointCount);
}

velkori_Result CalculateTPose(const SkeletonData& skeleton, velkori_JointRelativeSpaceType space,
    float interpolation, velkori_Transform_* out_transforms, int32_t* in_out_numJoints) {
    const int jointCount = skeleton.GetJointCount();
    if (out_transforms == nullptr) {
        *in_out_numJoints = jointCount;
        return velkori_Result_Success;
    }
    if (*in_out_numJoints < jointCount) {
        return Fail(
            velkori_Result_BufferTooSmall, "Parameter in_out_numJoints is not large enough for Joint Count");
    }
    if (skeleton.IsEmpty()) {
        return Fail(velkori_Result_InvalidData, "%s", EmptySkeletonText);
    }
    const RestPoses& restPoses = skeleton.GetRestPoses();
    PoseData pose(skeleton, RootSpace,
        LerpRootSpacePoses(restPoses.GetMin().GetJointPoses(RootSpace),
            restPoses.GetMax().GetJointPoses(RootSpace), interpolation),
        JointPose::Identity);
    const std::span<const JointPose> joints = JointPosesOf(pose, space);
    if (std::ssize(joints) != jointCount) {
        return Fail(velkori_Result_InvalidData, "%s", EmptySkeletonText);
    }
    *in_out_numJoints = ToVelkoriPoseArrayFromJointPoseVector(joints, out_transforms);
    return velkori_Result_Success;
}

// A part of a skeleton that a manifestation names, or the whole of it.
struct PoseScope {
    PoseScope(const SkeletonData& skeleton, const char* givenName)
        : name(givenName != nullptr && givenName[0] != '\0' ? givenName : nullptr),
          manifestation(name != nullptr ? &skeleton.GetManifestation(name) : nullptr),
          jointCount(manifestation != nullptr ? static_cast<int32_t>(manifestation->GetJointIndices().size())
                                              : skeleton.GetJointCount()) {}

    bool IsUnknown() const { return manifestation != nullptr && jointCount < 1; }

    bool IsInvalid() const { return manifestation != nullptr && !manifestation->IsValid(); }

    const char* PrintedName() const { return name != nullptr ? name : "NONE"; }

    // Null for the whole skeleton.
    const char* name;
    const Manifestation* manifestation;
    int32_t jointCount;
};

velkori_Result CheckScope(const PoseScope& scope, const char* role) {
    if (scope.IsUnknown()) {
        return Fail(
            velkori_Result_InvalidValue, "Could not find %s Manifestation named: %s", role, scope.name);
    }
    if (scope.IsInvalid()) {
        // "Source" stands for both roles.
        return Fail(velkori_Result_InvalidData,
            "Source Manifestation named: %s is invalid - please check Config Data", scope.name);
    }
    return velkori_Result_Success;
}

std::vector<JointPose> ConvertSpace(const SkeletonData& skeleton, std::vector<JointPose> poses,
    velkori_JointRelativeSpaceType from, velkori_JointRelativeSpaceType to) {
    if (from == to) {
        return poses;
    }
    return PoseData(skeleton, from, poses, JointPose::Identity).GetJointPoses(to);
}

// Poses of `source` in its space as poses of `output` in its space, through root space where the scopes
// differ.
std::vector<JointPose> ConvertBetweenScopes(const SkeletonData& skeleton, std::vector<JointPose> poses,
    const PoseScope& source, velkori_JointRelativeSpaceType sourceSpace, const PoseScope& output,
    velkori_JointRelativeSpaceType outputSpace) {
    const RestPoses& restPoses = skeleton.GetRestPoses();
    if (source.manifestation == output.manifestation && source.manifestation == nullptr) {
        return ConvertSpace(skeleton, std::move(poses), sourceSpace, outputSpace);
    }
    if (source.manifestation == output.manifestation) {
        ManifestationConverter(restPoses, *source.manifestation)
            .ConvertManifestationPoseJointSpace(poses, sourceSpace, outputSpace);
        return poses;
    }
    std::vector<JointPose> converted;
    if (source.manifestation != nullptr) {
        ManifestationConverter converter(restPoses, *source.manifestation);
        converter.ConvertManifestationPoseJointSpace(poses, sourceSpace, RootSpace);
        converter.ConvertFromManifestationRootSpacePose(poses, converted);
    } else {
        converted = ConvertSpace(skeleton, std::move(poses), sourceSpace, RootSpace);
    }
    if (output.manifestation == nullptr) {
        return ConvertSpace(skeleton, std::move(converted), RootSpace, outputSpace);
    }
    std::vector<JointPose> part;
    ManifestationConverter(restPoses, *output.manifestation)
        .ConvertToManifestationPose(converted, outputSpace, part);
    return part;
}

velkori_PoseExtents_ ToRecord(const PoseExtents& extents) {
    return {static_cast<velkori_Vector3f_>(extents.min), static_cast<velkori_Vector3f_>(extents.max),
        static_cast<velkori_Vector3f_>(extents.range)};
}

velkori_PoseInfo_ DescribePose(const Skeleton& skeleton, std::span<const JointPose> joints) {
    velkori_PoseInfo_ info = {};
    info.coordinateSpace = ProcessSpace();
    info.extents = ToRecord(MeasureExtents(skeleton, joints));
    for (int i = 0; i < VELKORI_KNOWN_JOINT_COUNT; ++i) {
        const int joint = skeleton.GetJointIndex(static_cast<velkori_KnownJointType>(i));
        if (joint != -1) {
            info.knownJointPositions[i] = static_cast<velkori_Vector3f_>(joints[joint].position);
        }
    }
    return info;
}

velkori_Result CheckFinite(const char* parameterName, float value) {
    return std::isfinite(value)
               ? velkori_Result_Success
               : Fail(velkori_Result_InvalidValue, "Parameter %s must be a finite number", parameterName);
}

velkori_Result CheckTPoseArguments(
    const int32_t* in_out_numJoints, velkori_JointRelativeSpaceType space, const char* sizeName, float size) {
    if (in_out_numJoints == nullptr) {
        return FailWithNull(velkori_Result_NullParameter, "in_out_numJoints");
    }
    return IsJointSpaceType(space) ? CheckFinite(sizeName, size) : FailWithJointSpaceType(space);
}

bool IsJointIndex(int32_t joint, const Skeleton& skeleton) {
    return joint >= 0 && joint < skeleton.GetJointCount();
}

} // namespace

velkori_Result velkori_calculateSkeletonTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType jointSpaceType, float interpolation, velkori_Transform_* out_transformData,
    int32_t* in_out_numJoints) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (const velkori_Result result =
                CheckTPoseArguments(in_out_numJoints, jointSpaceType, "interpolation", interpolation);
            result != velkori_Result_Success) {
            return result;
        }
        return CalculateTPose(instance.config.GetSkeletonData(skeletonType), jointSpaceType, interpolation,
            out_transformData, in_out_numJoints);
    });
}

velkori_Result velkori_calculateSkeletonTPoseAtHeight(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType, float height,
    velkori_Transform_* out_transformData, int32_t* in_out_numJoints) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (const velkori_Result result =
                CheckTPoseArguments(in_out_numJoints, jointSpaceType, "height", height);
            result != velkori_Result_Success) {
            return result;
        }
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        return CalculateTPose(skeleton, jointSpaceType,
            skeleton.GetRestPoses().ConvertHeightToInterpolationDelta(height, Vector3f(ProcessSpace().up)),
            out_transformData, in_out_numJoints);
    });
}

velkori_Result velkori_convertPoseFromToManifestation(velkori_Handle handle,
    velkori_SkeletonType skeletonType, const char* sourceManifestation,
    velkori_JointRelativeSpaceType sourceSpaceType, const velkori_Transform_* in_transformData,
    int32_t in_sourceManifestationJointCount, const char* outputManifestation,
    velkori_JointRelativeSpaceType outputSpaceType, velkori_Transform_* out_transformData,
    int32_t* in_out_numOutputJoints) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (const velkori_Result result = CheckTransforms(in_transformData, in_sourceManifestationJointCount);
            result != velkori_Result_Success) {
            return result;
        }
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        const PoseScope output(skeleton, outputManifestation);
        if (const velkori_Result result = CheckScope(output, "Output"); result != velkori_Result_Success) {
            return result;
        }
        if (in_out_numOutputJoints == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_numOutputJoints");
        }
        if (out_transformData == nullptr) {
            *in_out_numOutputJoints = output.jointCount;
            return velkori_Result_Success;
        }
        const PoseScope source(skeleton, sourceManifestation);
        if (const velkori_Result result = CheckScope(source, "Source"); result != velkori_Result_Success) {
            return result;
        }
        if (in_transformData == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_transformData");
        }
        if (in_sourceManifestationJointCount < source.jointCount) {
            return Fail(velkori_Result_BufferTooSmall,
                "Parameter in_sourceManifestationJointCount too small for manifestation %s joint count list. "
                " "
                "Size %d, Required %d.",
                source.PrintedName(), in_sourceManifestationJointCount, source.jointCount);
        }
        if (*in_out_numOutputJoints < output.jointCount) {
            return Fail(velkori_Result_BufferTooSmall,
                "Parameter in_out_numOutputJoints too small for manifestation %s joint count list.  Size %d, "
                "Required %d.",
                output.PrintedName(), *in_out_numOutputJoints, output.jointCount);
        }
        if (!IsJointSpaceType(sourceSpaceType) || !IsJointSpaceType(outputSpaceType)) {
            return FailWithJointSpaceType(
                IsJointSpaceType(sourceSpaceType) ? outputSpaceType : sourceSpaceType);
        }
        if (source.manifestation == output.manifestation && sourceSpaceType == outputSpaceType) {
            std::copy_n(in_transformData, output.jointCount, out_transformData);
            *in_out_numOutputJoints = output.jointCount;
            return velkori_Result_Success;
        }
        const std::vector<JointPose> converted = ConvertBetweenScopes(skeleton,
            ToJointPoseVectorFromVelkoriPoseArray(in_transformData, source.jointCount), source,
            sourceSpaceType, output, outputSpaceType);
        *in_out_numOutputJoints = ToVelkoriPoseArrayFromJointPoseVector(converted, out_transformData);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getPoseInfo(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_PoseInfo_* out_poseHeight) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (out_poseHeight == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "out_poseHeight");
        }
        const std::span<const JointPose> joints =
            instance.retargeting.GetTPose(skeletonType, tPoseType, RootSpace);
        if (joints.empty()) {
            return Fail(
                velkori_Result_InvalidValue, "Cannot Populate PoseInfo - TPoseData is currently invalid");
        }
        *out_poseHeight = DescribePose(instance.config.GetSkeletonData(skeletonType), joints);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getLengthBetweenJoints(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, int32_t startJointIndex, int32_t endJointIndex, float* out_length) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (out_length == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "out_length");
        }
        const Skeleton& skeleton = instance.config.GetSkeletonData(skeletonType);
        const std::span<const float> lengths =
            instance.retargeting.GetTPoseJointLengths(skeletonType, tPoseType);
        if (lengths.empty()) {
            return Fail(velkori_Result_InvalidValue,
                "Cannot Measure Distance between Joints - TPoseData is currently invalid");
        }
        if (!IsJointIndex(startJointIndex, skeleton)) {
            return Fail(velkori_Result_InvalidValue,
                "Cannot Measure Distance between Joints - startJointIndex %d is invalid", startJointIndex);
        }
        if (!IsJointIndex(endJointIndex, skeleton)) {
            return Fail(velkori_Result_InvalidValue,
                "Cannot Measure Distance between Joints - endJointIndex %d is invalid", endJointIndex);
        }
        *out_length = SumJointLengths(skeleton, lengths, startJointIndex, endJointIndex);
        if (*out_length < 0.0F) {
            return Fail(velkori_Result_InvalidValue,
                "Can not find valid skeletal path between joints %d and %d", startJointIndex, endJointIndex);
        }
        return velkori_Result_Success;
    });
}

velkori_Result velkori_scalePoseToHeight(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType jointSpaceType, float height, int32_t jointCount,
    velkori_Transform_* in_out_transformData) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        if (const velkori_Result result =
                CheckPose(skeleton, {in_out_transformData, jointCount}, jointSpaceType);
            result != velkori_Result_Success) {
            return result;
        }
        if (const velkori_Result result = CheckFinite("height", height); result != velkori_Result_Success) {
            return result;
        }
        PoseData pose = ReadPose(skeleton, jointSpaceType, in_out_transformData, jointCount);
        PoseData scaled = pose.CalculatePoseAtHeight(height, Vector3f(ProcessSpace().up));
        if (!AreFinite(JointPosesOf(scaled, jointSpaceType))) {
            return Fail(velkori_Result_InvalidValue, "A pose without height can't be scaled to one");
        }
        WritePose(scaled, jointSpaceType, in_out_transformData);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_applyCoordinateSpaceConversion(velkori_Handle handle,
    velkori_SkeletonType skeletonType, velkori_JointRelativeSpaceType jointSpaceType,
    velkori_Transform_* in_out_transformData, int32_t jointCount, velkori_CoordinateSpace_ in_coordinateSpace,
    velkori_CoordinateSpace_ out_coordinateSpace) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        if (const velkori_Result result = CheckConvertedPose(skeleton, in_out_transformData, jointCount);
            result != velkori_Result_Success) {
            return result;
        }
        JointPose conversion;
        if (const velkori_Result result =
                CalculateConversion(in_coordinateSpace, out_coordinateSpace, conversion);
            result != velkori_Result_Success) {
            return result;
        }
        if (!IsJointSpaceType(jointSpaceType)) {
            return FailWithJointSpaceType(jointSpaceType);
        }
        if (conversion == JointPose::Identity) {
            return velkori_Result_Success;
        }
        PoseData pose = ReadPose(skeleton, jointSpaceType, in_out_transformData, jointCount, conversion);
        if (!pose.IsInitialized()) {
            return Fail(velkori_Result_Failure, "%s", NotInitializedText);
        }
        WritePose(pose, jointSpaceType, in_out_transformData);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_convertJointPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType fromSpaceType, velkori_JointRelativeSpaceType toSpaceType,
    velkori_Transform_* in_out_transformData, int32_t jointCount) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        if (const velkori_Result result = CheckConvertedPose(skeleton, in_out_transformData, jointCount);
            result != velkori_Result_Success) {
            return result;
        }
        if (!IsJointSpaceType(fromSpaceType) || !IsJointSpaceType(toSpaceType)) {
            return FailWithJointSpaceType(IsJointSpaceType(fromSpaceType) ? toSpaceType : fromSpaceType);
        }
        if (jointCount < 1 || fromSpaceType == toSpaceType) {
            return velkori_Result_Success;
        }
        PoseData pose = ReadPose(skeleton, fromSpaceType, in_out_transformData, jointCount);
        if (!pose.IsInitialized()) {
            return Fail(velkori_Result_Failure, "%s", NotInitializedText);
        }
        WritePose(pose, toSpaceType, in_out_transformData);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_calculatePoseExtents(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_JointRelativeSpaceType jointSpaceType, const velkori_Transform_* in_transformData,
    int32_t jointCount, velkori_PoseExtents_* out_extents) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (const velkori_Result result = CheckPoseArray({in_transformData, jointCount});
            result != velkori_Result_Success) {
            return result;
        }
        if (out_extents == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "out_extents");
        }
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        if (const velkori_Result result = CheckJointCount(skeleton, jointCount);
            result != velkori_Result_Success) {
            return result;
        }
        if (!IsJointSpaceType(jointSpaceType)) {
            return FailWithJointSpaceType(jointSpaceType);
        }
        if (jointCount < 1) {
            *out_extents = {};
            return velkori_Result_Success;
        }
        PoseData pose = ReadPose(skeleton, jointSpaceType, in_transformData, jointCount);
        if (!pose.IsInitialized()) {
            return Fail(velkori_Result_Failure, "%s", NotInitializedText);
        }
        *out_extents = ToRecord(pose.MeasureExtents());
        return velkori_Result_Success;
    });
}
