#pragma once

#include "library/Library.h"
#include "rig/BodyMap.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Velkori_Tool {

/** What somebody wants a target joint to be driven by. */
struct WantedMapping {
    std::string targetJoint;
    /** Source joints and their weights; empty for a joint that is to ride on its parent. */
    std::vector<std::pair<std::string, float>> drivers;
};

/** One side of a configuration, with the places of its joints. */
struct MappedBody {
    KnownSkeleton skeleton;
    BodyMap map;
};

/** What a rig's file says of its joints, by their names, that no document holds. */
struct FileKnowledge {
    /** VRM's names of bones to joints' names. */
    std::map<std::string, std::string> humanoid;
    /** Joints that a mesh is bound to; empty where nothing is bound at all. */
    std::set<std::string> skinned;
};

/**
 * Reads a configuration's skeleton and finds its joints' places. `made` is the skeleton's rest pose before it
 * was aligned; empty where that is the same.
 */
MappedBody ReadBody(const Configuration& configuration, velkori_SkeletonType type,
    const FileKnowledge& knowledge, const NamingHabits& habits, std::vector<Transform> made = {});

/**
 * The configuration with what the generated mappings leave out or cross: joints of the same place one to one,
 * the spine and the neck by the share of their length, joints that divide a bone with that bone, handles with
 * their joints. At the end what is wanted by hand. The target's rest pose is turned so that its bones point
 * as the source's do. Throws Failure if a wanted joint isn't there.
 */
Configuration CompleteMappings(const Configuration& configuration, const MappedBody& source,
    const MappedBody& target, const std::vector<WantedMapping>& wanted);

} // namespace Velkori_Tool
