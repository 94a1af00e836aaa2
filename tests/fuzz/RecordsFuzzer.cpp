// Public records to a handle: the bytes decide counts, names, null pointers, indices and numbers. A count is
// never larger than its array, which is all that a host has to keep.

#include "FuzzHost.h"
#include "FuzzInput.h"
#include "Velkori_Utility.h"

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

namespace {

constexpr int MaxCount = 12;

// Arrays that live as long as the call.
class Arena {
  public:
    explicit Arena(FuzzInput& bytes) : input(bytes) {}

    // A name of the small body, one of its own, the empty one or none.
    const char* Name(int tame) {
        const std::uint8_t choice = input.Byte();
        if (choice == 0) {
            return SmallBody::Names[tame % SmallBody::Names.size()];
        }
        if (choice == 1) {
            return nullptr;
        }
        if (choice < 16) {
            return SmallBody::Names[choice % SmallBody::Names.size()];
        }
        std::string& name = texts.emplace_back();
        for (int i = choice % 8; i > 0; --i) {
            name += static_cast<char>(input.Byte());
        }
        return name.c_str();
    }

    // Null where the input says so.
    const char* const* Names(int count) {
        if (input.Byte() == 1) {
            return nullptr;
        }
        std::vector<const char*>& list = names.emplace_back();
        for (int i = 0; i < count; ++i) {
            list.push_back(Name(i));
        }
        return list.data();
    }

    const char* const* Parents(int count) {
        if (input.Byte() == 1) {
            return nullptr;
        }
        std::vector<const char*>& list = names.emplace_back();
        for (int i = 0; i < count; ++i) {
            list.push_back(input.Flag() ? Name(i) : SmallBody::Parents[i % SmallBody::Parents.size()]);
        }
        return list.data();
    }

    const velkori_Transform_* Pose(int count) {
        if (input.Byte() == 1) {
            return nullptr;
        }
        std::vector<velkori_Transform_>& pose = poses.emplace_back();
        for (int i = 0; i < count; ++i) {
            pose.push_back(input.Transform(SmallBody::Pose[i % SmallBody::Pose.size()]));
        }
        return pose.data();
    }

    // At most as many as an array has that is made for it; may be negative.
    std::int32_t Count(int tame) {
        const std::uint8_t choice = input.Byte();
        return choice == 0 ? tame : choice < 200 ? choice % MaxCount : -static_cast<std::int32_t>(choice);
    }

    velkori_SkeletonInitParams_ Skeleton(int tameJointCount) {
        velkori_SkeletonInitParams_ params = SmallBody::MakeSkeleton(tameJointCount);
        if (!input.Flag()) {
            return params;
        }
        params.blendShapeCount = Count(2);
        params.blendShapeNames = Names(params.blendShapeCount);
        params.jointCount = Count(tameJointCount);
        params.jointNames = Names(params.jointCount);
        params.parentJointNames = Parents(params.jointCount);
        params.minTPose = Pose(params.jointCount);
        params.maxTPose = Pose(params.jointCount);
        params.unscaledTPose = Pose(params.jointCount);
        params.knownJoints = Names(VELKORI_KNOWN_JOINT_COUNT);
        params.optional_autoMapExcludedJointCount = Count(0);
        params.optional_autoMapExcludedJointNames = Names(params.optional_autoMapExcludedJointCount);
        params.optional_manifestationCount = Count(0);
        params.optional_manifestationNames = Names(params.optional_manifestationCount);
        std::vector<std::int32_t>& counts = numbers.emplace_back();
        int total = 0;
        for (int i = 0; i < params.optional_manifestationCount; ++i) {
            counts.push_back(Count(2));
            total += std::max(counts.back(), 0);
        }
        params.optional_manifestationJointCounts = input.Byte() == 1 ? nullptr : counts.data();
        params.optional_manifestationJointNames = Names(total);
        return params;
    }

    velkori_JointMappingDefinition_ Mappings() {
        std::vector<velkori_JointMapping_>& mappings = mappingLists.emplace_back();
        std::vector<velkori_JointMappingEntry_>& entries = entryLists.emplace_back();
        const std::int32_t mappingCount = Count(1);
        for (int i = 0; i < mappingCount; ++i) {
            mappings.push_back({input.Number(), input.Choice(velkori_SkeletonType_Source),
                input.Choice(velkori_JointMappingBehaviorType_Normal), Count(1)});
        }
        std::int32_t entryCount = 0;
        for (const velkori_JointMapping_& mapping : mappings) {
            entryCount += mapping.entryCount;
        }
        entryCount = std::max(input.Flag() ? Count(1) : entryCount, 0);
        for (int i = 0; i < entryCount; ++i) {
            entries.push_back({input.Number(), input.Real(1.0F), input.Real(1.0F)});
        }
        return {mappingCount, entryCount, input.Byte() == 1 ? nullptr : mappings.data(),
            input.Byte() == 1 ? nullptr : entries.data()};
    }

  private:
    FuzzInput& input;
    std::deque<std::string> texts;
    std::deque<std::vector<const char*>> names;
    std::deque<std::vector<velkori_Transform_>> poses;
    std::deque<std::vector<std::int32_t>> numbers;
    std::deque<std::vector<velkori_JointMapping_>> mappingLists;
    std::deque<std::vector<velkori_JointMappingEntry_>> entryLists;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    velkori_Handle handle = 0;
    for (int round = 0; round < 2; ++round) {
        Arena arena(input);
        if (input.Flag()) {
            const velkori_SkeletonInitParams_ params = arena.Skeleton(SmallBody::TargetJointCount);
            velkori_createOrUpdateSimpleUtilityConfig(
                arena.Name(0), input.Choice(velkori_SkeletonType_Source), &params, &handle);
        } else {
            const velkori_UtilityConfigInitParams_ params = {arena.Skeleton(SmallBody::SourceJointCount),
                arena.Skeleton(SmallBody::TargetJointCount), arena.Mappings(), arena.Mappings()};
            velkori_createOrUpdateUtilityConfig(arena.Name(0), &params, &handle);
        }
        std::int32_t textSize = 0;
        if (velkori_writeConfigDataToJSON(handle, nullptr, nullptr, &textSize) == velkori_Result_Success) {
            std::string text(textSize, '\0');
            velkori_writeConfigDataToJSON(handle, nullptr, text.data(), &textSize);
        }
    }
    if (handle != 0) {
        velkori_destroy(handle);
    }
    return 0;
}
