#include "MovingBody.h"

namespace {

constexpr double PositionSteps = 65536.0;
constexpr double OrientationSteps = 16384.0;

// The nearest step. The product and the sum are exact for what a skeleton holds.
std::int64_t ToSteps(float value, double steps) {
    const double scaled = static_cast<double>(value) * steps;
    return static_cast<std::int64_t>(scaled + (scaled < 0 ? -0.5 : 0.5));
}

float FromSteps(std::int64_t number, double steps) {
    return static_cast<float>(static_cast<double>(number) / steps);
}

// To and fro between -32 and 32 in 128 steps.
std::int64_t Swing(std::int64_t time) {
    const std::int64_t t = time & 127;
    return (t < 64 ? t : 128 - t) - 32;
}

} // namespace

MovingBody::MovingBody(const Transforms& rest, const std::vector<std::int32_t>& parentIndexes,
    std::uint32_t seed, std::int32_t percent) {
    Generator generator(seed);
    for (std::size_t i = 0; i < rest.size(); ++i) {
        const velkori_Quaternionf_& q = rest[i].orientation;
        const velkori_Vector3f_& p = rest[i].position;
        Joint joint = {};
        joint.parent = parentIndexes[i];
        joint.orientation = {ToSteps(q.x, OrientationSteps), ToSteps(q.y, OrientationSteps),
            ToSteps(q.z, OrientationSteps), ToSteps(q.w, OrientationSteps)};
        joint.position = {
            ToSteps(p.x, PositionSteps), ToSteps(p.y, PositionSteps), ToSteps(p.z, PositionSteps)};
        const Integer perMille = 10 * percent + generator.Within(4);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            joint.position[axis] += joint.position[axis] * perMille / 1000;
            joint.axis[axis] = generator.Within(120);
        }
        // Some joints rest.
        if (generator.Below(4) == 0) {
            joint.axis = {};
        }
        joint.speed = 1 + generator.Below(3);
        joint.phase = generator.Below(128);
        joints.push_back(joint);
    }
}

MovingBody::Quaternion MovingBody::Multiply(const Quaternion& a, const Quaternion& b) {
    Quaternion product = {a[3] * b[0] + a[0] * b[3] + a[1] * b[2] - a[2] * b[1],
        a[3] * b[1] - a[0] * b[2] + a[1] * b[3] + a[2] * b[0],
        a[3] * b[2] + a[0] * b[1] - a[1] * b[0] + a[2] * b[3],
        a[3] * b[3] - a[0] * b[0] - a[1] * b[1] - a[2] * b[2]};
    // Halved until its length is near 1 in steps of an orientation.
    const auto isLong = [&product] {
        Integer squares = 0;
        for (const Integer component : product) {
            squares += component * component;
        }
        return squares > Integer{1} << 29;
    };
    while (isLong()) {
        for (Integer& component : product) {
            component /= 2;
        }
    }
    return product;
}

MovingBody::Vector MovingBody::Rotate(const Quaternion& q, const Vector& v) {
    const auto [x, y, z, w] = q;
    const Vector cross = {y * v[2] - z * v[1], z * v[0] - x * v[2], x * v[1] - y * v[0]};
    const Vector twice = {w * cross[0] + y * cross[2] - z * cross[1],
        w * cross[1] + z * cross[0] - x * cross[2], w * cross[2] + x * cross[1] - y * cross[0]};
    const Integer squares = x * x + y * y + z * z + w * w;
    return {v[0] + 2 * twice[0] / squares, v[1] + 2 * twice[1] / squares, v[2] + 2 * twice[2] / squares};
}

MovingBody::Quaternion MovingBody::Turn(std::size_t joint, Integer frame) const {
    const Joint& j = joints[joint];
    const Integer swing = Swing(frame * j.speed + j.phase);
    const Quaternion turn = {j.axis[0] * swing, j.axis[1] * swing, j.axis[2] * swing, 16384};
    // The second joint, the hips of all rigs, goes all the way round.
    return joint == 1 ? Multiply({0, Swing(frame + 32) * 256, 0, Swing(frame) * 256}, turn) : turn;
}

velkori_Transform_ MovingBody::ToTransform(const Quaternion& orientation, const Vector& position) {
    return {{FromSteps(orientation[0], OrientationSteps), FromSteps(orientation[1], OrientationSteps),
                FromSteps(orientation[2], OrientationSteps), FromSteps(orientation[3], OrientationSteps)},
        {FromSteps(position[0], PositionSteps), FromSteps(position[1], PositionSteps),
            FromSteps(position[2], PositionSteps)},
        {1, 1, 1}};
}

Transforms MovingBody::Frame(std::int32_t frame) const {
    std::vector<Quaternion> turns(joints.size());
    std::vector<Vector> positions(joints.size());
    Transforms pose(joints.size());
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const Joint& joint = joints[i];
        turns[i] = Turn(i, frame);
        positions[i] = joint.position;
        if (joint.parent < 0) {
            positions[i][0] += Swing(frame) * 512;
            positions[i][2] += Integer{frame} * 700;
        } else {
            const Joint& parent = joints[joint.parent];
            const Vector bone = Rotate(turns[joint.parent],
                {joint.position[0] - parent.position[0], joint.position[1] - parent.position[1],
                    joint.position[2] - parent.position[2]});
            for (std::size_t axis = 0; axis < 3; ++axis) {
                positions[i][axis] = positions[joint.parent][axis] + bone[axis];
            }
            turns[i] = Multiply(turns[joint.parent], turns[i]);
        }
        if (i == 1) {
            positions[i][1] += Swing(3 * Integer{frame}) * 128;
        }
        pose[i] = ToTransform(Multiply(turns[i], joint.orientation), positions[i]);
    }
    return pose;
}

Transforms MovingBody::LocalFrame(std::int32_t frame) const {
    Transforms pose;
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const Joint& joint = joints[i];
        Vector position = joint.position;
        const Integer swing = Swing(frame * joint.speed + joint.phase);
        if (joint.phase % 4 == 1) {
            for (Integer& component : position) {
                component += component * swing / 256;
            }
        } else if (joint.phase % 4 == 2) {
            // By a hair or by a hand.
            position[i % 3] += swing * (joint.speed == 1 ? 1 : 64);
        }
        pose.push_back(ToTransform(Multiply(joint.orientation, Turn(i, frame)), position));
    }
    return pose;
}

Transforms MovingBody::ScaledFrame(std::int32_t frame) const {
    Transforms pose = Frame(frame);
    Generator generator(static_cast<std::uint32_t>(frame));
    for (velkori_Transform_& joint : pose) {
        // Close to 1, so that products of many stay of a body's size.
        const std::array<float, 4> factors = {1, 1.125F, 0.875F, -1};
        joint.scale = {1, 1, 1};
        for (float* factor : {&joint.scale.x, &joint.scale.y, &joint.scale.z}) {
            *factor = factors[generator.Below(generator.Below(4) == 0 ? 4 : 3)];
        }
    }
    return pose;
}
