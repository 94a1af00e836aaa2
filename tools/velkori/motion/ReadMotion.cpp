#include "BVHReader.h"
#include "Failure.h"
#include "Motion.h"
#include "OutputFile.h"
#include "SceneReader.h"

#include <fmt/format.h>

#include <set>

namespace Velkori_Tool {

void MakeNamesUnique(std::vector<std::string>& names) {
    std::set<std::string> taken;
    for (std::string& name : names) {
        std::string candidate = name.empty() ? "joint" : name;
        const std::string stem = candidate;
        for (int number = 2; !taken.insert(candidate).second; ++number) {
            candidate = fmt::format("{}_{}", stem, number);
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
    for (const Transform& transform : motion.poses) {
        if (!std::isfinite(transform.position.x + transform.position.y + transform.position.z) ||
            !std::isfinite(transform.orientation.w)) {
            throw Failure(fmt::format("'{}' holds numbers that aren't finite; export it again", path));
        }
    }
    return motion;
}

} // namespace Velkori_Tool
