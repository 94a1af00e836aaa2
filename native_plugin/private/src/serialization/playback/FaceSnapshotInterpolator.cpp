#include "serialization/playback/FaceSnapshotInterpolator.h"

#include <algorithm>

namespace Velkori_Utility {

FaceSnapshotInterpolator::FaceSnapshotInterpolator(int count, float blendLimit, float smoothing)
    : elementCount(count), maxBlend(blendLimit), smoothingTime(smoothing) {
    running.reserve(elementCount);
}

void FaceSnapshotInterpolator::reset() {
    frames.Reset();
    running.clear();
}

std::span<const float> FaceSnapshotInterpolator::updateAndInterpolatePose(double time) {
    if (!frames.FindSnapshots(time)) {
        return {};
    }
    const std::vector<float>& previous = frames.GetPrevious()->elements;
    const std::vector<float>& next = frames.GetNext()->elements;
    const std::size_t count =
        std::min({static_cast<std::size_t>(elementCount), previous.size(), next.size()});
    if (running.empty()) {
        running.assign(previous.begin(), previous.begin() + static_cast<std::ptrdiff_t>(count));
    }
    const float t = std::max(frames.BlendFactor(maxBlend), 0.0F);
    const float catchUp = frames.CatchUpFactor(smoothingTime);
    for (std::size_t i = 0; i < running.size(); ++i) {
        const float sample = (1.0F - t) * previous[i] + t * next[i];
        running[i] = sample * catchUp + running[i] * (1.0F - catchUp);
    }
    return running;
}

} // namespace Velkori_Utility
