// The exports of the pose stream: its settings, its two headers, and snapshots out and in.

#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"
#include "serialization/record/TimeOfDay.h"
#include "shared/Log.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

using namespace Velkori_Utility;

namespace {

velkori_Result FailWithoutSnapshot(const char* what) {
    return Fail(
        velkori_Result_OperationFailed, "Cannot %s the current snapshot because it doesn't exist yet.", what);
}

float ClampThreshold(float threshold) {
    return threshold > 0.0F ? std::min(threshold, std::numeric_limits<float>::max()) : 0.0F;
}

std::span<const int32_t> IndicesOf(const int32_t* indices, int32_t count) {
    return count > 0 ? std::span<const int32_t>(indices, count) : std::span<const int32_t>();
}

// -- Headers -----------------------------------------------------------------------------------------------

void WriteText(BitWriter& writer, const char (&text)[VELKORI_HEADER_TEXT_SIZE]) {
    std::array<unsigned char, VELKORI_HEADER_TEXT_SIZE> bytes{};
    std::memcpy(bytes.data(), text, bytes.size() - 1);
    writer.writeBytes(bytes);
}

void ReadText(BitReader& reader, char (&out_text)[VELKORI_HEADER_TEXT_SIZE]) {
    std::array<unsigned char, VELKORI_HEADER_TEXT_SIZE> bytes{};
    reader.deserializeBytes(bytes);
    bytes.back() = 0;
    std::memcpy(out_text, bytes.data(), bytes.size());
}

void Write64(BitWriter& writer, std::uint64_t value) {
    writer.writeBits(static_cast<std::uint32_t>(value), 32);
    writer.writeBits(static_cast<std::uint32_t>(value >> 32), 32);
}

std::uint64_t Read64(BitReader& reader) {
    const std::uint64_t low = reader.readBits(32);
    return low | std::uint64_t{reader.readBits(32)} << 32;
}

// -- Frame records -----------------------------------------------------------------------------------------

FrameData ToFrameData(const velkori_FrameData_& record) {
    FrameData data;
    data.header = record.header;
    data.timestamp = record.timestamp;
    data.flag0 = record.flag0;
    data.weight = record.weight;
    data.value0 = record.value0;
    data.value1 = record.value1;
    data.value2 = record.value2;
    data.flag1 = record.flag1;
    data.flag2 = record.flag2;
    data.trackers[0].pose = JointPose(record.tracker0);
    data.trackers[1].pose = JointPose(record.tracker1);
    data.trackers[2].pose = JointPose(record.tracker2);
    return data;
}

velkori_FrameData_ ToRecord(const FrameData& data) {
    velkori_FrameData_ record = {};
    record.header = data.header;
    record.timestamp = data.timestamp;
    record.flag0 = data.flag0;
    record.weight = data.weight;
    record.value0 = data.value0;
    record.value1 = data.value1;
    record.flag1 = data.flag1;
    record.flag2 = data.flag2;
    record.value2 = data.value2;
    record.tracker0 = static_cast<velkori_Transform_>(data.trackers[0].pose);
    record.tracker1 = static_cast<velkori_Transform_>(data.trackers[1].pose);
    record.tracker2 = static_cast<velkori_Transform_>(data.trackers[2].pose);
    return record;
}

// What the caller takes of a part; null takes nothing.
void CopyBody(const BodySnapshot& body, velkori_Transform_* out_transforms) {
    if (out_transforms != nullptr) {
        ToVelkoriPoseArrayFromJointPoseVector(body.elements, out_transforms);
    }
}

void CopyFace(const FaceSnapshot& face, float* out_weights) {
    if (out_weights != nullptr) {
        std::copy(face.elements.begin(), face.elements.end(), out_weights);
    }
}

} // namespace

// -- Settings ----------------------------------------------------------------------------------------------

velkori_Result velkori_getSerializationSettings(
    velkori_Handle handle, velkori_SerializationSettings_* out_serializationSettings) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (out_serializationSettings == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_serializationSettings");
        }
        const StreamSettings& settings = instance.serialization.sender.getSettings();
        *out_serializationSettings = {settings.compressionType, settings.positionThreshold,
            settings.rotationThreshold.GetDegrees(), settings.shapeThreshold,
            Serialization::getNumSnapshots()};
        return velkori_Result_Success;
    });
}

velkori_Result velkori_updateSerializationSettings(
    velkori_Handle handle, const velkori_SerializationSettings_* in_serializationSettings) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_serializationSettings == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_serializationSettings");
        }
        const velkori_SerializationSettings_& settings = *in_serializationSettings;
        Serialization::setAndClampCurrentNumberOfSnapshots(settings.snapshotCount);
        instance.serialization.restart({settings.compressionType, ClampThreshold(settings.positionThreshold),
            RotationThreshold(ClampThreshold(settings.rotationAngleThreshold)),
            ClampThreshold(settings.shapeThreshold)});
        return velkori_Result_Success;
    });
}

// -- Headers -----------------------------------------------------------------------------------------------

