#pragma once

#include "core/ManifestationData.h"
#include "core/PoseData.h"
#include "core/SkeletonInitializationParams.h"
#include "core/SkeletonTables.h"
#include "shared/FastRangedIntegralContainers.h"
#include "shared/InsertionOrderedMap.h"

#include <array>
#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Velkori_Utility {

// The immutable model of one skeleton, built once from parameters that passed validation. Its poses and
// manifestations point back at it, so a skeleton is never moved or copied.
//
// Every lookup is safe for any index: -1 or a reference to a static empty value is the answer for a joint
// that isn't there, and nothing is allocated on the way.
class SkeletonData {
  public:
    using InitializationParams = SkeletonInitializationParams;
    using ManifestationMap = InsertionOrderedMap<std::unique_ptr<const Manifestation>>;

    // Doesn't fail: logs what validation would have refused, and goes on.
    explicit SkeletonData(const InitializationParams& params);
    virtual ~SkeletonData() = default;

    SkeletonData(const SkeletonData&) = delete;
    SkeletonData& operator=(const SkeletonData&) = delete;

    // -- What differs between source and target ------------------------------------------------------------
    virtual velkori_SkeletonType GetSkeletonType() const = 0;
    // A type that this skeleton doesn't have gives the minimum pose.
    virtual const PoseData& GetTPoseData(velkori_SkeletonTPoseType type) const = 0;
    // A joint's root-space position, per axis between the minimum pose (0) and the maximum pose (1).
    virtual Vector3f GetRootSpaceTPoseJointPositionFromRatio(const Vector3f& ratio, int joint) const = 0;
    virtual const ManifestationMap& GetManifestationMap() const = 0;
    virtual int GetManifestationCount() const = 0;
    virtual bool IsValidManifestation(std::string_view name) const = 0;
    // The empty manifestation for an unknown name.
    virtual const Manifestation& GetManifestation(std::string_view name) const = 0;
    virtual int GetManifestationJointCount(std::string_view name) const = 0;
    virtual std::size_t GetManifestationNamesBufferSize() const = 0;
    virtual const std::vector<Vector3f>& GetTPoseDimensionMask(JointMappingType type) const = 0;

    // -- Joints and names ----------------------------------------------------------------------------------
    int GetJointCount() const { return jointCount; }

    int GetBlendShapeCount() const { return blendShapeCount; }

    bool IsEmpty() const { return jointCount < 1 && blendShapeCount < 1; }

    std::size_t GetJointNamesBufferSize() const { return jointNamesBufferSize; }

    std::size_t GetBlendShapeNamesBufferSize() const { return blendShapeNamesBufferSize; }

    const std::vector<std::string>& GetJointNames() const { return jointNames; }

    const std::vector<std::string>& GetBlendShapeNames() const { return blendShapeNames; }

    const NameToIndexMap& GetJointNameToIndexMap() const { return jointNameToIndex; }

    const std::string& GetJointName(int joint) const;
    const std::string& GetBlendShapeName(int blendShape) const;
    static int GetIndexFromNameToIdxMap(std::string_view name, const NameToIndexMap& map, int defaultIndex);
    std::vector<int> ConvertJointNameArrayToJointIndexList(std::span<const std::string> names) const;

    // -- Hierarchy -----------------------------------------------------------------------------------------
    int GetParentJointIndex(int joint) const;

    const std::vector<int>& GetParentIndices() const { return parentIndices; }

    const std::vector<int>& GetChildJointIndexArray(int joint) const;

    // Breadth first over all roots at once: every parent stands before its children. Joints that no root
    // reaches are missing.
    const std::vector<int>& GetHierarchicalUpdateOrder() const { return hierarchicalUpdateOrder; }

    const std::vector<int>& GetRootJoints() const { return rootJoints; }

