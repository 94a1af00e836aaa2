#pragma once

#include "Velkori_Utility.h"
#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/TrackerCodec.h"

#include <array>
#include <cstdint>

namespace Velkori_Utility {

// What an application sends along with a frame: scalars of its own meaning, and the poses of three trackers,
// which are coded like joints.
struct FrameData {
    static constexpr int TrackerCount = 3;

    enum TrackerInputType : std::uint8_t {
        TrackerInputType_First = 0,
        TrackerInputType_Second = 1,
        TrackerInputType_Third = 2,
    };

    // An upper limit: deltas count with the widest range.
    std::uint32_t getFramedataSizeBits(velkori_CompressionType type) const;
    void writeToStream(BitWriter& writer) const;
    // A tracker that the record leaves out keeps the baseline's pose. The baseline may be this record itself.
    void readFromStream(BitReader& reader, const FrameData& baseline);

    // Its low 4 bits are carried.
    std::uint8_t header = 0;
    // Seconds within half a day of zero. Only the low 16 of its field's 24 bits are carried, so what arrives
    // isn't valid.
    double timestamp = 0.0;
    // Arrives as true.
    bool flag0 = false;
    // From 0 to 1.
    float weight = 0.0F;
    // Their low 2 bits are carried.
    std::uint8_t value0 = 0;
    std::uint8_t value1 = 0;
    std::uint32_t value2 = 0;
    bool flag1 = false;
    bool flag2 = false;
    // A tracker without an option isn't sent.
    std::array<TrackerPose, TrackerCount> trackers;
};

} // namespace Velkori_Utility
