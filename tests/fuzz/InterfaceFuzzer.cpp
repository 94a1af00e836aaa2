// The interface as a whole: the bytes are a sequence of exports on several handles, with live, stale and zero
// handles, null and short buffers, and hostile numbers. Every buffer is exactly as long as the call says.

#include "FuzzHost.h"
#include "FuzzInput.h"
#include "Velkori_Utility.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr velkori_CoordinateSpace_ DefaultSpace = VELKORI_DEFAULT_COORDINATE_SPACE;

// Text is only looked at, so that a line without an end is seen.
std::size_t loggedSize = 0;

void Log(velkori_LogLevel, const char* message) {
    loggedSize += std::char_traits<char>::length(message);
}

// A caller's buffer of exactly as many elements as its count says, or none.
template <typename Element>
class Buffer {
  public:
    Buffer(FuzzInput& input, std::int32_t tameCount) : count(tameCount) {
        const std::uint8_t choice = input.Byte();
        isNull = choice == 1;
        if (choice == 2) {
            count = std::max(tameCount - 1, 0);
        } else if (choice == 3) {
            count = tameCount + 3;
        } else if (choice == 4) {
            count = 0;
        }
        elements.resize(count);
        elements.shrink_to_fit();
        hasCount = choice != 5;
        if (choice == 6) {
            count = -1;
        }
    }

    Element* Data() { return isNull ? nullptr : elements.data(); }

    std::int32_t* Count() { return hasCount ? &count : nullptr; }

    std::int32_t GivenCount() const { return count; }

    std::vector<Element> elements;

  private:
    std::int32_t count;
    bool isNull = false;
    bool hasCount = true;
};

using Transforms = Buffer<velkori_Transform_>;

class Host {
  public:
    explicit Host(FuzzInput& bytes) : input(bytes) {
        velkori_initializeLogging(Log);
        velkori_initialize(&DefaultSpace);
        bodies[0] = std::make_unique<SmallBody>();
        const velkori_SerializationSettings_ settings = {
            velkori_CompressionType_Max, 0.01F, 0.01F, 0.01F, 254};
        velkori_updateSerializationSettings(bodies[0]->Get(), &settings);
        record = bodies[0]->Send(-1, 0);
    }

    ~Host() {
        for (const velkori_Handle handle : made) {
            velkori_destroy(handle);
        }
        bodies = {};
        velkori_initialize(&DefaultSpace);
        velkori_initializeLogging(nullptr);
    }

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    void Call() {
        switch (input.Byte() % 9) {
        case 0:
            CallLifecycle();
            return;
        case 1:
            CallTextQuery();
            return;
        case 2:
            CallIndexQuery();
            return;
        case 3:
            CallPoseQuery();
            return;
        case 4:
            CallPoseConversion();
            return;
        case 5:
            CallRetargeting();
            return;
        case 6:
            CallPreparation();
            return;
        case 7:
            CallSending();
            return;
        default:
            CallReceiving();
            return;
        }
    }

  private:
    velkori_Handle Handle() {
        const std::uint8_t choice = input.Byte();
        if (choice == 1) {
            return 0;
        }
        if (choice == 2) {
            return 0xFFFFFFFFFFFFFFFF;
        }
        if (choice == 3) {
            return lastDestroyed;
        }
        if (choice > 3 && !made.empty()) {
            return made[choice % made.size()];
        }
        return bodies[0]->Get();
    }

    velkori_SkeletonType Type() { return input.Choice(velkori_SkeletonType_Source); }

    velkori_JointRelativeSpaceType SpaceType() {
        return input.Choice(velkori_JointRelativeSpaceType_RootOriginRelative);
    }

    velkori_SkeletonTPoseType TPoseType() { return input.Choice(velkori_SkeletonTPoseType_Unscaled); }

    static std::int32_t JointCountOf(velkori_SkeletonType type) {
        return type == velkori_SkeletonType_Source ? SmallBody::SourceJointCount
                                                   : SmallBody::TargetJointCount;
    }

    const char* ManifestationName() {
        constexpr const char* Names[] = {nullptr, "top", "", "nobody", "hips"};
        return Names[input.Byte() % 5];
    }

    Transforms Pose(std::int32_t count) {
        Transforms pose(input, count);
        for (std::size_t i = 0; i < pose.elements.size(); ++i) {
            pose.elements[i] = SmallBody::Pose[i % SmallBody::TargetJointCount];
        }
        for (int i = input.Byte() % 4; i > 0 && !pose.elements.empty(); --i) {
            velkori_Transform_& joint = pose.elements[input.Byte() % pose.elements.size()];
            joint = input.Transform(joint);
        }
        return pose;
    }

