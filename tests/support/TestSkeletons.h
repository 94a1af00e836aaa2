#pragma once

#include "core/SkeletonInitializationParams.h"
#include "support/Rotations.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

// Parameters of made-up skeletons that pass validation: a small body, and trees without any plan. Up is y,
// forward is z, right is x, and lengths are metres. Their minimum, maximum and unscaled rest poses differ.
namespace TestSkeletons {

using Params = Velkori_Utility::SkeletonInitializationParams;
using Velkori_Utility::JointPose;
using Velkori_Utility::Quaternionf;
using Velkori_Utility::Vector3f;

struct Joint {
    std::string name;
    // A position earlier in the list of joints, -1 for a root.
    int parent = -1;
    // The way from the parent in the unscaled pose, in root space.
    Vector3f bone;
    // By what the bone is multiplied in the minimum and in the maximum pose.
    Vector3f minFactor{0.8F, 0.75F, 0.85F};
    Vector3f maxFactor{1.2F, 1.3F, 1.15F};
    // How the joint is turned about its bone.
    Quaternionf twist{};
};

// Turns every joint's y axis along its bone, before its twist.
inline std::vector<JointPose> MakeRootSpacePose(const std::vector<Joint>& joints, auto&& factorOf) {
    std::vector<JointPose> pose;
    pose.reserve(joints.size());
    for (const Joint& joint : joints) {
        const Vector3f bone = joint.bone.Multiply(factorOf(joint));
        const Vector3f origin = joint.parent < 0 ? Vector3f::Zero : pose[joint.parent].position;
        const Quaternionf orientation = Quaternionf(Vector3f::Identity_up_LH, bone) * joint.twist;
        pose.emplace_back(orientation.Normalize(), origin + bone);
    }
    return pose;
}

// Parameters in which joints[order[i]] is joint i.
inline Params MakeParams(const std::vector<Joint>& joints, const std::vector<int>& order) {
    const auto minTPose = MakeRootSpacePose(joints, [](const Joint& joint) { return joint.minFactor; });
    const auto maxTPose = MakeRootSpacePose(joints, [](const Joint& joint) { return joint.maxFactor; });
    const auto unscaledTPose = MakeRootSpacePose(joints, [](const Joint&) { return Vector3f::One; });
    Params params;
    for (const int i : order) {
        params.jointNames.push_back(joints[i].name);
        params.parentJointNames.push_back(joints[i].parent < 0 ? "" : joints[joints[i].parent].name);
        params.minTPose.push_back(minTPose[i]);
        params.maxTPose.push_back(maxTPose[i]);
        params.unscaledTPose.push_back(unscaledTPose[i]);
    }
    Velkori_Utility::LogMsgMap messages;
    params.jointNameToIndex = Params::StringArrayToLookupMap(messages, params.jointNames);
    EXPECT_TRUE(params.CheckIsValid(messages));
    return params;
}

inline std::vector<int> InOrder(std::size_t count) {
    std::vector<int> order(count);
    std::iota(order.begin(), order.end(), 0);
    return order;
}

inline std::vector<int> Shuffled(std::size_t count, std::mt19937& random) {
    std::vector<int> order = InOrder(count);
    std::shuffle(order.begin(), order.end(), random);
    return order;
}

inline float RandomBetween(std::mt19937& random, float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random);
}

inline Vector3f RandomVector(std::mt19937& random, float low, float high) {
    const float x = RandomBetween(random, low, high);
    const float y = RandomBetween(random, low, high);
    const float z = RandomBetween(random, low, high);
    return {x, y, z};
}

