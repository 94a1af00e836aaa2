#pragma once

#include "Velkori_Utility.h"

#include <cmath>

// The little arithmetic on the library's records that a host needs to walk a skeleton. A pose here is one
// transform per joint in world space without scale, unless said otherwise.
namespace Velkori_Tool {

using Vector3 = velkori_Vector3f_;
using Quaternion = velkori_Quaternionf_;
using Transform = velkori_Transform_;

inline constexpr float degreesPerRadian = 57.2957795f;
inline constexpr Quaternion identityRotation = {0.0f, 0.0f, 0.0f, 1.0f};
inline constexpr Transform identityTransform = {identityRotation, {0.0f, 0.0f, 0.0f}, {1.0f, 1.0f, 1.0f}};

inline Vector3 operator+(const Vector3& a, const Vector3& b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Vector3 operator-(const Vector3& a, const Vector3& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Vector3 operator*(const Vector3& v, float factor) {
    return {v.x * factor, v.y * factor, v.z * factor};
}

inline float Dot(const Vector3& a, const Vector3& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

inline Vector3 Cross(const Vector3& a, const Vector3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

inline float Length(const Vector3& v) {
    return std::sqrt(Dot(v, v));
}

/** The unit vector along v, or (0, 0, 0) if v has no direction. */
inline Vector3 Normalized(const Vector3& v) {
    const float length = Length(v);
    return length > 0.0f ? v * (1.0f / length) : Vector3{0.0f, 0.0f, 0.0f};
}

/** What is left of v when its part along the unit vector axis is taken away. */
inline Vector3 WithoutAxis(const Vector3& v, const Vector3& axis) {
    return v - axis * Dot(v, axis);
}

/** The angle between two directions in degrees; 0 if either has no length. */
inline float AngleBetween(const Vector3& a, const Vector3& b) {
    const float y = Length(Cross(a, b));
    const float x = Dot(a, b);
    return (y == 0.0f && x == 0.0f) ? 0.0f : std::atan2(y, x) * degreesPerRadian;
}

/** First b, then a. */
inline Quaternion operator*(const Quaternion& a, const Quaternion& b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
        a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

/** The inverse of a unit quaternion. */
inline Quaternion Inverse(const Quaternion& q) {
    return {-q.x, -q.y, -q.z, q.w};
}

inline Quaternion Normalized(const Quaternion& q) {
    const float length = std::sqrt(q.x * q.x + q.y * q.y + q.z * q.z + q.w * q.w);
    if (!(length > 0.0f)) {
        return identityRotation;
    }
    return {q.x / length, q.y / length, q.z / length, q.w / length};
}

/** From a (share 0) to b (share 1), the short way. */
inline Quaternion Blend(const Quaternion& a, const Quaternion& b, float share) {
    const float sign = a.x * b.x + a.y * b.y + a.z * b.z + a.w * b.w < 0.0f ? -share : share;
    const float rest = 1.0f - share;
    return Normalized(Quaternion{
        a.x * rest + b.x * sign, a.y * rest + b.y * sign, a.z * rest + b.z * sign, a.w * rest + b.w * sign});
}

inline Vector3 Rotate(const Quaternion& q, const Vector3& v) {
    const Vector3 axis = {q.x, q.y, q.z};
    const Vector3 turned = Cross(axis, v) * 2.0f;
    return v + turned * q.w + Cross(axis, turned);
}

/** The angle by which two rotations differ, in degrees. */
inline float AngleBetween(const Quaternion& a, const Quaternion& b) {
    const Quaternion difference = Inverse(a) * b;
    const Vector3 axis = {difference.x, difference.y, difference.z};
    return 2.0f * std::atan2(Length(axis), std::fabs(difference.w)) * degreesPerRadian;
}

/** A turn by an angle in degrees about a unit vector. */
inline Quaternion TurnAbout(const Vector3& axis, float degrees) {
    const float half = 0.5f * degrees / degreesPerRadian;
    const float sine = std::sin(half);
    return {axis.x * sine, axis.y * sine, axis.z * sine, std::cos(half)};
}

/** The least turn that brings one direction to another; none if either has no length. */
inline Quaternion ShortestTurn(const Vector3& from, const Vector3& to) {
    const Vector3 a = Normalized(from);
    const Vector3 b = Normalized(to);
    const float cosine = Dot(a, b);
    if (Length(a) == 0.0f || Length(b) == 0.0f) {
        return identityRotation;
    }
    constexpr float opposite = -0.999999f;
    if (cosine < opposite) {
        const Vector3 other = std::fabs(a.x) < 0.8f ? Vector3{1.0f, 0.0f, 0.0f} : Vector3{0.0f, 1.0f, 0.0f};
        return TurnAbout(Normalized(Cross(a, other)), 180.0f);
    }
    const Vector3 axis = Cross(a, b);
    return Normalized(Quaternion{axis.x, axis.y, axis.z, 1.0f + cosine});
}

/** A share of a turn: 0 is none, 1 all of it. */
inline Quaternion ShareOf(const Quaternion& turn, float share) {
    const Quaternion near = turn.w < 0.0f ? Quaternion{-turn.x, -turn.y, -turn.z, -turn.w} : turn;
    const Vector3 axis = {near.x, near.y, near.z};
    const float sine = Length(axis);
    return sine <= 0.0f
               ? identityRotation
               : TurnAbout(axis * (1.0f / sine), 2.0f * std::atan2(sine, near.w) * degreesPerRadian * share);
}

/** The part of a rotation that turns about the unit vector axis. */
inline Quaternion TwistAbout(const Quaternion& q, const Vector3& axis) {
    const float along = q.x * axis.x + q.y * axis.y + q.z * axis.z;
    return Normalized(Quaternion{axis.x * along, axis.y * along, axis.z * along, q.w});
}

/** A child's world transform from its parent's and its own local one. */
inline Transform Compose(const Transform& parent, const Transform& local) {
    return {Normalized(parent.orientation * local.orientation),
        parent.position + Rotate(parent.orientation, local.position), {1.0f, 1.0f, 1.0f}};
}

/** A child's local transform from its parent's world transform and its own. */
inline Transform RelativeTo(const Transform& parent, const Transform& world) {
    const Quaternion inverse = Inverse(parent.orientation);
    return {Normalized(inverse * world.orientation), Rotate(inverse, world.position - parent.position),
        {1.0f, 1.0f, 1.0f}};
}

} // namespace Velkori_Tool
