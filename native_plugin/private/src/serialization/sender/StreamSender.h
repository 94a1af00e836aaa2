#pragma once

#include "serialization/codec/StreamSettings.h"
#include "serialization/record/StreamLayout.h"

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Velkori_Utility {

// A current snapshot that is ready to be written.
struct PreparedRecord {
    SnapshotHeader header;
    // Exact, but for frame data, for which it is an upper limit.
    std::uint32_t bits = 0;
};

// A snapshot as bytes.
struct SerializedRecord {
    std::span<const std::uint32_t> words;
    // Before the last word was filled up.
    int bits = 0;
};

// The sending end of a stream. It numbers its frames by the slots of a ring, and codes each against the
// baseline: the frame in the slot that the receiver has acknowledged last. Slots keep their memory: once each
// has been used, nothing is allocated.
//
// The ring's length comes with each call, since it can change from one to the next.
class StreamSender {
  public:
    // The layout outlives the sender.
    explicit StreamSender(const StreamLayout& streamLayout) : layout(streamLayout) {}

    const StreamSettings& getSettings() const { return settings; }

    // Begins the stream anew: there is no current snapshot and no ack. Slots keep what they hold.
    void restart(const StreamSettings& newSettings, int ringLength);

    // Starts the next frame. An ack whose slot holds no snapshot is kept, but codes against nothing.
    void createSnapshot(int ack, double timestamp, int ringLength);

    bool hasCurrentSnapshot() const { return currentIndex != -1; }

    // What the host last gave, whether or not it names a snapshot.
    int getCurrentAck() const { return currentAck; }

    // The rest works on the current snapshot, and must not be called before there is one.

    // `poses` has one local-space pose per joint of the skeleton; `jointsToSend` is in ascending order.
    // Joints that aren't listed count as sent for later frames.
    void updateBody(
        bool isSource, std::span<const JointPose> poses, std::span<const std::int32_t> jointsToSend);
    // One weight per blend shape. What shapes a host wants sent doesn't limit what is.
    void updateFace(std::span<const float> weights);
    void addFrameData(const FrameData& data);

    // Whether the current snapshot and its baseline have places in a ring of this length, which another
    // instance may have changed since they were chosen.
    bool canSerialize(int ringLength) const {
        return currentIndex < ringLength && baselineIndex < ringLength;
    }

    // Completes and measures the current snapshot.
    PreparedRecord prepare(int ringLength);
    // The record of the current snapshot, in memory that the next one takes again.
    SerializedRecord write(const SnapshotHeader& header, int ringLength);

  private:
    struct Slot {
        std::unique_ptr<Snapshot> snapshot;
        // The running number of the frame that the slot holds, from 1.
        std::uint64_t frame = 0;
    };

    void updateBaseline(int ack, int ringLength);
    void keepBaselineFace(FaceSnapshot& face);

    const Snapshot& getRest() { return restSnapshots.get(layout, settings.compressionType); }

    Snapshot& getCurrent() { return *ring[currentIndex].snapshot; }

    // The snapshot that the current one is coded against, null if there is none.
    const Snapshot* getBaseline() const {
        return baselineIndex == -1 ? nullptr : ring[baselineIndex].snapshot.get();
    }

    const StreamLayout& layout;
    StreamSettings settings;
    std::vector<Slot> ring;
    RestSnapshots restSnapshots;
    int currentIndex = -1;
    int currentAck = -1;
    // The ack, or -1 where its slot holds nothing.
    int baselineIndex = -1;
    std::uint64_t lastFrame = 0;
    std::uint64_t ackedFrame = 0;
    std::vector<std::uint32_t> recordWords;
};

} // namespace Velkori_Utility
