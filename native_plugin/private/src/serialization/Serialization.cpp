#include "serialization/Serialization.h"

#include "serialization/record/RingLength.h"

#include <algorithm>
#include <atomic>

namespace Velkori_Utility {

namespace {

// Atomic, since instances may stream on different threads.
std::atomic<int> currentRingLength = ShortestRing;

} // namespace

Serialization::Serialization(const UtilityConfigData& config)
    : layout(config), sender(layout), receiver(layout), playback(layout) {}

int Serialization::getNumSnapshots() {
    return currentRingLength.load(std::memory_order_relaxed);
}

void Serialization::setAndClampCurrentNumberOfSnapshots(int count) {
    currentRingLength.store(std::clamp(count, ShortestRing, LongestRing), std::memory_order_relaxed);
}

void Serialization::restart(const StreamSettings& settings) {
    const int ringLength = getNumSnapshots();
    sender.restart(settings, ringLength);
    receiver.restart(ringLength);
}

} // namespace Velkori_Utility
