#pragma once

#include "Velkori_Utility.h"
#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "shared/DataTypes.h"

#include <array>
#include <cstdint>

namespace Velkori_Utility {

// What an application sends along with a frame: scalars of its own meaning, and the poses of three trackers,
// which are coded like joints.
class FrameData {
  public:
    static constexpr int TrackerCount = 3;

    enum TrackerInputType : std::uint8_t {
        TrackerInputType_First = 0,
        TrackerInputType_Second = 1,
        TrackerInputType_Third = 2,
    };

    struct TrackerPose {
        // The pose as a later frame's baseline.
        CompressedJointPose compressed{Precision::Max};
        // What goes on the wire.
        CompressedJointPose serialized{Precision::Max};
        JointPose pose{};
        JointSerializationOption option = JointSerializationOption_None;
    };

    FrameData() = default;
    FrameData(std::uint8_t inHeader, double time, bool inFlag0, float inWeight, std::uint8_t inValue0,
        std::uint8_t inValue1, std::uint32_t inValue2, bool inFlag1, bool inFlag2, const JointPose& tracker0,
        const JointPose& tracker1, const JointPose& tracker2);

    // Upper limits: deltas count with the widest range.
    std::uint32_t getFramedataSizeBits(velkori_CompressionType type) const;
    std::uint32_t getOptionSizeBits(JointSerializationOption option, velkori_CompressionType type) const;

    void serializeHeaderValues(BitWriter& writer) const;
    void deserializeHeaderValues(BitReader& reader);
    void writeToStream(BitWriter& writer) const;
    // A tracker that the record leaves out keeps the baseline's pose. The baseline may be this record itself.
    void readFromStream(BitReader& reader, const FrameData& baseline);
    // Trackers are read at Max precision whatever the stream's is: the format is such that they read back
    // correctly only from streams of Max.
    void deserializePoseData(BitReader& reader, const FrameData& baseline);

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
    // Which trackers aren't sent.
    std::array<bool, TrackerCount> skipsTracker{true, true, true};
    std::array<TrackerPose, TrackerCount> trackers;
};

} // namespace Velkori_Utility
