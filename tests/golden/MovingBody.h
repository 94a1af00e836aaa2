#pragma once

#include "Hash.h"

#include <array>
#include <cstdint>
#include <vector>

// A linear congruential generator of 64 bits: the same numbers on every machine.
class Generator {
  public:
    explicit Generator(std::uint32_t seed) : state(seed) {}

    // 0 to limit - 1, from the state's upper half.
    std::int32_t Below(std::int32_t limit) {
        state = state * 6364136223846793005U + 1442695040888963407U;
        return static_cast<std::int32_t>((state >> 33) % static_cast<std::uint32_t>(limit));
    }

    // -limit to limit.
    std::int32_t Within(std::int32_t limit) { return Below(2 * limit + 1) - limit; }

  private:
    std::uint64_t state;
};

// A skeleton whose joints turn to and fro about axes of their own while the whole body turns and walks. All
// is reckoned in integers and leaves as integers times powers of two, which is exact: no compiler or
// processor can make other frames of it. Orientations aren't of unit length; that is the library's to mend.
class MovingBody {
  public:
    // The rest pose is root-origin-relative, and parents come before their children in it. The body is
    // larger by `percent`, though no bone by exactly that.
    MovingBody(const Transforms& rest, const std::vector<std::int32_t>& parentIndexes, std::uint32_t seed,
        std::int32_t percent = 0);

    // Root-origin-relative, at unit scale.
    Transforms Frame(std::int32_t frame) const;
    // For a rest pose in local space, from which the parents don't matter: every joint turns in its parent's
    // place, some slide along their bones, and some leave them.
    Transforms LocalFrame(std::int32_t frame) const;
    // With a scale of its own for each joint, some of them mirroring.
    Transforms ScaledFrame(std::int32_t frame) const;

  private:
    using Integer = std::int64_t;
    // In steps of 2^-16.
    using Vector = std::array<Integer, 3>;
    // x, y, z, w; of any length.
    using Quaternion = std::array<Integer, 4>;

    static Quaternion Multiply(const Quaternion& a, const Quaternion& b);
    static Vector Rotate(const Quaternion& q, const Vector& v);
    static velkori_Transform_ ToTransform(const Quaternion& orientation, const Vector& position);
    Quaternion Turn(std::size_t joint, Integer frame) const;

    struct Joint {
        std::int32_t parent;
        Quaternion orientation;
        Vector position;
        Vector axis;
        Integer speed;
        Integer phase;
    };

    std::vector<Joint> joints;
};
