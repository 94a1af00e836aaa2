// What is done per frame: the hot path of the library.

#include "retargeting/Retargeting.h"
#include "retargeting/TwistBlending.h"

namespace Velkori_Utility {

namespace {

bool IsTwist(const MappingInfo& info) {
    const JointMappingBehaviorType behavior = info.minMappingSet->GetBehavior();
    return behavior == velkori_JointMappingBehaviorType_Twist ||
           behavior == velkori_JointMappingBehaviorType_ChildAlignedTwist;
}

} // namespace

std::span<const JointPose> Retargeting::RetargetFromSourceFrameData(
    const velkori_RetargetingBehaviorInfo_& info, const velkori_Transform_* transforms, int jointCount,
    const char* sourceManifestationName, const char* targetManifestationName) {
    const TargetSkeletonData& target = configData.GetTargetSkeleton();
    if (configData.GetSourceSkeleton().GetJointCount() < 1) {
        return {};
    }
    behaviorInfo = info;
    behaviorInfo.flags = behaviorInfo.flags | configData.GetConfiguration().retargetingBehaviorFlags;
    ReadSourceFrame(transforms, jointCount, sourceManifestationName);
    const PoseData& start = GetStartPose();
    if (target.GetJointCount() < 1 || !start.IsInitialized()) {
        return {};
    }

    scratch.workingPose = start.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative);
    RunSourceTypePass(start);
    if (!targetUpdateOrder.empty()) {
        RunTargetTypePass(start);
    }
    const bool matchesProportions =
        behaviorInfo.behavior == velkori_RetargetingBehavior_MatchProportions ||
        behaviorInfo.behavior == velkori_RetargetingBehavior_MatchProportionsRotateHands;
    if (matchesProportions &&
        (behaviorInfo.flags & velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup) != 0) {
        scratch.orientationFixup.Apply(start.GetJointPoses(velkori_JointRelativeSpaceType_Local),
            orientationFixupExcludedJoints, scratch.workingPose);
    }
    retargetedFramePose.Initialize(
        velkori_JointRelativeSpaceType_RootOriginRelative, scratch.workingPose, JointPose::Identity);

    const Manifestation* manifestation =
        ResolveManifestation(velkori_SkeletonType_Target, targetManifestationName);
    const std::vector<JointPose>& result = retargetedFramePose.GetJointPoses(behaviorInfo.jointSpaceType);
    if (manifestation == nullptr) {
        return result;
    }
    manifestation->ConvertToManifestationPose(
        retargetedFramePose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative),
        velkori_JointRelativeSpaceType_RootOriginRelative, behaviorInfo.jointSpaceType,
        scratch.manifestationPose);
    return scratch.manifestationPose;
}

const Manifestation* Retargeting::ResolveManifestation(
    velkori_SkeletonType skeletonType, const char* name) const {
    if (name == nullptr || name[0] == '\0') {
        return nullptr;
    }
    const Manifestation& manifestation = configData.GetSkeletonData(skeletonType).GetManifestation(name);
    return manifestation.IsValid() && !manifestation.GetJointIndices().empty() ? &manifestation : nullptr;
}

// A start pose that holds nothing, since no reference could be had, gives way to the target's own rest pose.
const PoseData& Retargeting::GetStartPose() const {
    const PoseData& start = targetTPoses[behaviorInfo.behavior];
    if (start.IsInitialized()) {
        return start;
    }
    return configData.GetTargetSkeleton().GetUnscaledOrMinTPose();
}

void Retargeting::ReadSourceFrame(
    const velkori_Transform_* transforms, int jointCount, const char* sourceManifestationName) {
    const SourceSkeletonData& source = configData.GetSourceSkeleton();
    scratch.sourcePose.clear();
    for (const velkori_Transform_& transform : std::span(transforms, jointCount)) {
        scratch.sourcePose.emplace_back(transform);
    }
    const Manifestation* manifestation =
        ResolveManifestation(velkori_SkeletonType_Source, sourceManifestationName);
    // Without a reference, and whenever another part of the body is tracked, the frame itself supplies one.
    if (!sourceReferenceTPose.IsInitialized() || manifestation != lastSourceManifestation) {
        UpdateTPose(manifestation != nullptr
                        ? manifestation->GetSkeletonTPoseFromManifestationRootSpacePose(scratch.sourcePose)
                        : source.CalculateRootSpaceTPose(scratch.sourcePose, true));
    }
    lastSourceManifestation = manifestation;
    if (manifestation != nullptr) {
        manifestation->ConvertFromManifestationRootSpacePose(scratch.sourcePose, scratch.manifestationPose);
        scratch.sourcePose.swap(scratch.manifestationPose);
    }
    sourceFramePose.Initialize(
        velkori_JointRelativeSpaceType_RootOriginRelative, scratch.sourcePose, JointPose::Identity);
    rootMotionFramePose.InitializeAndApplyRootMotionBehavior(
        sourceFramePose, sourceReferenceTPose, behaviorInfo.rootMotionBehavior);
}