velkori_Result velkori_serializeStartHeader(
    velkori_StartHeader_ header, velkori_SerializedStartHeader_* out_header) {
    return AtBoundary(__func__, [&] {
        if (out_header == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_header");
        }
        BitWriter writer(VELKORI_SERIALIZED_START_HEADER_SIZE);
        WriteText(writer, header.text0);
        WriteText(writer, header.text1);
        WriteText(writer, header.text2);
        WriteText(writer, header.text3);
        WriteText(writer, header.text4);
        Write64(writer, header.id);
        writer.writeBits(header.value16, 16);
        writer.writeBits(header.value24, 24);
        writer.writeBits(compressTimeOfDay(header.time), 24);
        writer.writeBits(header.value10, 10);
        writer.flush();
        // The braces are part of the line.
        Log(velkori_LogLevel_Info,
            "Start header serialization! Expected Size: {}, native {} bits, actual Size: {} bits, flushed "
            "Size: {} bits.");
        std::memcpy(out_header->data, writer.getWords(), writer.getSize());
        return velkori_Result_Success;
    });
}

velkori_Result velkori_deserializeStartHeader(
    velkori_StartHeader_* out_header, velkori_SerializedStartHeader_ in_header) {
    return AtBoundary(__func__, [&] {
        if (out_header == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_header");
        }
        BitReader reader(in_header.data, VELKORI_SERIALIZED_START_HEADER_SIZE);
        ReadText(reader, out_header->text0);
        ReadText(reader, out_header->text1);
        ReadText(reader, out_header->text2);
        ReadText(reader, out_header->text3);
        ReadText(reader, out_header->text4);
        out_header->id = Read64(reader);
        out_header->value16 = reader.readBits(16);
        out_header->value24 = reader.readBits(24);
        out_header->time = decompressTimeOfDay(reader.readBits(24));
        out_header->value10 = reader.readBits(10);
        Log(velkori_LogLevel_Info, "Start header deserialization! expected {} vs reader {} bits.");
        return velkori_Result_Success;
    });
}

velkori_Result velkori_serializeEndHeader(
    velkori_EndHeader_ header, velkori_SerializedEndHeader_* out_header) {
    return AtBoundary(__func__, [&] {
        if (out_header == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_header");
        }
        BitWriter writer(VELKORI_SERIALIZED_END_HEADER_SIZE);
        Write64(writer, header.value);
        writer.flush();
        std::memcpy(out_header->data, writer.getWords(), writer.getSize());
        return velkori_Result_Success;
    });
}

velkori_Result velkori_deserializeEndHeader(
    velkori_EndHeader_* out_header, velkori_SerializedEndHeader_ in_header) {
    return AtBoundary(__func__, [&] {
        if (out_header == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_header");
        }
        BitReader reader(in_header.data, VELKORI_SERIALIZED_END_HEADER_SIZE);
        out_header->value = Read64(reader);
        return velkori_Result_Success;
    });
}

// -- Sending -----------------------------------------------------------------------------------------------

velkori_Result velkori_getCurrentAck(velkori_Handle handle, int32_t* out_ack) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (out_ack == nullptr) {
            return Fail(velkori_Result_NullParameter, "Parameter out_ack must not be null!");
        }
        *out_ack = instance.serialization.sender.getCurrentAck();
        return velkori_Result_Success;
    });
}

velkori_Result velkori_createSnapshot(velkori_Handle handle, int32_t baselineAck, double timestamp) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        instance.serialization.sender.createSnapshot(
            baselineAck, timestamp, Serialization::getNumSnapshots());
        return velkori_Result_Success;
    });
}

velkori_Result velkori_snapshotSkeleton(velkori_Handle handle, velkori_SkeletonType skeletonType,
    const velkori_Transform_* skeletonPose, const int32_t* indices, int32_t indexCount) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (skeletonPose == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "skeletonPose");
        }
        const int jointCount = instance.config.GetSkeletonData(skeletonType).GetJointCount();
        if (const velkori_Result result = CheckTransforms(skeletonPose, jointCount);
            result != velkori_Result_Success) {
            return result;
        }
        if (indices == nullptr && indexCount > 0) {
            return FailWithNull(velkori_Result_InvalidParameter, "indices");
        }
        StreamSender& sender = instance.serialization.sender;
        if (!sender.hasCurrentSnapshot()) {
            return FailWithoutSnapshot("add a pose to");
        }
        ToJointPoseVectorFromVelkoriPoseArray(skeletonPose, jointCount, instance.streamedPose);
        sender.updateBody(skeletonType == velkori_SkeletonType_Source, instance.streamedPose,
            IndicesOf(indices, indexCount));
        return velkori_Result_Success;
    });
}

velkori_Result velkori_snapshotFace(
    velkori_Handle handle, const float* facePose, const int32_t* indices, int32_t indexCount) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (facePose == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "facePose");
        }
        if (indices == nullptr && indexCount > 0) {
            return FailWithNull(velkori_Result_InvalidParameter, "indices");
        }
        StreamSender& sender = instance.serialization.sender;
        if (!sender.hasCurrentSnapshot()) {
            return FailWithoutSnapshot("add a face to");
        }
        const int shapeCount =
            instance.config.GetSkeletonData(velkori_SkeletonType_Target).GetBlendShapeCount();
        sender.updateFace(std::span<const float>(facePose, shapeCount));
        return velkori_Result_Success;
    });
}