    bool IsAncestorOfJointIndex(int ancestor, int joint) const;
    // Breadth first, without the joint itself; what lies beneath a joint of `stopAt` is left out.
    std::vector<int> GetDescendantsOfJointIndex(int joint, const FastRangedIntegralSet<int>& stopAt) const;
    // From the joint upwards, the topmost root last.
    std::vector<int> GetAncestorsOfJointIndex(int joint, bool includeSelf) const;
    // The joints whose bones (from a joint to its parent) make up the way from `start` to `end`.
    std::vector<int> GetConnectedPathBetweenJoints(int start, int end) const;

    // -- Known joints and limbs ----------------------------------------------------------------------------
    int GetJointIndex(velkori_KnownJointType knownJoint) const;
    bool HasValidKnownJoints(std::span<const velkori_KnownJointType> knownJoints) const;
    // HumanoidLimb_Invalid if the joint belongs to none.
    HumanoidLimb GetLimb(int joint) const;

    const std::vector<int>& GetJointChainByHumanoidLimb(HumanoidLimb limb) const;

    const FastRangedIntegralSet<int>& GetAutoMappingExcludedJoints() const {
        return autoMappingExcludedJoints;
    }

    // -- Back to parameters --------------------------------------------------------------------------------
    InsertionOrderedMap<std::vector<std::string>> GenerateManifestationStringMap() const;
    InitializationParams GenerateInitializationParams(bool preferMidPose) const;
    InitializationParams GenerateInitializationParams(
        const PoseData& minPose, const PoseData& maxPose, const PoseData& pose) const;

    // -- Rest-pose model: the sizes between the minimum and the maximum pose -------------------------------
    // Interpolation ratios are 0 at a length (or extent) of the minimum pose and 1 at that of the maximum
    // pose, and not limited to that range.
    const PoseData& GetUnscaledTPose() const { return unscaledTPose; }

    // 0 for a root, by root-space positions.
    void MeasureJointLengths(std::span<const JointPose> rootSpacePose, std::vector<float>& out_lengths) const;
    std::vector<float> MeasureJointLengths(std::span<const JointPose> rootSpacePose) const;
    // The extents of a body with these joint lengths, by the dimension masks of the minimum and the maximum
    // pose: the skeleton's own, or ones for a part of its joints.
    Vector3f EstimateExtentRange(std::span<const float> jointLengths) const;
    Vector3f EstimateExtentRange(std::span<const float> jointLengths, std::span<const Vector3f> minMask,
        std::span<const Vector3f> maxMask) const;
    std::vector<float> CalculateJointInterpolationRatios(std::span<const float> jointLengths) const;
    float ConvertHeightToInterpolationDelta(float height) const;
    Vector3f CalculateExtentRangeInTPose(std::span<const float> ratios, std::span<const float> jointLengths,
        std::span<const Vector3f> minMask, std::span<const Vector3f> maxMask) const;
    std::vector<JointPose> CalculateLocalSpaceTPose(
        std::span<const float> ratios, const Vector3f& extentRange, int wholeBodyJoint) const;
    std::vector<JointPose> CalculateLocalSpaceTPose(std::span<const float> jointLengths) const;
    std::vector<JointPose> CalculateRootSpaceTPose(std::span<const float> jointLengths) const;
    std::vector<JointPose> CalculateRootSpaceTPose(
        std::span<const JointPose> rootSpacePose, bool useEstimatedExtents) const;
    void GetRootSpaceTPoseFromRatio(const Vector3f& ratio, std::vector<JointPose>& out_pose) const;

    // -- Conversions between root and local space, in place ------------------------------------------------
    void ConvertToScaledRootSpacePose(
        std::vector<JointPose>& pose, std::span<const float> jointLengths, const Vector3f& extentRange) const;
    void ConvertRootSpaceToLocalSpacePose(std::vector<JointPose>& pose) const;
    void ConvertLocalSpaceToRootSpacePose(std::vector<JointPose>& pose, bool resetScale) const;

    // False until the derived class's constructor has ended: until then the minimum and maximum pose can't be
    // asked for.
    bool IsFullyConstructed() const { return isFullyConstructed; }