    // A destroyed or replaced handle is forgotten by whoever made it.
    velkori_Handle* HandleToMake() {
        if (input.Byte() == 1) {
            return nullptr;
        }
        madeHandle = input.Flag() ? Handle() : 0;
        return &madeHandle;
    }

    void Keep(velkori_Result result) {
        const bool isKnown =
            madeHandle == bodies[0]->Get() || std::find(made.begin(), made.end(), madeHandle) != made.end();
        if (result == velkori_Result_Success && madeHandle != 0 && !isKnown) {
            made.push_back(madeHandle);
        }
        madeHandle = 0;
        if (made.size() > 6) {
            lastDestroyed = made.front();
            velkori_destroy(lastDestroyed);
            made.erase(made.begin());
        }
    }

    void CallLifecycle() {
        switch (input.Byte() % 8) {
        case 0: {
            std::int32_t size = 0;
            velkori_writeConfigDataToJSON(Handle(), nullptr, nullptr, &size);
            const velkori_CoordinateSpace_ space = input.Space();
            Buffer<char> text(input, std::min(size, 1 << 20));
            if (velkori_writeConfigDataToJSON(Handle(), input.Flag() ? &space : nullptr, text.Data(),
                    text.Count()) == velkori_Result_Success &&
                text.Data() != nullptr && !text.elements.empty()) {
                text.elements.back() = '\0';
                velkori_Handle* handle = HandleToMake();
                Keep(velkori_createOrUpdateHandle(text.Data(), handle));
            }
            return;
        }
        case 1: {
            const velkori_SkeletonInitParams_ params = SmallBody::MakeSkeleton(SmallBody::TargetJointCount);
            const velkori_SkeletonType type = Type();
            velkori_Handle* handle = HandleToMake();
            Keep(velkori_createOrUpdateSimpleUtilityConfig(
                input.Flag() ? nullptr : "simple", type, input.Flag() ? nullptr : &params, handle));
            return;
        }
        case 2: {
            const velkori_UtilityConfigInitParams_ params = {
                SmallBody::MakeSkeleton(SmallBody::SourceJointCount),
                SmallBody::MakeSkeleton(SmallBody::TargetJointCount), {}, {}};
            velkori_Handle* handle = HandleToMake();
            Keep(velkori_createOrUpdateUtilityConfig(
                input.Flag() ? nullptr : "unmapped", input.Flag() ? nullptr : &params, handle));
            return;
        }
        case 3:
            if (!made.empty()) {
                lastDestroyed = made.back();
                made.pop_back();
                velkori_destroy(lastDestroyed);
            }
            velkori_destroy(lastDestroyed);
            return;
        case 4: {
            const velkori_CoordinateSpace_ space = input.Space();
            velkori_initialize(input.Flag() ? nullptr : &space);
            return;
        }
        case 5: {
            velkori_CoordinateSpace_ space;
            velkori_getCoordinateSpace(input.Flag() ? nullptr : &space);
            return;
        }
        case 6:
            velkori_initializeLogging(input.Flag() ? nullptr : Log);
            return;
        default:
            brenvik_log();
            brenvik_addSink();
            brenvik_isValidHandle();
            brenvik_findSink();
            brenvik_logFatalError();
            brenvik_setFatalLogHandler();
            brenvik_getFatalLogHandler();
            brenvik_hasCustomFatalLogHandler();
            return;
        }
    }

    void CallTextQuery() {
        const int query = input.Byte() % 6;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        Buffer<char> text(input, 64);
        Buffer<const char*> starts(input, JointCountOf(type));
        switch (query) {
        case 0:
            velkori_getConfigName(handle, text.Data(), text.Count());
            return;
        case 1:
            velkori_getBlendShapeNames(
                handle, type, text.Data(), text.Count(), starts.Data(), starts.Count());
            return;
        case 2:
            velkori_getJointNames(handle, type, text.Data(), text.Count(), starts.Data(), starts.Count());
            return;
        case 3:
            velkori_getManifestationNames(
                handle, type, text.Data(), text.Count(), starts.Data(), starts.Count());
            return;
        case 4:
            velkori_getBlendShapeName(handle, type, input.Number(), text.Data(), text.Count());
            return;
        default:
            velkori_getJointName(handle, type, input.Number(), text.Data(), text.Count());
            return;
        }
    }

