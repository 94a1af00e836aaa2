#include "motion/SceneAnimation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>
#include <vector>

namespace Velkori_Tool {

namespace {

/** The channels of one node at one time: linear between keys, and held before the first and after the last.
 */
template <typename Key, typename Blend>
auto SampleKeys(std::span<const Key> keys, double time, Blend blend) {
    const auto next = std::upper_bound(
        keys.begin(), keys.end(), time, [](double wanted, const Key& key) { return wanted < key.mTime; });
    if (next == keys.begin()) {
        return keys.front().mValue;
    }
    if (next == keys.end()) {
        return keys.back().mValue;
    }
    const Key& before = *std::prev(next);
    return blend(before.mValue, next->mValue,
        static_cast<float>((time - before.mTime) / (next->mTime - before.mTime)));
}

/** All times at which a channel has a key, in seconds and ascending order. */
std::vector<double> KeyTimes(const aiNodeAnim& channel, double ticksPerSecond) {
    std::vector<double> times;
    for (const aiVectorKey& key : std::span(channel.mPositionKeys, channel.mNumPositionKeys)) {
        times.push_back(key.mTime / ticksPerSecond);
    }
    for (const aiQuatKey& key : std::span(channel.mRotationKeys, channel.mNumRotationKeys)) {
        times.push_back(key.mTime / ticksPerSecond);
    }
    std::erase_if(times, [](double time) { return !std::isfinite(time); });
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

/** Files hold times in single precision, and round frames to milliseconds at worst. */
bool LieOnFrames(const std::vector<double>& keyTimes, double rate) {
    constexpr double tolerance = 0.04;
    constexpr double share = 0.98;
    size_t count = 0;
    for (const double time : keyTimes) {
        const double frame = (time - keyTimes.front()) * rate;
        count += std::fabs(frame - std::round(frame)) < std::max(tolerance, 0.0006 * rate) ? 1 : 0;
    }
    return static_cast<double>(count) >= share * static_cast<double>(keyTimes.size());
}

/** The usual gap between keys, if most gaps are alike; 0 if they aren't. */
double UsualGap(const std::vector<double>& keyTimes) {
    std::vector<double> gaps;
    for (size_t i = 1; i < keyTimes.size(); ++i) {
        gaps.push_back(keyTimes[i] - keyTimes[i - 1]);
    }
    std::sort(gaps.begin(), gaps.end());
    const double median = gaps[gaps.size() / 2];
    constexpr double alike = 0.02;
    double sum = 0.0;
    size_t count = 0;
    for (const double gap : gaps) {
        const bool isAlike = std::fabs(gap - median) < alike * median;
        sum += isAlike ? gap : 0.0;
        count += isAlike ? 1 : 0;
    }
    const bool mostAreAlike = count * 5 >= gaps.size() * 4;
    return mostAreAlike ? sum / static_cast<double>(count) : 0.0;
}

/** Frames a second, from the times of at least two keys. */
double FindRate(const std::vector<double>& keyTimes, std::optional<double> stated) {
    constexpr double sparsestRate = 5.0;
    constexpr double densestRate = 240.0;
    if (stated && *stated >= sparsestRate && *stated <= densestRate) {
        return *stated;
    }
    const double gap = UsualGap(keyTimes);
    if (gap > 0.0 && 1.0 / gap >= sparsestRate && 1.0 / gap <= densestRate) {
        return 1.0 / gap;
    }
    // Where keys were left out or added, those that remain still lie on the frames of a usual rate.
    constexpr std::array<double, 11> usualRates = {
        24.0, 25.0, 30.0, 48.0, 50.0, 60.0, 72.0, 90.0, 100.0, 120.0, densestRate};
    for (const double rate : usualRates) {
        if (LieOnFrames(keyTimes, rate)) {
            return rate;
        }
    }
    constexpr double rateOfFreeKeys = 30.0;
    return rateOfFreeKeys;
}

/** Whether all keys but each `count`-th lie where a straight way between those leads. */
bool LiesOnEach(const aiNodeAnim& channel, unsigned count) {
    const std::span keys(channel.mRotationKeys, channel.mNumRotationKeys);
    constexpr float exact = 3e-7f;
    for (size_t i = 0; i < keys.size(); ++i) {
        const size_t before = i - i % count;
        const size_t after = std::min<size_t>(before + count, keys.size() - 1);
        const auto share = static_cast<float>(i - before) / static_cast<float>(after - before);
        aiQuaternion between;
        aiQuaternion::Interpolate(
            between, keys[before].mValue, keys[after].mValue, after > before ? share : 0.0f);
        const aiQuaternion& q = keys[i].mValue;
        const float cosine = q.x * between.x + q.y * between.y + q.z * between.z + q.w * between.w;
        if (1.0f - std::fabs(cosine) > exact) {
            return false;
        }
    }
    return true;
}

/** How many keys a file has for each frame that was captured: some exporters put keys between. */
unsigned KeysPerFrame(const aiAnimation& animation, double keysPerSecond) {
    constexpr double leastDense = 100.0;
    constexpr double leastFrameRate = 23.9;
    for (const unsigned count : {10U, 8U, 6U, 5U, 4U, 3U, 2U}) {
        bool isOnEach = keysPerSecond >= leastDense && keysPerSecond / count >= leastFrameRate;
        size_t testedKeys = 0;
        for (unsigned i = 0; isOnEach && i < animation.mNumChannels; ++i) {
            const aiNodeAnim& channel = *animation.mChannels[i];
            // What never turns tells nothing.
            if (channel.mNumRotationKeys > 2 * count && !LiesOnEach(channel, channel.mNumRotationKeys - 1)) {
                isOnEach = LiesOnEach(channel, count);
                testedKeys += channel.mNumRotationKeys;
            }
        }
        if (isOnEach && testedKeys > 0) {
            return count;
        }
    }
    return 1;
}

} // namespace

double TicksPerSecond(const aiAnimation& animation) {
    constexpr double ticksPerSecondIfUnsaid = 25.0;
    return animation.mTicksPerSecond > 0.0 ? animation.mTicksPerSecond : ticksPerSecondIfUnsaid;
}

FrameTimes FindFrameTimes(const aiAnimation& animation, std::optional<double> statedFramesPerSecond,
    std::optional<double> wantedFramesPerSecond) {
    const double ticksPerSecond = TicksPerSecond(animation);
    std::vector<double> densest;
    double first = std::numeric_limits<double>::max();
    double last = std::numeric_limits<double>::lowest();
    for (const aiNodeAnim* channel : std::span(animation.mChannels, animation.mNumChannels)) {
        std::vector<double> times = KeyTimes(*channel, ticksPerSecond);
        if (!times.empty()) {
            first = std::min(first, times.front());
            last = std::max(last, times.back());
        }
        if (times.size() > densest.size()) {
            densest = std::move(times);
        }
    }
    constexpr double usualRate = 30.0;
    double rate = densest.size() > 1 ? FindRate(densest, statedFramesPerSecond) : usualRate;
    if (!statedFramesPerSecond) {
        rate /= KeysPerFrame(animation, rate);
    }
    rate = wantedFramesPerSecond.value_or(rate);
    FrameTimes frames = {densest.empty() ? 0.0 : first * ticksPerSecond, ticksPerSecond / rate, 1};
    constexpr double mostFrames = 1e9;
    frames.count += densest.empty() ? 0 : std::llround(std::min((last - first) * rate, mostFrames));
    return frames;
}

aiMatrix4x4 SampleChannel(const aiNodeAnim& channel, const aiMatrix4x4& rest, double time) {
    aiVector3D scale;
    aiQuaternion rotation;
    aiVector3D position;
    rest.Decompose(scale, rotation, position);
    const auto blendVectors = [](const aiVector3D& a, const aiVector3D& b, float t) {
        return a + (b - a) * t;
    };
    if (channel.mNumPositionKeys > 0) {
        position = SampleKeys(std::span<const aiVectorKey>(channel.mPositionKeys, channel.mNumPositionKeys),
            time, blendVectors);
    }
    if (channel.mNumScalingKeys > 0) {
        scale = SampleKeys(
            std::span<const aiVectorKey>(channel.mScalingKeys, channel.mNumScalingKeys), time, blendVectors);
    }
    if (channel.mNumRotationKeys > 0) {
        rotation = SampleKeys(std::span<const aiQuatKey>(channel.mRotationKeys, channel.mNumRotationKeys),
            time, [](const aiQuaternion& a, const aiQuaternion& b, float t) {
                aiQuaternion blended;
                aiQuaternion::Interpolate(blended, a, b, t);
                return blended;
            });
    }
    return {scale, rotation, position};
}

} // namespace Velkori_Tool
