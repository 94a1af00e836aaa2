#include "library/Library.h"

#include "Failure.h"
#include "OutputFile.h"

#include <fmt/format.h>

#include <utility>

namespace Velkori_Tool {

namespace {

// The library's callback takes no data of the caller's, so the log is the process's.
std::vector<LogLine>& Log() {
    static std::vector<LogLine> log;
    return log;
}

bool IsLeftHanded(const velkori_CoordinateSpace_& space) {
    return Dot(Cross(space.up, space.forward), space.right) > 0.0f;
}

void AddLogLine(velkori_LogLevel level, const char* message) {
    const std::string_view text(message);
    constexpr std::string_view prefixEnd = "]: ";
    const size_t end = text.front() == '[' ? text.find(prefixEnd) : std::string_view::npos;
    Log().push_back(
        {level, std::string(end == std::string_view::npos ? text : text.substr(end + prefixEnd.size()))});
}

constexpr std::string_view readFailed = "the library can't read the configuration";

/** Calls an export of the list form twice: for the length and for the list. */
template <typename Element, typename Fetch>
std::vector<Element> FetchList(Fetch fetch) {
    int32_t count = 0;
    Check(fetch(nullptr, &count), readFailed);
    std::vector<Element> list(count);
    if (count > 0) {
        Check(fetch(list.data(), &count), readFailed);
    }
    return list;
}

using NameListExport = velkori_Result (*)(
    velkori_Handle, velkori_SkeletonType, char*, int32_t*, const char**, int32_t*);

std::vector<std::string> FetchNames(velkori_Handle handle, velkori_SkeletonType type, NameListExport fetch) {
    int32_t size = 0;
    int32_t count = 0;
    Check(fetch(handle, type, nullptr, &size, nullptr, &count), readFailed);
    std::vector<char> characters(size + 1);
    std::vector<const char*> names(count + 1);
    Check(fetch(handle, type, characters.data(), &size, names.data(), &count), readFailed);
    return {names.begin(), names.begin() + count};
}

} // namespace

void StartLog() {
    velkori_initializeLogging(AddLogLine);
}

std::vector<LogLine> TakeLog() {
    return std::exchange(Log(), {});
}

void Check(velkori_Result result, std::string_view what) {
    if (result == velkori_Result_Success) {
        return;
    }
    std::string message(what);
    for (const LogLine& line : TakeLog()) {
        if (line.level == velkori_LogLevel_Error) {
            message += fmt::format("\n  {}", line.text);
        }
    }
    throw Failure(message);
}

Configuration::Configuration(Configuration&& other) noexcept : handle(std::exchange(other.handle, 0)) {}

Configuration& Configuration::operator=(Configuration&& other) noexcept {
    std::swap(handle, other.handle);
    return *this;
}

Configuration::~Configuration() {
    velkori_destroy(handle);
}

std::string Configuration::Name() const {
    int32_t size = 0;
    Check(velkori_getConfigName(handle, nullptr, &size), readFailed);
    std::string name(size, '\0');
    Check(velkori_getConfigName(handle, name.data(), &size), readFailed);
    name.pop_back();
    return name;
}

std::vector<std::string> Configuration::JointNames(velkori_SkeletonType type) const {
    return FetchNames(handle, type, velkori_getJointNames);
}

std::vector<std::string> Configuration::ManifestationNames(velkori_SkeletonType type) const {
    return FetchNames(handle, type, velkori_getManifestationNames);
}

std::vector<int> Configuration::Parents(velkori_SkeletonType type) const {
    return FetchList<int>([&](int32_t* list, int32_t* count) {
        return velkori_getParentJointIndexes(handle, type, list, count);
    });
}

int Configuration::JointCount(velkori_SkeletonType type) const {
    velkori_SkeletonInfo_ info = {};
    Check(velkori_getSkeletonInfo(handle, type, &info), readFailed);
    return info.jointCount;
}

int Configuration::KnownJoint(velkori_SkeletonType type, velkori_KnownJointType role) const {
    int32_t joint = -1;
    Check(velkori_getJointIndexByKnownJointType(handle, type, role, &joint), readFailed);
    return joint;
}

std::vector<Transform> Configuration::RestPose(
    velkori_SkeletonType type, velkori_SkeletonTPoseType poseType) const {
    return FetchList<Transform>([&](Transform* list, int32_t* count) {
        return velkori_getSkeletonTPose(
            handle, type, poseType, velkori_JointRelativeSpaceType_RootOriginRelative, list, count);
    });
}

std::vector<int> Configuration::JointsInManifestation(
    velkori_SkeletonType type, const std::string& name) const {
    return FetchList<int>([&](int32_t* list, int32_t* count) {
        return velkori_getJointsInManifestation(handle, type, name.c_str(), list, count);
    });
}

std::vector<velkori_JointMapping_> Configuration::Mappings(velkori_SkeletonTPoseType poseType) const {
    return FetchList<velkori_JointMapping_>([&](velkori_JointMapping_* list, int32_t* count) {
        return velkori_getSkeletonMappings(handle, poseType, list, count);
    });
}

std::vector<velkori_JointMappingEntry_> Configuration::MappingEntries(
    velkori_SkeletonTPoseType poseType) const {
    return FetchList<velkori_JointMappingEntry_>([&](velkori_JointMappingEntry_* list, int32_t* count) {
        return velkori_getSkeletonMappingEntries(handle, poseType, list, count);
    });
}

std::string Configuration::Document(const velkori_CoordinateSpace_& space) const {
    int32_t size = 0;
    Check(velkori_writeConfigDataToJSON(handle, &space, nullptr, &size), "can't write the configuration");
    std::string text(size, '\0');
    Check(velkori_writeConfigDataToJSON(handle, &space, text.data(), &size), "can't write the configuration");
    text.back() = '\n';
    return text;
}

Configuration LoadDocument(const std::string& text, const std::string& path) {
    if (text.find('\0') != std::string::npos) {
        throw Failure(fmt::format("'{}' is no document: it has a zero byte in it; make it anew", path));
    }
    velkori_Handle handle = 0;
    Check(velkori_createOrUpdateHandle(text.c_str(), &handle),
        fmt::format(
            "'{}' is no configuration that the library takes; mend what it says, or make it anew", path));
    return Configuration(handle);
}

Configuration LoadDocumentFile(const std::string& path) {
    return LoadDocument(ReadTextFile(path), path);
}

void ConvertSpace(std::vector<Transform>& transforms, const velkori_CoordinateSpace_& from,
    const velkori_CoordinateSpace_& to) {
    const auto convert = [&](const Vector3& v) {
        return to.right * Dot(v, from.right) + to.up * Dot(v, from.up) + to.forward * Dot(v, from.forward);
    };
    // Seen in a mirror, a turn goes the other way round.
    const float sense = IsLeftHanded(from) == IsLeftHanded(to) ? 1.0f : -1.0f;
    for (Transform& transform : transforms) {
        const Quaternion& q = transform.orientation;
        const Vector3 axis = convert({q.x, q.y, q.z}) * sense;
        transform.orientation = {axis.x, axis.y, axis.z, q.w};
        transform.position = convert(transform.position);
    }
}

velkori_CoordinateSpace_ DocumentSpace(const velkori_CoordinateSpace_& space) {
    return space.right.x != 0.0f ? space : fileSpace;
}

} // namespace Velkori_Tool
