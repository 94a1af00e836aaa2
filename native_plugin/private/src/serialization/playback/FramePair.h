#pragma once

#include "serialization/record/RingLength.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace Velkori_Utility {

// The two received frames that an interpolator samples between, and those that wait to become one of them.
// `Source` is what a frame is held by; GetFrameTime(source) gives its time, in seconds.
template <typename Source>
class FramePair {
  public:
    // Arrival order is kept. A shared frame that waits already was written over by the new one and has its
    // time; its old place could never be used. So no more of them wait than a ring has slots. Of others the
    // oldest are given up, many at once, so that whoever never asks pays little for it.
    void Add(const Source& frame) {
        if constexpr (IsShared) {
            std::erase(pending, frame);
        }
        if (std::ssize(pending) >= 2 * MaxPendingCount) {
            pending.erase(pending.begin(), pending.begin() + MaxPendingCount);
        }
        pending.push_back(frame);
    }

    void Reset() {
        pending.clear();
        previous.reset();
        next.reset();
        lastTime = previousTime = nextTime = 0.0;
    }

    // Moves on to the newest frame that is due, and remembers the request's time. False if none has ever
    // been.
    bool FindSnapshots(double time) {
        sinceLastRequest = time - std::exchange(lastTime, time);
        for (std::size_t i = pending.size(); i-- > 0;) {
            const double frameTime = GetFrameTime(pending[i]);
            if (frameTime > time) {
                continue;
            }
            // Of several due frames the older ones are passed over.
            if (!next || frameTime > nextTime) {
                previousTime = std::exchange(nextTime, frameTime);
                previous = std::exchange(next, pending[i]);
            }
            pending.erase(pending.begin() + static_cast<std::ptrdiff_t>(i));
        }
        if (!previous && next) {
            previous = next;
            previousTime = nextTime;
        }
        return next.has_value();
    }

    // Where the request lies between the frames: 0 at the older one and 1 at the newer one. It may come
    // before the older one, but nothing is extrapolated past the newer one.
    float BlendFactor() const {
        const double duration = nextTime - previousTime;
        constexpr double Lowest = std::numeric_limits<float>::lowest();
        return duration > 0.0
                   ? static_cast<float>(std::clamp((lastTime - previousTime) / duration, Lowest, 1.0))
                   : 1.0F;
    }

    // How much of its way to the sample the running pose goes, 0 to 1.
    float CatchUpFactor() const {
        // Seconds.
        constexpr float SmoothingTime = 0.05F;
        return static_cast<float>(std::clamp(sinceLastRequest / double{SmoothingTime}, 0.0, 1.0));
    }

    // Whether there have been frames to sample between.
    bool IsComplete() const { return previous && next; }

    // Of a complete pair.
    const Source& GetPrevious() const { return *previous; }

    const Source& GetNext() const { return *next; }

  private:
    static constexpr bool IsShared = requires(const Source& source) { source.use_count(); };
    static constexpr std::ptrdiff_t MaxPendingCount = LongestRing;

    std::vector<Source> pending;
    std::optional<Source> previous;
    std::optional<Source> next;
    double lastTime = 0.0;
    double sinceLastRequest = 0.0;
    double previousTime = 0.0;
    double nextTime = 0.0;
};

template <typename Part>
double GetFrameTime(const std::shared_ptr<const Part>& part) {
    return part->timestamp;
}

} // namespace Velkori_Utility