// Seats each joint on its finished parent as in the rest pose, and lets its mapping take it from there.
// Joints that no mapping touches thereby ride along.
void Retargeting::RunSourceTypePass(const PoseData& start) {
    const TargetSkeletonData& target = configData.GetTargetSkeleton();
    const RetargetingMappingCacheParams params = {behaviorInfo.behavior, &sourceReferenceTPose,
        rootMotionFramePose.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative),
        &sourceMappingInfo, target.GetJointIndex(velkori_KnownJointType_Root),
        target.GetJointIndex(velkori_KnownJointType_Hips)};
    const std::vector<JointPose>& localRestPose = start.GetJointPoses(velkori_JointRelativeSpaceType_Local);
    const std::vector<int>& parents = target.GetParentIndices();
    std::vector<JointPose>& pose = scratch.workingPose;
    for (const int joint : target.GetHierarchicalUpdateOrder()) {
        const int parent = parents[joint];
        if (parent != -1) {
            pose[joint] = pose[parent].ApplyWithoutScale(localRestPose[joint]);
        }
        if (!ikDerivedJoints.contains(joint)) {
            ApplyRetargetingFromCachedMappingData(joint, params);
        }
    }
    for (const int joint : ikDerivedUpdateOrder) {
        ApplyRetargetingFromCachedMappingData(joint, params);
    }
}

// Evaluates the mappings that read the target's own, finished joints, and lets the children follow what
// moved.
void Retargeting::RunTargetTypePass(const PoseData& start) {
    const RetargetingMappingCacheParams params = {
        behaviorInfo.behavior, &start, scratch.workingPose, &targetMappingInfo, -1, -1};
    scratch.previousPose = scratch.workingPose;
    scratch.dirtyJoints.Clear();
    for (const int joint : targetUpdateOrder) {
        if (scratch.dirtyJoints.Remove(joint)) {
            ReparentJoint(joint);
        }
        if (const MappingInfo* info = targetMappingInfo.Find(joint)) {
            if (ApplyRetargetingFromCachedMappingData(joint, params)) {
                MarkChildrenDirty(joint);
            }
            // A twist joint becomes part of its children's frame of reference.
            if (IsTwist(*info)) {
                scratch.previousPose[joint] = scratch.workingPose[joint];
            }
        }
    }
    for (int joint = scratch.dirtyJoints.Take(); joint != -1; joint = scratch.dirtyJoints.Take()) {
        ReparentJoint(joint);
    }
}

void Retargeting::ReparentJoint(int joint) {
    const int parent = configData.GetTargetSkeleton().GetParentJointIndex(joint);
    const JointPose local =
        scratch.previousPose[parent].Inverted().ApplyWithoutScale(scratch.previousPose[joint]);
    const JointPose moved = scratch.workingPose[parent].ApplyWithoutScale(local);
    if (!(moved == scratch.workingPose[joint])) {
        scratch.workingPose[joint] = moved;
        MarkChildrenDirty(joint);
    }
}

void Retargeting::MarkChildrenDirty(int joint) {
    for (const int child : configData.GetTargetSkeleton().GetChildJointIndexArray(joint)) {
        scratch.dirtyJoints.Insert(child);
    }
}

// True if the joint's children have to follow it.
bool Retargeting::ApplyRetargetingFromCachedMappingData(
    int joint, const RetargetingMappingCacheParams& params) {
    MappingInfo* info = params.mappingInfoMap->Find(joint);
    if (info == nullptr) {
        return false;
    }
    std::vector<JointPose>& pose = scratch.workingPose;
    const JointPose current = pose[joint];
    JointPose result = info->RetargetFromSourcePose(
        *params.sourceReferencePose, params.sourceJointPoses, current, params.behavior);
    bool propagate = true;
    if (IsTwist(*info)) {
        ApplyTwistBlendToJoint(
            info->minMappingSet->GetBehavior(), joint, configData.GetTargetSkeleton(), pose, current, result);
        // A joint that only turned around its bone leaves its children where they are.
        propagate = result.position != current.position;
    }
    if (result == current) {
        return false;
    }
    bool orientationOnly = false;
    if (params.behavior == velkori_RetargetingBehavior_MatchProportionsRotateHands) {
        orientationOnly = targetHandJoints.contains(joint);
    } else if (params.behavior != velkori_RetargetingBehavior_MatchProportions) {
        orientationOnly = joint != params.rootJointIndex && joint != params.hipsJointIndex;
    }
    if (orientationOnly) {
        pose[joint].orientation = result.orientation;
    } else {
        pose[joint] = result;
    }
    return propagate;
}

const MappingInfo* Retargeting::FindReportedMapping(int joint) const {
    const MappingInfo* source = sourceMappingInfo.Find(joint);
    const MappingInfo* target = targetMappingInfo.Find(joint);
    if (source == nullptr || target == nullptr) {
        return source != nullptr ? source : target;
    }
    return target->minMappingSet->GetBehavior() == velkori_JointMappingBehaviorType_Normal ? target : source;
}

JointPose Retargeting::GetCalculatedMappingPose(int joint) const {
    const MappingInfo* info = FindReportedMapping(joint);
    const int behavior = behaviorInfo.behavior;
    return info == nullptr ? JointPose::Identity
                           : BlendPoses(info->lastMinPoses[behavior], info->lastMaxPoses[behavior],
                                 info->blendWeights[behavior]);
}

JointPose Retargeting::GetCalculatedMappingTPose(int joint) const {
    const MappingInfo* info = FindReportedMapping(joint);
    const int behavior = behaviorInfo.behavior;
    return info == nullptr ? JointPose::Identity
                           : BlendPoses(info->minReferencePoses[behavior], info->maxReferencePoses[behavior],
                                 info->blendWeights[behavior]);
}

} // namespace Velkori_Utility
