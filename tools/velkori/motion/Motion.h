#pragma once

#include "Transforms.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** A skeleton as a file has it. Parents stand before their children. */
struct FileSkeleton {
    std::vector<std::string> jointNames;
    /** One per joint; -1 for a joint without parent. */
    std::vector<int> parents;
    /** World space, in the file's axes and unit, without scale. */
    std::vector<Transform> bindPose;
    std::vector<std::string> blendShapeNames;

    int JointCount() const { return static_cast<int>(jointNames.size()); }
};

/** What a file holds: a skeleton and perhaps its motion. */
struct Motion {
    std::string path;
    FileSkeleton skeleton;
    /** The axis that points up by the file's format or by what it says. */
    Vector3 statedUp = {0.0f, 1.0f, 0.0f};
    /** The file's unit, where it says one. */
    std::optional<double> statedMetresPerUnit;

    double frameSeconds = 1.0 / 30.0;
    int frameCount = 0;
    /** Frame by frame, one world transform per joint, in the file's axes and unit. */
    std::vector<Transform> poses;

    std::span<const Transform> Frame(int frame) const {
        const size_t jointCount = skeleton.jointNames.size();
        return std::span(poses).subspan(static_cast<size_t>(frame) * jointCount, jointCount);
    }
};

/** Gives each joint a name of its own: a second "Hand" becomes "Hand_2". */
void MakeNamesUnique(std::vector<std::string>& names);

/**
 * Reads BVH, glTF, FBX, Collada and what else the scene reader knows. Throws Failure if the file can't be
 * read or has no skeleton. Things that were odd but didn't stop the reading are added to `notes`.
 */
Motion ReadMotion(const std::string& path, std::vector<std::string>& notes);

} // namespace Velkori_Tool
