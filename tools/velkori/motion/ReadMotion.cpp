#include "BVHReader.h"
#include "Failure.h"
#include "Motion.h"
#include "OutputFile.h"
#include "SceneReader.h"
#include "Text.h"

#include <fmt/format.h>

#include <algorithm>
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

Motion ReadMotion(const std::string& path, std::vector<std::string>& notes) {
    const std::string extension = LowerCaseExtension(path);
    if (extension == ".json") {
        throw Failure(fmt::format(
            "'{}' is a document where a rig or a clip is wanted; give a BVH, glTF, FBX or Collada file",
            path));
    }
    Motion motion = extension == ".bvh" ? ReadBVH(path, notes) : ReadScene(path, notes);
    motion.path = path;
    if (!std::all_of(motion.skeleton.bindPose.begin(), motion.skeleton.bindPose.end(), IsSound) ||
        !std::all_of(motion.poses.begin(), motion.poses.end(), IsSound)) {
        throw Failure(fmt::format(
            "'{}' holds positions or rotations that no body has, or that aren't numbers; export it again",
            path));
    }
    return motion;
}

} // namespace Velkori_Tool
