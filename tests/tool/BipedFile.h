#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

namespace Velkori_Tool_Test {

/** The joints of the bipeds that the tests write, parents first. */
enum BipedJoint {
    Hips,
    Spine,
    Chest,
    Neck,
    Head,
    LeftClavicle,
    LeftUpperArm,
    LeftLowerArm,
    LeftHand,
    LeftUpperLeg,
    LeftLowerLeg,
    LeftFoot,
    LeftToe,
    RightClavicle,
    RightUpperArm,
    RightLowerArm,
    RightHand,
    RightUpperLeg,
    RightLowerLeg,
    RightFoot,
    RightToe,
    BipedJointCount,
};

inline constexpr std::array<int, BipedJointCount> bipedParents = {-1, Hips, Spine, Chest, Neck, Chest,
    LeftClavicle, LeftUpperArm, LeftLowerArm, Hips, LeftUpperLeg, LeftLowerLeg, LeftFoot, Chest,
    RightClavicle, RightUpperArm, RightLowerArm, Hips, RightUpperLeg, RightLowerLeg, RightFoot};

struct Point {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
};

/** Where the joints are in the rest pose: y up, facing z, left at +x, in metres, with the toes on the ground.
 */
Point BipedPosition(int joint);

using BipedNames = std::array<std::string, BipedJointCount>;

/** Plain names that the tool knows: "Hips", "LeftArm" and so on. */
const BipedNames& PlainNames();

/** What a joint does in a frame: degrees about x, y and z, and for the hips a way from the rest pose. */
struct JointMotion {
    Point degrees;
    Point moved;
};

/** How the file is written. */
struct BipedFile {
    BipedNames names = PlainNames();
    /** The order of each joint's rotation channels. */
    std::array<std::string, BipedJointCount> rotationOrders = [] {
        std::array<std::string, BipedJointCount> orders;
        orders.fill("ZXY");
        return orders;
    }();
    bool hasSixChannelsEverywhere = false;
    bool writesExponents = false;
    std::string lineEnd = "\n";
    double unitsPerMetre = 100.0;
    /** The file's axes of a place in the plain ones. */
    std::function<Point(const Point&)> axes = [](const Point& p) { return p; };
    /** Joints that the file leaves out, with all below them. */
    std::vector<int> leftOut;
    int frameCount = 1;
    /** The count that the file states, if it lies. */
    int statedFrameCount = -1;
    double frameSeconds = 0.01;
    std::function<JointMotion(int joint, int frame)> motion = [](int, int) { return JointMotion(); };

    std::string Text() const;
};

} // namespace Velkori_Tool_Test
