#pragma once

#include "core/Manifestation.h"
#include "core/RestPoses.h"
#include "core/Skeleton.h"
#include "core/SkeletonInitializationParams.h"
#include "shared/InsertionOrderedMap.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Velkori_Utility {

// One skeleton of a configuration: its joints, its rest poses and its manifestations. Built once from
// parameters that passed validation, it doesn't change, and can be read from any number of threads.
class SkeletonData : public Skeleton {
  public:
    using InitializationParams = SkeletonInitializationParams;
    using ManifestationMap = InsertionOrderedMap<Manifestation>;

    velkori_SkeletonType GetSkeletonType() const { return skeletonType; }

    // -- Rest poses ----------------------------------------------------------------------------------------
    const RestPoses& GetRestPoses() const { return restPoses; }

    // A type that this skeleton doesn't have gives the minimum pose; to a source that is the unscaled one,
    // too.
    const RestPose& GetTPoseData(velkori_SkeletonTPoseType type) const;

    const RestPose& GetUnscaledTPose() const { return restPoses.GetUnscaled(); }

    // The unscaled rest pose or, where a document gives only the other two, the minimum one.
    const RestPose& GetUnscaledOrMinTPose() const;

    // -- Manifestations ------------------------------------------------------------------------------------
    const ManifestationMap& GetManifestationMap() const { return manifestations; }

    int GetManifestationCount() const { return static_cast<int>(manifestations.Size()); }

    bool IsValidManifestation(std::string_view name) const { return manifestations.Contains(name); }

    // The empty manifestation for an unknown name.
    const Manifestation& GetManifestation(std::string_view name) const;

    int GetManifestationJointCount(std::string_view name) const;

    std::size_t GetManifestationNamesBufferSize() const { return manifestationNamesBufferSize; }

    // -- Back to parameters --------------------------------------------------------------------------------
    InsertionOrderedMap<std::vector<std::string>> GenerateManifestationStringMap() const;
    InitializationParams GenerateInitializationParams(bool preferMidPose) const;
    // With other rest poses, in root space.
    InitializationParams GenerateInitializationParams(std::span<const JointPose> minPose,
        std::span<const JointPose> maxPose, std::span<const JointPose> unscaledPose) const;

  protected:
    SkeletonData(velkori_SkeletonType type, const InitializationParams& params);
    ~SkeletonData() = default;

  private:
    velkori_SkeletonType skeletonType;
    RestPoses restPoses;
    ManifestationMap manifestations;
    Manifestation emptyManifestation;
    std::size_t manifestationNamesBufferSize = 0;
};

// The tracked skeleton.
class SourceSkeletonData : public SkeletonData {
  public:
    explicit SourceSkeletonData(const InitializationParams& params)
        : SkeletonData(velkori_SkeletonType_Source, params) {}
};

// The character.
class TargetSkeletonData : public SkeletonData {
  public:
    explicit TargetSkeletonData(const InitializationParams& params)
        : SkeletonData(velkori_SkeletonType_Target, params) {}
};

} // namespace Velkori_Utility
