// What rests on the configuration alone, and the rest poses that the retargeter answers for.

#include "retargeting/Retargeting.h"

#include "core/JointSpaces.h"
#include "core/PoseMeasures.h"

namespace Velkori_Utility {

namespace {

constexpr std::array WristJoints = {velkori_KnownJointType_RightWrist, velkori_KnownJointType_LeftWrist};

FastRangedIntegralSet<int> MakeSetOver(const std::vector<int>& joints) {
    return FastRangedIntegralSet<int>(0, 0, joints);
}

FastRangedIntegralSet<int> FindUnmappedAndTwistJoints(const JointMappingData& data) {
    return FastRangedIntegralSet<int>::Combine(data.GetUnmappedTargetJoints(), data.GetTwistTargetJoints());
}

} // namespace

Retargeting::FrameScratch::FrameScratch(const UtilityConfigData& config)
    : dirtyJoints(config.GetTargetSkeleton().GetJointCount()), orientationFixup(config.GetTargetSkeleton()) {}

Retargeting::Retargeting(const UtilityConfigData& config, const CoordinateSpace& space)
    : configData(config),
      processSpace(space),
      targetHandJoints(FindAllDescendantsOfSkeletonJointSet(config.GetTargetSkeleton(), WristJoints)),
      sourceMappedData(GenerateMappedAncestorDescendantData(config, velkori_SkeletonType_Source)),
      ikDerivedUpdateOrder(GenerateIKDerivedJointMappingUpdateOrder(config, velkori_SkeletonType_Source)),
      targetUpdateOrder(GenerateUpdateOrderFromMappedAncestorDescendantData(
          config, GenerateMappedAncestorDescendantData(config, velkori_SkeletonType_Target))),
      ikDerivedJoints(MakeSetOver(ikDerivedUpdateOrder)),
      orientationFixupExcludedJoints(
          FastRangedIntegralSet<int>::Combine(FindUnmappedAndTwistJoints(config.GetMinMappingData()),
              FindUnmappedAndTwistJoints(config.GetMaxMappingData()))),
      sourceReferenceTPose(config.GetSourceSkeleton()),
      targetTPoses{PoseData(config.GetTargetSkeleton()), PoseData(config.GetTargetSkeleton()),
          PoseData(config.GetTargetSkeleton()), PoseData(config.GetTargetSkeleton())},
      sourceFramePose(config.GetSourceSkeleton()),
      retargetedFramePose(config.GetTargetSkeleton()),
      scratch(config) {
    const int targetJointCount = config.GetTargetSkeleton().GetJointCount();
    sourceMappingInfo.initialize(0, targetJointCount);
    targetMappingInfo.initialize(0, targetJointCount);
    targetTPoses[velkori_RetargetingBehavior_RotationsUnscaled].Initialize(
        config.GetTargetSkeleton().GetUnscaledOrMinTPose());
    InitializeHeights();
    InitializeReferencePoses(velkori_SkeletonType_Source);
    InitializeReferencePoses(velkori_SkeletonType_Target);
}

void Retargeting::InitializeHeights() {
    const TargetSkeletonData& target = configData.GetTargetSkeleton();
    targetMinHeight = MeasureHeight(target.GetRestPoses().GetMin());
    targetMaxHeight = MeasureHeight(target.GetRestPoses().GetMax());
    const float difference = targetMaxHeight - targetMinHeight;
    if (difference > 0.0F) {
        targetUnscaledRatio = (MeasureHeight(target.GetUnscaledOrMinTPose()) - targetMinHeight) / difference;
    }
    targetUnscaledHeight = targetMinHeight + difference * targetUnscaledRatio;
}

void Retargeting::InitializeReferencePoses(JointMappingType type) {
    const int targetJointCount = configData.GetTargetSkeleton().GetJointCount();
    minReferencePoses[type].initialize(0, targetJointCount);
    maxReferencePoses[type].initialize(0, targetJointCount);
    localOffsets[type].initialize(0, targetJointCount);
    const auto& maxMappings = configData.GetMaxMappingData().GetMappings(type);
    for (const auto& [joint, min] : configData.GetMinMappingData().GetMappings(type)) {
        const JointMappingSet* max = maxMappings.Find(joint);
        if (max == nullptr) {
            continue;
        }
        localOffsets[type].insert(
            joint, JointMappingSet::CalculateLocalOffsetToTarget(min, *max, targetUnscaledRatio));
        minReferencePoses[type].insert(joint, min.CalculateOnRestPose(velkori_SkeletonTPoseType_Min));
        maxReferencePoses[type].insert(joint, max->CalculateOnRestPose(velkori_SkeletonTPoseType_Max));
    }
}

std::span<const JointPose> Retargeting::GetTPose(velkori_SkeletonType skeletonType,
    velkori_SkeletonTPoseType tPoseType, velkori_JointRelativeSpaceType space) {
    if (tPoseType != velkori_SkeletonTPoseType_Current) {
        return configData.GetSkeletonData(skeletonType).GetTPoseData(tPoseType).GetJointPoses(space);
    }
    PoseData& current = GetCurrentTPoseData(skeletonType);
    return current.IsInitialized() ? current.GetJointPoses(space) : std::span<const JointPose>();
}

std::span<const float> Retargeting::GetTPoseJointLengths(
    velkori_SkeletonType skeletonType, velkori_SkeletonTPoseType tPoseType) {
    if (tPoseType != velkori_SkeletonTPoseType_Current) {
        return configData.GetSkeletonData(skeletonType).GetTPoseData(tPoseType).GetJointLengths();
    }
    PoseData& current = GetCurrentTPoseData(skeletonType);
    return current.IsInitialized() ? current.GetJointLengths() : std::span<const float>();
}

PoseData& Retargeting::GetCurrentTPoseData(velkori_SkeletonType skeletonType) {
    return skeletonType == velkori_SkeletonType_Source ? sourceReferenceTPose
                                                       : targetTPoses[behaviorInfo.behavior];
}

PoseData& Retargeting::GetLastFramePose(velkori_SkeletonType skeletonType) {
    return skeletonType == velkori_SkeletonType_Source ? sourceFramePose : retargetedFramePose;
}

float Retargeting::MeasureHeight(const Skeleton& skeleton, std::span<const JointPose> rootSpacePose) const {
    if (rootSpacePose.empty()) {
        return 0.0F;
    }
    const int leftWrist = skeleton.GetJointIndex(velkori_KnownJointType_LeftWrist);
    const int wrist = leftWrist != -1 ? leftWrist : skeleton.GetJointIndex(velkori_KnownJointType_RightWrist);
    const Vector3f size =
        wrist != -1 ? rootSpacePose[wrist].position : MeasureExtents(skeleton, rootSpacePose).range;
    return processSpace.up.Multiply(size).Length();
}

float Retargeting::MeasureHeight(const RestPose& pose) const {
    return MeasureHeight(pose.GetSkeleton(), pose.GetJointPoses(RootSpace));
}

} // namespace Velkori_Utility
