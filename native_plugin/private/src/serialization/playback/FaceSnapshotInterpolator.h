#pragma once

#include "serialization/playback/FramePair.h"
#include "serialization/record/FaceSnapshot.h"

#include <memory>
#include <span>
#include <vector>

namespace Velkori_Utility {

// Plays received faces back at the receiver's own clock, as BodySnapshotInterpolator does bodies.
class FaceSnapshotInterpolator {
  public:
    FaceSnapshotInterpolator(int count, float blendLimit, float smoothing);

    void reset();

    void addSnapshot(const std::shared_ptr<const FaceSnapshot>& snapshot) { frames.Add(snapshot); }

    // The running weights after they have followed up to `time`; empty if no frame is due.
    std::span<const float> updateAndInterpolatePose(double time);

    int getElementCount() const { return elementCount; }

  private:
    int elementCount;
    float maxBlend;
    float smoothingTime;
    FramePair<std::shared_ptr<const FaceSnapshot>> frames;
    std::vector<float> running;
};

} // namespace Velkori_Utility
