#include "solve/Plants.h"

#include <algorithm>

namespace Velkori_Tool {

namespace {

/** Of an adult's leg; speeds and heights are told in parts of it. */
constexpr float usualLegLength = 0.85f;

/** The height that a share of the values stays below. */
float HeightAt(std::vector<float>& heights, double share) {
    const auto place =
        heights.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(heights.size() - 1));
    std::nth_element(heights.begin(), place, heights.end());
    return *place;
}

void AddHeights(std::span<const Vector3> path, int first, int last, std::vector<float>& heights) {
    for (int frame = first; frame <= last; ++frame) {
        heights.push_back(path[frame].y);
    }
}

/** The stretches of frames for which `holds`. */
template <typename Holds>
std::vector<Plant> Stretches(size_t frameCount, Holds holds) {
    std::vector<Plant> stretches;
    for (int frame = 0; frame < static_cast<int>(frameCount); ++frame) {
        if (!holds(frame)) {
            continue;
        }
        if (!stretches.empty() && stretches.back().last == frame - 1) {
            stretches.back().last = frame;
        } else {
            stretches.push_back({frame, frame});
        }
    }
    return stretches;
}

/** How high a point may be above the ground that it comes down to. */
float HighestOnGround(float legLength) {
    constexpr float highest = 0.05f;
    return highest * legLength / usualLegLength;
}

/** In units a second, over a window that evens out what a capture trembles. */
std::vector<float> Speeds(std::span<const Vector3> path, double frameSeconds) {
    constexpr double windowSeconds = 0.04;
    const int count = static_cast<int>(path.size());
    const int reach = std::max(1, static_cast<int>(std::lround(0.5 * windowSeconds / frameSeconds)));
    std::vector<float> speeds(path.size(), 0.0f);
    for (int frame = 0; frame < count; ++frame) {
        const int before = std::max(0, frame - reach);
        const int after = std::min(count - 1, frame + reach);
        if (after > before) {
            speeds[frame] =
                Length(path[after] - path[before]) / static_cast<float>((after - before) * frameSeconds);
        }
    }
    return speeds;
}

float SmoothStep(float t) {
    const float x = std::clamp(t, 0.0f, 1.0f);
    return x * x * (3.0f - 2.0f * x);
}

} // namespace

float GroundLevel(std::span<const Vector3> path) {
    std::vector<float> heights;
    AddHeights(path, 0, static_cast<int>(path.size()) - 1, heights);
    // Not the lowest of all, which may be a fault of the capture.
    constexpr double share = 0.05;
    return heights.empty() ? 0.0f : HeightAt(heights, share);
}

std::vector<Plant> FindPlants(std::span<const Vector3> path, double frameSeconds, float legLength) {
    constexpr float fastest = 0.35f;
    constexpr double shortestSeconds = 0.07;
    const float limit = fastest * legLength / usualLegLength;
    const float ground = GroundLevel(path);
    const std::vector<float> speeds = Speeds(path, frameSeconds);
    std::vector<Plant> plants = Stretches(path.size(), [&](int frame) {
        return path[frame].y - ground <= HighestOnGround(legLength) && speeds[frame] <= limit;
    });
    std::erase_if(plants, [&](const Plant& plant) {
        const bool isWholeClip = plant.first == 0 && plant.last == static_cast<int>(path.size()) - 1;
        return !isWholeClip && (plant.last - plant.first) * frameSeconds < shortestSeconds;
    });
    constexpr double middle = 0.5;
    for (Plant& plant : plants) {
        std::vector<float> heights;
        AddHeights(path, plant.first, plant.last, heights);
        plant.height = HeightAt(heights, middle);
    }
    return plants;
}

std::vector<Plant> FindLowFrames(
    std::span<const Vector3> path, std::span<const Plant> plants, float legLength) {
    const float ground = GroundLevel(path);
    std::vector<Plant> stretches = Stretches(
        path.size(), [&](int frame) { return path[frame].y - ground <= HighestOnGround(legLength); });
    for (Plant& stretch : stretches) {
        std::vector<float> heights;
        for (const Plant& plant : plants) {
            if (plant.first >= stretch.first && plant.last <= stretch.last) {
                AddHeights(path, plant.first, plant.last, heights);
            }
        }
        constexpr double middle = 0.5;
        constexpr double low = 0.2;
        const double share = heights.empty() ? low : middle;
        if (heights.empty()) {
            AddHeights(path, stretch.first, stretch.last, heights);
        }
        stretch.height = HeightAt(heights, share);
    }
    return stretches;
}

Correction FadeCorrection(
    std::span<const Plant> plants, std::span<const Vector3> offsets, double frameSeconds) {
    constexpr double fadeSeconds = 0.2;
    const int count = static_cast<int>(offsets.size());
    Correction correction{
        std::vector<Vector3>(offsets.size(), Vector3{0.0f, 0.0f, 0.0f}), std::vector<float>(offsets.size())};
    size_t next = 0;
    for (int frame = 0; frame < count; ++frame) {
        while (next < plants.size() && plants[next].last < frame) {
            ++next;
        }
        const bool hasNext = next < plants.size();
        if (hasNext && plants[next].first <= frame) {
            correction.offsets[frame] = offsets[frame];
            correction.weights[frame] = 1.0f;
            continue;
        }
        double fadeFrames = fadeSeconds / frameSeconds;
        if (next > 0 && hasNext) {
            fadeFrames =
                std::min(fadeFrames, static_cast<double>(plants[next].first - plants[next - 1].last));
        }
        const auto add = [&](int edge) {
            const float weight = 1.0f - SmoothStep(static_cast<float>(std::abs(frame - edge) / fadeFrames));
            correction.offsets[frame] = correction.offsets[frame] + offsets[edge] * weight;
            correction.weights[frame] += weight;
        };
        if (next > 0) {
            add(plants[next - 1].last);
        }
        if (hasNext) {
            add(plants[next].first);
        }
    }
    return correction;
}

} // namespace Velkori_Tool
