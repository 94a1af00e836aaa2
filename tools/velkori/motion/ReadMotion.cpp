#include "BVHReader.h"
#include "Failure.h"
#include "Motion.h"
#include "OutputFile.h"
#include "SceneReader.h"
#include "Text.h"
#include "motion/FileFormat.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <set>

namespace Velkori_Tool {

namespace {

/** Beyond this, in whatever unit, there is no body; and further on single precision ends. */
constexpr float farthestPosition = 1e9f;

bool IsSound(const Transform& transform) {
    const Vector3& p = transform.position;
    const bool isNear = std::fabs(p.x) < farthestPosition && std::fabs(p.y) < farthestPosition &&
                        std::fabs(p.z) < farthestPosition;
    return isNear && std::isfinite(transform.orientation.w);
}

/** The poses at another rate: positions and rotations go straight from frame to frame. */
void Resample(Motion& motion, double framesPerSecond) {
    const double seconds = (motion.frameCount - 1) * motion.frameSeconds;
    const int count =
        motion.frameCount < 1 ? 0 : 1 + static_cast<int>(std::floor(seconds * framesPerSecond + 1e-3));
    std::vector<Transform> poses;
    poses.reserve(static_cast<size_t>(count) * motion.skeleton.jointNames.size());
    for (int frame = 0; frame < count; ++frame) {
        const double place =
            std::min<double>(frame / framesPerSecond / motion.frameSeconds, motion.frameCount - 1);
        const int before = static_cast<int>(place);
        const auto a = motion.Frame(before);
        const auto b = motion.Frame(std::min(before + 1, motion.frameCount - 1));
        const auto share = static_cast<float>(place - before);
        for (size_t joint = 0; joint < a.size(); ++joint) {
            poses.push_back({Blend(a[joint].orientation, b[joint].orientation, share),
                a[joint].position + (b[joint].position - a[joint].position) * share, {1.0f, 1.0f, 1.0f}});
        }
    }
    motion.poses = std::move(poses);
    motion.frameCount = count;
    motion.frameSeconds = 1.0 / framesPerSecond;
}

/** Leaves the frames of the wanted span, both ends included. */
void Cut(Motion& motion, const ReadOptions& options) {
    if (!options.from && !options.to) {
        return;
    }
    const double last = std::max(0, motion.frameCount - 1);
    const double begin = std::ceil(options.from.value_or(0.0) / motion.frameSeconds - 1e-3);
    const double to =
        options.to ? std::min(last, std::floor(*options.to / motion.frameSeconds + 1e-3)) : last;
    if (options.from && options.to && *options.from > *options.to) {
        throw UsageFailure("the wanted span ends before it begins", Remedy::ChooseSpan);
    }
    if (!(begin <= to)) {
        throw Failure(fmt::format("'{}' goes from 0 to {:.2f} s, and nothing of it lies in the wanted span",
                          motion.path, last * motion.frameSeconds),
            Remedy::ChooseSpan);
    }
    const auto first = static_cast<std::ptrdiff_t>(begin);
    const auto count = static_cast<std::ptrdiff_t>(to - begin) + 1;
    const auto jointCount = static_cast<std::ptrdiff_t>(motion.skeleton.jointNames.size());
    motion.poses = {
        motion.poses.begin() + first * jointCount, motion.poses.begin() + (first + count) * jointCount};
    motion.frameCount = static_cast<int>(count);
}

} // namespace

void MakeNamesUnique(std::vector<std::string>& names) {
    std::set<std::string> taken;
    std::map<std::string, int> numbers;
    for (std::string& name : names) {
        const std::string stem = name.empty() ? "joint" : ValidUTF8(name);
        std::string candidate = stem;
        while (!taken.insert(candidate).second) {
            int& number = numbers.emplace(stem, 1).first->second;
            candidate = fmt::format("{}_{}", stem, ++number);
        }
        name = candidate;
    }
}

Motion ReadMotion(const std::string& path, std::vector<Remark>& notes, const ReadOptions& options) {
    // The scene reader says little about a file that isn't there.
    CheckReadable(path);
    const FileFormat format = FindFileFormat(path);
    if (format == FileFormat::Document) {
        throw Failure(fmt::format(
            "'{}' is a document where a rig or a clip is wanted; give a BVH, glTF, FBX or Collada file",
            path));
    }
    if (format == FileFormat::BVH && !options.animation.empty() && options.animation != "1") {
        throw Failure(fmt::format("'{}' has no animation {}; a BVH has one", path, options.animation));
    }
    Motion motion =
        format == FileFormat::BVH ? ReadBVH(path, notes) : ReadScene(path, format, options, notes);
    motion.path = path;
    if (!std::all_of(motion.skeleton.bindPose.begin(), motion.skeleton.bindPose.end(), IsSound) ||
        !std::all_of(motion.poses.begin(), motion.poses.end(), IsSound)) {
        throw Failure(fmt::format(
            "'{}' holds positions or rotations that no body has, or that aren't numbers; export it again",
            path));
    }
    if (format == FileFormat::BVH && options.framesPerSecond) {
        Resample(motion, *options.framesPerSecond);
    }
    Cut(motion, options);
    return motion;
}

} // namespace Velkori_Tool
