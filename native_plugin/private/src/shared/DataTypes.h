#pragma once

// The single-precision value types every computation of the library is made of.
//
// Poses have to come out the same bit for bit on every platform. Sums are therefore evaluated from left to
// right as they are written, (x*x + y*y) + z*z, without contraction into fused operations; regrouping a term
// changes results.

#include "Velkori_Utility.h"
#include "shared/BitCast.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Utility {

template <typename K>
class FastRangedIntegralSet;

/// Smallest normal float (FLT_MIN). A squared length up to it counts as no length at all.
constexpr float MinNormal = 1.1754944e-38f;

/// A squared length closer to 1 than this counts as unit length.
constexpr float NormEpsilon = 1e-5f;

/// True for any float but infinities and nan. Tests the bits, so that no compiler setting can optimise it
/// away.
constexpr bool IsFinite(float value) {
    return (BitCast<std::uint32_t>(value) & 0x7FFFFFFFu) <= 0x7F7FFFFFu;
}

/// The one normalising rule of vectors and quaternions. Values that are already of unit length keep their
/// bits, so that normalising repeatedly doesn't let a pose drift; values without length become `degenerate`,
/// and so do those whose squared length overflows.
template <typename T>
T NormalizeOr(const T& value, const T& degenerate) {
    const float lengthSquared = value.LengthSquared();
    if (lengthSquared <= MinNormal || lengthSquared == std::numeric_limits<float>::infinity()) {
        return degenerate;
    }
    if (std::abs(lengthSquared - 1.0f) < NormEpsilon) {
        return value;
    }
    return value * (1.0f / std::sqrt(lengthSquared));
}

class Vector3f {
  public:
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;

    static const Vector3f Zero;
    static const Vector3f One;
    static const Vector3f Identity_right_LH;
    static const Vector3f Identity_up_LH;
    static const Vector3f Identity_forward_LH;

    constexpr Vector3f() = default;

    constexpr Vector3f(float inX, float inY, float inZ) : x(inX), y(inY), z(inZ) {}

    explicit constexpr Vector3f(const velkori_Vector3f_& record) : x(record.x), y(record.y), z(record.z) {}

    explicit constexpr operator velkori_Vector3f_() const { return {x, y, z}; }

    /// Exact: no tolerance, nan differs from itself.
    constexpr bool operator==(const Vector3f& other) const = default;

    /// The component of axis 0 (x), 1 (y) or 2 (z).
    constexpr float operator[](int axis) const { return axis == 0 ? x : (axis == 1 ? y : z); }

    constexpr float& operator[](int axis) { return axis == 0 ? x : (axis == 1 ? y : z); }

    constexpr Vector3f operator+(const Vector3f& other) const {
        return {x + other.x, y + other.y, z + other.z};
    }

    constexpr Vector3f operator-(const Vector3f& other) const {
        return {x - other.x, y - other.y, z - other.z};
    }

    constexpr Vector3f operator-() const { return {-x, -y, -z}; }

    constexpr Vector3f operator*(float factor) const { return {x * factor, y * factor, z * factor}; }

    constexpr Vector3f operator/(float divisor) const { return {x / divisor, y / divisor, z / divisor}; }

    constexpr Vector3f& operator+=(const Vector3f& other) { return *this = *this + other; }

    /// The product component by component, by which a scale is applied.
    constexpr Vector3f Multiply(const Vector3f& other) const {
        return {x * other.x, y * other.y, z * other.z};
    }

    constexpr float Dot(const Vector3f& other) const { return x * other.x + y * other.y + z * other.z; }

    constexpr Vector3f Cross(const Vector3f& other) const {
        return {y * other.z - z * other.y, z * other.x - x * other.z, x * other.y - y * other.x};
    }

    constexpr float LengthSquared() const { return Dot(*this); }

    float Length() const { return std::sqrt(LengthSquared()); }

    Vector3f Abs() const { return {std::abs(x), std::abs(y), std::abs(z)}; }

