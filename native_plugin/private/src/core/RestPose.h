#pragma once

#include "core/Skeleton.h"
#include "shared/DataTypes.h"

#include <array>
#include <span>
#include <vector>

namespace Velkori_Utility {

// One rest pose of a skeleton, whole and measured: all of it is computed when it is made, always in the same
// way, and nothing afterwards. It can be read from any number of threads.
//
// A skeleton may lack a rest pose. It then holds nothing: every list is empty.
class RestPose {
  public:
    // `rootSpacePose` has one joint per joint of the skeleton; a list of any other size gives a pose that
    // holds nothing. Nothing has scale.
    RestPose(const Skeleton& owner, std::span<const JointPose> rootSpacePose);
    // The same pose, with scale as `scaledRootSpacePose` has it.
    RestPose(RestPose unscaled, std::span<const JointPose> scaledRootSpacePose);

    // Whether the pose holds anything.
    bool IsInitialized() const { return !jointLengths.empty(); }

    const Skeleton& GetSkeleton() const { return *skeleton; }

    // By velkori_JointRelativeSpaceType.
    const std::vector<JointPose>& GetJointPoses(velkori_JointRelativeSpaceType space) const {
        return jointPoses[space];
    }

    // A root's length is 0.
    const std::vector<float>& GetJointLengths() const { return jointLengths; }

    // Without the known root.
    const PoseExtents& GetExtents() const { return extents; }

    const std::vector<Vector3f>& GetDirections() const { return directions; }

  private:
    const Skeleton* skeleton;
    std::array<std::vector<JointPose>, 4> jointPoses;
    std::vector<float> jointLengths;
    PoseExtents extents;
    std::vector<Vector3f> directions;
};

} // namespace Velkori_Utility
