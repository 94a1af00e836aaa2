#pragma once

#include "serialization/record/StreamLayout.h"

#include <memory>
#include <vector>

namespace Velkori_Utility {

// The receiving end of a stream. It keeps what it decoded in a ring of its own under the sender's numbers, so
// that it finds the same baseline there. Slots are made at their first use and keep their memory.
class StreamReceiver {
  public:
    // The layout outlives the receiver.
    explicit StreamReceiver(const StreamLayout& streamLayout) : layout(streamLayout) {}

    // Slots keep what they hold.
    void restart(int ringLength) { ring.resize(ringLength); }

    // Reads what follows the header into the slot that the header names. The ring's length is the one that
    // the header was read with.
    const Snapshot& readSnapshot(const SnapshotHeader& header, BitReader& reader, int ringLength);

  private:
    Snapshot& getSnapshot(int index, velkori_CompressionType type);

    const StreamLayout& layout;
    std::vector<std::unique_ptr<Snapshot>> ring;
    RestSnapshots restSnapshots;
};

} // namespace Velkori_Utility
