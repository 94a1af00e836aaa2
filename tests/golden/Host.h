#pragma once

#include "Hash.h"
#include "MovingBody.h"
#include "support/InterfaceNames.h"

// What a host asks of the library where nothing may go wrong: a call that must succeed and doesn't ends the
// program.

void Must(velkori_Result result, const char* call);

#define MUST(call) Must(call, #call)

inline constexpr velkori_JointRelativeSpaceType Spaces[] = {
    RootSpace, LocalSpace, ScaledRootSpace, ScaledLocalSpace};
inline constexpr const char* SpaceNames[] = {"root", "local", "root-scaled", "local-scaled"};

// Up is z, forward is -y: the axes are exchanged and one is mirrored.
inline constexpr velkori_CoordinateSpace_ ZUpSpace = {{0, 0, 1}, {0, -1, 0}, {1, 0, 0}};
// As the default one, seen in a mirror.
inline constexpr velkori_CoordinateSpace_ MirroredSpace = {{0, 1, 0}, {0, 0, 1}, {-1, 0, 0}};

// A configuration that lives as long as this object.
class Instance {
  public:
    // Without a configuration, for a call that makes one.
    Instance() = default;
    explicit Instance(const std::string& document);
    ~Instance();
    Instance(const Instance&) = delete;
    Instance& operator=(const Instance&) = delete;

    velkori_Handle handle = 0;
};

template <typename T>
std::int32_t Count(const std::vector<T>& list) {
    return static_cast<std::int32_t>(list.size());
}

// What call(out, count) writes of at most `capacity` elements.
template <typename T, typename Call>
std::vector<T> ReadList(const Call& call, std::int32_t capacity = 512) {
    std::vector<T> list(capacity);
    Must(call(list.data(), &capacity), "a query");
    list.resize(capacity);
    return list;
}

std::vector<std::int32_t> Parents(velkori_Handle handle, velkori_SkeletonType type);
std::vector<std::int32_t> UpperBody(velkori_Handle handle, velkori_SkeletonType type);
Transforms RestPose(velkori_Handle handle, velkori_SkeletonType type, velkori_SkeletonTPoseType pose,
    velkori_JointRelativeSpaceType space = RootSpace);
// The transforms of these joints alone.
Transforms Pick(const Transforms& pose, const std::vector<std::int32_t>& joints);
// A body of a skeleton's smallest rest pose, or of another one.
MovingBody MakeBody(velkori_Handle handle, velkori_SkeletonType type, std::uint32_t seed, int percent = 0,
    velkori_SkeletonTPoseType size = Min, velkori_JointRelativeSpaceType space = RootSpace);

struct FrameOptions {
    int behavior = 0;
    int rootMotion = 1;
    int fixup = 0;
    int space = 0;
    const char* from = nullptr;
    const char* to = nullptr;
};

Transforms Retarget(velkori_Handle handle, const FrameOptions& options, const Transforms& frame);
// The text with each `from` behind a place in it replaced.
std::string Replace(std::string text, const std::string& from, const std::string& to, std::size_t at = 0);
std::string WriteDocument(velkori_Handle handle, const velkori_CoordinateSpace_* space = nullptr);
void AddMappings(Hash& hash, velkori_Handle handle);
void AddRestPoses(Hash& hash, velkori_Handle handle, velkori_JointRelativeSpaceType space = RootSpace);