// A body of 24 joints with arms stretched out sideways, parents before children. The joints that can be known
// joints bear the names of these.
inline std::vector<Joint> BipedJoints() {
    std::vector<Joint> joints = {
        {"root", -1, {0, 0, 0}},
        {"hips", 0, {0, 0.95F, 0}},
        {"spine", 1, {0, 0.12F, 0.01F}},
        {"chest", 2, {0, 0.2F, -0.02F}},
        {"neck", 3, {0, 0.22F, 0.01F}},
        {"head", 4, {0, 0.12F, 0.03F}},
    };

    // Along the right side; the left side mirrors it.
    struct SideJoint {
        const char* name = nullptr;
        const char* parent = nullptr;
        Vector3f bone{};
    };

    const SideJoint sideJoints[] = {
        {"Shoulder", "chest", {0.05F, 0.14F, 0.01F}},
        {"UpperArm", "Shoulder", {0.13F, 0.01F, -0.02F}},
        {"LowerArm", "UpperArm", {0.27F, -0.01F, -0.01F}},
        {"Wrist", "LowerArm", {0.25F, -0.01F, 0.02F}},
        {"Finger", "Wrist", {0.12F, 0, 0.02F}},
        {"UpperLeg", "hips", {0.09F, -0.05F, 0.01F}},
        {"LowerLeg", "UpperLeg", {0.01F, -0.4F, 0.02F}},
        {"Ankle", "LowerLeg", {0, -0.38F, -0.04F}},
        {"Toes", "Ankle", {0.01F, -0.06F, 0.13F}},
    };
    for (const std::string side : {"right", "left"}) {
        const float sign = side == "right" ? 1.0F : -1.0F;
        for (const SideJoint& joint : sideJoints) {
            const std::string parent = joint.parent;
            const std::string parentName = parent == "chest" || parent == "hips" ? parent : side + parent;
            const auto found = std::find_if(joints.begin(), joints.end(),
                [&](const Joint& candidate) { return candidate.name == parentName; });
            joints.push_back({side + joint.name, static_cast<int>(found - joints.begin()),
                joint.bone.Multiply({sign, 1, 1})});
        }
    }
    return joints;
}

// All twelve known joints are those of the same name.
inline Params MakeBipedParams(const std::vector<Joint>& joints, const std::vector<int>& order) {
    Params params = MakeParams(joints, order);
    params.knownJointNames.assign(std::begin(VELKORI_KNOWN_JOINT_NAMES), std::end(VELKORI_KNOWN_JOINT_NAMES));
    return params;
}

inline Params MakeBipedParams() {
    const std::vector<Joint> joints = BipedJoints();
    return MakeBipedParams(joints, InOrder(joints.size()));
}

// The same body with bones that grow each in its own way, in shuffled joint order.
inline Params MakeRandomBipedParams(std::mt19937& random) {
    std::vector<Joint> joints = BipedJoints();
    for (Joint& joint : joints) {
        joint.minFactor = RandomVector(random, 0.7F, 0.9F);
        joint.maxFactor = RandomVector(random, 1.1F, 1.4F);
    }
    return MakeBipedParams(joints, Shuffled(joints.size(), random));
}

// Named joint0, joint1, ... in shuffled order; the first `rootCount` of a list with parents before children
// are roots. There are no known joints.
inline Params MakeRandomTreeParams(std::mt19937& random, int jointCount, int rootCount = 1) {
    std::vector<Joint> joints;
    for (int i = 0; i < jointCount; ++i) {
        Joint joint;
        joint.name = "joint" + std::to_string(i);
        joint.parent = i < rootCount ? -1 : std::uniform_int_distribution<int>(0, i - 1)(random);
        joint.bone = RandomVector(random, -0.3F, 0.3F);
        joint.minFactor = Vector3f::One * RandomBetween(random, 0.6F, 0.9F);
        joint.maxFactor = Vector3f::One * RandomBetween(random, 1.1F, 1.5F);
        joint.twist = RotationOf(RandomVector(random, -1.5F, 1.5F));
        joints.push_back(std::move(joint));
    }
    return MakeParams(joints, Shuffled(joints.size(), random));
}

} // namespace TestSkeletons
