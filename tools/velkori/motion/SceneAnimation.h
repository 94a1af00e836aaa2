#pragma once

#include <assimp/anim.h>

#include <cstdint>
#include <optional>

namespace Velkori_Tool {

/** When an animation's frames are, in ticks: from the first key of all channels to the last one. */
struct FrameTimes {
    double first = 0.0;
    double step = 1.0;
    int64_t count = 1;
};

/** Ticks are 1/25 s where a file doesn't say. */
double TicksPerSecond(const aiAnimation& animation);

/**
 * The frames of an animation at `framesPerSecond`, or else at the rate that its keys tell. The rate that a
 * file states counts where keys lie on it.
 */
FrameTimes FindFrameTimes(const aiAnimation& animation, std::optional<double> statedFramesPerSecond,
    std::optional<double> wantedFramesPerSecond);

/** A node's local transform at a time in ticks: what the channel has no keys for stays as in `rest`. */
aiMatrix4x4 SampleChannel(const aiNodeAnim& channel, const aiMatrix4x4& rest, double time);

} // namespace Velkori_Tool
