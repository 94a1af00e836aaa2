#pragma once

#include "solve/Body.h"

namespace Velkori_Tool {

/** Which joint carries the way that the body goes over the ground. */
enum class MotionPath {
    /** The hips; what stands above them rests. */
    Hips,
    /** The root joint, which also turns about up as the body does; the hips keep the rest. */
    Root,
    /** None: the body stays where it starts. */
    InPlace,
};

struct KeepOptions {
    bool plantsFeet = true;
    /** Hands that meet each other, the head or the hips in the capture meet them here. */
    bool holdsHands = false;
    MotionPath path = MotionPath::Hips;
};

/** A joint that no bone leads to, such as a handle for IK: it goes with a joint of the body. */
struct Follower {
    int joint = -1;
    int leader = -1;
};

/**
 * Moves a body by the rotations that it has in `poses`, frame by frame, with its own bones: limbs point as
 * the captured ones do, the hips go the captured way in the scale of the legs, and feet that the capture
 * plants on the ground are planted. `captured` and `poses` are world space in metres, y up, facing z.
 */
void KeepBones(const Body& source, std::span<const Transform> captured, const Body& target,
    std::span<const Follower> followers, double frameSeconds, const KeepOptions& options,
    std::vector<Transform>& poses);

} // namespace Velkori_Tool