  protected:
    bool isFullyConstructed = false;
    PoseData unscaledTPose;

  private:
    void Initialize(std::span<const std::string> parentJointNames,
        std::span<const std::string> knownJointNames,
        std::span<const std::string> autoMappingExcludedJointNames);
    bool IsRootJoint(int joint) const;
    float CalculateJointInterpolationRatio(int joint, float length) const;
    // Per axis, where extents lie between those of the minimum and of the maximum pose.
    Vector3f CalculateExtentRatio(const Vector3f& extentRange) const;
    float MeasureScaledBone(
        int joint, int child, std::span<const float> jointLengths, const Vector3f& extentRange) const;
    // A refused name is logged and leaves a gap in the indices.
    static void ConvertStringArrayToLookupMap(
        std::span<const std::string> names, NameToIndexMap& map, std::size_t& bufferSize);
    void GenerateParentChildLookupTables(std::span<const std::string> parentJointNames);
    void GenerateHierarchicalUpdateOrder();
    void InitializeKnownJointData(std::span<const std::string> knownJointNames);
    void ClassifyJoints();

    int jointCount = 0;
    std::size_t jointNamesBufferSize = 0;
    std::vector<std::string> jointNames;
    NameToIndexMap jointNameToIndex;
    FastRangedIntegralMap<velkori_KnownJointType, int> knownJointToIndex;
    FastRangedIntegralSet<int> autoMappingExcludedJoints;
    FastRangedIntegralMap<int, HumanoidLimb> jointToLimb;
    FastRangedIntegralMap<HumanoidLimb, std::vector<int>> limbToJointChain;
    std::vector<int> parentIndices;
    std::vector<std::vector<int>> childIndices;
    std::vector<int> hierarchicalUpdateOrder;
    std::vector<int> rootJoints;
    int blendShapeCount = 0;
    std::size_t blendShapeNamesBufferSize = 0;
    std::vector<std::string> blendShapeNames;
};

// A skeleton with a smallest and a largest rest pose and with manifestations: the tracked one.
class SourceSkeletonData : public SkeletonData {
  public:
    explicit SourceSkeletonData(const InitializationParams& params);

    velkori_SkeletonType GetSkeletonType() const override { return velkori_SkeletonType_Source; }

    const PoseData& GetTPoseData(velkori_SkeletonTPoseType type) const override;
    Vector3f GetRootSpaceTPoseJointPositionFromRatio(const Vector3f& ratio, int joint) const override;

    const ManifestationMap& GetManifestationMap() const override { return manifestations; }

    int GetManifestationCount() const override;
    bool IsValidManifestation(std::string_view name) const override;
    const Manifestation& GetManifestation(std::string_view name) const override;
    int GetManifestationJointCount(std::string_view name) const override;

    std::size_t GetManifestationNamesBufferSize() const override { return manifestationNamesBufferSize; }

    const std::vector<Vector3f>& GetTPoseDimensionMask(JointMappingType type) const override;

  protected:
    PoseData minTPose;
    PoseData maxTPose;

  private:
    void InitializeManifestations(
        const InsertionOrderedMap<std::vector<std::string>>& jointNamesByManifestation);

    // Of the minimum and of the maximum pose.
    std::array<std::vector<Vector3f>, 2> tPoseDimensionMasks;
    ManifestationMap manifestations;
    std::unique_ptr<const Manifestation> emptyManifestation;
    std::size_t manifestationNamesBufferSize = 0;
};

// The character: a source skeleton in every way, whose unscaled rest pose can be asked for too.
class TargetSkeletonData : public SourceSkeletonData {
  public:
    using SourceSkeletonData::SourceSkeletonData;

    velkori_SkeletonType GetSkeletonType() const override { return velkori_SkeletonType_Target; }

    const PoseData& GetTPoseData(velkori_SkeletonTPoseType type) const override;
    // The unscaled rest pose or, where a document gives only the other two, the minimum one.
    const PoseData& GetUnscaledOrMinTPose() const;
};

} // namespace Velkori_Utility
