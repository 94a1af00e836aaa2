#pragma once

#include "serialization/playback/JointPoseInterpolator.h"
#include "serialization/playback/SnapshotInterpolator.h"
#include "serialization/record/StreamLayout.h"

#include <array>

namespace Velkori_Utility {

// What plays the received frames back.
class StreamPlayback {
  public:
    explicit StreamPlayback(const StreamLayout& layout);

    // Takes the parts that the header names of a snapshot that was just read.
    void addSnapshot(const SnapshotHeader& header, const Snapshot& snapshot);
    void reset();

    BodySnapshotInterpolator source;
    BodySnapshotInterpolator target;
    FaceSnapshotInterpolator face;
    // Of the frame data's third, first and second tracker.
    std::array<JointPoseInterpolator, FrameData::TrackerCount> trackers;
};

} // namespace Velkori_Utility