    /// The unit vector of this direction, or (0, 0, 0) if there is none.
    Vector3f Normalize() const;

    /// This at t = 0, other at t = 1; t isn't clamped.
    constexpr Vector3f Lerp(const Vector3f& other, float t) const { return *this + (other - *this) * t; }

    /// True on one of the three axes, whatever the sign and the length, and hence for the zero vector too.
    bool IsAxisAligned() const;

    /// A vector of this length along the component of largest magnitude.
    Vector3f SnapToClosestAlignedAxis() const;

    std::string ToString() const;
};

inline constexpr Vector3f Vector3f::Zero{0.0f, 0.0f, 0.0f};
inline constexpr Vector3f Vector3f::One{1.0f, 1.0f, 1.0f};
inline constexpr Vector3f Vector3f::Identity_right_LH{1.0f, 0.0f, 0.0f};
inline constexpr Vector3f Vector3f::Identity_up_LH{0.0f, 1.0f, 0.0f};
inline constexpr Vector3f Vector3f::Identity_forward_LH{0.0f, 0.0f, 1.0f};

constexpr bool IsFinite(const Vector3f& v) {
    return IsFinite(v.x) && IsFinite(v.y) && IsFinite(v.z);
}

inline Vector3f Vector3f::Normalize() const {
    return NormalizeOr(*this, Zero);
}

/// A rotation, w being the real part. Products are Hamilton's: in a * b, b turns first.
class Quaternionf {
  public:
    float x = 0.0f;
    float y = 0.0f;
    float z = 0.0f;
    float w = 1.0f;

    static const Quaternionf Identity;

    constexpr Quaternionf() = default;

    constexpr Quaternionf(float inX, float inY, float inZ, float inW) : x(inX), y(inY), z(inZ), w(inW) {}

    /// Takes the record's numbers as they are; they need not be of unit length.
    explicit constexpr Quaternionf(const velkori_Quaternionf_& record)
        : x(record.x), y(record.y), z(record.z), w(record.w) {}

    /// The shortest rotation from one direction to another, neither of which need be of unit length. The
    /// identity if either is zero.
    Quaternionf(const Vector3f& from, const Vector3f& to);

    explicit constexpr operator velkori_Quaternionf_() const { return {x, y, z, w}; }

    /// Exact: no tolerance, and q differs from -q.
    constexpr bool operator==(const Quaternionf& other) const = default;

    constexpr Quaternionf operator*(float factor) const {
        return {x * factor, y * factor, z * factor, w * factor};
    }

    constexpr Quaternionf operator*(const Quaternionf& other) const {
        return {w * other.x + x * other.w + y * other.z - z * other.y,
            w * other.y - x * other.z + y * other.w + z * other.x,
            w * other.z + x * other.y - y * other.x + z * other.w,
            w * other.w - x * other.x - y * other.y - z * other.z};
    }

    constexpr float LengthSquared() const { return x * x + y * y + z * z + w * w; }

    /// The unit quaternion of this rotation, or the identity if there is none.
    Quaternionf Normalize() const;

    /// The multiplicative inverse, for quaternions of any length but 0.
    constexpr Quaternionf Inverse() const {
        const float lengthSquared = LengthSquared();
        if (lengthSquared == 0.0f || lengthSquared == 1.0f) {
            return {-x, -y, -z, w};
        }
        return {-x / lengthSquared, -y / lengthSquared, -z / lengthSquared, w / lengthSquared};
    }

    /// Turns v without scaling it, even if this isn't of unit length.
    constexpr Vector3f Rotate(const Vector3f& v) const {
        const Quaternionf rotated = *this * Quaternionf(v.x, v.y, v.z, 0.0f) * Inverse();
        return {rotated.x, rotated.y, rotated.z};
    }

