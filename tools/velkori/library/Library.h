#pragma once

#include "Transforms.h"

#include <string>
#include <string_view>
#include <vector>

// The library as this program's commands see it: its flat functions with handles that end themselves, lists
// that size themselves, and failures that carry what the library logged.
namespace Velkori_Tool {

/** A line that the library logged, without its level's prefix. */
struct LogLine {
    velkori_LogLevel level = velkori_LogLevel_Info;
    std::string text;
};

/** Gathers the library's log from now on. */
void StartLog();

/** What was logged since the last call. */
std::vector<LogLine> TakeLog();

/** Throws Failure if a call failed: "what", and the errors that the library logged. */
void Check(velkori_Result result, std::string_view what);

/** A live configuration. */
class Configuration {
  public:
    Configuration() = default;

    explicit Configuration(velkori_Handle handle) : handle(handle) {}

    Configuration(Configuration&& other) noexcept;
    Configuration& operator=(Configuration&& other) noexcept;
    Configuration(const Configuration&) = delete;
    Configuration& operator=(const Configuration&) = delete;
    ~Configuration();

    velkori_Handle Handle() const { return handle; }

    std::string Name() const;
    std::vector<std::string> JointNames(velkori_SkeletonType type) const;
    /** -1 for a joint without parent. */
    std::vector<int> Parents(velkori_SkeletonType type) const;
    int JointCount(velkori_SkeletonType type) const;
    /** -1 if there is none. */
    int KnownJoint(velkori_SkeletonType type, velkori_KnownJointType role) const;
    /** Root-origin-relative, in the process-wide coordinate space. */
    std::vector<Transform> RestPose(velkori_SkeletonType type, velkori_SkeletonTPoseType poseType) const;
    std::vector<std::string> ManifestationNames(velkori_SkeletonType type) const;
    std::vector<int> JointsInManifestation(velkori_SkeletonType type, const std::string& name) const;
    std::vector<velkori_JointMapping_> Mappings(velkori_SkeletonTPoseType poseType) const;
    std::vector<velkori_JointMappingEntry_> MappingEntries(velkori_SkeletonTPoseType poseType) const;

    /** The document, whose poses and stated space are in `space`. */
    std::string Document(const velkori_CoordinateSpace_& space) const;

  private:
    velkori_Handle handle = 0;
};

/** Makes a configuration from a document's text; `path` is for messages. */
Configuration LoadDocument(const std::string& text, const std::string& path);

/** Reads a document's file. */
Configuration LoadDocumentFile(const std::string& path);

/** Converts world-space transforms between coordinate spaces. */
void ConvertSpace(std::vector<Transform>& transforms, const velkori_CoordinateSpace_& from,
    const velkori_CoordinateSpace_& to);

/** The space of the files that this program writes: y up, facing z, right-handed. */
inline constexpr velkori_CoordinateSpace_ fileSpace = {
    {0.0f, 1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {-1.0f, 0.0f, 0.0f}};

/** The space for the document of a rig whose file has another one: the file's own, if the library converts to
 * and from it, which takes one where right lies along x. */
velkori_CoordinateSpace_ DocumentSpace(const velkori_CoordinateSpace_& space);

} // namespace Velkori_Tool
