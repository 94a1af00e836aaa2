#include "shared/DataTypes.h"

#include "support/Rotations.h"

#include <gtest/gtest.h>

#include <limits>
#include <numeric>
#include <random>
#include <tuple>

namespace Velkori_Utility {
namespace {

using Limits = std::numeric_limits<float>;
const float HalfRoot = std::sqrt(0.5f);
const Quaternionf QuarterTurnZ(0, 0, HalfRoot, HalfRoot);

// Rotation matrices in double precision are the second way to the results.
using Vector = std::array<double, 3>;

double Dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector AddScaled(const Vector& a, const Vector& b, double factor) {
    return {a[0] + b[0] * factor, a[1] + b[1] * factor, a[2] + b[2] * factor};
}

Vector Unit(const Vector& v) {
    return AddScaled({}, v, 1.0 / std::sqrt(Dot(v, v)));
}

Vector ToDouble(const Vector3f& v) {
    return {v.x, v.y, v.z};
}

Vector3f ToFloat(const Vector& v) {
    return {static_cast<float>(v[0]), static_cast<float>(v[1]), static_cast<float>(v[2])};
}

Vector MatrixRotate(const Quaternionf& q, const Vector& v) {
    const double n = std::sqrt(double(q.x) * q.x + double(q.y) * q.y + double(q.z) * q.z + double(q.w) * q.w);
    const double x = q.x / n, y = q.y / n, z = q.z / n, w = q.w / n;
    return {Dot({1 - 2 * (y * y + z * z), 2 * (x * y - w * z), 2 * (x * z + w * y)}, v),
        Dot({2 * (x * y + w * z), 1 - 2 * (x * x + z * z), 2 * (y * z - w * x)}, v),
        Dot({2 * (x * z - w * y), 2 * (y * z + w * x), 1 - 2 * (x * x + y * y)}, v)};
}

void ExpectNear(const Vector& actual, const Vector& expected, double tolerance = 1e-5) {
    const Vector difference = AddScaled(actual, expected, -1.0);
    EXPECT_LT(std::sqrt(Dot(difference, difference)), tolerance);
}

/// q and -q are the same rotation.
void ExpectSameRotation(const Quaternionf& actual, const Quaternionf& expected, float tolerance = 1e-5f) {
    const Vector4<float> a(actual.x, actual.y, actual.z, actual.w);
    const Vector4<float> b(expected.x, expected.y, expected.z, expected.w);
    const Vector4<float> difference = a + b * -std::copysign(1.0f, a.Dot(b));
    EXPECT_LT(std::sqrt(difference.LengthSquared()), tolerance);
}

/// Random values, unnormalised and clear of zero.
class Random {
  public:
    float Number() { return static_cast<float>(engine()) / 2147483648.0f - 1.0f; }

    Quaternionf Rotation() { return {Number(), Number(), Number() + 0.1f, Number()}; }

    Vector3f Direction() { return Rotation().Rotate({Number(), Number(), 1.5f}); }