    /// This at t = 0, other or its negative at t = 1, by the short way and at constant speed; t isn't
    /// clamped. Neither need be of unit length; one without length, or with an infinite one, is passed over.
    /// For t from 0 to 1 within 3e-7 of the exact unit quaternion, beyond that within 3e-7 times |t|.
    Quaternionf Slerp(const Quaternionf& other, float t) const;

    /// The left-handed rotation that takes +z to forward and +y as near to up as it gets. forward is expected
    /// to be of unit length. Not normalised: that is left to the caller.
    static Quaternionf LookAtLH(const Vector3f& forward, const Vector3f& up);

    /// This rotation as it appears once space has been scaled by s, which may be non-uniform or mirroring.
    Quaternionf Scale(const Vector3f& s) const;
};

inline constexpr Quaternionf Quaternionf::Identity{0.0f, 0.0f, 0.0f, 1.0f};

inline Quaternionf Quaternionf::Normalize() const {
    return NormalizeOr(*this, Identity);
}

template <typename T>
class Vector4 {
  public:
    T x{};
    T y{};
    T z{};
    T w{};

    static const Vector4 Zero;
    static const Vector4 Identity;

    constexpr Vector4() = default;

    constexpr Vector4(T inX, T inY, T inZ, T inW) : x(inX), y(inY), z(inZ), w(inW) {}

    constexpr bool operator==(const Vector4& other) const = default;

    constexpr Vector4 operator+(const Vector4& other) const {
        return {x + other.x, y + other.y, z + other.z, w + other.w};
    }

    constexpr Vector4 operator*(T factor) const { return {x * factor, y * factor, z * factor, w * factor}; }

    constexpr T Dot(const Vector4& other) const {
        return x * other.x + y * other.y + z * other.z + w * other.w;
    }

    constexpr T LengthSquared() const { return Dot(*this); }

    /// The unit vector of this direction, or all zeros if there is none.
    Vector4 Normalize() const { return NormalizeOr(*this, Zero); }
};

template <typename T>
inline constexpr Vector4<T> Vector4<T>::Zero{T{0}, T{0}, T{0}, T{0}};

template <typename T>
inline constexpr Vector4<T> Vector4<T>::Identity{T{0}, T{0}, T{0}, T{1}};

/// Sixteen floats, row after row. Vectors are columns: the product M v holds each row's product with v.
class Matrix4f {
  public:
    std::array<Vector4<float>, 4> rows{};

    static const Matrix4f Zero;

    constexpr bool operator==(const Matrix4f& other) const = default;

    constexpr Vector4<float> operator*(const Vector4<float>& v) const {
        return {rows[0].Dot(v), rows[1].Dot(v), rows[2].Dot(v), rows[3].Dot(v)};
    }

    /// Adds weight v vᵀ.
    void AddOuterProduct(float weight, const Vector4<float>& v);

    /// Power iteration. The change of the eigenvalue, estimated from the last row, is what has to fall below
    /// the tolerance. Hands back the estimate before the one that converged, so the caller multiplies once
    /// more.
    Vector4<float> DominantEigenVector(int maxIterations, const Vector4<float>& start, float tolerance) const;
};

inline constexpr Matrix4f Matrix4f::Zero{};

/// The rotation nearest to all that are added, q and -q counting as the same one: the dominant eigenvector of
/// the sum of their weighted outer products.
class RotationMean {
  public:
    /// A weight of 0 adds nothing.
    void Add(const Quaternionf& rotation, float weight);

    /// A single rotation as it was added; the identity if the mean isn't determined.
    Quaternionf Get() const;

  private:
    Matrix4f sum{};
    Quaternionf last{};
    int contributors = 0;
};

/// One joint's placement relative to its parent (local space) or to the skeleton's origin (root space).
class JointPose {
  public:
    Quaternionf orientation{};
    Vector3f position{};
    Vector3f scale{1.0f, 1.0f, 1.0f};

    static const JointPose Identity;

    constexpr JointPose() = default;

