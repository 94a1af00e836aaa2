#include "BipedFile.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

namespace Velkori_Tool_Test {
namespace {

using nlohmann::json;

/** The rig document of a biped's file; the test fails if the tool doesn't make one. */
json MakeRig(const BipedFile& file, const std::vector<std::string>& options = {}) {
    const TestDirectory directory;
    std::vector<std::string> arguments = {
        "rig", directory.Write("biped.bvh", file.Text()), "-o", directory.Path("rig.json")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolRun run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    return json::parse(ReadFile(directory.Path("rig.json")));
}

Point PositionIn(const json& document, const std::string& pose, const std::string& joint) {
    const json& position = document["source"][pose][joint]["position"];
    return {position["x"], position["y"], position["z"]};
}

void ExpectNear(const Point& actual, const Point& expected, const std::string& what) {
    constexpr double tolerance = 1e-5;
    EXPECT_NEAR(actual.x, expected.x, tolerance) << what;
    EXPECT_NEAR(actual.y, expected.y, tolerance) << what;
    EXPECT_NEAR(actual.z, expected.z, tolerance) << what;
}

/** One habit of naming joints: the trunk, then the left limbs, and how right differs from left. */
struct NameStyle {
    std::string habit;
    std::array<std::string, 5> trunk;
    std::array<std::string, 8> left;
    std::string leftWord;
    std::string rightWord;

    BipedNames Names() const {
        BipedNames names;
        for (int joint = 0; joint < BipedJointCount; ++joint) {
            if (joint <= Head) {
                names.at(joint) = trunk.at(joint);
                continue;
            }
            std::string name = left.at((joint - LeftClavicle) % (RightClavicle - LeftClavicle));
            if (joint >= RightClavicle && !leftWord.empty()) {
                name.replace(name.find(leftWord), leftWord.size(), rightWord);
            } else if (joint >= RightClavicle) {
                name += "0";
            }
            names.at(joint) = name;
        }
        return names;
    }
};

/** The habits that naming_habits.txt lists. */
std::vector<NameStyle> ReadNameStyles() {
    std::ifstream file(VELKORI_TOOL_TESTS_DIRECTORY "/naming_habits.txt");
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(file, line);) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        std::vector<std::string>& row = rows.emplace_back(1);
        for (const char letter : line) {
            letter == '|' ? static_cast<void>(row.emplace_back()) : row.back().push_back(letter);
        }
    }
    std::vector<NameStyle> styles;
    for (size_t i = 0; i + 2 < rows.size(); i += 3) {
        NameStyle& style = styles.emplace_back();
        style.habit = rows[i].at(0);
        style.leftWord = rows[i].at(1);
        style.rightWord = rows[i].at(2);
        std::copy_n(rows[i + 1].begin(), style.trunk.size(), style.trunk.begin());
        std::copy_n(rows[i + 2].begin(), style.left.size(), style.left.begin());
    }
    return styles;
}

TEST(RigCommand, KnowsTheJointsOfManyNamingHabits) {
    const std::map<std::string, int> expected = {{"hips", Hips}, {"chest", Chest}, {"neck", Neck},
        {"leftUpperArm", LeftUpperArm}, {"rightUpperArm", RightUpperArm}, {"leftWrist", LeftHand},
        {"rightWrist", RightHand}, {"leftUpperLeg", LeftUpperLeg}, {"rightUpperLeg", RightUpperLeg},
        {"leftAnkle", LeftFoot}, {"rightAnkle", RightFoot}};
    const std::vector<NameStyle> styles = ReadNameStyles();
    EXPECT_EQ(styles.size(), 60U);
    for (const NameStyle& style : styles) {
        BipedFile file;
        file.names = style.Names();
        const json document = MakeRig(file);
        for (const auto& [role, joint] : expected) {
            EXPECT_EQ(document["source"]["knownJoints"].value(role, "none"), file.names.at(joint))
                << style.habit << ", " << role;
        }
        EXPECT_EQ(document["source"]["knownJoints"].value("root", "none"), "GroundRoot") << style.habit;
    }
}

TEST(RigCommand, PutsARootOnTheGroundUnderTheHipsAndMeasuresInMetres) {
    for (const double unitsPerMetre : {1.0, 100.0, 1000.0, 1.0 / 0.0254}) {
        BipedFile file;
        file.unitsPerMetre = unitsPerMetre;
        const json document = MakeRig(file);
        EXPECT_EQ(document["source"]["hierarchy"]["Hips"], "GroundRoot");
        ExpectNear(PositionIn(document, "tpose", "GroundRoot"), {0.0, 0.0, 0.0}, "root");
        ExpectNear(PositionIn(document, "tpose", "Hips"), BipedPosition(Hips), "hips");
        // The document's space is the file's: left at +x.
        ExpectNear(PositionIn(document, "tpose", "LeftHand"), BipedPosition(LeftHand), "left hand");
        EXPECT_EQ(document["config"]["coordinateSpace"]["right"]["x"], -1.0);
        // Without a root the body stands on the ground, too.
        const json rootless = MakeRig(file, {"--known", "root="});
        EXPECT_FALSE(rootless["source"]["knownJoints"].contains("root"));
        ExpectNear(PositionIn(rootless, "tpose", "Hips"), BipedPosition(Hips), "hips of the rootless");
    }
}

/** A turn about one axis, applied to a point. */
Point Turn(char axis, double degrees, const Point& p) {
    const double c = std::cos(degrees * std::acos(-1.0) / 180.0);
    const double s = std::sin(degrees * std::acos(-1.0) / 180.0);
    switch (axis) {
    case 'X':
        return {p.x, c * p.y - s * p.z, s * p.y + c * p.z};
    case 'Y':
        return {c * p.x + s * p.z, p.y, -s * p.x + c * p.z};
    default:
        return {c * p.x - s * p.y, s * p.x + c * p.y, p.z};
    }
}

/** The last channel turns first. */
Point TurnInOrder(const std::string& order, const Point& degrees, Point p) {
    for (const char axis : std::string(order.rbegin(), order.rend())) {
        p = Turn(axis, axis == 'X' ? degrees.x : (axis == 'Y' ? degrees.y : degrees.z), p);
    }
    return p;
}

TEST(RigCommand, ReadsEveryOrderOfRotationsWhichMayDifferFromJointToJoint) {
    const Point upper = {20.0, -35.0, 50.0};
    const Point lower = {-10.0, 25.0, 40.0};
    for (const std::string order : {"XYZ", "XZY", "YXZ", "YZX", "ZXY", "ZYX"}) {
        const std::string otherOrder(order.rbegin(), order.rend());
        BipedFile file;
        file.rotationOrders.at(LeftUpperArm) = order;
        file.rotationOrders.at(LeftLowerArm) = otherOrder;
        file.motion = [&](int joint, int) {
            return JointMotion{joint == LeftUpperArm ? upper : (joint == LeftLowerArm ? lower : Point()), {}};
        };
        const json document = MakeRig(file, {"--rest", "frame:0"});
        // The forearm's bone, turned by the elbow and then by the shoulder, on top of the upper arm's.
        const Point forearm = TurnInOrder(order, upper, TurnInOrder(otherOrder, lower, {0.26, 0.0, 0.0}));
        const Point upperArm = TurnInOrder(order, upper, {0.28, 0.0, 0.0});
        const Point shoulder = BipedPosition(LeftUpperArm);
        ExpectNear(PositionIn(document, "tpose", "LeftHand"),
            {shoulder.x + upperArm.x + forearm.x, shoulder.y + upperArm.y + forearm.y,
                shoulder.z + upperArm.z + forearm.z},
            order);
        // Without its rotations it is the bind pose again.
        ExpectNear(PositionIn(MakeRig(file, {"--rest", "zero"}), "tpose", "LeftHand"),
            BipedPosition(LeftHand), order);
    }
}

TEST(RigCommand, ReadsTheSameRigHoweverItsFileIsWritten) {
    BipedFile plain;
    plain.motion = [](int joint, int) { return JointMotion{{joint * 3.0, -joint * 2.0, joint * 1.0}, {}}; };
    BipedFile windows = plain;
    windows.lineEnd = "\r\n";
    BipedFile exponents = plain;
    exponents.writesExponents = true;
    BipedFile sixChannels = plain;
    sixChannels.hasSixChannelsEverywhere = true;
    const json expected = MakeRig(plain, {"--rest", "frame:0"});
    for (const BipedFile& file : {windows, exponents, sixChannels}) {
        const json document = MakeRig(file, {"--rest", "frame:0"});
        for (const std::string& name : PlainNames()) {
            ExpectNear(PositionIn(document, "tpose", name), PositionIn(expected, "tpose", name), name);
        }
    }
}

TEST(RigCommand, FindsTheAxesOfTheBody) {
    struct Case {
        Point (*axes)(const Point&) = nullptr;
        /** Of the document; where it can't be in the file's axes, plain ones. */
        Point (*documentAxes)(const Point&) = nullptr;
        Point up;
        Point forward;
        Point right;
    };

    // All of them turn the plain biped; a file that mirrors doesn't exist.
    const auto plain = [](const Point& p) { return p; };
    const auto backward = [](const Point& p) { return Point{-p.x, p.y, -p.z}; };
    const auto alongX = [](const Point& p) { return Point{p.z, p.y, -p.x}; };
    const auto lying = [](const Point& p) { return Point{p.x, -p.z, p.y}; };
    const std::array<Case, 3> cases = {Case{backward, backward, {0, 1, 0}, {0, 0, -1}, {1, 0, 0}},
        {alongX, plain, {0, 1, 0}, {0, 0, 1}, {-1, 0, 0}}, {lying, lying, {0, 0, 1}, {0, -1, 0}, {-1, 0, 0}}};
    BipedNames numbers;
    for (int joint = 0; joint < BipedJointCount; ++joint) {
        numbers.at(joint) = "joint" + std::to_string(joint + 1);
    }
    for (const Case& each : cases) {
        for (const BipedNames& names : {PlainNames(), numbers}) {
            BipedFile file;
            file.names = names;
            file.axes = each.axes;
            const bool isTold = names == PlainNames() || each.up.y == 1.0;
            if (!isTold) {
                continue; // without names, up is what the format says
            }
            const json document = MakeRig(file);
            const json& space = document["config"]["coordinateSpace"];
            for (const auto& [axis, expected] : {std::pair{"up", each.up}, std::pair{"forward", each.forward},
                     std::pair{"right", each.right}}) {
                ExpectNear({space[axis]["x"], space[axis]["y"], space[axis]["z"]}, expected, axis);
            }
            EXPECT_EQ(document["source"]["knownJoints"]["leftWrist"], names.at(LeftHand));
            EXPECT_EQ(document["source"]["knownJoints"]["rightAnkle"], names.at(RightFoot));
            ExpectNear(PositionIn(document, "tpose", names.at(LeftHand)),
                each.documentAxes(BipedPosition(LeftHand)), "hand");
        }
    }
}

TEST(RigCommand, MakesNamesThatADocumentCanHold) {
    BipedFile file;
    file.names.at(Head) = "caf\xe9";
    file.names.at(LeftToe) = "Zehe \xc3\xa4";
    file.names.at(RightToe) = "Zehe \xc3\xa4";
    const json document = MakeRig(file);
    const auto names = document["source"]["joints"].get<std::vector<std::string>>();
    for (const std::string name : {"caf\xEF\xBF\xBD", "Zehe \xc3\xa4", "Zehe \xc3\xa4_2"}) {
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
    }
}

TEST(RigCommand, TakesSizesExclusionsAndManifestations) {
    const json document = MakeRig({}, {"--size-range", "0.5:2", "--exclude", "LeftToeBase,RightToeBase",
                                          "--manifestation", "upper=GroundRoot,Hips,Spine"});
    ExpectNear(PositionIn(document, "tposeMin", "Hips"), {0.0, 0.475, 0.0}, "min");
    ExpectNear(PositionIn(document, "tposeMax", "Hips"), {0.0, 1.9, 0.0}, "max");
    EXPECT_EQ(document["source"]["autoMappingExcludedJoints"], json({"LeftToeBase", "RightToeBase"}));
    EXPECT_EQ(document["source"]["manifestations"]["upper"], json({"GroundRoot", "Hips", "Spine"}));
}

TEST(RigCommand, SaysWhichJointItMissesAndTakesItByHand) {
    const TestDirectory directory;
    BipedFile file;
    file.leftOut = {LeftHand};
    const std::string path = directory.Write("handless.bvh", file.Text());
    const ToolRun refused = RunTool({"rig", path, "-o", directory.Path("rig.json")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.errors.find("no joint looks like leftWrist; candidates: "), std::string::npos)
        << refused.errors;
    EXPECT_NE(refused.errors.find("--known leftWrist="), std::string::npos);
    EXPECT_EQ(directory.FileNames(), std::vector<std::string>{"handless.bvh"});

    EXPECT_EQ(MakeRig(file, {"--known", "leftWrist=LeftForeArm"})["source"]["knownJoints"]["leftWrist"],
        "LeftForeArm");
    const json without = MakeRig(file, {"--known", "leftWrist="});
    EXPECT_FALSE(without["source"]["knownJoints"].contains("leftWrist"));
    EXPECT_EQ(without["source"]["knownJoints"]["leftUpperArm"], "LeftArm");

    // Found by its place alone: no certainty, so what else it might be is said.
    BipedFile vague;
    vague.names.at(LeftHand) = "Bone9";
    const ToolRun doubted =
        RunTool({"rig", directory.Write("vague.bvh", vague.Text()), "-o", directory.Path("rig.json")});
    EXPECT_EQ(doubted.exitCode, 0);
    EXPECT_NE(doubted.errors.find("Bone9 is taken for leftWrist"), std::string::npos) << doubted.errors;
    EXPECT_NE(doubted.errors.find("it might be LeftForeArm, "), std::string::npos) << doubted.errors;
}

} // namespace
} // namespace Velkori_Tool_Test
