// Any bytes into both snapshot readers, with requests to the interpolators and frames of its own in between.

#include "FuzzHost.h"
#include "FuzzInput.h"
#include "Velkori_Utility.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t RecordSize = VELKORI_MAX_SNAPSHOT_SIZE;

// The record is as long as a reader may read, and nothing behind it may be touched.
void Read(velkori_Handle handle, const std::vector<std::uint8_t>& record) {
    std::vector<velkori_Transform_> target(SmallBody::TargetJointCount);
    std::vector<velkori_Transform_> source(SmallBody::SourceJointCount);
    std::vector<float> face(SmallBody::ShapeCount);
    velkori_FrameData_ frameData;
    double time = 0.0;
    velkori_CompressionType type = {};
    std::int32_t ack = 0;
    velkori_deserializeSnapshotTimestamp(record.data(), &time);
    if (velkori_deserializeSnapshot(handle, record.data(), &time, &type, &ack, target.data(), face.data(),
            source.data(), &frameData) != velkori_Result_Success ||
        ack < 0 || ack >= 254 || !(time >= 0.0 && time <= 1800.0)) {
        std::abort();
    }
    auto count = static_cast<std::int32_t>(target.size());
    velkori_getInterpolatedSkeletonPose(handle, velkori_SkeletonType_Target, target.data(), &count, time);
    count = static_cast<std::int32_t>(face.size());
    velkori_getInterpolatedFacePose(handle, 0, face.data(), &count, time);
    velkori_Transform_ tracker;
    velkori_getInterpolatedTrackerJointPose(handle, 0, &tracker, time);
}

} // namespace

// A first byte of 0 to 2 sends a frame of its own, any other begins a record of what follows it, up to the
// next 0xFF 0xFE.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const SmallBody body;
    for (std::size_t position = 0; position < size;) {
        const std::uint8_t choice = data[position++];
        if (choice < 3) {
            Read(body.Get(), body.Send(choice - 1, position));
            continue;
        }
        std::vector<std::uint8_t> record;
        record.reserve(RecordSize);
        while (position < size && record.size() < RecordSize &&
               !(data[position] == 0xFF && position + 1 < size && data[position + 1] == 0xFE)) {
            record.push_back(data[position++]);
        }
        position += 2;
        record.resize(RecordSize);
        record.shrink_to_fit();
        Read(body.Get(), record);
    }
    // The next good record is read as ever.
    const std::vector<std::uint8_t> good = body.Send(-1, 1);
    Read(body.Get(), good);
    return 0;
}
