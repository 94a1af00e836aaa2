#pragma once

#include "Transforms.h"

#include <span>
#include <vector>

namespace Velkori_Tool {

/** Frames during which a point rests on the ground; both ends belong to it. */
struct Plant {
    int first = 0;
    int last = 0;
    /** The height at which the point rests. */
    float height = 0.0f;
};

/**
 * Finds when a point of a foot is planted: low and slow, for the body's size. `legLength` is that of the body
 * whose foot it is, in the path's unit.
 */
std::vector<Plant> FindPlants(std::span<const Vector3> path, double frameSeconds, float legLength);

/**
 * Finds when a point of a foot is near the ground, slow or not, as on a treadmill. Where a stretch has
 * plants, these say at which height it rests.
 */
std::vector<Plant> FindLowFrames(
    std::span<const Vector3> path, std::span<const Plant> plants, float legLength);

/** The height that a point of a foot comes down to. */
float GroundLevel(std::span<const Vector3> path);

/** What a foot lacks to stand where it should, and how much that counts, frame by frame. */
struct Correction {
    /** Already weighted. */
    std::vector<Vector3> offsets;
    /** 1 while planted, 0 far from it. */
    std::vector<float> weights;
};

/**
 * Carries what planted frames need over to the frames around them, so that nothing jumps: it fades away
 * within a fraction of a second, or passes over into what the next plant needs. `offsets` holds, for planted
 * frames, what is missing there.
 */
Correction FadeCorrection(
    std::span<const Plant> plants, std::span<const Vector3> offsets, double frameSeconds);

} // namespace Velkori_Tool
