#pragma once

#include "Transforms.h"

#include <array>
#include <span>
#include <vector>

namespace Velkori_Tool {

/** An arm or a leg; -1 for a joint that isn't known. */
struct Limb {
    /** Shoulder or hip joint. */
    int upper = -1;
    /** Elbow or knee. */
    int middle = -1;
    /** Wrist or ankle. */
    int end = -1;
    /** Below the ankle: the joint that reaches farthest forward along the ground. */
    int tip = -1;

    bool IsWhole() const { return upper >= 0 && middle >= 0 && end >= 0; }
};

/** A skeleton whose limbs are known. */
struct Body {
    std::vector<int> parents;
    /** Each joint after its parent. */
    std::vector<int> order;
    /** World space in metres, y up, as the body was made: it says how long the bones are. */
    std::vector<Transform> rest;
    /** By joint, how high it is where the body stands; that of the rest pose unless that is another pose. */
    std::vector<float> standingHeights;
    int root = -1;
    int hips = -1;
    int neck = -1;
    /** What the neck carries. */
    int head = -1;
    /** The left one first. */
    std::array<Limb, 2> arms;
    std::array<Limb, 2> legs;

    size_t JointCount() const { return parents.size(); }

    bool IsBelow(int ancestor, int joint) const;

    /** The length of a limb's two bones. */
    float LimbLength(const Limb& limb) const;
    /** The mean of both legs; 0 if none is whole. */
    float LegLength() const;

    /** The point between both hip joints, or the hips' place if the legs aren't known. */
    Vector3 HipsMiddle(std::span<const Transform> pose) const;
};

/** Which of a skeleton's joints are which, by the roles that are known for sure. */
struct BodyRoles {
    int root = -1;
    int hips = -1;
    int neck = -1;
    /** The left one first. */
    std::array<int, 2> upperArms = {-1, -1};
    std::array<int, 2> wrists = {-1, -1};
    std::array<int, 2> upperLegs = {-1, -1};
    std::array<int, 2> ankles = {-1, -1};
};

/** Finds elbows, knees and toes in the rest pose. */
Body MakeBody(std::vector<int> parents, std::vector<Transform> rest, const BodyRoles& roles);

} // namespace Velkori_Tool
