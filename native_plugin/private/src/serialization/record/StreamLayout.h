#pragma once

#include "serialization/record/Snapshot.h"
#include "shared/DataTypes.h"

#include <memory>
#include <vector>

namespace Velkori_Utility {

class SkeletonData;
class UtilityConfigData;

// One skeleton's side of a stream.
struct StreamedSkeleton {
    explicit StreamedSkeleton(const SkeletonData& skeleton);

    // In local space.
    std::vector<JointPose> restPoses;
    // Which joints move along their bone alone, so that a length says where they are.
    std::vector<bool> movesAlongBone;
};

// What both ends of a stream take from a configuration.
struct StreamLayout {
    explicit StreamLayout(const UtilityConfigData& config);

    HeaderLayout getHeaderLayout(int ringLength) const;
    std::unique_ptr<Snapshot> makeRestSnapshot(velkori_CompressionType type) const;

    StreamedSkeleton source;
    StreamedSkeleton target;
    int shapeCount;
};

// What there is before the first frame, and of a part that a frame came without: made when it is first asked
// for.
class RestSnapshots {
  public:
    const Snapshot& get(const StreamLayout& layout, velkori_CompressionType type);

  private:
    PerPrecision<std::unique_ptr<const Snapshot>> snapshots;
};

} // namespace Velkori_Utility
