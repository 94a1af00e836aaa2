#include "serialization/record/FrameData.h"

#include "serialization/codec/CompressedWeight.h"
#include "serialization/record/TimeOfDay.h"

namespace Velkori_Utility {

namespace {

constexpr int HeaderBits = 4;
constexpr int TimestampBits = 16;
constexpr int FlagBits = 1;
constexpr int WeightBits = WeightWidths[Precision::Standard];
constexpr int SmallValueBits = 2;
constexpr int LargeValueBits = 32;
constexpr int ScalarsBits =
    HeaderBits + TimestampBits + 3 * FlagBits + WeightBits + 2 * SmallValueBits + LargeValueBits;

bool isSent(const TrackerPose& tracker) {
    return tracker.encoded.option != JointSerializationOption_None;
}

void writeScalars(BitWriter& writer, const FrameData& data) {
    writer.writeBits(data.header, HeaderBits);
    writer.writeBits(compressTimeOfDay(data.timestamp), TimestampBits);
    writer.writeBits(data.flag0 ? 1 : 0, FlagBits);
    writer.writeBits(compressWeight(Precision::Standard, data.weight).field, WeightBits);
    writer.writeBits(data.value0, SmallValueBits);
    writer.writeBits(data.value1, SmallValueBits);
    writer.writeBits(data.value2, LargeValueBits);
    writer.writeBits(data.flag1 ? 1 : 0, FlagBits);
    writer.writeBits(data.flag2 ? 1 : 0, FlagBits);
}

void readScalars(BitReader& reader, FrameData& data) {
    data.header = static_cast<std::uint8_t>(reader.readBits(HeaderBits));
    data.timestamp = decompressTimeOfDay(reader.readBits(TimestampBits));
    // The bit is there, but readers have never followed it.
    reader.readBits(FlagBits);
    data.flag0 = true;
    data.weight = decompress(CompressedWeight{reader.readBits(WeightBits), Precision::Standard});
    data.value0 = static_cast<std::uint8_t>(reader.readBits(SmallValueBits));
    data.value1 = static_cast<std::uint8_t>(reader.readBits(SmallValueBits));
    data.value2 = reader.readBits(LargeValueBits);
    data.flag1 = reader.readBits(FlagBits) == 1;
    data.flag2 = reader.readBits(FlagBits) == 1;
}

} // namespace

std::uint32_t FrameData::getFramedataSizeBits(velkori_CompressionType type) const {
    std::uint32_t bits = ScalarsBits + TrackerCount * FlagBits;
    for (const TrackerPose& tracker : trackers) {
        bits += isSent(tracker) ? getLargestJointRecordBits(tracker.encoded.option, toPrecision(type)) : 0;
    }
    return bits;
}

void FrameData::writeToStream(BitWriter& writer) const {
    writeScalars(writer, *this);
    for (const TrackerPose& tracker : trackers) {
        writer.writeBits(isSent(tracker) ? 1 : 0, FlagBits);
        if (isSent(tracker)) {
            writeJoint(writer, tracker.encoded);
        }
    }
}

void FrameData::readFromStream(BitReader& reader, const FrameData& baseline) {
    readScalars(reader, *this);
    for (std::size_t i = 0; i < trackers.size(); ++i) {
        TrackerPose& tracker = trackers[i];
        tracker.pose = baseline.trackers[i].pose;
        tracker.compressed = compressAsTrackerBaseline(tracker.pose);
        if (reader.readBits(FlagBits) == 1) {
            tracker.pose = readTracker(reader, baseline.trackers[i].compressed);
            tracker.compressed = compressAsTrackerBaseline(tracker.pose);
        }
    }
}

} // namespace Velkori_Utility
