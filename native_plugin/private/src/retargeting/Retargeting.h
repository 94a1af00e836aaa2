#pragma once

#include "Velkori_Utility.h"
#include "core/ConfigurationData.h"
#include "core/ManifestationConverter.h"
#include "core/PoseData.h"
#include "core/UtilityConfigData.h"
#include "retargeting/DirtyJointQueue.h"
#include "retargeting/MappedHierarchy.h"
#include "retargeting/MappingInfo.h"
#include "retargeting/OrientationFixup.h"
#include "shared/FastRangedIntegralContainers.h"

#include <array>
#include <map>
#include <span>
#include <string_view>
#include <vector>

namespace Velkori_Utility {

// Turns frames of the source skeleton into poses of the target skeleton, for one configuration.
//
// Work is done as early as it can be: what rests on the configuration alone in the constructor, what rests on
// the tracked body's proportions in UpdateTPose, and only the rest per frame. A frame allocates nothing after
// the first of its kind.
class Retargeting {
  public:
    // `config` must outlive this object. `space` is that of all poses.
    Retargeting(const UtilityConfigData& config, const CoordinateSpace& space);

    Retargeting(const Retargeting&) = delete;
    Retargeting& operator=(const Retargeting&) = delete;

    // -- Rest poses ----------------------------------------------------------------------------------------
    // A rest pose of the configuration or the current one. Nothing if there is none.
    std::span<const JointPose> GetTPose(velkori_SkeletonType skeletonType,
        velkori_SkeletonTPoseType tPoseType, velkori_JointRelativeSpaceType space);
    std::span<const float> GetTPoseJointLengths(
        velkori_SkeletonType skeletonType, velkori_SkeletonTPoseType tPoseType);
    // The tracked body's rest pose, or the target's that the last frame started from.
    PoseData& GetCurrentTPoseData(velkori_SkeletonType skeletonType);

    // Root-space transforms of the source skeleton or of the named manifestation, which may be null or empty.
    void UpdateSourceReferenceTPose(
        const velkori_Transform_* transforms, int jointCount, const char* manifestationName);
    // Takes a root-space rest pose of the source as the reference against which frames are read. Does nothing
    // if it has another size than the skeleton or positions that are no body's.
    void UpdateTPose(std::span<const JointPose> sourceTPose);

    // -- Frames --------------------------------------------------------------------------------------------
    // Root-space transforms of the source skeleton or of a manifestation of it. The result is the target's
    // pose, or that of a manifestation of it, in the space that `info` asks for, and stays good until the
    // next frame. Its behaviour and space must be values of their enumerations.
    std::span<const JointPose> RetargetFromSourceFrameData(const velkori_RetargetingBehaviorInfo_& info,
        const velkori_Transform_* transforms, int jointCount, const char* sourceManifestationName,
        const char* targetManifestationName);

    // The source pose, with its root motion, or the target pose of the last frame.
    PoseData& GetLastFramePose(velkori_SkeletonType skeletonType);
    // What the mapping of a target joint yielded in the last frame and on the rest poses, before the local
    // offset; the identity for a joint without a mapping.
    JointPose GetCalculatedMappingPose(int joint) const;
    JointPose GetCalculatedMappingTPose(int joint) const;

  private:
    using MappingInfoMap = FastRangedIntegralMap<int, MappingInfo>;

    // What one pass over the target reads and writes.
    struct RetargetingMappingCacheParams {
        velkori_RetargetingBehavior behavior;
        std::span<const JointPose> sourceReferencePose;
        std::span<const JointPose> sourceJointPoses;
        MappingInfoMap* mappingInfoMap;
        // The target joints that receive position and scale even where others get the orientation only; -1
        // for none.
        int rootJointIndex;
        int hipsJointIndex;
    };

    // The target's pose that a frame starts from.
    struct StartPose {
        std::span<const JointPose> rootSpacePose;
        std::span<const JointPose> localSpacePose;
    };

    // Lists that live for a frame; kept so that the next frame needs no memory.
    struct FrameScratch {
        explicit FrameScratch(const UtilityConfigData& config);

        // The source pose, with its root motion once that is applied.
        std::vector<JointPose> sourcePose;
        // The target pose being built, in root space.
        std::vector<JointPose> workingPose;
        // The frame of reference from which joints whose parent moved are placed anew.
        std::vector<JointPose> previousPose;
        DirtyJointQueue dirtyJoints;
        OrientationFixup orientationFixup;
        std::vector<JointPose> manifestationPose;
    };

