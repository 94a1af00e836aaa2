#include "shared/DataTypes.h"

#include "shared/Arithmetic.h"
#include "shared/FastRangedIntegralContainers.h"

#include <algorithm>
#include <cstdio>

namespace Velkori_Utility {

namespace {

/// Stands in for 1 / sqrt of a squared length too small to divide by.
constexpr float LargestInverseLength = 18446742974197923840.0f;

float InverseLength(float lengthSquared) {
    return lengthSquared >= MinNormal ? 1.0f / std::sqrt(lengthSquared) : LargestInverseLength;
}

/// A half turn about an axis perpendicular to the direction, built in the coordinate plane in which the
/// direction is longer, so that the axis is well determined.
Quaternionf PerpendicularHalfTurn(const Vector3f& direction) {
    const float lengthSquaredYZ = direction.y * direction.y + direction.z * direction.z;
    const float lengthSquaredXY = direction.x * direction.x + direction.y * direction.y;
    if (lengthSquaredYZ > lengthSquaredXY) {
        const float inverseLength = InverseLength(lengthSquaredYZ);
        return {0.0f, direction.z * inverseLength, -direction.y * inverseLength, 0.0f};
    }
    const float inverseLength = InverseLength(lengthSquaredXY);
    return {direction.y * inverseLength, -direction.x * inverseLength, 0.0f, 0.0f};
}

/// The rotation whose matrix has the columns right, up and forward. Each branch divides by the largest of the
/// four components, so that none loses precision.
Quaternionf FromAxes(const Vector3f& r, const Vector3f& u, const Vector3f& f) {
    const float trace = f.z + r.x + u.y;
    if (trace > 0.0f) {
        const float s = 2.0f * std::sqrt(trace + 1.0f);
        return {(u.z - f.y) / s, (f.x - r.z) / s, (r.y - u.x) / s, s / 4.0f};
    }
    if (r.x > f.z && r.x > u.y) {
        const float s = 2.0f * std::sqrt(r.x + 1.0f - u.y - f.z);
        return {s / 4.0f, (r.y + u.x) / s, (f.x + r.z) / s, (u.z - f.y) / s};
    }
    if (u.y > f.z) {
        const float s = 2.0f * std::sqrt(u.y + 1.0f - r.x - f.z);
        return {(r.y + u.x) / s, s / 4.0f, (f.y + u.z) / s, (f.x - r.z) / s};
    }
    const float s = 2.0f * std::sqrt(f.z + 1.0f - r.x - u.y);
    return {(f.x + r.z) / s, (f.y + u.z) / s, s / 4.0f, (r.y - u.x) / s};
}

} // namespace

bool Vector3f::IsAxisAligned() const {
    return *this == Multiply(Identity_right_LH) || *this == Multiply(Identity_up_LH) ||
           *this == Multiply(Identity_forward_LH);
}

Vector3f Vector3f::SnapToClosestAlignedAxis() const {
    const Vector3f magnitude = Abs();
    int axis = 0;
    if (magnitude.y > magnitude.x) {
        axis = 1;
    }
    if (magnitude.z > magnitude[axis]) {
        axis = 2;
    }
    Vector3f snapped;
    snapped[axis] = (*this)[axis] < 0.0f ? -Length() : Length();
    return snapped;
}

std::string Vector3f::ToString() const {
    // The longest float takes 47 characters with its sign and decimals.
    std::array<char, 192> text{};
    std::snprintf(text.data(), text.size(), "x: %f, y: %f, z: %f", static_cast<double>(x),
        static_cast<double>(y), static_cast<double>(z));
    return text.data();
}

Quaternionf::Quaternionf(const Vector3f& from, const Vector3f& to) {
    if (from == Vector3f::Zero || to == Vector3f::Zero) {
        return;
    }
    // Cross and dot product carry the sine and cosine of the whole angle times both lengths. Adding the
    // product of the lengths to the cosine turns them into those of half the angle.
    const Vector3f cross = from.Cross(to);
    const float dot = from.Dot(to);
    const float real = dot + std::sqrt(dot * dot + cross.LengthSquared());
    if (real < MinNormal) {
        *this = PerpendicularHalfTurn(to);
        return;
    }
    *this = Quaternionf(cross.x, cross.y, cross.z, real) * InverseLength(real * real + cross.LengthSquared());
}

Quaternionf Quaternionf::Slerp(const Quaternionf& other, float t) const {
    // Of unit length, or zero where there is no rotation to speak of.
    constexpr Quaternionf None(0.0f, 0.0f, 0.0f, 0.0f);
    const Quaternionf from = NormalizeOr(*this, None);
    const Quaternionf to = NormalizeOr(other, None);
    const Quaternionf delta = Quaternionf(-from.x, -from.y, -from.z, from.w) * to;
    const Vector3f axis(delta.x, delta.y, delta.z);
    const float sine = axis.Length();
    if (!(sine > 0.0f)) {
        return Normalize();
    }
    // Half the angle of the turn, the short way round: both of its sides are counted as positive. The product
    // with t is exact, so that many turns lose no more than the angle itself is off by.
    const float halfAngle = ComputeAngle(sine, std::abs(delta.w));
    const SineAndCosine turned = ComputeSineAndCosine(static_cast<double>(halfAngle) * t);
    const float factor = (delta.w < 0.0f ? -turned.sine : turned.sine) / sine;
    return (from * Quaternionf(axis.x * factor, axis.y * factor, axis.z * factor, turned.cosine)).Normalize();
}

Quaternionf Quaternionf::LookAtLH(const Vector3f& forward, const Vector3f& up) {
    // The bound is one of the squared length: parallel inputs give a short right axis, not a division by
    // zero.
    const Vector3f side = up.Cross(forward);
    const Vector3f right = side * (1.0f / std::sqrt(std::max(side.LengthSquared(), 1e-5f)));
    return FromAxes(right, forward.Cross(right), forward);
}

Quaternionf Quaternionf::Scale(const Vector3f& s) const {
    if (s.x >= 0.0f && s.x == s.y && s.y == s.z) {
        return Normalize();
    }
    // A mirrored rotation isn't a rotation. It is replaced by the one that looks along the scaled forward and
    // up axes; the sign of x goes into forward, as the look rotation has only two axes to take signs from.
    const Vector3f forward = Vector3f(0.0f, 0.0f, s.x * s.z).Normalize();
    const Vector3f up = Vector3f(0.0f, s.y, 0.0f).Normalize();
    const Vector3f scaledForward = Rotate(forward).Multiply(s).Normalize();
    const Vector3f scaledUp = Rotate(up).Multiply(s).Normalize();
    return LookAtLH(scaledForward, scaledUp).Normalize();
}

void RotationMean::Add(const Quaternionf& rotation, float weight) {
    if (weight == 0.0f) {
        return;
    }
    last = rotation;
    sum.AddOuterProduct(weight, {rotation.x, rotation.y, rotation.z, rotation.w});
    ++contributors;
}

Quaternionf RotationMean::Get() const {
    if (contributors < 2) {
        return last;
    }
    const Vector4<float> mean =
        (sum * sum.DominantEigenVector(64, Vector4<float>::Identity, 1e-8f)).Normalize();
    const bool isFinite = IsFinite(mean.x) && IsFinite(mean.y) && IsFinite(mean.z) && IsFinite(mean.w);
    // The iteration starts at the identity and can't leave it towards half turns, all of which are orthogonal
    // to it: their mean is undetermined.
    if (mean == Vector4<float>::Zero || !isFinite) {
        return Quaternionf::Identity;
    }
    const Quaternionf result(mean.x, mean.y, mean.z, mean.w);
    return result.w < 0.0f ? Quaternionf(-result.x, -result.y, -result.z, -result.w) : result;
}

void Matrix4f::AddOuterProduct(float weight, const Vector4<float>& v) {
    rows[0] = rows[0] + v * (weight * v.x);
    rows[1] = rows[1] + v * (weight * v.y);
    rows[2] = rows[2] + v * (weight * v.z);
    rows[3] = rows[3] + v * (weight * v.w);
}

Vector4<float> Matrix4f::DominantEigenVector(
    int maxIterations, const Vector4<float>& start, float tolerance) const {
    Vector4<float> estimate = start;
    // A w of 0 makes the eigenvalue infinite or nan. It then never converges, and the vector is what it is
    // after the last round; the vector itself doesn't depend on the eigenvalue.
    float eigenvalue = rows[3].Dot(estimate) / estimate.w;
    for (int iteration = 0; iteration < maxIterations; ++iteration) {
        const Vector4<float> next = (*this * estimate).Normalize();
        const float nextEigenvalue = rows[3].Dot(next) / next.w;
        if (std::abs(eigenvalue - nextEigenvalue) < tolerance) {
            break;
        }
        eigenvalue = nextEigenvalue;
        estimate = next;
    }
    return estimate;
}

JointPose JointPose::Inverted() const {
    const auto reciprocal = [](float s) { return s < MinNormal ? 1.0f : 1.0f / s; };
    const Quaternionf inverse = orientation.Inverse();
    return {
        inverse, inverse.Rotate(-position), {reciprocal(scale.x), reciprocal(scale.y), reciprocal(scale.z)}};
}

PoseExtents::PoseExtents(std::span<const JointPose> poses, const FastRangedIntegralSet<int>& excludedJoints) {
    constexpr float Largest = std::numeric_limits<float>::max();
    min = {Largest, Largest, Largest};
    max = -min;
    for (int joint = 0; joint < std::ssize(poses); ++joint) {
        if (excludedJoints.contains(joint)) {
            continue;
        }
        for (int axis = 0; axis < 3; ++axis) {
            const float position = poses[joint].position[axis];
            min[axis] = position < min[axis] ? position : min[axis];
            max[axis] = position > max[axis] ? position : max[axis];
        }
    }
    range = (max - min).Abs();
}

bool AreFinite(std::span<const JointPose> poses) {
    return std::all_of(poses.begin(), poses.end(), [](const JointPose& pose) {
        return IsFinite(pose.position) && IsFinite(pose.scale) && IsFinite(pose.orientation.LengthSquared());
    });
}

bool IsValidVelkoriTransformArray(const velkori_Transform_* transforms, std::int32_t count) {
    if (transforms == nullptr || count <= 0) {
        return true;
    }
    const auto isFinite = [](const velkori_Vector3f_& v) {
        return IsFinite(v.x) && IsFinite(v.y) && IsFinite(v.z);
    };
    return std::all_of(transforms, transforms + count, [&](const velkori_Transform_& transform) {
        const velkori_Quaternionf_& q = transform.orientation;
        const bool isZero = q.x == 0.0f && q.y == 0.0f && q.z == 0.0f && q.w == 0.0f;
        return IsFinite(q.x) && IsFinite(q.y) && IsFinite(q.z) && IsFinite(q.w) &&
               isFinite(transform.position) && isFinite(transform.scale) && !isZero;
    });
}

std::vector<JointPose> ToJointPoseVectorFromVelkoriPoseArray(
    const velkori_Transform_* transforms, std::int32_t count) {
    std::vector<JointPose> poses;
    ToJointPoseVectorFromVelkoriPoseArray(transforms, count, poses);
    return poses;
}

void ToJointPoseVectorFromVelkoriPoseArray(
    const velkori_Transform_* transforms, std::int32_t count, std::vector<JointPose>& out_poses) {
    out_poses.clear();
    if (transforms == nullptr || count <= 0) {
        return;
    }
    out_poses.reserve(count);
    for (std::int32_t i = 0; i < count; ++i) {
        out_poses.emplace_back(transforms[i]);
    }
}

std::int32_t ToVelkoriPoseArrayFromJointPoseVector(
    std::span<const JointPose> poses, velkori_Transform_* out) {
    if (out == nullptr) {
        return 0;
    }
    std::transform(poses.begin(), poses.end(), out,
        [](const JointPose& pose) { return static_cast<velkori_Transform_>(pose); });
    return static_cast<std::int32_t>(poses.size());
}

} // namespace Velkori_Utility
