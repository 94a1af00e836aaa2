#pragma once

#include "support/PlacedBody.h"

// A trunk with two arms stretched out sideways, right along +x. All joints have the identity for orientation.
inline PlacedJoints TrunkAndArms() {
    return {{"hips", "", {0, 1, 0}}, {"chest", "hips", {0, 1.4F, 0}},
        {"rightUpperArm", "chest", {0.2F, 1.4F, 0}}, {"rightWrist", "rightUpperArm", {0.7F, 1.4F, 0}},
        {"leftUpperArm", "chest", {-0.2F, 1.4F, 0}}, {"leftWrist", "leftUpperArm", {-0.7F, 1.4F, 0}}};
}

inline constexpr Velkori_Utility::Vector3f RightWristPosition{0.7F, 1.4F, 0};

// Joints name0, name1, ... from a hand outward, each placed from the one before.
inline PlacedJoints Finger(const std::string& name, const std::string& hand,
    const Velkori_Utility::Vector3f& handPosition, const std::vector<Velkori_Utility::Vector3f>& bones) {
    PlacedJoints joints;
    std::string parent = hand;
    Velkori_Utility::Vector3f position = handPosition;
    for (const Velkori_Utility::Vector3f& bone : bones) {
        position += bone;
        joints.push_back({name + std::to_string(joints.size()), parent, position});
        parent = joints.back().name;
    }
    return joints;
}

inline PlacedJoints RightFinger(
    const std::string& name, const std::vector<Velkori_Utility::Vector3f>& bones) {
    return Finger(name, "rightWrist", RightWristPosition, bones);
}
