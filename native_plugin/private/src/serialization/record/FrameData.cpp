#include "serialization/record/FrameData.h"

#include "serialization/Serialization.h"
#include "serialization/codec/JointRecordBits.h"
#include "serialization/record/TimeOfDay.h"

namespace Velkori_Utility {

namespace {

constexpr int HeaderBits = 4;
constexpr int TimestampBits = 16;
constexpr int FlagBits = 1;
constexpr int WeightBits = CompressedWeight::getBits(Precision::Standard);
constexpr int SmallValueBits = 2;
constexpr int LargeValueBits = 32;
constexpr int HeaderValuesBits =
    HeaderBits + TimestampBits + 3 * FlagBits + WeightBits + 2 * SmallValueBits + LargeValueBits;

// How a pose counts as a later frame's baseline, whatever the stream's precision.
CompressedJointPose compressAsBaseline(const JointPose& pose) {
    return {Precision::High, pose, 1.0F};
}

} // namespace

FrameData::FrameData(std::uint8_t inHeader, double time, bool inFlag0, float inWeight, std::uint8_t inValue0,
    std::uint8_t inValue1, std::uint32_t inValue2, bool inFlag1, bool inFlag2, const JointPose& tracker0,
    const JointPose& tracker1, const JointPose& tracker2)
    : header(inHeader),
      timestamp(time),
      flag0(inFlag0),
      weight(inWeight),
      value0(inValue0),
      value1(inValue1),
      value2(inValue2),
      flag1(inFlag1),
      flag2(inFlag2) {
    trackers[TrackerInputType_First].pose = tracker0;
    trackers[TrackerInputType_Second].pose = tracker1;
    trackers[TrackerInputType_Third].pose = tracker2;
}

std::uint32_t FrameData::getFramedataSizeBits(velkori_CompressionType type) const {
    std::uint32_t bits = HeaderValuesBits + TrackerCount * FlagBits;
    for (std::size_t i = 0; i < trackers.size(); ++i) {
        bits += skipsTracker[i] ? 0 : getOptionSizeBits(trackers[i].option, type);
    }
    return bits;
}

std::uint32_t FrameData::getOptionSizeBits(
    JointSerializationOption option, velkori_CompressionType type) const {
    return static_cast<std::uint32_t>(getJointRecordBits(option, toPrecision(type)));
}

void FrameData::serializeHeaderValues(BitWriter& writer) const {
    writer.writeBits(header, HeaderBits);
    writer.writeBits(compressTimeOfDay(timestamp), TimestampBits);
    writer.writeBits(flag0 ? 1 : 0, FlagBits);
    writer.writeBits(CompressedWeight(Precision::Standard, weight).getComponents()[0], WeightBits);
    writer.writeBits(value0, SmallValueBits);
    writer.writeBits(value1, SmallValueBits);
    writer.writeBits(value2, LargeValueBits);
    writer.writeBits(flag1 ? 1 : 0, FlagBits);
    writer.writeBits(flag2 ? 1 : 0, FlagBits);
}

void FrameData::deserializeHeaderValues(BitReader& reader) {
    header = static_cast<std::uint8_t>(reader.readBits(HeaderBits));
    timestamp = decompressTimeOfDay(reader.readBits(TimestampBits));
    // The bit is there, but readers have never followed it.
    reader.readBits(FlagBits);
    flag0 = true;
    CompressedWeight compressedWeight(Precision::Standard);
    compressedWeight.setComponents({reader.readBits(WeightBits)});
    weight = compressedWeight.decompress();
    value0 = static_cast<std::uint8_t>(reader.readBits(SmallValueBits));
    value1 = static_cast<std::uint8_t>(reader.readBits(SmallValueBits));
    value2 = reader.readBits(LargeValueBits);
    flag1 = reader.readBits(FlagBits) == 1;
    flag2 = reader.readBits(FlagBits) == 1;
}

void FrameData::writeToStream(BitWriter& writer) const {
    serializeHeaderValues(writer);
    for (std::size_t i = 0; i < trackers.size(); ++i) {
        writer.writeBits(skipsTracker[i] ? 0 : 1, FlagBits);
        if (!skipsTracker[i]) {
            writer.serializeCompressedJoint(trackers[i].option, trackers[i].serialized);
        }
    }
}

void FrameData::readFromStream(BitReader& reader, const FrameData& baseline) {
    deserializeHeaderValues(reader);
    for (std::size_t i = 0; i < trackers.size(); ++i) {
        trackers[i].pose = baseline.trackers[i].pose;
        trackers[i].compressed = compressAsBaseline(trackers[i].pose);
    }
    deserializePoseData(reader, baseline);
}

void FrameData::deserializePoseData(BitReader& reader, const FrameData& baseline) {
    for (std::size_t i = 0; i < trackers.size(); ++i) {
        if (reader.readBits(FlagBits) == 0) {
            continue;
        }
        JointSerializationOption option{};
        CompressedQuaternionf rotation(Precision::Max);
        CompressedVector3f position(Precision::Max);
        CompressedJointLength length(Precision::Max);
        reader.deserializeCompressedJoint(option, rotation, position, length);
        TrackerPose& tracker = trackers[i];
        tracker.pose = Serialization::deserializeCompressedJointPose(
            option, Precision::Max, baseline.trackers[i].compressed, rotation, position);
        tracker.compressed = compressAsBaseline(tracker.pose);
        // The last tracker keeps the option that it had.
        if (i != TrackerInputType_Third) {
            tracker.option = option;
        }
    }
}

} // namespace Velkori_Utility
