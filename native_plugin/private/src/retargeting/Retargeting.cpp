// What rests on the configuration alone, and the rest poses that the retargeter answers for.

#include "retargeting/Retargeting.h"

#include "shared/ProcessSpace.h"

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

Retargeting::Retargeting(const UtilityConfigData& config)
    : configData(config),
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
      rootMotionFramePose(config.GetSourceSkeleton()),
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
    targetMinHeight = GetPoseRootRelativeReferenceHeight(target.GetTPoseData(velkori_SkeletonTPoseType_Min));
    targetMaxHeight = GetPoseRootRelativeReferenceHeight(target.GetTPoseData(velkori_SkeletonTPoseType_Max));
    const float difference = targetMaxHeight - targetMinHeight;
    if (difference > 0.0F) {
        const float unscaledHeight =
            GetPoseRootRelativeReferenceHeight(targetTPoses[velkori_RetargetingBehavior_RotationsUnscaled]);
        targetUnscaledRatio = (unscaledHeight - targetMinHeight) / difference;
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

const PoseData& Retargeting::GetTPoseData(
    velkori_SkeletonType skeletonType, velkori_SkeletonTPoseType tPoseType) const {
    return tPoseType == velkori_SkeletonTPoseType_Current
               ? GetCurrentTPoseData(skeletonType)
               : configData.GetSkeletonData(skeletonType).GetTPoseData(tPoseType);
}

const PoseData& Retargeting::GetCurrentTPoseData(velkori_SkeletonType skeletonType) const {
    return skeletonType == velkori_SkeletonType_Source ? sourceReferenceTPose
                                                       : targetTPoses[behaviorInfo.behavior];
}

const PoseData& Retargeting::GetLastFramePose(velkori_SkeletonType skeletonType) const {
    return skeletonType == velkori_SkeletonType_Source ? rootMotionFramePose : retargetedFramePose;
}

float Retargeting::GetPoseRootRelativeReferenceHeight(const PoseData& pose) {
    if (!pose.IsInitialized()) {
        return 0.0F;
    }
    const Vector3f up(ProcessSpace().up);
    const SkeletonData& skeleton = pose.GetSkeleton();
    const int leftWrist = skeleton.GetJointIndex(velkori_KnownJointType_LeftWrist);
    const int wrist = leftWrist != -1 ? leftWrist : skeleton.GetJointIndex(velkori_KnownJointType_RightWrist);
    if (wrist == -1) {
        return up.Multiply(pose.GetExtents().range).Length();
    }
    const auto& joints = pose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative);
    return up.Multiply(joints[wrist].position).Length();
}

} // namespace Velkori_Utility
