#pragma once

#include "support/PlacedBody.h"

#include <string>
#include <utility>

// A trunk with straight arms and legs and with a joint on each hand and foot, whose left side mirrors the
// right. `wrist` and `ankle` are the right ones. All joints have the identity for orientation.
inline PlacedJoints PlacedBiped(const Velkori_Utility::Vector3f& elbow = {0.5F, 1.4F, 0},
    const Velkori_Utility::Vector3f& wrist = {0.8F, 1.4F, 0},
    const Velkori_Utility::Vector3f& knee = {0.1F, 0.5F, 0},
    const Velkori_Utility::Vector3f& ankle = {0.1F, 0.1F, 0}) {
    using Velkori_Utility::Vector3f;
    PlacedJoints joints = {{"root", "", {0, 0, 0}}, {"hips", "root", {0, 1, 0}},
        {"chest", "hips", {0, 1.4F, 0}}, {"neck", "chest", {0, 1.6F, 0}}};
    for (const auto& [side, sign] : {std::pair<std::string, float>("right", 1.0F), {"left", -1.0F}}) {
        const Vector3f mirror(sign, 1, 1);
        joints.push_back({side + "UpperArm", "chest", Vector3f(0.2F, 1.4F, 0).Multiply(mirror)});
        joints.push_back({side + "Elbow", side + "UpperArm", elbow.Multiply(mirror)});
        joints.push_back({side + "Wrist", side + "Elbow", wrist.Multiply(mirror)});
        joints.push_back({side + "Hand", side + "Wrist", (wrist + Vector3f(0.1F, 0, 0)).Multiply(mirror)});
        joints.push_back({side + "UpperLeg", "hips", Vector3f(0.1F, 0.9F, 0).Multiply(mirror)});
        joints.push_back({side + "Knee", side + "UpperLeg", knee.Multiply(mirror)});
        joints.push_back({side + "Ankle", side + "Knee", ankle.Multiply(mirror)});
        joints.push_back({side + "Toes", side + "Ankle", (ankle + Vector3f(0, 0, 0.2F)).Multiply(mirror)});
    }
    return joints;
}

inline PlacedJoints Renamed(PlacedJoints joints, const std::string& from, const std::string& to) {
    for (PlacedJoint& joint : joints) {
        joint.name = joint.name == from ? to : joint.name;
        joint.parent = joint.parent == from ? to : joint.parent;
    }
    return joints;
}

// Puts a joint between another and its parent.
inline PlacedJoints WithJointAbove(PlacedJoints joints, const std::string& below, const PlacedJoint& added) {
    for (PlacedJoint& joint : joints) {
        joint.parent = joint.name == below ? added.name : joint.parent;
    }
    joints.push_back(added);
    return joints;
}

inline Velkori_Utility::Vector3f PositionOf(
    const std::string& joint, const PlacedBody& body, const Velkori_Utility::PoseData& pose) {
    return body.PoseOf(joint, pose).position;
}
