// What is done per frame: the hot path of the library.

#include "core/JointSpaceConversions.h"
#include "core/JointSpaces.h"
#include "core/RootMotion.h"
#include "retargeting/Retargeting.h"
#include "retargeting/TwistBlending.h"

namespace Velkori_Utility {

namespace {

// None of a pose that holds nothing.
std::span<const JointPose> RootSpaceOf(PoseData& pose) {
    return pose.IsInitialized() ? pose.GetJointPoses(RootSpace) : std::span<const JointPose>();
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
    const StartPose start = GetStartPose();
    if (target.GetJointCount() < 1 || start.rootSpacePose.empty()) {
        return {};
    }

    scratch.workingPose.assign(start.rootSpacePose.begin(), start.rootSpacePose.end());
    RunSourceTypePass(start);
    if (!targetUpdateOrder.empty()) {
        RunTargetTypePass(start);
    }
    const bool matchesProportions =
        behaviorInfo.behavior == velkori_RetargetingBehavior_MatchProportions ||
        behaviorInfo.behavior == velkori_RetargetingBehavior_MatchProportionsRotateHands;
    if (matchesProportions &&
        (behaviorInfo.flags & velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup) != 0) {
        scratch.orientationFixup.Apply(
            start.localSpacePose, orientationFixupExcludedJoints, scratch.workingPose);
    }
    retargetedFramePose.Initialize(RootSpace, scratch.workingPose, JointPose::Identity);

    const Manifestation* manifestation =
        ResolveManifestation(velkori_SkeletonType_Target, targetManifestationName);
    const std::vector<JointPose>& result = retargetedFramePose.GetJointPoses(behaviorInfo.jointSpaceType);
    if (manifestation == nullptr) {
        return result;
    }
    ConverterOf(velkori_SkeletonType_Target, *manifestation)
        .ConvertToManifestationPose(retargetedFramePose.GetJointPoses(RootSpace), behaviorInfo.jointSpaceType,
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

ManifestationConverter& Retargeting::ConverterOf(
    velkori_SkeletonType skeletonType, const Manifestation& manifestation) {
    const RestPoses& restPoses = configData.GetSkeletonData(skeletonType).GetRestPoses();
    return converters.try_emplace(&manifestation, restPoses, manifestation).first->second;
}

// A start pose that holds nothing, since no reference could be had, gives way to the target's own rest pose.
Retargeting::StartPose Retargeting::GetStartPose() {
    PoseData& start = targetTPoses[behaviorInfo.behavior];
    if (start.IsInitialized()) {
        return {start.GetJointPoses(RootSpace), start.GetJointPoses(LocalSpace)};
    }
    const RestPose& restPose = configData.GetTargetSkeleton().GetUnscaledOrMinTPose();
    return {restPose.GetJointPoses(RootSpace), restPose.GetJointPoses(LocalSpace)};
}

void Retargeting::ReadSourceFrame(
    const velkori_Transform_* transforms, int jointCount, const char* sourceManifestationName) {
    const SourceSkeletonData& source = configData.GetSourceSkeleton();
    std::vector<JointPose>& pose = scratch.sourcePose;
    pose.clear();
    for (const velkori_Transform_& transform : std::span(transforms, jointCount)) {
        pose.emplace_back(transform);
    }
    const Manifestation* manifestation =
        ResolveManifestation(velkori_SkeletonType_Source, sourceManifestationName);
    ManifestationConverter* converter =
        manifestation != nullptr ? &ConverterOf(velkori_SkeletonType_Source, *manifestation) : nullptr;
    // Without a reference, and whenever another part of the body is tracked, the frame itself supplies one.
    if (!sourceReferenceTPose.IsInitialized() || manifestation != lastSourceManifestation) {
        UpdateTPose(converter != nullptr ? converter->GetSkeletonTPoseFromManifestationRootSpacePose(pose)
                                         : source.GetRestPoses().CalculateRootSpaceTPose(pose, true));
    }
    lastSourceManifestation = manifestation;
    if (converter != nullptr) {
        converter->ConvertFromManifestationRootSpacePose(pose, scratch.manifestationPose);
        pose.swap(scratch.manifestationPose);
    }
    // What the host has read since the last frame outlives this one.
    if (sourceFramePose.Has(LocalSpace)) {
        previousLocalPose = sourceFramePose.GetJointPoses(LocalSpace);
    }
    ResetScale(pose);
    ApplyRootMotion(source, behaviorInfo.rootMotionBehavior, RootSpaceOf(sourceReferenceTPose), processSpace,
        previousLocalPose, pose);
    sourceFramePose.Initialize(RootSpace, pose, JointPose::Identity);
}

// Seats each joint on its finished parent as in the rest pose, and lets its mapping take it from there.
// Joints that no mapping touches thereby ride along.
void Retargeting::RunSourceTypePass(const StartPose& start) {
    const TargetSkeletonData& target = configData.GetTargetSkeleton();
    const RetargetingMappingCacheParams params = {behaviorInfo.behavior, RootSpaceOf(sourceReferenceTPose),
        RootSpaceOf(sourceFramePose), &sourceMappingInfo, target.GetJointIndex(velkori_KnownJointType_Root),
        target.GetJointIndex(velkori_KnownJointType_Hips)};
    const std::vector<int>& parents = target.GetParentIndices();
    std::vector<JointPose>& pose = scratch.workingPose;
    for (const int joint : target.GetHierarchicalUpdateOrder()) {
        const int parent = parents[joint];
        if (parent != -1) {
            pose[joint] = pose[parent].ApplyWithoutScale(start.localSpacePose[joint]);
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
void Retargeting::RunTargetTypePass(const StartPose& start) {
    const RetargetingMappingCacheParams params = {
        behaviorInfo.behavior, start.rootSpacePose, scratch.workingPose, &targetMappingInfo, -1, -1};
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
            if (info->minMappingSet->IsTwist()) {
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
        params.sourceReferencePose, params.sourceJointPoses, current, params.behavior);
    bool propagate = true;
    if (info->minMappingSet->IsTwist()) {
        result = ApplyTwistBlendToJoint(
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
