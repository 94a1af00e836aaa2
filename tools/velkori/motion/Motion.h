#pragma once

#include "Remark.h"
#include "Transforms.h"

#include <map>
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
    /** Where nothing says how the skin stands in its scene: the same pose, as it may be instead. */
    std::vector<std::vector<Transform>> otherBindPoses;
    /** Where the file's nodes stand without motion, as bindPose; empty where that is the bind pose. */
    std::vector<Transform> storedPose;
    /** Whether a mesh is bound to a joint; empty where nothing is bound at all. */
    std::vector<bool> isSkinned;
    /** The file's own table of which joint is which: VRM's names of bones, such as "leftUpperArm". */
    std::map<std::string, int> humanoid;
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
    /** Of a file with several; empty where animations have no names. */
    std::string animationName;
    /** The file ends before it should: frames that it states are missing. */
    bool isIncomplete = false;

    double frameSeconds = 1.0 / 30.0;
    int frameCount = 0;
    /** Frame by frame, one world transform per joint, in the file's axes and unit. */
    std::vector<Transform> poses;

    std::span<const Transform> Frame(int frame) const {
        const size_t jointCount = skeleton.jointNames.size();
        return std::span(poses).subspan(static_cast<size_t>(frame) * jointCount, jointCount);
    }
};

/** Which part of a file's motion is wanted, and how densely. */
struct ReadOptions {
    /** An animation's name, or its number counted from 1; empty for the first one. */
    std::string animation;
    /** By default as the file has it. */
    std::optional<double> framesPerSecond;
    /** In seconds from the clip's start. */
    std::optional<double> from;
    std::optional<double> to;
};

/** Gives each joint a name of its own: a second "Hand" becomes "Hand_2". */
void MakeNamesUnique(std::vector<std::string>& names);

/**
 * Reads BVH, glTF, VRM, FBX, Collada and what else the scene reader knows, told apart by their content.
 * Throws Failure if the file can't be read or has no skeleton. Things that were odd but didn't stop the
 * reading are added to `notes`.
 */
Motion ReadMotion(const std::string& path, std::vector<Remark>& notes, const ReadOptions& options = {});

} // namespace Velkori_Tool