velkori_Result velkori_snapshotFrameData(velkori_Handle handle, const velkori_FrameData_* frameData) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (frameData == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "frameData");
        }
        StreamSender& sender = instance.serialization.sender;
        if (!sender.hasCurrentSnapshot()) {
            Log(velkori_LogLevel_Error,
                "Cannot add framedata to current snapshot because it doesn't exist yet.");
            return Fail(velkori_Result_OperationFailed, "Could not add framedata.");
        }
        sender.addFrameData(ToFrameData(*frameData));
        return velkori_Result_Success;
    });
}

velkori_Result velkori_serializeSnapshot(
    velkori_Handle handle, void* out_buffer, int32_t* in_out_bufferSizeInBytes) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_bufferSizeInBytes == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_bufferSizeInBytes");
        }
        StreamSender& sender = instance.serialization.sender;
        if (!sender.hasCurrentSnapshot()) {
            return FailWithoutSnapshot("serialize");
        }
        const int ringLength = Serialization::getNumSnapshots();
        if (!sender.canSerialize(ringLength)) {
            return Fail(velkori_Result_OperationFailed,
                "Cannot serialize the current snapshot because the snapshot count has changed since.");
        }
        const PreparedRecord prepared = sender.prepare(ringLength);
        const std::uint64_t size = (std::uint64_t{prepared.bits} + 31) / 32 * 4;
        if (out_buffer == nullptr) {
            *in_out_bufferSizeInBytes = static_cast<int32_t>(size);
            return velkori_Result_Success;
        }
        if (*in_out_bufferSizeInBytes < static_cast<std::int64_t>(size)) {
            return Fail(velkori_Result_BufferTooSmall,
                "out_buffer Buffer is too small, require %lu bytes, provided %d bytes",
                static_cast<unsigned long>(size), *in_out_bufferSizeInBytes);
        }
        const SerializedRecord record = sender.write(prepared.header, ringLength);
        const std::uint64_t writtenSize = record.words.size_bytes();
        if (writtenSize > size) {
            Log(velkori_LogLevel_Error,
                "Expected Size: %d, Actual Size: %d, Flushed Size: %d, BaselineAck: %d, Ack: %d, Expected "
                "Bytes: %llu, Actual Bytes: %llu",
                static_cast<int>(prepared.bits), record.bits, static_cast<int>(8 * writtenSize),
                prepared.header.baselineAck, prepared.header.ack, static_cast<unsigned long long>(size),
                static_cast<unsigned long long>(writtenSize));
            return Fail(velkori_Result_BufferTooSmall, "Could not copy serialized data, sizes don't match!");
        }
        std::memcpy(out_buffer, record.words.data(), record.words.size_bytes());
        return velkori_Result_Success;
    });
}

// -- Receiving ---------------------------------------------------------------------------------------------

velkori_Result velkori_deserializeSnapshotTimestamp(const void* data, double* out_timestamp) {
    return AtBoundary(__func__, [&] {
        if (data == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "data");
        }
        if (out_timestamp == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_timestamp");
        }
        BitReader reader(data, VELKORI_MAX_SNAPSHOT_SIZE);
        *out_timestamp = readSnapshotTime(reader).timestamp;
        return velkori_Result_Success;
    });
}

velkori_Result velkori_deserializeSnapshot(velkori_Handle handle, const void* data, double* out_timestamp,
    velkori_CompressionType* out_compressionType, int32_t* out_ack, velkori_Transform_* optional_targetPose,
    float* optional_facePose, velkori_Transform_* optional_sourcePose,
    velkori_FrameData_* optional_frameData) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (data == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "data");
        }
        if (out_timestamp == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_timestamp");
        }
        if (out_compressionType == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_compressionType");
        }
        if (out_ack == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_ack");
        }
        BitReader reader(data, VELKORI_MAX_SNAPSHOT_SIZE);
        Serialization& stream = instance.serialization;
        const int ringLength = Serialization::getNumSnapshots();
        const SnapshotHeader header = readHeader(reader, stream.layout.getHeaderLayout(ringLength));
        if (header.hasFrameData && optional_frameData == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "optional_frameData");
        }
        const Snapshot& snapshot = stream.receiver.readSnapshot(header, reader, ringLength);
        stream.playback.addSnapshot(header, snapshot);
        if (header.hasFrameData) {
            *optional_frameData = ToRecord(*snapshot.frameData);
        }
        if (header.hasSourceBody) {
            CopyBody(*snapshot.sourceBody, optional_sourcePose);
        }
        if (header.hasTargetBody) {
            CopyBody(*snapshot.targetBody, optional_targetPose);
            CopyFace(*snapshot.targetFace, optional_facePose);
        }
        *out_timestamp = header.time.timestamp;
        *out_compressionType = header.time.compressionType;
        *out_ack = header.ack;
        return velkori_Result_Success;
    });
}