    // -- Setup ---------------------------------------------------------------------------------------------
    // A height of the body: that of a wrist above the root or, without wrists, the extent along the up axis.
    // Only ratios between such heights are used.
    float MeasureHeight(const Skeleton& skeleton, std::span<const JointPose> rootSpacePose) const;
    float MeasureHeight(const RestPose& pose) const;
    void InitializeHeights();
    void InitializeReferencePoses(JointMappingType type);

    // -- Reference -----------------------------------------------------------------------------------------
    struct ReferenceUpdate;
    void MatchTargetToReference();
    void MapSourceJoints(ReferenceUpdate& update);
    void BlendOtherJoints(ReferenceUpdate& update);
    void UpdateTargetMappings(const ReferenceUpdate& update);
    MappingInfo MakeMappingInfo(const ReferenceUpdate& update, JointMappingType type, int joint,
        const JointMappingSet& min, const JointMappingSet& max, float weight, const JointPose& minReference,
        const JointPose& maxReference, const JointPose& offset) const;

    // -- Frame ---------------------------------------------------------------------------------------------
    const Manifestation* ResolveManifestation(velkori_SkeletonType skeletonType, const char* name) const;
    ManifestationConverter& ConverterOf(
        velkori_SkeletonType skeletonType, const Manifestation& manifestation);
    StartPose GetStartPose();
    void ReadSourceFrame(
        const velkori_Transform_* transforms, int jointCount, const char* sourceManifestationName);
    void RunSourceTypePass(const StartPose& start);
    void RunTargetTypePass(const StartPose& start);
    void ReparentJoint(int joint);
    void MarkChildrenDirty(int joint);
    bool ApplyRetargetingFromCachedMappingData(int joint, const RetargetingMappingCacheParams& params);
    const MappingInfo* FindReportedMapping(int joint) const;

    // -- Fixed by the configuration ------------------------------------------------------------------------
    const UtilityConfigData& configData;
    const CoordinateSpace processSpace;
    float targetMinHeight = 0.0F;
    float targetMaxHeight = 0.0F;
    // Where the target's unscaled rest pose lies between its minimum and its maximum pose.
    float targetUnscaledRatio = 1.0F;
    float targetUnscaledHeight = 0.0F;
    // All joints below the target's wrists.
    FastRangedIntegralSet<int> targetHandJoints;
    // Per mapping type and target joint: what the mapping yields on the minimum and on the maximum pose, and
    // the joint's offset from it at the unscaled size.
    std::array<FastRangedIntegralMap<int, JointPose>, 2> minReferencePoses;
    std::array<FastRangedIntegralMap<int, JointPose>, 2> maxReferencePoses;
    std::array<FastRangedIntegralMap<int, JointPose>, 2> localOffsets;
    std::vector<SourceToTargetMappedAncestorDescendantData> sourceMappedData;
    std::vector<int> ikDerivedUpdateOrder;
    std::vector<int> targetUpdateOrder;
    FastRangedIntegralSet<int> ikDerivedJoints;
    FastRangedIntegralSet<int> orientationFixupExcludedJoints;

    // -- Set by the reference ------------------------------------------------------------------------------
    PoseData sourceReferenceTPose;
    // By velkori_RetargetingBehavior.
    PerBehavior<PoseData> targetTPoses;
    MappingInfoMap sourceMappingInfo;
    MappingInfoMap targetMappingInfo;

    // -- Left by the last frame ----------------------------------------------------------------------------
    velkori_RetargetingBehaviorInfo_ behaviorInfo = {velkori_JointRelativeSpaceType_RootOriginRelative,
        velkori_RetargetingBehavior_RotationsUnscaled, velkori_RetargetingRootMotionBehavior_RootFromHips,
        velkori_RetargetingBehaviorFlags_None};
    // With its root motion.
    PoseData sourceFramePose;
    // The local pose that root motion from the reference moves, where the host has read one.
    std::vector<JointPose> previousLocalPose;
    PoseData retargetedFramePose;
    // Null if the last frame was one of the whole skeleton.
    const Manifestation* lastSourceManifestation = nullptr;
    // One for each manifestation that a frame or a reference has named, of either skeleton.
    std::map<const Manifestation*, ManifestationConverter> converters;
    FrameScratch scratch;
};

} // namespace Velkori_Utility
