#include "solve/Body.h"

#include <algorithm>

namespace Velkori_Tool {

namespace {

std::vector<int> ParentsFirst(const std::vector<int>& parents) {
    std::vector<int> order;
    std::vector<bool> isListed(parents.size(), false);
    for (size_t joint = 0; joint < parents.size(); ++joint) {
        const size_t first = order.size();
        for (int above = static_cast<int>(joint); above >= 0 && !isListed[above]; above = parents[above]) {
            order.push_back(above);
            isListed[above] = true;
        }
        std::reverse(order.begin() + static_cast<std::ptrdiff_t>(first), order.end());
    }
    return order;
}

/** The joint between a limb's ends that halves it best; twist joints divide its halves. */
int FindMiddle(const Body& body, int upper, int end) {
    int middle = -1;
    float best = 0.0f;
    for (int joint = end < 0 ? -1 : body.parents[end]; joint >= 0 && joint != upper;
         joint = body.parents[joint]) {
        const float above = Length(body.rest[joint].position - body.rest[upper].position);
        const float below = Length(body.rest[joint].position - body.rest[end].position);
        const float balance = std::min(above, below) / std::max({above, below, 1e-9f});
        if (balance > best) {
            middle = joint;
            best = balance;
        }
    }
    return middle;
}

Limb MakeLimb(const Body& body, int upper, int end) {
    Limb limb;
    if (upper >= 0 && end >= 0 && body.IsBelow(upper, end)) {
        limb.upper = upper;
        limb.end = end;
        limb.middle = FindMiddle(body, upper, end);
    }
    return limb;
}

/** The foot's own joint that is farthest from the ankle over the ground; -1 if the foot is one bone. */
int FindToe(const Body& body, int ankle) {
    constexpr float shortestFoot = 0.02f;
    int toe = -1;
    float farthest = shortestFoot;
    for (size_t joint = 0; joint < body.JointCount(); ++joint) {
        const Vector3 way = body.rest[joint].position - body.rest[ankle].position;
        const float distance = std::hypot(way.x, way.z);
        if (body.parents[joint] == ankle && way.y <= 0.0f && distance > farthest) {
            toe = static_cast<int>(joint);
            farthest = distance;
        }
    }
    return toe;
}

} // namespace

bool Body::IsBelow(int ancestor, int joint) const {
    while (joint >= 0 && joint != ancestor) {
        joint = parents[joint];
    }
    return joint >= 0;
}

float Body::LimbLength(const Limb& limb) const {
    return Length(rest[limb.middle].position - rest[limb.upper].position) +
           Length(rest[limb.end].position - rest[limb.middle].position);
}

float Body::LegLength() const {
    float sum = 0.0f;
    int count = 0;
    for (const Limb& leg : legs) {
        sum += leg.IsWhole() ? LimbLength(leg) : 0.0f;
        count += leg.IsWhole() ? 1 : 0;
    }
    return count == 0 ? 0.0f : sum / static_cast<float>(count);
}

Vector3 Body::HipsMiddle(std::span<const Transform> pose) const {
    if (legs[0].upper >= 0 && legs[1].upper >= 0) {
        return (pose[legs[0].upper].position + pose[legs[1].upper].position) * 0.5f;
    }
    return pose[hips].position;
}

Body MakeBody(std::vector<int> parents, std::vector<Transform> rest, const BodyRoles& roles) {
    Body body;
    body.parents = std::move(parents);
    body.rest = std::move(rest);
    for (const Transform& joint : body.rest) {
        body.standingHeights.push_back(joint.position.y);
    }
    body.order = ParentsFirst(body.parents);
    body.root = roles.root == roles.hips ? -1 : roles.root;
    body.hips = roles.hips;
    body.neck = roles.neck;
    for (size_t joint = 0; joint < body.JointCount(); ++joint) {
        const bool isHigher = body.head < 0 || body.rest[joint].position.y > body.rest[body.head].position.y;
        if (body.neck >= 0 && body.parents[joint] == body.neck && isHigher) {
            body.head = static_cast<int>(joint);
        }
    }
    for (size_t side = 0; side < body.arms.size(); ++side) {
        body.arms.at(side) = MakeLimb(body, roles.upperArms.at(side), roles.wrists.at(side));
        body.legs.at(side) = MakeLimb(body, roles.upperLegs.at(side), roles.ankles.at(side));
        Limb& leg = body.legs.at(side);
        leg.tip = leg.IsWhole() ? FindToe(body, leg.end) : -1;
    }
    return body;
}

} // namespace Velkori_Tool
