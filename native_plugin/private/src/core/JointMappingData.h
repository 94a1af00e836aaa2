#pragma once

#include "core/JointMappingSet.h"
#include "core/SerializedJointMapping.h"
#include "core/SkeletonData.h"
#include "shared/FastRangedIntegralContainers.h"
#include "shared/LogMessages.h"

#include <deque>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Utility {

// All mappings at one end of the size range: per target joint a set that reads the source skeleton, one that
// reads the target's own joints, or both.
class JointMappingData {
  public:
    using MappingMap = FastRangedIntegralMap<int, const JointMappingSet&>;

    JointMappingData(const SourceSkeletonData& source, const TargetSkeletonData& target,
        std::span<const SerializedJointMapping> mappings);

    // Maps refer to the sets by address.
    JointMappingData(const JointMappingData&) = delete;
    JointMappingData& operator=(const JointMappingData&) = delete;

    // -- Parameters -----------------------------------------------------------------------------------------
    static bool ValidateSerializedMappingData(const SkeletonInitializationParams& source,
        const SkeletonInitializationParams& target, std::span<const SerializedJointMapping> mappings,
        LogMsgMap& messages);
    // Makes `to` map every target joint that `from` maps, with the behaviour that it has there.
    static void PopulateUnmappedJoints(
        std::span<const std::string> targetJointNames, const JointMappingData& from, JointMappingData& to);
    std::vector<SerializedJointMapping> ToSerializedJointMappings() const;

    // -- Lookups --------------------------------------------------------------------------------------------
    const MappingMap& GetSourceMappings() const { return sourceMappings; }

    const MappingMap& GetTargetMappings() const { return targetMappings; }

    const MappingMap& GetMappings(JointMappingType type) const {
        return type == velkori_SkeletonType_Source ? sourceMappings : targetMappings;
    }

    // The one set that drives a target joint, null if there is none.
    const JointMappingSet* FindCombinedMapping(int targetJoint) const {
        return combinedMappings.Find(targetJoint);
    }

    const FastRangedIntegralSet<int>& GetMappedTargetJoints() const { return mappedTargetJoints; }

    const FastRangedIntegralSet<int>& GetUnmappedTargetJoints() const { return unmappedTargetJoints; }

    const FastRangedIntegralSet<int>& GetTwistTargetJoints() const { return twistTargetJoints; }

    // -- Records --------------------------------------------------------------------------------------------
    int GetMappingCount() const;
    int GetTotalMappingEntryCount() const;
    // By ascending target joint, its source-type mapping first. Writes nothing and returns 0 if not all fit.
    int PopulateJointMappingData(int capacity, velkori_JointMapping_* out_mappings) const;
    int PopulateJointMappingEntryData(int capacity, velkori_JointMappingEntry_* out_entries) const;

  private:
    void InitializeCombinedMappingsAndTargetJointsSet();
    void CopyMissingMapping(
        const std::string& targetJointName, const JointMappingSet* from, JointMappingType type);
    bool IsTwistTarget(int joint) const;
    template <typename Visit>
    void ForEachSetByTargetJoint(const Visit& visit) const;

    const SourceSkeletonData* sourceSkeleton;
    const TargetSkeletonData* targetSkeleton;
    // All sets that the maps refer to, and those that were replaced. They never move.
    std::deque<JointMappingSet> sets;
    MappingMap sourceMappings;
    MappingMap targetMappings;
    MappingMap combinedMappings;
    FastRangedIntegralSet<int> mappedTargetJoints;
    FastRangedIntegralSet<int> unmappedTargetJoints;
    // Joints that are only turned around their bone.
    FastRangedIntegralSet<int> twistTargetJoints;
};

} // namespace Velkori_Utility