  private:
    std::mt19937 engine{7};
};

TEST(DataTypes, NormalizingKeepsUnitLengthBitForBitAndDropsVanishingLength) {
    enum class Outcome { Dropped, Kept, Scaled };
    const float rootOfMinNormal = std::ldexp(1.0f, -63);
    const std::pair<float, Outcome> cases[] = {{0.0f, Outcome::Dropped}, {rootOfMinNormal, Outcome::Dropped},
        {std::nextafter(rootOfMinNormal, 1.0f), Outcome::Scaled}, {-2.0f, Outcome::Scaled},
        // Squared, these differ from 1 by 82 and 84 steps of 2^-23, of which 83.9 make 1e-5.
        {1.0f + 41 * std::ldexp(1.0f, -23), Outcome::Kept},
        {1.0f + 42 * std::ldexp(1.0f, -23), Outcome::Scaled},
        // And these by 166 and 168 steps of 2^-24, of which 167.8 make 1e-5.
        {1.0f - 83 * std::ldexp(1.0f, -24), Outcome::Kept},
        {1.0f - 84 * std::ldexp(1.0f, -24), Outcome::Scaled}};
    for (const auto& [length, outcome] : cases) {
        const bool isDropped = outcome == Outcome::Dropped;
        const float y = Vector3f(0, length, 0).Normalize().y;
        EXPECT_EQ(Quaternionf(0, length, 0, 0).Normalize(), Quaternionf(0, y, 0, isDropped ? 1.0f : 0.0f));
        EXPECT_EQ(Vector4<float>(0, length, 0, 0).Normalize(), Vector4<float>(0, y, 0, 0));
        EXPECT_EQ(y == length, outcome == Outcome::Kept || length == 0.0f) << length;
        EXPECT_NEAR(
            y, isDropped ? 0.0f : std::copysign(1.0f, length), outcome == Outcome::Kept ? 1e-5f : 2e-7f);
    }
}

TEST(Vector3f, LiesOnAnAxisOnlyWithExactZerosAndSnapsToItsLargestComponent) {
    const std::tuple<Vector3f, bool, Vector3f> cases[] = {{{0, 0, 0}, true, {0, 0, 0}},
        {{-2, 0, -0.0f}, true, {-2, 0, 0}}, {{0, -3, 0}, true, {0, -3, 0}},
        {{0, 0, 0.5f}, true, {0, 0, 0.5f}}, {{1e-30f, 0, 1}, false, {0, 0, 1}},
        {{1, -1, 1}, false, {std::sqrt(3.0f), 0, 0}}, {{0, -2, 2}, false, {0, -std::sqrt(8.0f), 0}},
        {{1, 2, -3}, false, {0, 0, -std::sqrt(14.0f)}}};
    for (const auto& [vector, isAxisAligned, snapped] : cases) {
        EXPECT_EQ(vector.IsAxisAligned(), isAxisAligned) << vector.ToString();
        EXPECT_EQ(vector.SnapToClosestAlignedAxis(), snapped) << vector.ToString();
    }
}

TEST(Vector3f, TextHoldsEvenTheLongestNumbers) {
    const std::string lowest = "-340282346638528859811704183484516925440.000000";
    EXPECT_EQ(Vector3f(1, -2.5f, 0).ToString(), "x: 1.000000, y: -2.500000, z: 0.000000");
    EXPECT_EQ(
        (Vector3f::One * Limits::lowest()).ToString(), "x: " + lowest + ", y: " + lowest + ", z: " + lowest);
}

TEST(Quaternionf, RotatesAndComposesLikeItsMatrixWhateverItsLength) {
    Random random;
    for (int i = 0; i < 100; ++i) {
        const Quaternionf a = random.Rotation(), b = random.Rotation() * 3.0f;
        const Vector3f v = random.Direction();
        ExpectNear(ToDouble(a.Rotate(v)), MatrixRotate(a, ToDouble(v)));
        ExpectNear(ToDouble((a * b).Rotate(v)), MatrixRotate(a, MatrixRotate(b, ToDouble(v))));
        ExpectSameRotation(b * b.Inverse(), Quaternionf::Identity);
    }
}

TEST(Quaternionf, FromDirectionToDirectionIsTheShortestRotationAndAHalfTurnBetweenOpposites) {
    Random random;
    const Vector3f axes[] = {{1, 0, 0}, {0, -2, 0}, {0, 0, 1}};
    for (int i = 0; i < 100; ++i) {
        const Vector3f from = random.Direction(), to = i < 3 ? axes[i] : random.Direction() * 5.0f;
        const Quaternionf shortest(from, to), halfTurn(-to, to);
        ExpectNear(MatrixRotate(shortest, Unit(ToDouble(from))), Unit(ToDouble(to)));
        EXPECT_NEAR(Vector3f(shortest.x, shortest.y, shortest.z).Dot(from), 0.0f, 2e-6f);
        EXPECT_EQ(halfTurn.w, 0.0f);
        EXPECT_NEAR(halfTurn.LengthSquared(), 1.0f, 1e-6f);
        EXPECT_NEAR(Vector3f(halfTurn.x, halfTurn.y, halfTurn.z).Dot(to), 0.0f, 2e-6f);
    }
    EXPECT_EQ(Quaternionf(Vector3f::Zero, Vector3f::One), Quaternionf::Identity);
    EXPECT_EQ(Quaternionf(Vector3f::One, Vector3f::Zero), Quaternionf::Identity);
    // Too short to tell a quarter turn from a half one. The axis, 1e-20 * 1.8446743e19, is short but finite.
    const Quaternionf tiny({1e-20f, 0, 0}, {0, 1e-20f, 0});
    EXPECT_FLOAT_EQ(tiny.x, 0.18446743f);
    EXPECT_EQ(tiny, Quaternionf(tiny.x, 0, 0, 0));
}

// The great arc between two quaternions in double precision, by the short way.
std::array<double, 4> ArcPoint(const Quaternionf& from, const Quaternionf& to, double t) {
    const std::array<double, 4> a{from.x, from.y, from.z, from.w}, b{to.x, to.y, to.z, to.w};
    const double lengthA = std::sqrt(std::inner_product(a.begin(), a.end(), a.begin(), 0.0));
    const double lengthB = std::sqrt(std::inner_product(b.begin(), b.end(), b.begin(), 0.0));
    const double sign = std::inner_product(a.begin(), a.end(), b.begin(), 0.0) < 0 ? -1 : 1;
    double between = 0.0, across = 0.0;
    for (std::size_t i = 0; i < 4; ++i) {
        between += std::pow(a[i] / lengthA - sign * b[i] / lengthB, 2);
        across += std::pow(a[i] / lengthA + sign * b[i] / lengthB, 2);
    }
    const double arc = 2 * std::atan2(std::sqrt(between), std::sqrt(across));
    std::array<double, 4> point{};
    for (std::size_t i = 0; i < 4; ++i) {
        point[i] = (std::sin((1 - t) * arc) * a[i] / lengthA + std::sin(t * arc) * sign * b[i] / lengthB) /
                   std::sin(arc);
    }
    return point;
}

double Distance(const Quaternionf& q, const std::array<double, 4>& point) {
    return std::sqrt(std::pow(q.x - point[0], 2) + std::pow(q.y - point[1], 2) + std::pow(q.z - point[2], 2) +
                     std::pow(q.w - point[3], 2));
}

TEST(Quaternionf, SlerpFollowsTheGreatArcAndGoesOnBeyondItsEnds) {
    Random random;
    for (const float reach : {1.0f, 30.0f, 1000.0f, 1e6f}) {
        double largestError = 0.0;
        for (int i = 0; i < 20000; ++i) {
            // Both of unit length but for rounding, from hardly a turn to a whole one apart.
            const Quaternionf a = random.Rotation().Normalize();
            const float angle = std::ldexp(3.1f, -(i % 20)) * std::abs(random.Number());
            const Quaternionf b = a * RotationOf(random.Direction().Normalize() * angle);
            const float t = i % 2 == 0 ? std::abs(random.Number()) : random.Number() * reach;
            const double bound = std::max(1.0f, std::abs(t));
            largestError = std::max(largestError, Distance(a.Slerp(b, t), ArcPoint(a, b, t)) / bound);
        }
        EXPECT_LT(largestError, 3e-7) << reach;
    }
}

TEST(Quaternionf, SlerpTakesRotationsOfAnyLengthAndPassesOverWhatIsNone) {
    const Quaternionf from(0.1f, -0.2f, 0.3f, 0.9f), to(0.5f, 0.4f, -0.6f, -0.1f), zero(0, 0, 0, 0);
    const Quaternionf middle = from.Normalize().Slerp(to.Normalize(), 0.25f);
    for (const float length : {1e-15f, 0.5f, 1e15f}) {
        ExpectSameRotation((from * length).Slerp(to * -length, 0.25f), middle, 1e-6f);
    }
    const float huge = Limits::max();
    for (const Quaternionf& none : {zero, Quaternionf(huge, huge, 0, 0)}) {
        EXPECT_EQ(from.Normalize().Slerp(none, 0.5f), from.Normalize());
        EXPECT_EQ(none.Slerp(to, 0.5f), Quaternionf::Identity);
    }
    EXPECT_EQ(QuarterTurnZ.Slerp(QuarterTurnZ * -1.0f, 7.0f), QuarterTurnZ);
    // Beyond any turn that a float can tell.
    EXPECT_EQ(QuarterTurnZ.Slerp(Quaternionf::Identity, Limits::infinity()), QuarterTurnZ);
}

TEST(Quaternionf, LookAtRecoversARotationFromItsAxesWhicheverComponentDominates) {
    const Quaternionf rotations[] = {{0.1f, -0.2f, 0.1f, 0.9f}, {0.9f, 0.1f, -0.2f, 0.1f},
        {-0.1f, 0.9f, 0.1f, 0.2f}, {0.2f, 0.1f, 0.9f, -0.1f}, {1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};
    for (const Quaternionf& rotation : rotations) {
        const Vector3f forward = ToFloat(MatrixRotate(rotation, {0, 0, 1}));
        const Vector3f up = ToFloat(MatrixRotate(rotation, {0, 1, 0}));
        ExpectSameRotation(Quaternionf::LookAtLH(forward, up), rotation.Normalize());
    }
    // Parallel inputs leave nothing but a trace of 1, and w = sqrt(1 + 1) / 2.
    const Quaternionf parallel = Quaternionf::LookAtLH({0, 0, 1}, {0, 0, 2});
    EXPECT_FLOAT_EQ(parallel.w, HalfRoot);
    EXPECT_EQ(parallel, Quaternionf(0, 0, 0, parallel.w));
}

TEST(Quaternionf, ScaleTurnsAlongTheScaledAxesAndResolvesMirroring) {
    Random random;
    for (int i = 0; i < 64; ++i) {
        const Quaternionf q = random.Rotation();
        const Vector3f signs(i & 1 ? -1.0f : 1.0f, i & 2 ? -1.0f : 1.0f, i & 4 ? -1.0f : 1.0f);
        const Vector3f s = signs.Multiply(i < 32 ? Vector3f::One : Vector3f(1, 2, 0.5f));
        const auto scaled = [&](const Vector& v) {
            const Vector rotated = MatrixRotate(q, v);
            return Vector{s.x * rotated[0], s.y * rotated[1], s.z * rotated[2]};
        };
        // The columns of the mirrored matrix, flipped into a proper one and made orthogonal, forward first.
        const Vector forward = Unit(scaled({0, 0, signs.x * signs.z}));
        const Vector slanted = scaled({0, signs.y, 0});
        const Vector up = Unit(AddScaled(slanted, forward, -Dot(slanted, forward)));
        ExpectNear(MatrixRotate(q.Scale(s), {0, 0, 1}), forward);
        ExpectNear(MatrixRotate(q.Scale(s), {0, 1, 0}), up);
    }
    for (const float uniform : {0.0f, 1.0f, 3.0f}) {
        EXPECT_EQ(Quaternionf(0, 2, 0, 0).Scale(Vector3f::One * uniform), Quaternionf(0, 1, 0, 0));
    }
}

namespace {

Quaternionf MeanOf(std::span<const Quaternionf> rotations, std::span<const float> weights) {
    RotationMean mean;
    for (std::size_t i = 0; i < rotations.size(); ++i) {
        mean.Add(rotations[i], weights[i]);
    }
    return mean.Get();
}

} // namespace

TEST(RotationMean, IgnoresSignsAndLiesOnTheArcByWeight) {
    const auto turn = [](float angle) { return RotationOf(Vector3f(0.48f, 0.6f, 0.64f) * angle); };
    const float equal[] = {0.5f, 0.5f}, unequal[] = {3.0f, 1.0f}, negative[] = {-1.0f, -1.0f};
    const Quaternionf opposite[] = {turn(1.0f), turn(1.0f) * -1.0f};
    const Quaternionf mean = MeanOf(opposite, equal);
    ExpectSameRotation(mean, turn(1.0f));
    EXPECT_GE(mean.w, 0.0f);
    // Negative weights turn (0, 0, 0, 1) into its negative; the result has a w that isn't negative all the
    // same.
    const Quaternionf identities[] = {Quaternionf::Identity, Quaternionf::Identity};
    EXPECT_EQ(MeanOf(identities, negative), Quaternionf::Identity);
    // So near the identity that the eigenvalue passes for converged at the start.
    const Quaternionf tiny[] = {{1e-5f, 0, 0, 1}, {1e-5f, 0, 0, 1}};
    EXPECT_FLOAT_EQ(MeanOf(tiny, equal).x, 1e-5f);

    const Quaternionf pair[] = {turn(0.2f), turn(1.4f) * -1.0f};
    ExpectSameRotation(MeanOf(pair, equal), turn(0.8f), 1e-4f);
    // The two are half of 1.2 apart on the sphere of quaternions. The principal axis of 3 a aᵀ + b bᵀ in
    // their plane lies at the angle p from a with tan 2p = sin 1.2 / (3 + cos 1.2), which is a turn of 2p.
    const float twiceP = std::atan2(std::sin(1.2f), 3.0f + std::cos(1.2f));
    ExpectSameRotation(MeanOf(pair, unequal), turn(0.2f + twiceP), 1e-4f);
}

TEST(RotationMean, IsTheOnlyContributorAsItIsAndTheIdentityIfUndetermined) {
    const Quaternionf unnormalized(0, 3, 0, -4), identity = Quaternionf::Identity;
    const Quaternionf pair[] = {QuarterTurnZ, unnormalized};
    const float onlyLast[] = {0, -2}, none[] = {0, 0}, both[] = {1, 2};
    EXPECT_EQ(MeanOf({}, {}), identity);
    EXPECT_EQ(MeanOf({&unnormalized, 1}, both), unnormalized);
    EXPECT_EQ(MeanOf(pair, onlyLast), unnormalized);
    EXPECT_EQ(MeanOf(pair, none), identity);

    const Quaternionf halfTurns[] = {{1, 0, 0, 0}, {0, 0, 1, 0}};
    const Quaternionf withNaN[] = {QuarterTurnZ, {Limits::quiet_NaN(), 0, 0, 1}};
    const Quaternionf overflowing[] = {QuarterTurnZ, {1e30f, 0, 0, 1e30f}};
    EXPECT_EQ(MeanOf(halfTurns, both), identity);
    EXPECT_EQ(MeanOf(withNaN, both), identity);
    EXPECT_EQ(MeanOf(overflowing, both), identity);
}

TEST(Matrix4f, DominantEigenVectorIsTheEstimateBeforeTheOneThatConverged) {
    const Vector4<float> start(1, 0, 0, 1);
    Matrix4f matrix;
    matrix.rows[0].x = 3.0f;
    matrix.rows[3].w = 1.0f;
    // The eigenvalue is estimated as 1 from the start on.
    EXPECT_EQ(matrix.DominantEigenVector(64, start, 1e-8f), start);
    // Now it goes from 2 to 2.5 as the vector goes to (3, 0, 0, 2).
    matrix.rows[3].x = 1.0f;
    EXPECT_EQ(matrix.DominantEigenVector(0, start, 1e-8f), start);
    const Vector4<float> once = matrix.DominantEigenVector(1, start, 1e-8f);
    EXPECT_FLOAT_EQ(once.x, 3.0f / std::sqrt(13.0f));
    EXPECT_FLOAT_EQ(once.w, 2.0f / std::sqrt(13.0f));
}

TEST(JointPose, CompositionScalesTheChildsPositionAndOnRequestItsOrientation) {
    const JointPose parent(QuarterTurnZ, {1, 0, 0}, {-2, 2, 2});
    const JointPose child(QuarterTurnZ, {1, 1, 3}, {5, 5, 5});
    const JointPose plain = parent.ApplyWithoutScale(child), mirrored = parent.ApplyWithScale(child);
    ExpectSameRotation(plain.orientation, {0, 0, 1, 0});
    // The half turn diag(-1, -1, 1), mirrored in x and with forward flipped, is diag(1, -1, -1).
    ExpectSameRotation(mirrored.orientation, {1, 0, 0, 0});
    for (const JointPose& pose : {plain, mirrored}) {
        ExpectNear(ToDouble(pose.position), {-1, -2, 6});
        EXPECT_EQ(pose.scale, Vector3f::One);
    }
}

TEST(JointPose, InversionTakesNoScaleIntoThePositionAndOnlyPositiveOnesIntoTheReciprocal) {
    const JointPose inverse = JointPose(QuarterTurnZ, {1, 2, 3}, {2, 0, -4}).Inverted();
    ExpectSameRotation(inverse.orientation, {0, 0, -HalfRoot, HalfRoot});
    ExpectNear(ToDouble(inverse.position), {-2, 1, -3});
    EXPECT_EQ(inverse.scale, Vector3f(0.5f, 1, 1));
}

TEST(VelkoriTransformArray, IsValidWithFiniteNumbersAndAnyOrientationButZero) {
    const velkori_Transform_ zero = {}, valid = {{0, 0, 0, 2}, {0, 0, 0}, {0, 0, 0}};
    const std::pair<float, bool> values[] = {{Limits::quiet_NaN(), false}, {-Limits::quiet_NaN(), false},
        {Limits::infinity(), false}, {-Limits::infinity(), false}, {Limits::lowest(), true},
        {Limits::denorm_min(), true}};
    for (std::size_t field = 0; field < 10; ++field) {
        for (const auto& [value, isValid] : values) {
            auto numbers = std::bit_cast<std::array<float, 10>>(valid);
            numbers[field] = value;
            const velkori_Transform_ transforms[] = {valid, std::bit_cast<velkori_Transform_>(numbers)};
            EXPECT_EQ(IsValidVelkoriTransformArray(transforms, 2), isValid)
                << value << " as number " << field;
        }
    }
    EXPECT_FALSE(IsValidVelkoriTransformArray(&zero, 1));
    EXPECT_TRUE(IsValidVelkoriTransformArray(&zero, 0));
    EXPECT_TRUE(IsValidVelkoriTransformArray(&zero, -1));
    EXPECT_TRUE(IsValidVelkoriTransformArray(nullptr, 3));
}

TEST(VelkoriTransformArray, ConversionNormalizesOrientationsAndCopiesTheRest) {
    // 1.000004 squared is within 1e-5 of 1.
    const velkori_Transform_ transforms[] = {{{0, 0, 0, 2}, {1, 2, 3}, {4, 5, 6}},
        {{0, 1.000004f, 0, 0}, {7, 8, 9}, {0, -1, 1}}, {{0, 0, 0, 0}, {0, 0, 0}, {1, 1, 1}}};
    const std::vector<JointPose> expected = {{Quaternionf::Identity, {1, 2, 3}, {4, 5, 6}},
        {{0, 1.000004f, 0, 0}, {7, 8, 9}, {0, -1, 1}}, JointPose::Identity};
    EXPECT_EQ(ToJointPoseVectorFromVelkoriPoseArray(transforms, 3), expected);
    EXPECT_TRUE(ToJointPoseVectorFromVelkoriPoseArray(nullptr, 3).empty());
    EXPECT_TRUE(ToJointPoseVectorFromVelkoriPoseArray(transforms, -1).empty());

    std::array<velkori_Transform_, 4> out{};
    EXPECT_EQ(ToVelkoriPoseArrayFromJointPoseVector(expected, nullptr), 0);
    EXPECT_EQ(ToVelkoriPoseArrayFromJointPoseVector(expected, out.data()), 3);
    EXPECT_EQ(ToJointPoseVectorFromVelkoriPoseArray(out.data(), 3), expected);
    EXPECT_EQ(out[3].scale.x, 0.0f);
}

} // namespace
} // namespace Velkori_Utility