    void CallIndexQuery() {
        const int query = input.Byte() % 12;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        Buffer<std::int32_t> indices(input, JointCountOf(type));
        switch (query) {
        case 0: {
            double version = 0.0;
            velkori_getVersion(handle, input.Flag() ? nullptr : &version);
            return;
        }
        case 1: {
            velkori_SkeletonInfo_ info;
            velkori_getSkeletonInfo(handle, type, input.Flag() ? nullptr : &info);
            return;
        }
        case 2:
            velkori_getJointIndex(
                handle, type, ManifestationName(), indices.elements.empty() ? nullptr : indices.Data());
            return;
        case 3:
            velkori_getJointIndexByKnownJointType(handle, type, input.Choice(velkori_KnownJointType_Hips),
                indices.elements.empty() ? nullptr : indices.Data());
            return;
        case 4:
            velkori_getParentJointIndex(
                handle, type, input.Number(), indices.elements.empty() ? nullptr : indices.Data());
            return;
        case 5:
            velkori_getParentJointIndexes(handle, type, indices.Data(), indices.Count());
            return;
        case 6:
            velkori_getJointsInManifestation(
                handle, type, ManifestationName(), indices.Data(), indices.Count());
            return;
        case 7: {
            Buffer<velkori_JointMapping_> mappings(input, 16);
            velkori_getSkeletonMappings(handle, TPoseType(), mappings.Data(), mappings.Count());
            return;
        }
        case 8: {
            Buffer<velkori_JointMappingEntry_> entries(input, 32);
            velkori_getSkeletonMappingEntries(handle, TPoseType(), entries.Data(), entries.Count());
            return;
        }
        case 9:
            velkori_getSkeletonMappingTargetJoints(handle, indices.Data(), indices.Count());
            return;
        case 10: {
            std::array<const char*, 4> pairs = {"hips", "hips", ManifestationName(), "chest"};
            std::array<std::int32_t, 4> found;
            velkori_generateTargetToSourceJointPairsFromNames(handle, Handle(), input.Flag() ? -1 : 2,
                input.Flag() ? nullptr : pairs.data(), input.Flag() ? nullptr : found.data());
            return;
        }
        default: {
            velkori_SkeletonType sourceType = {};
            velkori_Transform_ mappingTPose;
            velkori_Transform_ mappingPose;
            velkori_getLastRetargetedMappingData(handle, input.Number(), input.Flag() ? nullptr : &sourceType,
                input.Flag() ? nullptr : &mappingTPose, input.Flag() ? nullptr : &mappingPose, indices.Data(),
                indices.Count());
            return;
        }
        }
    }

    void CallPoseQuery() {
        const int query = input.Byte() % 6;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        Transforms pose(input, JointCountOf(type));
        switch (query) {
        case 0:
            velkori_getSkeletonTPose(handle, type, TPoseType(), SpaceType(), pose.Data(), pose.Count());
            return;
        case 1:
            velkori_calculateSkeletonTPose(
                handle, type, SpaceType(), input.Real(0.5F), pose.Data(), pose.Count());
            return;
        case 2:
            velkori_calculateSkeletonTPoseAtHeight(
                handle, type, SpaceType(), input.Real(1.5F), pose.Data(), pose.Count());
            return;
        case 3: {
            velkori_PoseInfo_ info;
            velkori_getPoseInfo(handle, type, TPoseType(), input.Flag() ? nullptr : &info);
            return;
        }
        case 4: {
            float length = 0.0F;
            velkori_getLengthBetweenJoints(
                handle, type, TPoseType(), input.Number(), input.Number(), input.Flag() ? nullptr : &length);
            return;
        }
        default:
            velkori_getLastProcessedFramePose(
                handle, type, SpaceType(), pose.Data(), pose.Count(), ManifestationName());
            return;
        }
    }

    void CallPoseConversion() {
        const int query = input.Byte() % 6;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        Transforms pose = Pose(JointCountOf(type));
        const std::int32_t count = pose.GivenCount();
        switch (query) {
        case 0:
            velkori_convertJointPose(handle, type, SpaceType(), SpaceType(), pose.Data(), count);
            return;
        case 1:
            velkori_scalePoseToHeight(handle, type, SpaceType(), input.Real(1.5F), count, pose.Data());
            return;
        case 2: {
            velkori_PoseExtents_ extents;
            velkori_calculatePoseExtents(
                handle, type, SpaceType(), pose.Data(), count, input.Flag() ? nullptr : &extents);
            return;
        }
        case 3:
            velkori_applyWorldSpaceCoordinateSpaceConversion(
                pose.Data(), count, input.Space(), input.Space());
            return;
        case 4:
            velkori_applyCoordinateSpaceConversion(
                handle, type, SpaceType(), pose.Data(), count, input.Space(), input.Space());
            return;
        default: {
            Transforms out(input, JointCountOf(type));
            const char* from = ManifestationName();
            velkori_convertPoseFromToManifestation(handle, type, from, SpaceType(), pose.Data(), count,
                ManifestationName(), SpaceType(), out.Data(), out.Count());
            return;
        }
        }
    }

