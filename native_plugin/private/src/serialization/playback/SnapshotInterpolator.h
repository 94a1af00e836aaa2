#pragma once

#include "serialization/playback/FramePair.h"
#include "serialization/record/BodySnapshot.h"
#include "serialization/record/FaceSnapshot.h"

#include <algorithm>
#include <memory>
#include <span>
#include <vector>

namespace Velkori_Utility {

// Plays a part of the received snapshots back at the receiver's own clock: samples between two frames, and
// eases running elements towards the sample, so that frames that come late or not at all don't show as jumps.
//
// `Ease(running, from, to, t, share)` gives an element that has gone the share of its way to the sample at t.
template <typename Part, auto Ease>
class SnapshotInterpolator {
  public:
    using Element = typename Part::Element;

    explicit SnapshotInterpolator(int count) : elementCount(count) { running.reserve(count); }

    void reset() {
        frames.Reset();
        running.clear();
    }

    void addSnapshot(const std::shared_ptr<const Part>& snapshot) { frames.Add(snapshot); }

    // The running elements after they have followed up to `time`; empty if no frame is due. Holds until the
    // next request.
    std::span<const Element> updateAndInterpolatePose(double time) {
        if (!frames.FindSnapshots(time)) {
            return {};
        }
        const std::vector<Element>& previous = frames.GetPrevious()->elements;
        const std::vector<Element>& next = frames.GetNext()->elements;
        if (running.empty()) {
            const std::size_t count =
                std::min({static_cast<std::size_t>(elementCount), previous.size(), next.size()});
            running.assign(previous.begin(), previous.begin() + static_cast<std::ptrdiff_t>(count));
        }
        const float t = frames.BlendFactor();
        const float share = frames.CatchUpFactor();
        for (std::size_t i = 0; i < running.size(); ++i) {
            running[i] = Ease(running[i], previous[i], next[i], t, share);
        }
        return running;
    }

    int getElementCount() const { return elementCount; }

  private:
    int elementCount;
    FramePair<std::shared_ptr<const Part>> frames;
    std::vector<Element> running;
};

// In local space.
JointPose easeBodyJoint(
    const JointPose& running, const JointPose& from, const JointPose& to, float t, float share);
float easeFaceWeight(float running, float from, float to, float t, float share);

using BodySnapshotInterpolator = SnapshotInterpolator<BodySnapshot, easeBodyJoint>;
using FaceSnapshotInterpolator = SnapshotInterpolator<FaceSnapshot, easeFaceWeight>;

} // namespace Velkori_Utility
