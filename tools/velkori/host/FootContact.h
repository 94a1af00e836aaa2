#pragma once

#include "library/Library.h"

#include <span>
#include <vector>

namespace Velkori_Tool {

/** The joint of each foot that stands lowest in the rest pose; empty where an ankle isn't known. */
std::vector<int> ContactJoints(const Configuration& configuration, velkori_SkeletonType type);

/**
 * The height at which a clip's lower foot mostly stands, above where it stands in the rest pose. `poses` has
 * `jointCount` world transforms a frame, in the default coordinate space.
 */
float GroundHeight(const Configuration& configuration, velkori_SkeletonType type,
    std::span<const Transform> poses, int jointCount);

/** How far the feet slide over the ground in a clip. */
struct FootSliding {
    /** Horizontal travel while a foot is within 3 cm of the ground, of both feet, in metres. */
    double metres = 0.0;
    /** The time that feet spend there, in seconds; both together, so up to twice the clip's length. */
    double seconds = 0.0;
};

/** Measures it on poses as in GroundHeight(), with `ground` as the ground's height. */
FootSliding MeasureFootSliding(const Configuration& configuration, velkori_SkeletonType type,
    std::span<const Transform> poses, int jointCount, double frameSeconds, float ground);

} // namespace Velkori_Tool