    void CallRetargeting() {
        const velkori_Handle handle = Handle();
        Transforms pose = Pose(SmallBody::SourceJointCount);
        if (input.Flag()) {
            velkori_updateSourceReferenceTPose(handle, pose.Data(), pose.GivenCount(), ManifestationName());
            return;
        }
        Transforms out(input, SmallBody::TargetJointCount);
        const velkori_RetargetingBehaviorInfo_ info = {SpaceType(),
            input.Choice(velkori_RetargetingBehavior_MatchProportions),
            input.Choice(velkori_RetargetingRootMotionBehavior_RootFromHips),
            input.Choice(velkori_RetargetingBehaviorFlags_None)};
        const char* from = ManifestationName();
        velkori_retargetFromSourceFrameData(
            handle, info, pose.Data(), pose.GivenCount(), out.Data(), out.Count(), from, ManifestationName());
    }

    void CallPreparation() {
        const int query = input.Byte() % 5;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        Transforms pose = Pose(JointCountOf(type));
        switch (query) {
        case 0:
            velkori_generateMappings(handle, input.Choice(velkori_AutoMappingFlags_None));
            return;
        case 1:
            velkori_generateSimpleMappingConfig(handle, std::min(pose.GivenCount(), 8),
                input.Flag() ? nullptr : SmallBody::Names.data(),
                input.Flag() ? nullptr : SmallBody::Parents.data(), pose.Data(),
                input.Flag() ? nullptr : SmallBody::Names.data(), input.Flag() ? nullptr : &madeHandle);
            madeHandle = 0;
            return;
        case 2:
            velkori_matchCurrentTPose(handle, type, input.Choice(velkori_MatchBehavior_Scale), SpaceType(),
                pose.GivenCount(), pose.Data());
            return;
        case 3: {
            Transforms other = Pose(JointCountOf(type));
            velkori_matchPose(handle, type, input.Choice(velkori_MatchBehavior_Scale), SpaceType(),
                std::min(pose.GivenCount(), other.GivenCount()), pose.Data(), other.Data());
            return;
        }
        default: {
            const velkori_AlignmentFlags flags = input.Choice(static_cast<velkori_AlignmentFlags>(63));
            const velkori_Handle target = Handle();
            velkori_Handle* made_ = HandleToMake();
            Keep(velkori_alignTargetToSource(
                input.Flag() ? nullptr : "aligned", flags, handle, type, target, made_));
            return;
        }
        }
    }

    void CallSending() {
        const int query = input.Byte() % 10;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        switch (query) {
        case 0:
            velkori_createSnapshot(handle, input.Number(), input.Real(1.0F));
            return;
        case 1: {
            Transforms pose = Pose(JointCountOf(type));
            pose.elements.resize(SmallBody::TargetJointCount);
            Buffer<std::int32_t> indices(input, JointCountOf(type));
            for (std::size_t i = 0; i < indices.elements.size(); ++i) {
                indices.elements[i] = input.Flag() ? input.Number() : static_cast<std::int32_t>(i);
            }
            velkori_snapshotSkeleton(handle, type, pose.Data(), indices.Data(), indices.GivenCount());
            return;
        }
        case 2: {
            Buffer<float> face(input, SmallBody::ShapeCount);
            face.elements.resize(std::max(face.elements.size(), std::size_t{SmallBody::ShapeCount}));
            for (float& weight : face.elements) {
                weight = input.Real(0.5F);
            }
            velkori_snapshotFace(handle, face.Data(), nullptr, 0);
            return;
        }
        case 3: {
            velkori_FrameData_ data = {};
            data.timestamp = input.Real(1.0F);
            data.weight = input.Real(1.0F);
            data.tracker0 = input.Transform(SmallBody::Pose[1]);
            data.tracker1 = input.Transform(SmallBody::Pose[2]);
            data.tracker2 = input.Transform(SmallBody::Pose[3]);
            velkori_snapshotFrameData(handle, input.Flag() ? nullptr : &data);
            return;
        }
        case 4: {
            std::int32_t size = 0;
            velkori_serializeSnapshot(handle, nullptr, &size);
            Buffer<std::uint8_t> buffer(input, std::clamp(size, 0, 1 << 20));
            if (velkori_serializeSnapshot(handle, buffer.Data(), buffer.Count()) == velkori_Result_Success &&
                buffer.Data() != nullptr) {
                record = buffer.elements;
                record.resize(VELKORI_MAX_SNAPSHOT_SIZE);
            }
            return;
        }
        case 5: {
            velkori_SerializationSettings_ settings;
            velkori_getSerializationSettings(handle, input.Flag() ? nullptr : &settings);
            return;
        }
        case 6: {
            const velkori_SerializationSettings_ settings = {input.Choice(velkori_CompressionType_Max),
                input.Real(0.01F), input.Real(0.01F), input.Real(0.01F), input.Number()};
            velkori_updateSerializationSettings(handle, input.Flag() ? nullptr : &settings);
            return;
        }
        case 7: {
            std::int32_t ack = 0;
            velkori_getCurrentAck(handle, input.Flag() ? nullptr : &ack);
            return;
        }
        case 8: {
            velkori_StartHeader_ header = {};
            header.time = input.Real(0.0F);
            std::fill(std::begin(header.text0), std::end(header.text0), static_cast<char>(input.Byte()));
            velkori_SerializedStartHeader_ image;
            velkori_serializeStartHeader(header, input.Flag() ? nullptr : &image);
            return;
        }
        default: {
            velkori_SerializedEndHeader_ image;
            velkori_serializeEndHeader({input.Byte()}, input.Flag() ? nullptr : &image);
            return;
        }
        }
    }

