#pragma once

#include "Velkori_Utility.h"
#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"

#include <cstdint>

namespace Velkori_Utility {

// What both ends know of each other, which decides the widths of a header's fields.
struct HeaderLayout {
    int ringLength = 0;
    int sourceJointCount = 0;
    int targetJointCount = 0;
    int shapeCount = 0;
};

// What a record begins with.
struct SnapshotTime {
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
    // Seconds.
    double timestamp = 0.0;
};

// A record's header. A size, in bits, is 0 where its part isn't there. With the target body goes the face.
struct SnapshotHeader {
    SnapshotTime time;
    bool hasSourceBody = false;
    bool hasTargetBody = false;
    bool hasFrameData = false;
    std::uint32_t sourceBodyBits = 0;
    std::uint32_t targetBodyBits = 0;
    std::uint32_t targetFaceBits = 0;
    // The ring slot that the snapshot is coded against, -1 for none, and its own.
    std::int32_t baselineAck = -1;
    std::int32_t ack = 0;
};

std::uint32_t getHeaderBits(const SnapshotHeader& header, const HeaderLayout& layout);
void writeHeader(BitWriter& writer, const SnapshotHeader& header, const HeaderLayout& layout);

// The first two fields of a header.
SnapshotTime readSnapshotTime(BitReader& reader);
// Acks that the ring doesn't have come out as -1 and 0.
SnapshotHeader readHeader(BitReader& reader, const HeaderLayout& layout);

} // namespace Velkori_Utility
