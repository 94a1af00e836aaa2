// The exports that bring rest poses and single poses into line with others.

#include "core/JointSpaces.h"
#include "core/PoseBlending.h"
#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"
#include "retargeting/alignment/Alignment.h"
#include "shared/ProcessSpace.h"

using namespace Velkori_Utility;

namespace {

constexpr velkori_AlignmentFlags FlagsForUnscaledPose = velkori_AlignmentFlags_MatchFacing |
                                                        velkori_AlignmentFlags_MatchLimbRotations |
                                                        velkori_AlignmentFlags_MatchHandsAndFingers;

// The unscaled pose has a size of its own between the two others. It is aligned to a source of as much
// between its own two, and keeps its height and proportions.
std::vector<JointPose> AlignUnscaledPose(velkori_AlignmentFlags flags, const SkeletonData& source,
    const TargetSkeletonData& target, PoseData& alignedMin, PoseData& alignedMax) {
    const RestPose& unscaled = target.GetUnscaledTPose();
    if (!unscaled.IsInitialized()) {
        return LerpRootSpacePoses(
            alignedMin.GetJointPoses(RootSpace), alignedMax.GetJointPoses(RootSpace), 0.5F);
    }
    const auto applied = static_cast<velkori_AlignmentFlags>(flags & FlagsForUnscaledPose);
    if (applied == velkori_AlignmentFlags_None) {
        return unscaled.GetJointPoses(RootSpace);
    }
    std::vector<JointPose> sourceJoints;
    source.GetRestPoses().GetRootSpaceTPoseFromRatio(
        Alignment::CalculateExtentRangeBetweenPoses(alignedMin, alignedMax, unscaled.GetJointLengths()),
        sourceJoints);
    return Alignment::AlignToRestPose(
        applied, RestPose(source, sourceJoints), PoseData(target, unscaled), CoordinateSpace(ProcessSpace()))
        .GetJointPoses(RootSpace);
}

// Writes what became of a pose over it, unless nothing did.
velkori_Result WriteMatchedPose(
    PoseData pose, velkori_JointRelativeSpaceType space, velkori_Transform_* out_transforms) {
    if (!pose.IsInitialized()) {
        const bool hasHips = pose.GetSkeleton().GetJointIndex(velkori_KnownJointType_Hips) != -1;
        return Fail(velkori_Result_Failure, "Cannot match a pose of a skeleton without %s",
            hasHips ? "rest poses" : "a known hips joint");
    }
    if (!AreFinite(JointPosesOf(pose, space))) {
        return Fail(velkori_Result_Failure, "Cannot match poses whose bone lengths are too far apart");
    }
    WritePose(pose, space, out_transforms);
    return velkori_Result_Success;
}

} // namespace

