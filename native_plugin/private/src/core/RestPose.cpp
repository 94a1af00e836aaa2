#include "core/RestPose.h"

#include "core/JointSpaceConversions.h"
#include "core/JointSpaces.h"
#include "core/PoseMeasures.h"

#include <utility>

namespace Velkori_Utility {

RestPose::RestPose(const Skeleton& owner, std::span<const JointPose> rootSpacePose) : skeleton(&owner) {
    if (rootSpacePose.empty() || std::ssize(rootSpacePose) != owner.GetJointCount()) {
        return;
    }
    jointPoses[RootSpace].assign(rootSpacePose.begin(), rootSpacePose.end());
    ResetScale(jointPoses[RootSpace]);
    jointPoses[LocalSpace] = jointPoses[RootSpace];
    ConvertRootSpaceToLocalSpacePose(owner, jointPoses[LocalSpace]);
    jointPoses[ScaledRootSpace] = jointPoses[RootSpace];
    jointPoses[ScaledLocalSpace] = jointPoses[LocalSpace];
    MeasureJointLengths(owner, jointPoses[RootSpace], jointLengths);
    extents = MeasureExtents(owner, jointPoses[RootSpace]);
    directions = MeasureDirections(owner, jointPoses[RootSpace]);
}

RestPose::RestPose(RestPose unscaled, std::span<const JointPose> scaledRootSpacePose)
    : RestPose(std::move(unscaled)) {
    if (scaledRootSpacePose.size() != jointPoses[RootSpace].size()) {
        return;
    }
    jointPoses[ScaledRootSpace].assign(scaledRootSpacePose.begin(), scaledRootSpacePose.end());
    jointPoses[ScaledLocalSpace] = jointPoses[ScaledRootSpace];
    ConvertRootSpaceToLocalSpacePose(*skeleton, jointPoses[ScaledLocalSpace]);
}

} // namespace Velkori_Utility
