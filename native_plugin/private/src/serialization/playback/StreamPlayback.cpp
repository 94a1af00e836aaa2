#include "serialization/playback/StreamPlayback.h"

namespace Velkori_Utility {

namespace {

// The tracker that each interpolator plays.
constexpr std::array<FrameData::TrackerInputType, FrameData::TrackerCount> InterpolatedTrackers = {
    FrameData::TrackerInputType_Third, FrameData::TrackerInputType_First, FrameData::TrackerInputType_Second};

} // namespace

StreamPlayback::StreamPlayback(const StreamLayout& layout)
    : source(static_cast<int>(layout.source.restPoses.size())),
      target(static_cast<int>(layout.target.restPoses.size())),
      face(layout.shapeCount) {}

void StreamPlayback::addSnapshot(const SnapshotHeader& header, const Snapshot& snapshot) {
    if (header.hasFrameData) {
        for (std::size_t i = 0; i < trackers.size(); ++i) {
            trackers[i].addJointPose(
                snapshot.frameData->trackers[InterpolatedTrackers[i]].pose, snapshot.timestamp);
        }
    }
    if (header.hasSourceBody) {
        source.addSnapshot(snapshot.sourceBody);
    }
    if (header.hasTargetBody) {
        target.addSnapshot(snapshot.targetBody);
        face.addSnapshot(snapshot.targetFace);
    }
}

void StreamPlayback::reset() {
    source.reset();
    target.reset();
    face.reset();
    for (JointPoseInterpolator& tracker : trackers) {
        tracker.Reset();
    }
}

} // namespace Velkori_Utility
