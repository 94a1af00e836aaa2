#pragma once

#include "serialization/playback/StreamPlayback.h"
#include "serialization/receiver/StreamReceiver.h"
#include "serialization/record/StreamLayout.h"
#include "serialization/sender/StreamSender.h"

namespace Velkori_Utility {

class UtilityConfigData;

// The pose stream of an instance: its sending end, its receiving end, and what plays the received frames
// back. A host uses it as either end, or as both.
struct Serialization {
    explicit Serialization(const UtilityConfigData& config);

    Serialization(const Serialization&) = delete;
    Serialization& operator=(const Serialization&) = delete;

    // The length of the snapshot rings: one value for all instances of the process, which any of them can
    // change between two calls. Whoever works on a ring asks once and passes it on.
    static int getNumSnapshots();

    // Takes at least ShortestRing and at most LongestRing.
    static void setAndClampCurrentNumberOfSnapshots(int count);

    // Begins the stream anew at both ends. What is played back stays.
    void restart(const StreamSettings& settings);

    const StreamLayout layout;
    StreamSender sender;
    StreamReceiver receiver;
    StreamPlayback playback;
};

} // namespace Velkori_Utility
