#include "solve/LimbIK.h"

#include <algorithm>

namespace Velkori_Tool {

LimbChain::LimbChain(const Body& body, const Limb& limb) : body(body), limb(limb) {
    upperLength = Velkori_Tool::Length(body.rest[limb.middle].position - body.rest[limb.upper].position);
    lowerLength = Velkori_Tool::Length(body.rest[limb.end].position - body.rest[limb.middle].position);
    offsets.resize(body.JointCount());
    for (const int joint : body.order) {
        const int parent = body.parents[joint];
        if (parent >= 0) {
            offsets[joint] = RelativeTo(body.rest[parent], body.rest[joint]).position;
        }
        if (!body.IsBelow(limb.upper, joint)) {
            continue;
        }
        if (joint != limb.upper) {
            belowUpper.push_back(joint);
        }
        const bool isEnd = body.IsBelow(limb.end, joint);
        (isEnd ? endPart : body.IsBelow(limb.middle, joint) ? lowerPart : upperPart).push_back(joint);
    }
}

void LimbChain::Turn(std::span<Transform> pose, std::span<const int> joints, const Quaternion& turn) const {
    for (const int joint : joints) {
        pose[joint].orientation = Normalized(turn * pose[joint].orientation);
    }
}

void LimbChain::Place(std::span<Transform> pose) const {
    for (const int joint : belowUpper) {
        const Transform& parent = pose[body.parents[joint]];
        pose[joint].position = parent.position + Rotate(parent.orientation, offsets[joint]);
    }
}

void LimbChain::Point(std::span<Transform> pose, const Vector3& upper, const Vector3& lower) const {
    const Vector3 shoulder = pose[limb.upper].position;
    Turn(pose, upperPart, ShortestTurn(pose[limb.middle].position - shoulder, upper));
    const Vector3 elbow = pose[limb.middle].position;
    Turn(pose, lowerPart, ShortestTurn(pose[limb.end].position - elbow, lower));
    Place(pose);
}

Vector3 LimbChain::BendAxis(std::span<const Transform> pose) const {
    const Vector3 thigh = pose[limb.middle].position - pose[limb.upper].position;
    const Vector3 shin = pose[limb.end].position - pose[limb.middle].position;
    const Quaternion turn = pose[limb.upper].orientation * Inverse(body.rest[limb.upper].orientation);
    const Vector3 sideways = Rotate(turn, {1.0f, 0.0f, 0.0f});
    // The bend decides where there is one; what stands in for it fades in where there is nearly none.
    constexpr float nearlyStraight = 0.02f;
    const Vector3 bend = Cross(thigh, shin) * (1.0f / (upperLength * lowerLength));
    return Normalized(
        bend + sideways * (nearlyStraight * nearlyStraight / (nearlyStraight + Velkori_Tool::Length(bend))));
}

float LimbChain::ReachableDistance(float wanted, float current) const {
    constexpr float softShare = 0.99f;
    constexpr float fullShare = 0.9995f;
    const float longest = Length() * fullShare;
    const float soft = std::clamp(current, Length() * softShare, longest);
    const float room = longest - soft;
    if (wanted > soft) {
        wanted = room <= 0.0f ? longest : longest - room * std::exp((soft - wanted) / room);
    }
    const float shortest = std::fabs(upperLength - lowerLength) + 0.01f * Length();
    return std::max(wanted, std::min(shortest, current));
}

void LimbChain::Reach(std::span<Transform> pose, const Vector3& place) const {
    const Vector3 hip = pose[limb.upper].position;
    const Vector3 thigh = pose[limb.middle].position - hip;
    const Vector3 shin = pose[limb.end].position - pose[limb.middle].position;
    const Vector3 way = place - hip;
    const float wanted =
        ReachableDistance(Velkori_Tool::Length(way), Velkori_Tool::Length(pose[limb.end].position - hip));
    const float cosine = (upperLength * upperLength + lowerLength * lowerLength - wanted * wanted) /
                         (2.0f * upperLength * lowerLength);
    constexpr float halfTurn = 180.0f;
    const float bend = halfTurn - AngleBetween(thigh * -1.0f, shin);
    const float wantedBend = halfTurn - std::acos(std::clamp(cosine, -1.0f, 1.0f)) * degreesPerRadian;
    Turn(pose, lowerPart, TurnAbout(BendAxis(pose), wantedBend - bend));
    Place(pose);
    const Quaternion swing = ShortestTurn(pose[limb.end].position - hip, way);
    Turn(pose, upperPart, swing);
    Turn(pose, lowerPart, swing);
    Place(pose);
}

void LimbChain::TurnEnd(std::span<Transform> pose, const Quaternion& turn) const {
    Turn(pose, endPart, turn);
    Place(pose);
}

} // namespace Velkori_Tool