    constexpr JointPose(
        const Quaternionf& inOrientation, const Vector3f& inPosition, const Vector3f& inScale = Vector3f::One)
        : orientation(inOrientation), position(inPosition), scale(inScale) {}

    /// Normalises the orientation; one without length becomes the identity.
    explicit JointPose(const velkori_Transform_& transform)
        : orientation(Quaternionf(transform.orientation).Normalize()),
          position(transform.position),
          scale(transform.scale) {}

    explicit constexpr operator velkori_Transform_() const {
        return {static_cast<velkori_Quaternionf_>(orientation), static_cast<velkori_Vector3f_>(position),
            static_cast<velkori_Vector3f_>(scale)};
    }

    /// Exact comparison of all ten numbers: equality to the identity is the fast path past a conversion.
    constexpr bool operator==(const JointPose& other) const = default;

    /// Takes a point from this pose's own space to the space this pose is given in.
    Vector3f TransformPosition(const Vector3f& point) const {
        return position + orientation.Rotate(point.Multiply(scale));
    }

    /// Undoes orientation and position. The reciprocal scale is carried along without entering the position.
    JointPose Inverted() const;

    /// Each part on its own between this pose at t = 0 and the other at t = 1; t isn't clamped.
    JointPose Lerp(const JointPose& other, float t) const {
        return {orientation.Slerp(other.orientation, t), position.Lerp(other.position, t),
            scale.Lerp(other.scale, t)};
    }

    /// The child's pose in this pose's parent space. Scale reaches the child's position only, the
    /// orientations just multiply, and the result has unit scale. This is how joints are composed along a
    /// hierarchy of poses whose scale has been resolved.
    JointPose ApplyWithoutScale(const JointPose& child) const {
        return {(orientation * child.orientation).Normalize(), TransformPosition(child.position)};
    }

    /// As ApplyWithoutScale, but the combined orientation is also seen through this pose's scale, which
    /// matters as soon as that may mirror or be non-uniform: for conversions between coordinate spaces, and
    /// for parents whose scale hasn't been resolved yet. The result has unit scale here too; whoever hands
    /// scale down a hierarchy sets it afterwards.
    JointPose ApplyWithScale(const JointPose& child) const {
        return {(orientation * child.orientation).Scale(scale), TransformPosition(child.position)};
    }
};

inline constexpr JointPose JointPose::Identity{Quaternionf::Identity, Vector3f::Zero, Vector3f::One};

/// The box around the positions of a pose.
class PoseExtents {
  public:
    Vector3f min{};
    Vector3f max{};
    Vector3f range{};

    static const PoseExtents EmptyExtents;

    constexpr PoseExtents() = default;

    /// The bounds of all joints that aren't excluded. Without any joint left, min and max stay at the largest
    /// and lowest float and the range is infinite.
    PoseExtents(std::span<const JointPose> poses, const FastRangedIntegralSet<int>& excludedJoints);

    constexpr bool operator==(const PoseExtents& other) const = default;
};

inline constexpr PoseExtents PoseExtents::EmptyExtents{};

/// Whether positions, orientations and scales hold no infinity and no nan.
bool AreFinite(std::span<const JointPose> poses);

/// True if every number of every transform is finite and no orientation is all zero. An absent or empty array
/// is valid.
bool IsValidVelkoriTransformArray(const velkori_Transform_* transforms, std::int32_t count);

/// An empty list for an absent or empty array. The orientations come out normalised.
std::vector<JointPose> ToJointPoseVectorFromVelkoriPoseArray(
    const velkori_Transform_* transforms, std::int32_t count);
void ToJointPoseVectorFromVelkoriPoseArray(
    const velkori_Transform_* transforms, std::int32_t count, std::vector<JointPose>& out_poses);

/// Writes all poses to out, which must have room for them, and returns their number; without out, writes
/// nothing and returns 0.
std::int32_t ToVelkoriPoseArrayFromJointPoseVector(std::span<const JointPose> poses, velkori_Transform_* out);

} // namespace Velkori_Utility