    void CallReceiving() {
        const int query = input.Byte() % 8;
        const velkori_Handle handle = Handle();
        const velkori_SkeletonType type = Type();
        switch (query) {
        case 0: {
            for (int i = input.Byte() % 8; i > 0; --i) {
                record[input.Byte() * 16U + input.Byte() % 16U] ^= input.Byte();
            }
            double time = 0.0;
            velkori_CompressionType compressionType = {};
            std::int32_t ack = 0;
            std::vector<velkori_Transform_> target(SmallBody::TargetJointCount);
            std::vector<velkori_Transform_> source(SmallBody::TargetJointCount);
            std::vector<float> face(SmallBody::ShapeCount);
            velkori_FrameData_ frameData;
            velkori_deserializeSnapshot(handle, input.Flag() ? nullptr : record.data(), &time,
                &compressionType, &ack, input.Flag() ? nullptr : target.data(),
                input.Flag() ? nullptr : face.data(), input.Flag() ? nullptr : source.data(),
                input.Flag() ? nullptr : &frameData);
            return;
        }
        case 1: {
            double time = 0.0;
            velkori_deserializeSnapshotTimestamp(
                input.Flag() ? nullptr : record.data(), input.Flag() ? nullptr : &time);
            return;
        }
        case 2:
            velkori_resetInterpolators(handle);
            return;
        case 3: {
            Transforms pose(input, JointCountOf(type));
            velkori_getInterpolatedSkeletonPose(handle, type, pose.Data(), pose.Count(), input.Real(1.0F));
            return;
        }
        case 4: {
            Buffer<float> face(input, SmallBody::ShapeCount);
            velkori_getInterpolatedFacePose(handle, 0, face.Data(), face.Count(), input.Real(1.0F));
            return;
        }
        case 5: {
            velkori_Transform_ tracker;
            velkori_getInterpolatedTrackerJointPose(
                handle, input.Number(), input.Flag() ? nullptr : &tracker, input.Real(1.0F));
            return;
        }
        case 6: {
            velkori_SerializedStartHeader_ image = {};
            std::copy_n(record.begin(), sizeof image.data, image.data);
            velkori_StartHeader_ header;
            velkori_deserializeStartHeader(input.Flag() ? nullptr : &header, image);
            return;
        }
        default: {
            velkori_SerializedEndHeader_ image = {};
            std::copy_n(record.begin(), sizeof image.data, image.data);
            velkori_EndHeader_ header;
            velkori_deserializeEndHeader(input.Flag() ? nullptr : &header, image);
            return;
        }
        }
    }

    FuzzInput& input;
    std::array<std::unique_ptr<SmallBody>, 1> bodies;
    std::vector<velkori_Handle> made;
    velkori_Handle madeHandle = 0;
    velkori_Handle lastDestroyed = 0;
    std::vector<std::uint8_t> record;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, std::min(size, std::size_t{4096}));
    Host host(input);
    while (!input.IsAtEnd()) {
        host.Call();
    }
    return 0;
}
