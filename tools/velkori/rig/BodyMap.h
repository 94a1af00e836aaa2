#pragma once

#include "Transforms.h"
#include "rig/JointName.h"

#include <array>
#include <map>
#include <string>
#include <tuple>
#include <vector>

namespace Velkori_Tool {

/** A place in a body that a joint can have, such as the second joint of the left ring finger. */
struct BodyPlace {
    BodyPart part = BodyPart::Root;
    Side side = Side::None;
    /** Counted from 0 along a finger or a toe, outward. */
    int number = 0;

    bool operator<(const BodyPlace& other) const {
        return std::tie(part, side, number) < std::tie(other.part, other.side, other.number);
    }
};

/** A skeleton of which the known joints are known. */
struct KnownSkeleton {
    std::vector<std::string> jointNames;
    /** -1 for a joint without parent. */
    std::vector<int> parents;
    /** World space in metres, y up. */
    std::vector<Transform> rest;
    /** As the rig was made, before it was aligned to another: there handles lie on their joints. */
    std::vector<Transform> made;
    /** By velkori_KnownJointType; -1 for a role that no joint has. */
    std::array<int, VELKORI_KNOWN_JOINT_COUNT> known = {};
    /** VRM's names of bones to joints, where a file says them. */
    std::map<std::string, int> humanoid;
    /** Whether a mesh is bound to a joint; empty where that isn't known. */
    std::vector<bool> isSkinned;

    int JointCount() const { return static_cast<int>(jointNames.size()); }
};

/** A joint that goes where another joint of its skeleton is: a handle for IK, a control. */
struct FollowingJoint {
    int joint = -1;
    int leader = -1;
    /** It is the hand or the foot itself, which hangs elsewhere, and turns by itself. */
    bool turnsAlone = false;
};

/** Which joint of a skeleton is at which place of the body. */
struct BodyMap {
    std::map<BodyPlace, int> joints;
    /** From above the hips to below the neck. */
    std::vector<int> spine;
    /** From the neck to below the head. */
    std::vector<int> neck;
    /** From the chest to above the upper arm, the left side first. */
    std::array<std::vector<int>, 2> clavicles;
    /** Joints on a limb's bone, or between the hips and a leg, by the place whose bone they divide. */
    std::map<BodyPlace, std::vector<int>> dividing;
    std::vector<FollowingJoint> followers;
    /** Joints that end a chain and turn nothing. */
    std::vector<int> ends;
    /** Joints inside the palm, which ride on the wrist. */
    std::vector<int> palms;
    /** Every joint's side by its name. */
    std::vector<Side> sides;

    /** -1 if no joint has the place. */
    int JointAt(BodyPart part, Side side = Side::None, int number = 0) const;
};

/** Finds each joint's place by its name and by where it hangs. */
BodyMap MapBody(const KnownSkeleton& skeleton, const NamingHabits& habits);

} // namespace Velkori_Tool
