#pragma once

#include "Velkori_Utility.h"
#include "support/MovingBody.h"

#include <array>
#include <cmath>
#include <deque>
#include <string>
#include <vector>

// A made-up biped as public records: up is y, metres, all orientations along the body's facing.
struct BipedShape {
    float height = 1.8F;
    int spineJoints = 2;
    // 0 for a T-pose; how far the arms hang below it, in radians.
    float armDrop = 0.0F;
    int fingerBones = 3;
    bool hasTwistJoints = false;
    // About up, in radians; 0 faces forward.
    float facing = 0.0F;
};

class Biped {
  public:
    explicit Biped(const BipedShape& shape, const std::string& namePrefix = "")
        : size(shape.height), prefix(namePrefix) {
        Add("root", "", {0, 0, 0});
        Add("hips", "root", {0, 0.53F, 0});
        std::string below = "hips";
        for (int i = 1; i <= shape.spineJoints; ++i) {
            const std::string name = i == shape.spineJoints ? "chest" : "spine" + std::to_string(i);
            const float share = static_cast<float>(i) / static_cast<float>(shape.spineJoints);
            Add(name, below, {0, 0.53F + 0.22F * share, 0});
            below = name;
        }
        Add("neck", "chest", {0, 0.83F, 0});
        Add("head", "neck", {0, 0.9F, 0.01F});
        for (const float side : {1.0F, -1.0F}) {
            AddLeg(side > 0 ? "right" : "left", side, shape);
            AddArm(side > 0 ? "right" : "left", side, shape);
        }
        Turn(shape.facing);
    }

    velkori_SkeletonInitParams_ Params() {
        for (const std::string& name : names) {
            namePointers.push_back(name.c_str());
        }
        for (const std::string& parent : parents) {
            parentPointers.push_back(parent.empty() ? nullptr : parent.c_str());
        }
        // In the order of the enumeration.
        constexpr std::array<const char*, VELKORI_KNOWN_JOINT_COUNT> Known = {"root", "hips", "rightUpperArm",
            "leftUpperArm", "rightWrist", "leftWrist", "chest", "neck", "rightUpperLeg", "leftUpperLeg",
            "rightAnkle", "leftAnkle"};
        for (const char* name : Known) {
            knownPointers.push_back(names[IndexOf(name)].c_str());
        }
        velkori_SkeletonInitParams_ params = {};
        params.jointCount = static_cast<int32_t>(names.size());
        params.jointNames = namePointers.data();
        params.parentJointNames = parentPointers.data();
        params.knownJoints = knownPointers.data();
        params.unscaledTPose = pose.data();
        return params;
    }

    int IndexOf(const std::string& name) const {
        for (std::size_t i = 0; i < names.size(); ++i) {
            if (names[i] == prefix + name) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    std::size_t GetJointCount() const { return names.size(); }

    Transforms pose;

  private:
    void Add(const std::string& name, const std::string& parent, velkori_Vector3f_ place) {
        names.push_back(prefix + name);
        parents.push_back(parent.empty() ? "" : prefix + parent);
        pose.push_back({{0, 0, 0, 1}, {place.x * size, place.y * size, place.z * size}, {1, 1, 1}});
    }

    void AddLeg(const std::string& side, float sign, const BipedShape& shape) {
        const float x = 0.05F * sign;
        Add(side + "UpperLeg", "hips", {x, 0.52F, 0});
        Add(side + "Knee", side + "UpperLeg", {x, 0.28F, 0.01F});
        if (shape.hasTwistJoints) {
            Add(side + "ThighTwist", side + "UpperLeg", {x, 0.4F, 0.005F});
        }
        Add(side + "Ankle", side + "Knee", {x, 0.04F, 0});
        Add(side + "Toe", side + "Ankle", {x, 0.01F, 0.08F});
    }

    void AddArm(const std::string& side, float sign, const BipedShape& shape) {
        const velkori_Vector3f_ start = {0.1F * sign, 0.8F, 0};
        const velkori_Vector3f_ along = {std::cos(shape.armDrop) * sign, -std::sin(shape.armDrop), 0};
        const auto at = [&](float distance, float z = 0.0F) {
            return velkori_Vector3f_{start.x + along.x * distance, start.y + along.y * distance, z};
        };
        Add(side + "Shoulder", "chest", {0.03F * sign, 0.8F, 0});
        Add(side + "UpperArm", side + "Shoulder", start);
        Add(side + "LowerArm", side + "UpperArm", at(0.16F));
        if (shape.hasTwistJoints) {
            Add(side + "ArmTwist", side + "UpperArm", at(0.08F));
        }
        Add(side + "Wrist", side + "LowerArm", at(0.31F));
        for (int finger = 0; finger < 5; ++finger) {
            const float z = 0.02F - 0.01F * static_cast<float>(finger);
            std::string parent = side + "Wrist";
            for (int bone = 0; bone <= shape.fingerBones; ++bone) {
                const std::string name = side + "Finger" + std::to_string(finger) + std::to_string(bone);
                const float share = static_cast<float>(bone) / static_cast<float>(shape.fingerBones);
                Add(name, parent, at(0.35F + 0.05F * share, z));
                parent = name;
            }
        }
    }

    void Turn(float facing) {
        const velkori_Quaternionf_ turn = {0, std::sin(facing / 2.0F), 0, std::cos(facing / 2.0F)};
        for (velkori_Transform_& joint : pose) {
            joint.position = Rotate(turn, joint.position);
            joint.orientation = turn;
        }
    }

    float size;
    std::string prefix;
    // Texts never move.
    std::deque<std::string> names;
    std::deque<std::string> parents;
    std::vector<const char*> namePointers;
    std::vector<const char*> parentPointers;
    std::vector<const char*> knownPointers;
};
