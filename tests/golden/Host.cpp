#include "Host.h"

#include <cstdio>
#include <cstdlib>

void Must(velkori_Result result, const char* call) {
    if (result != velkori_Result_Success) {
        std::fprintf(stderr, "velkori_golden: %s gave %d\n", call, static_cast<int>(result));
        std::exit(1);
    }
}

Instance::Instance(const std::string& document) {
    MUST(velkori_createOrUpdateHandle(document.c_str(), &handle));
}

Instance::~Instance() {
    MUST(velkori_destroy(handle));
}

std::vector<std::int32_t> Parents(velkori_Handle handle, velkori_SkeletonType type) {
    return ReadList<std::int32_t>([&](std::int32_t* out, std::int32_t* count) {
        return velkori_getParentJointIndexes(handle, type, out, count);
    });
}

std::vector<std::int32_t> UpperBody(velkori_Handle handle, velkori_SkeletonType type) {
    return ReadList<std::int32_t>([&](std::int32_t* out, std::int32_t* count) {
        return velkori_getJointsInManifestation(handle, type, "upperBody", out, count);
    });
}

Transforms RestPose(velkori_Handle handle, velkori_SkeletonType type, velkori_SkeletonTPoseType pose,
    velkori_JointRelativeSpaceType space) {
    return ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
        return velkori_getSkeletonTPose(handle, type, pose, space, out, count);
    });
}

Transforms Pick(const Transforms& pose, const std::vector<std::int32_t>& joints) {
    Transforms part;
    for (const std::int32_t joint : joints) {
        part.push_back(pose[joint]);
    }
    return part;
}

MovingBody MakeBody(velkori_Handle handle, velkori_SkeletonType type, std::uint32_t seed, int percent,
    velkori_SkeletonTPoseType size, velkori_JointRelativeSpaceType space) {
    return {RestPose(handle, type, size, space), Parents(handle, type), seed, percent};
}

Transforms Retarget(velkori_Handle handle, const FrameOptions& options, const Transforms& frame) {
    const velkori_RetargetingBehaviorInfo_ info = {Spaces[options.space],
        static_cast<velkori_RetargetingBehavior>(options.behavior),
        static_cast<velkori_RetargetingRootMotionBehavior>(options.rootMotion),
        static_cast<velkori_RetargetingBehaviorFlags>(options.fixup)};
    return ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
        return velkori_retargetFromSourceFrameData(
            handle, info, frame.data(), Count(frame), out, count, options.from, options.to);
    });
}

std::string Replace(std::string text, const std::string& from, const std::string& to, std::size_t at) {
    for (at = text.find(from, at); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

std::string WriteDocument(velkori_Handle handle, const velkori_CoordinateSpace_* space) {
    std::int32_t size = 0;
    MUST(velkori_writeConfigDataToJSON(handle, space, nullptr, &size));
    std::string text(size, ' ');
    MUST(velkori_writeConfigDataToJSON(handle, space, text.data(), &size));
    return text;
}

void AddMappings(Hash& hash, velkori_Handle handle) {
    for (const auto size : {Min, Max}) {
        hash.Add(ReadList<velkori_JointMapping_>([&](velkori_JointMapping_* out, std::int32_t* count) {
            return velkori_getSkeletonMappings(handle, size, out, count);
        }));
        hash.Add(
            ReadList<velkori_JointMappingEntry_>([&](velkori_JointMappingEntry_* out, std::int32_t* count) {
                return velkori_getSkeletonMappingEntries(handle, size, out, count);
            }));
    }
}

void AddRestPoses(Hash& hash, velkori_Handle handle, velkori_JointRelativeSpaceType space) {
    for (const auto type : {Source, Target}) {
        for (const auto pose : {Min, Max, Unscaled}) {
            hash.Add(RestPose(handle, type, pose, space));
        }
    }
}
