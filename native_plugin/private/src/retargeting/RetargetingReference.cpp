// What rests on the tracked body's proportions: the target's rest poses that match them, and the cached
// mapping of every mapped joint.

#include "core/JointSpaces.h"
#include "retargeting/Retargeting.h"

#include <algorithm>
#include <cmath>

namespace Velkori_Utility {

namespace {

JointPose ScalePose(const JointPose& pose, float scale) {
    const Quaternionf& q = pose.orientation;
    const Quaternionf orientation = scale > 0.0F    ? q
                                    : scale == 0.0F ? Quaternionf::Identity
                                                    : Quaternionf(-q.x, -q.y, -q.z, -q.w);
    return {orientation, pose.position * scale};
}

// The pose itself or, where a skeleton lacks it, the unscaled one.
const RestPose& RestPoseOf(const SkeletonData& skeleton, velkori_SkeletonTPoseType type) {
    const RestPose& pose = skeleton.GetTPoseData(type);
    return pose.IsInitialized() ? pose : skeleton.GetUnscaledTPose();
}

// Positions beyond this are no body's, and the squares of their lengths would overflow. A reference outlives
// the frame that supplied it: no number in it may become infinite or NaN.
constexpr float LargestCoordinate = 1e15F;

bool IsUsableAsReference(std::span<const JointPose> pose) {
    const auto isUsable = [](float coordinate) { return std::abs(coordinate) <= LargestCoordinate; };
    return std::all_of(pose.begin(), pose.end(), [&](const JointPose& joint) {
        return isUsable(joint.position.x) && isUsable(joint.position.y) && isUsable(joint.position.z) &&
               IsFinite(joint.orientation.LengthSquared());
    });
}

// How far the body lies between two heights, within that range; 1 where they don't differ.
float CalculateOverallRatio(float height, float minHeight, float maxHeight) {
    const float difference = maxHeight - minHeight;
    return difference > 0.0F ? std::clamp((height - minHeight) / difference, 0.0F, 1.0F) : 1.0F;
}

} // namespace

// One run of UpdateTPose.
struct Retargeting::ReferenceUpdate {
    // Where the whole body lies between the source's smallest and largest, for joints without mapped
    // neighbours.
    float overallRatio = 1.0F;
    // From the unscaled target to a target of the source's height.
    float poseScale = 1.0F;
    // The source's interpolation ratios by joint.
    std::vector<float> sourceRatios;
    // The target's rest pose in root space as it is being matched.
    std::vector<JointPose> workingPose;
};

void Retargeting::UpdateSourceReferenceTPose(
    const velkori_Transform_* transforms, int jointCount, const char* manifestationName) {
    const SourceSkeletonData& source = configData.GetSourceSkeleton();
    std::vector<JointPose> pose = ToJointPoseVectorFromVelkoriPoseArray(transforms, jointCount);
    if (const Manifestation* manifestation =
            ResolveManifestation(velkori_SkeletonType_Source, manifestationName)) {
        std::vector<JointPose> expanded;
        ConverterOf(velkori_SkeletonType_Source, *manifestation)
            .ConvertFromManifestationRootSpacePose(pose, expanded);
        pose = std::move(expanded);
    }
    UpdateTPose(source.GetRestPoses().CalculateRootSpaceTPose(pose, false));
}

void Retargeting::UpdateTPose(std::span<const JointPose> sourceTPose) {
    const SourceSkeletonData& source = configData.GetSourceSkeleton();
    if (source.GetJointCount() < 1 || std::ssize(sourceTPose) != source.GetJointCount() ||
        !IsUsableAsReference(sourceTPose)) {
        return;
    }
    sourceReferenceTPose.Initialize(RootSpace, sourceTPose, JointPose::Identity);
    sourceMappingInfo.Clear();
    targetMappingInfo.Clear();
    try {
        MatchTargetToReference();
    } catch (...) {
        // Half a reference is none.
        sourceReferenceTPose.Clear();
        throw;
    }
}

void Retargeting::MatchTargetToReference() {
    const RestPoses& sourceRestPoses = configData.GetSourceSkeleton().GetRestPoses();
    ReferenceUpdate update;
    update.sourceRatios =
        sourceRestPoses.CalculateJointInterpolationRatios(sourceReferenceTPose.GetJointLengths());
    update.overallRatio = CalculateOverallRatio(
        MeasureHeight(configData.GetSourceSkeleton(), sourceReferenceTPose.GetJointPoses(RootSpace)),
        MeasureHeight(sourceRestPoses.GetMin()), MeasureHeight(sourceRestPoses.GetMax()));
    const RestPose& unscaled = configData.GetTargetSkeleton().GetUnscaledOrMinTPose();
    if (!unscaled.IsInitialized()) {
        return;
    }
    // A body without height can't be scaled: it stays as it is.
    if (targetUnscaledHeight != 0.0F) {
        update.poseScale = (targetMinHeight + (targetMaxHeight - targetMinHeight) * update.overallRatio) /
                           targetUnscaledHeight;
    }
    update.workingPose = unscaled.GetJointPoses(RootSpace);
    for (JointPose& joint : update.workingPose) {
        joint.position = joint.position * update.poseScale;
    }
    targetTPoses[velkori_RetargetingBehavior_RotationsScaled].Initialize(
        RootSpace, update.workingPose, JointPose::Identity);

    MapSourceJoints(update);
    BlendOtherJoints(update);
    PoseData& matched = targetTPoses[velkori_RetargetingBehavior_MatchProportions];
    matched.Initialize(RootSpace, update.workingPose, JointPose::Identity);
    targetTPoses[velkori_RetargetingBehavior_MatchProportionsRotateHands] = matched;
    UpdateTargetMappings(update);
}

// Joints with a source-type mapping are placed by it.
void Retargeting::MapSourceJoints(ReferenceUpdate& update) {
    const auto& referencePose = sourceReferenceTPose.GetJointPoses(RootSpace);
    const auto& maxMappings = configData.GetMaxMappingData().GetSourceMappings();
    for (const auto& [joint, min] : configData.GetMinMappingData().GetSourceMappings()) {
        if (min.IsTwist()) {
            continue;
        }
        const JointMappingSet* found = maxMappings.Find(joint);
        const JointMappingSet& max = found != nullptr ? *found : min;
        const float weight = (min.CalculateMinMaxJointRatio(update.sourceRatios) +
                                 max.CalculateMinMaxJointRatio(update.sourceRatios)) *
                             0.5F;
        const JointPose offset = JointMappingSet::CalculateLocalOffsetToTarget(min, max, weight);
        const JointPose minReference = min.CalculateUsingDeltaFromReferencePose(referencePose, {}, nullptr);
        const JointPose maxReference = max.CalculateUsingDeltaFromReferencePose(referencePose, {}, nullptr);
        update.workingPose[joint] = BlendPoses(minReference, maxReference, weight).ApplyWithoutScale(offset);
        sourceMappingInfo.insert(joint, MakeMappingInfo(update, velkori_SkeletonType_Source, joint, min, max,
                                            weight, minReference, maxReference, offset));
    }
}

// All other joints lie between the target's smallest and largest rest pose as far as their mapped neighbours
// do.
void Retargeting::BlendOtherJoints(ReferenceUpdate& update) {
    const TargetSkeletonData& target = configData.GetTargetSkeleton();
    const RestPose& minPose = RestPoseOf(target, velkori_SkeletonTPoseType_Min);
    const RestPose& maxPose = RestPoseOf(target, velkori_SkeletonTPoseType_Max);
    const auto& minRoot = minPose.GetJointPoses(RootSpace);
    const auto& maxRoot = maxPose.GetJointPoses(RootSpace);
    const auto& minLocal = minPose.GetJointPoses(LocalSpace);
    const auto& maxLocal = maxPose.GetJointPoses(LocalSpace);
    const auto& minMappings = configData.GetMinMappingData().GetSourceMappings();
    const auto& maxMappings = configData.GetMaxMappingData().GetSourceMappings();
    const auto weightOf = [&](int joint, float otherwise) {
        const MappingInfo* info = sourceMappingInfo.Find(joint);
        return info != nullptr ? info->blendWeights.front() : otherwise;
    };

    for (const int joint : target.GetHierarchicalUpdateOrder()) {
        const JointMappingSet* min = minMappings.Find(joint);
        if (min != nullptr && min->GetBehavior() == velkori_JointMappingBehaviorType_Normal) {
            continue;
        }
        const SourceToTargetMappedAncestorDescendantData& neighbours = sourceMappedData[joint];
        const float fromAncestor = weightOf(neighbours.mappedAncestor, update.overallRatio);
        float fromDescendants = fromAncestor;
        if (!neighbours.mappedDescendants.empty()) {
            float sum = 0.0F;
            for (const int descendant : neighbours.mappedDescendants) {
                sum += weightOf(descendant, fromAncestor);
            }
            fromDescendants = sum / static_cast<float>(neighbours.mappedDescendants.size());
        }
        const float weight = fromAncestor + neighbours.ancestorRatio * (fromDescendants - fromAncestor);

        const int parent = target.GetParentJointIndex(joint);
        update.workingPose[joint] = parent == -1 ? BlendPoses(minRoot[joint], maxRoot[joint], weight)
                                                 : update.workingPose[parent].ApplyWithoutScale(
                                                       BlendPoses(minLocal[joint], maxLocal[joint], weight));

        const JointMappingSet* max = maxMappings.Find(joint);
        if (min != nullptr && max != nullptr && min->IsTwist()) {
            const JointPose offset = JointMappingSet::CalculateLocalOffsetToTarget(*min, *max, weight);
            sourceMappingInfo.insert(
                joint, MakeMappingInfo(update, velkori_SkeletonType_Source, joint, *min, *max, weight,
                           min->CalculateOnRestPose(velkori_SkeletonTPoseType_Min),
                           max->CalculateOnRestPose(velkori_SkeletonTPoseType_Max), offset));
        }
    }
}

void Retargeting::UpdateTargetMappings(const ReferenceUpdate& update) {
    const auto& minMappings = configData.GetMinMappingData().GetTargetMappings();
    const auto& maxMappings = configData.GetMaxMappingData().GetTargetMappings();
    if (minMappings.IsEmpty()) {
        return;
    }
    const std::vector<float> targetRatios =
        configData.GetTargetSkeleton().GetRestPoses().CalculateJointInterpolationRatios(
            targetTPoses[velkori_RetargetingBehavior_MatchProportions].GetJointLengths());
    for (const auto& [joint, min] : minMappings) {
        const JointMappingSet* max = maxMappings.Find(joint);
        if (max == nullptr) {
            continue;
        }
        const float weight = targetRatios[joint];
        const JointPose offset = JointMappingSet::CalculateLocalOffsetToTarget(min, *max, weight);
        targetMappingInfo.insert(joint, MakeMappingInfo(update, velkori_SkeletonType_Target, joint, min, *max,
                                            weight, min.CalculateOnRestPose(velkori_SkeletonTPoseType_Min),
                                            max->CalculateOnRestPose(velkori_SkeletonTPoseType_Max), offset));
    }
}

// The columns of the two behaviours that match proportions hold what was found for this body; the other two
// what the configuration's own rest poses give, scaled or as they are.
MappingInfo Retargeting::MakeMappingInfo(const ReferenceUpdate& update, JointMappingType type, int joint,
    const JointMappingSet& min, const JointMappingSet& max, float weight, const JointPose& minReference,
    const JointPose& maxReference, const JointPose& offset) const {
    const auto cached = [joint](const FastRangedIntegralMap<int, JointPose>& poses) {
        const JointPose* pose = poses.Find(joint);
        return pose != nullptr ? *pose : JointPose::Identity;
    };
    const JointPose unscaledMin = cached(minReferencePoses[type]);
    const JointPose unscaledMax = cached(maxReferencePoses[type]);
    const JointPose unscaledOffset = cached(localOffsets[type]);
    return MappingInfo(min, max, {weight, weight, targetUnscaledRatio, targetUnscaledRatio},
        {minReference, minReference, ScalePose(unscaledMin, update.poseScale), unscaledMin},
        {maxReference, maxReference, ScalePose(unscaledMax, update.poseScale), unscaledMax},
        {offset, offset, unscaledOffset, unscaledOffset});
}

} // namespace Velkori_Utility