velkori_Result velkori_alignTargetToSource(const char* configName, velkori_AlignmentFlags flags,
    velkori_Handle sourceHandle, velkori_SkeletonType sourceSkeletonType, velkori_Handle targetHandle,
    velkori_Handle* in_out_handle) {
    return AtBoundary(__func__, [&] {
        if (in_out_handle == nullptr) {
            return Fail(
                velkori_Result_InvalidParameter, "Handle Pointer output variable in_out_handle is null.");
        }
        const std::shared_ptr<UtilityInstance> sourceInstance = FindInstance(sourceHandle, "sourceInstance");
        if (sourceInstance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        const std::shared_ptr<UtilityInstance> targetInstance = FindInstance(targetHandle, "targetInstance");
        if (targetInstance == nullptr) {
            return velkori_Result_InvalidHandle;
        }
        const SkeletonData& source = sourceInstance->config.GetSkeletonData(sourceSkeletonType);
        const TargetSkeletonData& target = targetInstance->config.GetTargetSkeleton();
        const auto align = [&](velkori_SkeletonTPoseType type) {
            return Alignment::AlignToRestPose(flags, source.GetTPoseData(type),
                PoseData(target, target.GetTPoseData(type)), CoordinateSpace(ProcessSpace()));
        };
        PoseData alignedMin = align(velkori_SkeletonTPoseType_Min);
        if (!alignedMin.IsInitialized()) {
            return Fail(velkori_Result_Failure, "Failed to Align Source and Target Min Pose");
        }
        PoseData alignedMax = align(velkori_SkeletonTPoseType_Max);
        if (!alignedMax.IsInitialized()) {
            return Fail(velkori_Result_Failure, "Failed to Align Source and Target Max Pose");
        }
        Configuration config = targetInstance->config.GetConfiguration();
        config.coordinateSpace = CoordinateSpace(ProcessSpace());
        const bool hasName = configName != nullptr && configName[0] != '\0';
        // Before anything else is asked of the two poses: from where their lengths are measured depends on
        // it.
        const std::vector<JointPose> alignedUnscaled =
            AlignUnscaledPose(flags, source, target, alignedMin, alignedMax);
        CreateOrReplaceInstance({hasName ? configName : targetInstance->config.GetName(), config,
                                    source.GenerateInitializationParams(true),
                                    target.GenerateInitializationParams(alignedMin.GetJointPoses(RootSpace),
                                        alignedMax.GetJointPoses(RootSpace), alignedUnscaled),
                                    {}, {}},
            *in_out_handle);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_matchCurrentTPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_MatchBehavior matchBehavior, velkori_JointRelativeSpaceType jointSpaceType, int32_t jointCount,
    velkori_Transform_* in_out_transform) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        if (const velkori_Result result = CheckPose(skeleton,
                {in_out_transform, jointCount, "in_out_transform", "in_out_jointCount"}, jointSpaceType);
            result != velkori_Result_Success) {
            return result;
        }
        PoseData pose = ReadPose(skeleton, jointSpaceType, in_out_transform, jointCount);
        if (matchBehavior == velkori_MatchBehavior_JointLengths) {
            return WriteMatchedPose(pose.CalculateAsTPose(), jointSpaceType, in_out_transform);
        }
        PoseData& current = instance.retargeting.GetCurrentTPoseData(skeletonType);
        if (!current.IsInitialized()) {
            return Fail(velkori_Result_OperationFailed, "Error - current TPose isn't initialized.  Call "
                                                        "velkori_updateSourceReferenceTPose before this "
                                                        "function.");
        }
        return WriteMatchedPose(PoseData::MatchPoseScale(pose, current), jointSpaceType, in_out_transform);
    });
}

velkori_Result velkori_matchPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_MatchBehavior matchBehavior, velkori_JointRelativeSpaceType jointSpaceType, int32_t jointCount,
    const velkori_Transform_* in_transformSourcePose, velkori_Transform_* in_out_transformData) {
    return WithInstance(__func__, handle, [&](const UtilityInstance& instance) {
        if (in_transformSourcePose == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_transformSourcePose");
        }
        if (in_out_transformData == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_transformData");
        }
        const SkeletonData& skeleton = instance.config.GetSkeletonData(skeletonType);
        if (const velkori_Result result = CheckTransforms(in_transformSourcePose, jointCount);
            result != velkori_Result_Success) {
            return result;
        }
        if (const velkori_Result result = CheckPose(skeleton,
                {in_out_transformData, jointCount, "in_out_transformData", "in_out_jointCount"},
                jointSpaceType);
            result != velkori_Result_Success) {
            return result;
        }
        PoseData sourcePose = ReadPose(skeleton, jointSpaceType, in_transformSourcePose, jointCount);
        PoseData pose = ReadPose(skeleton, jointSpaceType, in_out_transformData, jointCount);
        const bool scalesSource = matchBehavior == velkori_MatchBehavior_JointLengths;
        return WriteMatchedPose(scalesSource ? PoseData::MatchPoseScale(sourcePose, pose)
                                             : PoseData::MatchPoseScale(pose, sourcePose),
            jointSpaceType, in_out_transformData);
    });
}
