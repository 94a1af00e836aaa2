#include "serialization/record/StreamLayout.h"

#include "core/JointSpaces.h"
#include "core/UtilityConfigData.h"

#include <utility>

namespace Velkori_Utility {

namespace {

std::vector<JointPose> getLocalRestPoses(const SkeletonData& skeleton) {
    const RestPose& restPose = skeleton.GetTPoseData(velkori_SkeletonTPoseType_Unscaled);
    return restPose.IsInitialized() ? restPose.GetJointPoses(LocalSpace)
                                    : std::vector<JointPose>(skeleton.GetJointCount(), JointPose::Identity);
}

// The root carries the body, and what hangs on it carries the body over the ground: they move freely. So do
// siblings. A joint that is its parent's only child can move along the bone only.
std::vector<bool> findJointsThatMoveAlongBone(const Skeleton& skeleton) {
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    std::vector<bool> moves(skeleton.GetJointCount());
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        const int parent = skeleton.GetParentJointIndex(joint);
        moves[joint] = joint != root && parent != -1 && parent != root &&
                       skeleton.GetChildJointIndexArray(parent).size() < 2;
    }
    return moves;
}

} // namespace

StreamedSkeleton::StreamedSkeleton(const SkeletonData& skeleton)
    : restPoses(getLocalRestPoses(skeleton)), movesAlongBone(findJointsThatMoveAlongBone(skeleton)) {}

StreamLayout::StreamLayout(const UtilityConfigData& config)
    : source(config.GetSourceSkeleton()),
      target(config.GetTargetSkeleton()),
      shapeCount(config.GetTargetSkeleton().GetBlendShapeCount()) {}

HeaderLayout StreamLayout::getHeaderLayout(int ringLength) const {
    return {ringLength, static_cast<int>(source.restPoses.size()), static_cast<int>(target.restPoses.size()),
        shapeCount};
}

std::unique_ptr<Snapshot> StreamLayout::makeRestSnapshot(velkori_CompressionType type) const {
    return std::make_unique<Snapshot>(
        type, 0.0, source.restPoses, target.restPoses, std::vector<float>(shapeCount, 0.0F));
}

const Snapshot& RestSnapshots::get(const StreamLayout& layout, velkori_CompressionType type) {
    std::unique_ptr<const Snapshot>& snapshot = snapshots[toPrecision(type)];
    if (snapshot == nullptr) {
        std::unique_ptr<Snapshot> rest = layout.makeRestSnapshot(type);
        rest->expectDelivery();
        snapshot = std::move(rest);
    }
    return *snapshot;
}

} // namespace Velkori_Utility
