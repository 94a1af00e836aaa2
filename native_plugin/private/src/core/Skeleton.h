#pragma once

#include "core/SkeletonInitializationParams.h"
#include "core/SkeletonTables.h"
#include "shared/FastRangedIntegralContainers.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Velkori_Utility {

// Names, hierarchy, known joints and limbs of one skeleton. What refers to it does so by address, so it is
// never moved or copied.
//
// Every lookup is safe for any index: -1 or a reference to a static empty value is the answer for a joint
// that isn't there, and nothing is allocated on the way.
class Skeleton {
  public:
    // Doesn't fail: logs what validation would have refused, and goes on.
    explicit Skeleton(const SkeletonInitializationParams& params);

    Skeleton(const Skeleton&) = delete;
    Skeleton& operator=(const Skeleton&) = delete;

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

    bool IsRootJoint(int joint) const;

    bool IsAncestorOfJointIndex(int ancestor, int joint) const;
    // Breadth first, without the joint itself; what lies beneath a joint of `stopAt` is left out.
    std::vector<int> GetDescendantsOfJointIndex(int joint, const FastRangedIntegralSet<int>& stopAt) const;
    // From the joint upwards, the topmost root last.
    std::vector<int> GetAncestorsOfJointIndex(int joint, bool includeSelf) const;
    // The joints whose bones (from a joint to its parent) make up the way from `start` to `end`.
    std::vector<int> GetConnectedPathBetweenJoints(int start, int end) const;

    // -- Known joints and limbs ----------------------------------------------------------------------------
    int GetJointIndex(velkori_KnownJointType knownJoint) const;

    const FastRangedIntegralMap<velkori_KnownJointType, int>& GetKnownJoints() const {
        return knownJointToIndex;
    }

    bool HasValidKnownJoints(std::span<const velkori_KnownJointType> knownJoints) const;
    // HumanoidLimb_Invalid if the joint belongs to none.
    HumanoidLimb GetLimb(int joint) const;

    const std::vector<int>& GetJointChainByHumanoidLimb(HumanoidLimb limb) const;

    const FastRangedIntegralSet<int>& GetAutoMappingExcludedJoints() const {
        return autoMappingExcludedJoints;
    }

  private:
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

} // namespace Velkori_Utility
