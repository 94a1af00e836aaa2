#pragma once

#include "rig/KnownJoints.h"

#include <span>

namespace Velkori_Tool {

/** How a body holds itself in a pose, in the pose's own axes. */
struct Posture {
    /** From the feet through the hips to the neck, as a unit vector; (0, 0, 0) if that can't be told. */
    Vector3 up = {0.0f, 0.0f, 0.0f};
    /** From right to left, at right angles to up, as a unit vector; (0, 0, 0) if that can't be told. */
    Vector3 left = {0.0f, 0.0f, 0.0f};
    /** How much the body stands like a person before a fitting, in a T or an A or at ease, 0 to 1. */
    float standing = 0.0f;
};

Posture MeasurePosture(
    const FileSkeleton& skeleton, std::span<const Transform> pose, const KnownJointGuesses& known);

/** Whether a joint is another one or stands above it. */
bool IsAncestorOrSelf(const FileSkeleton& skeleton, int ancestor, int joint);

/** How far the body, which is the hips and all below, reaches along an axis. */
struct BodySpan {
    float lowest = 0.0f;
    float highest = 0.0f;
};

BodySpan MeasureBodySpan(const FileSkeleton& skeleton, std::span<const Transform> pose,
    const KnownJointGuesses& known, const Vector3& axis);

} // namespace Velkori_Tool
