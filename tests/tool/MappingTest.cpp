#include "ToolRun.h"
#include "TreeFile.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <nlohmann/json.hpp>

namespace Velkori_Tool_Test {
namespace {

using nlohmann::json;

Point NoMotion(const std::string& /*joint*/, int /*frame*/) {
    return {};
}

/** What drives each target joint, as the configuration has it. */
json PrepareMapping(
    const std::string& source, const std::string& target, const std::vector<std::string>& options = {}) {
    const TestDirectory directory;
    std::vector<std::string> arguments = {"prepare", "--source", directory.Write("clip.bvh", source),
        "--target", directory.Write("hero.bvh", target), "-o", directory.Path("config.json")};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolRun run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    return run.exitCode == 0 ? json::parse(ReadFile(directory.Path("config.json")))["mapping"]["max"]
                             : json();
}

/** The source joints that turn a target joint, with their weights. */
std::map<std::string, double> Drivers(const json& mapping, const std::string& joint) {
    std::map<std::string, double> drivers;
    const json& own = mapping.value(joint, json::object());
    const json& source = own.contains("source") ? own["source"] : own;
    if (own.contains("target") || source.value("type", "source") == "source") {
        const json entries = source.value("mappings", json::object());
        for (const auto& [name, weights] : entries.items()) {
            if (weights["weightRotation"] > 0.0) {
                drivers[name] = weights["weightRotation"];
            }
        }
    }
    return drivers;
}

using Only = std::map<std::string, double>;

/** One habit of naming the joints of fingers: by the side, the finger from the thumb, and the place from 0.
 */
struct FingerHabit {
    const char* name;
    std::function<std::string(bool isLeft, int finger, int place)> joint;
    /** Whether fingers hang from a joint inside the palm that is named so. */
    std::string palm;
};

const std::vector<FingerHabit>& FingerHabits() {
    static const std::array<std::string, 5> capitals = {"Thumb", "Index", "Middle", "Ring", "Pinky"};
    static const std::array<std::string, 5> small = {"thumb", "index", "middle", "ring", "pinky"};
    static const std::array<std::string, 5> japanese = {"親指", "人指", "中指", "薬指", "小指"};
    static const std::array<std::string, 3> places = {"Proximal", "Intermediate", "Distal"};
    static const std::vector<FingerHabit> habits = {
        {"captures",
            [](bool isLeft, int finger, int place) {
                return (isLeft ? "LeftHand" : "RightHand") + capitals.at(finger) + std::to_string(place + 1);
            },
            ""},
        {"engines",
            [](bool isLeft, int finger, int place) {
                return small.at(finger) + "_0" + std::to_string(place + 1) + (isLeft ? "_l" : "_r");
            },
            "metacarpal"},
        {"numbers",
            [](bool isLeft, int finger, int place) {
                return "finger" + std::to_string(finger + 1) + "-" + std::to_string(place + 1) +
                       (isLeft ? ".L" : ".R");
            },
            "metacarpal"},
        {"fingers from nought",
            [](bool isLeft, int finger, int place) {
                return std::string("Bip01 ") + (isLeft ? "L" : "R") + " Finger" + std::to_string(finger) +
                       (place == 0 ? "" : std::to_string(place));
            },
            ""},
        {"words for places",
            [](bool isLeft, int finger, int place) {
                return (isLeft ? "left" : "right") + capitals.at(finger) + places.at(place);
            },
            ""},
        {"Japanese",
            [](bool isLeft, int finger, int place) {
                return (isLeft ? "左" : "右") + japanese.at(finger) + std::array{"０", "１", "２"}.at(place);
            },
            ""}};
    return habits;
}

std::vector<TreeJoint> WithFingers(const FingerHabit& habit) {
    std::vector<TreeJoint> joints = BipedTree();
    for (const bool isLeft : {true, false}) {
        const int hand = IndexOf(joints, isLeft ? "LeftHand" : "RightHand");
        const double sign = isLeft ? 1.0 : -1.0;
        for (int finger = 0; finger < 5; ++finger) {
            int parent = hand;
            const double z = 0.04 - 0.02 * finger;
            if (!habit.palm.empty() && finger > 0) {
                joints.push_back({habit.palm + std::to_string(finger) + (isLeft ? ".L" : ".R"), parent,
                    {sign * 0.75, 1.45, z}});
                parent = static_cast<int>(joints.size()) - 1;
            }
            for (int place = 0; place < 3; ++place) {
                joints.push_back(
                    {habit.joint(isLeft, finger, place), parent, {sign * (0.79 + 0.03 * place), 1.45, z}});
                parent = static_cast<int>(joints.size()) - 1;
            }
        }
    }
    return joints;
}

TEST(PrepareCommand, MapsFingersOneToOneBetweenAllHabits) {
    for (size_t i = 0; i < FingerHabits().size(); ++i) {
        const FingerHabit& from = FingerHabits()[i];
        const FingerHabit& to = FingerHabits()[(i + 1) % FingerHabits().size()];
        const json mapping =
            PrepareMapping(TreeText(WithFingers(from), 1, NoMotion), TreeText(WithFingers(to), 1, NoMotion));
        for (int joint = 0; joint < 30; ++joint) {
            const bool isLeft = joint < 15;
            const int finger = joint / 3 % 5;
            const int place = joint % 3;
            EXPECT_EQ(Drivers(mapping, to.joint(isLeft, finger, place)),
                Only({{from.joint(isLeft, finger, place), 1.0}}))
                << from.name << " to " << to.name;
        }
    }
}

TEST(PrepareCommand, MapsWhatTheGeneratedMappingsLeaveOut) {
    std::vector<TreeJoint> source = BipedTree();
    const auto add = [](std::vector<TreeJoint>& joints, const std::string& name, const std::string& parent,
                         const Point& position) {
        joints.push_back({name, IndexOf(joints, parent), position});
    };
    add(source, "LeftEye", "Head", {0.03, 1.67, 0.08});
    add(source, "Jaw", "Head", {0.0, 1.6, 0.05});
    // The same body in an engine's names, with a longer spine and neck, divided bones and handles for IK.
    BipedNames names = {"pelvis", "spine_01", "spine_04", "neck_01", "head", "clavicle_l", "upperarm_l",
        "lowerarm_l", "hand_l", "thigh_l", "calf_l", "foot_l", "ball_l", "clavicle_r", "upperarm_r",
        "lowerarm_r", "hand_r", "thigh_r", "calf_r", "foot_r", "ball_r"};
    std::vector<TreeJoint> target = {{"root", -1, {0.0, 0.0, 0.0}}};
    for (TreeJoint joint : BipedTree(names)) {
        ++joint.parent;
        target.push_back(joint);
    }
    const auto insert = [&](const std::string& name, const std::string& parent, const std::string& child,
                            const Point& position) {
        add(target, name, parent, position);
        target[IndexOf(target, child)].parent = static_cast<int>(target.size()) - 1;
    };
    insert("spine_02", "spine_01", "spine_04", {0.0, 1.13, 0.0});
    insert("spine_03", "spine_02", "spine_04", {0.0, 1.25, 0.0});
    target[IndexOf(target, "spine_04")].position.y = 1.4;
    insert("neck_02", "neck_01", "head", {0.0, 1.55, 0.0});
    insert("thigh02_l", "thigh_l", "calf_l", {0.10, 0.7, 0.005});
    add(target, "eye_l", "head", {0.03, 1.66, 0.08});
    add(target, "jaw", "head", {0.0, 1.6, 0.05});
    add(target, "ik_foot_root", "root", {0.0, 0.0, 0.0});
    add(target, "ik_foot_l", "ik_foot_root", BipedPosition(LeftFoot));
    add(target, "ik_hand_gun", "root", BipedPosition(RightHand));
    add(target, "ik_hand_r", "ik_hand_gun", BipedPosition(RightHand));
    const std::string text = TreeText(source, 1, NoMotion);
    const json mapping = PrepareMapping(text, TreeText(target, 1, NoMotion));

    const std::map<std::string, std::string> expected = {{"pelvis", "Hips"}, {"neck_01", "Neck"},
        {"neck_02", "Neck"}, {"head", "Head"}, {"eye_l", "LeftEye"}, {"jaw", "Jaw"},
        {"clavicle_r", "RightShoulder"}, {"upperarm_l", "LeftArm"}, {"lowerarm_r", "RightForeArm"},
        {"hand_l", "LeftHand"}, {"thigh_l", "LeftUpLeg"}, {"thigh02_l", "LeftUpLeg"}, {"calf_r", "RightLeg"},
        {"foot_l", "LeftFoot"}, {"ball_r", "RightToeBase"}, {"spine_01", "Spine"}, {"spine_02", "Spine"},
        {"spine_04", "Spine1"}};
    for (const auto& [joint, driver] : expected) {
        EXPECT_EQ(Drivers(mapping, joint), Only({{driver, 1.0}})) << joint;
    }
    // It lies beside the spine's first bone by 5 of its 15 cm and beside the second one by the rest.
    const auto drivers = Drivers(mapping, "spine_03");
    ASSERT_EQ(drivers.size(), 2u);
    EXPECT_NEAR(drivers.at("Spine"), 1.0 / 3.0, 0.01);
    EXPECT_NEAR(drivers.at("Spine1"), 2.0 / 3.0, 0.01);
    for (const auto& [handle, joint] : {std::pair{"ik_foot_l", "foot_l"}, {"ik_hand_r", "hand_r"}}) {
        EXPECT_EQ(mapping[handle]["type"], "target") << handle;
        EXPECT_EQ(mapping[handle]["behavior"], "ikDerived") << handle;
        EXPECT_EQ(mapping[handle]["mappings"].items().begin().key(), joint);
    }
    // By hand it is as told, by options or in a file.
    const TestDirectory directory;
    const std::string file = directory.Write("mapping.txt", "# ours\n\nneck_02 = Neck:1, Head:3\r\njaw =\n");
    for (const std::vector<std::string>& options :
        {std::vector<std::string>{"--map", "neck_02=Neck:1,Head:3", "--unmap", "jaw"}, {"--mapping", file}}) {
        const json told = PrepareMapping(text, TreeText(target, 1, NoMotion), options);
        EXPECT_EQ(Drivers(told, "neck_02"), Only({{"Neck", 1.0}, {"Head", 3.0}})) << options[0];
        EXPECT_FALSE(told.contains("jaw")) << options[0];
    }
}

/** Where a joint's way to another points in the fourth frame of what becomes of a clip on such a hero. The
 * clip's configuration is made of itself unless another file of its rig is given. */
Point WayInResult(const std::string& clip, const std::string& from, const std::string& to,
    const std::string& rigText = {}, const std::vector<std::string>& options = {},
    const std::vector<TreeJoint>& heroJoints = BipedTree()) {
    const TestDirectory directory;
    const std::string path = directory.Write("clip.bvh", clip);
    const std::string source = rigText.empty() ? path : directory.Write("rig.bvh", rigText);
    const std::string hero = directory.Write("hero.bvh", TreeText(heroJoints, 1, NoMotion));
    const std::string config = directory.Path("config.json");
    EXPECT_EQ(RunTool({"prepare", "--source", source, "--target", hero, "-o", config}).exitCode, 0);
    std::vector<std::string> arguments = {
        "retarget", config, path, "-o", directory.Path("out.bvh"), "--force"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    const ToolRun run = RunTool(arguments);
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    // That frame is the rig's rest pose, which shows where its joints are.
    const ToolRun rig = RunTool({"rig", directory.Path("out.bvh"), "-o", directory.Path("rig.json"), "--rest",
        "frame:3", "--up", "y"});
    EXPECT_EQ(rig.exitCode, 0) << rig.errors;
    const json document = json::parse(ReadFile(directory.Path("rig.json")));
    const json& pose = document["source"]["tpose"];
    const auto place = [&](const std::string& joint, const char* axis) {
        return pose[joint]["position"][axis].get<double>();
    };
    return {place(to, "x") - place(from, "x"), place(to, "y") - place(from, "y"),
        place(to, "z") - place(from, "z")};
}

TEST(RetargetCommand, SeesTheBodyInItsMotionWhereTheZeroPoseIsNone) {
    // The left arm hangs down, the right one is held out, and the body stands.
    const TreeMotion motion = [](const std::string& joint, int /*frame*/) {
        return Point{0.0, 0.0, joint == "LeftArm" ? -80.0 : 0.0};
    };
    for (const auto& [name, clip] : {std::pair{"plain", TreeText(BipedTree(), 4, motion)},
             {"along x", TreeTextAlongX(BipedTree(), 4, motion)},
             // Its zero pose stands along y, and all its motion along z.
             {"laid down", TreeText(BipedTree(), 4, [&](const std::string&joint, int frame) {
                  return joint == "Hips" ? Point{90.0, 0.0, 0.0} : motion(joint, frame);
              })}}) {
        const Point trunk = WayInResult(clip, "Hips", "Neck");
        EXPECT_GT(trunk.y, 0.5) << name;
        EXPECT_LT(std::hypot(trunk.x, trunk.z), 0.03) << name;
        const Point arm = WayInResult(clip, "LeftArm", "LeftForeArm");
        EXPECT_LT(arm.y, -0.95 * 0.28 * std::sin(1.39)) << name;
        const Point other = WayInResult(clip, "RightArm", "RightForeArm");
        EXPECT_GT(std::hypot(other.x, other.z), 0.95 * 0.28) << name;
    }
}

TEST(RetargetCommand, IsToldWhereAClipWithOtherAxesStandsAtRest) {
    // Every joint's axes are others than the configuration's, and frame 0 is its rest pose.
    const TreeMotion bow = [](const std::string& joint, int frame) {
        return joint == "Spine" && frame > 0 ? Point{30.0, 0.0, 0.0} : Point{};
    };
    const std::string clip = TreeTextAlongX(BipedTree(), 4, bow);
    const std::string rig = TreeText(BipedTree(), 1, NoMotion);
    const Point plain = WayInResult(TreeText(BipedTree(), 4, bow), "Spine", "Neck", rig);
    ASSERT_GT(plain.z, 0.1);
    const Point told = WayInResult(clip, "Spine", "Neck", rig, {"--rest", "frame:0"});
    EXPECT_LT(std::hypot(told.x - plain.x, told.y - plain.y, told.z - plain.z), 0.01);
}

TEST(RetargetCommand, StandsWhicheverWayTheClipsBodyFaces) {
    // Up and facing along each axis; the library takes them one by one, and mirrors.
    using Axes = Point (*)(const Point&);
    for (const Axes axes : {Axes([](const Point& p) {
                                return Point{p.z, p.y, -p.x};
                            }),
             Axes([](const Point& p) {
                 return Point{-p.z, p.y, p.x};
             }),
             Axes([](const Point& p) {
                 return Point{p.z, p.x, p.y};
             }),
             Axes([](const Point& p) {
                 return Point{p.y, -p.x, p.z};
             })}) {
        std::vector<TreeJoint> joints = BipedTree();
        for (TreeJoint& joint : joints) {
            joint.position = axes(joint.position);
        }
        const std::string clip = TreeText(joints, 4, NoMotion);
        EXPECT_GT(WayInResult(clip, "Hips", "Neck").y, 0.4);
        EXPECT_GT(WayInResult(clip, "LeftArm", "LeftForeArm").x, 0.2);
        EXPECT_GT(WayInResult(clip, "LeftFoot", "LeftToeBase").z, 0.05);
    }
}

TEST(RetargetCommand, TakesABodyThatLiesMostOfAClipForALyingOne) {
    // Upright in the first frames, and then on its back; nothing but the frames says where up is.
    const std::string clip = TreeTextAlongX(BipedTree(), 20, [](const std::string& joint, int frame) {
        return Point{joint == "Hips" && frame > 4 ? -90.0 : 0.0, 0.0, joint == "LeftArm" ? -80.0 : 0.0};
    });
    EXPECT_GT(WayInResult(clip, "Hips", "Neck").y, 0.4);
}

TEST(RetargetCommand, SaysWhereABodyThatNeverStandsMayLie) {
    // On its back in all frames, near the ground; the zero pose is no body, so up may be either axis.
    const TestDirectory directory;
    std::vector<TreeJoint> joints = BipedTree();
    for (TreeJoint& joint : joints) {
        joint.position = {joint.position.x, joint.position.y - 0.85, joint.position.z + 0.87};
    }
    const std::string clip =
        directory.Write("asleep.bvh", TreeTextAlongX(joints, 4, [](const std::string& joint, int /*frame*/) {
            return Point{joint == "Hips" ? 90.0 : 0.0, 0.0, joint == "LeftArm" ? -80.0 : 0.0};
        }));
    const std::string config = directory.Path("config.json");
    ASSERT_EQ(RunTool({"prepare", "--source", clip, "--target", clip, "-o", config}).exitCode, 0);
    const std::vector<std::string> arguments = {"retarget", config, clip, "-o", directory.Path("out.glb")};
    const ToolRun doubted = RunTool(arguments);
    EXPECT_EQ(doubted.exitCode, 1);
    EXPECT_NE(doubted.errors.find("--up says which it is"), std::string::npos) << doubted.errors;
    for (const std::vector<std::string>& options :
        {std::vector<std::string>{"--force"}, {"--up", "y"}, {"--up", "z"}}) {
        std::vector<std::string> told = arguments;
        told.insert(told.end(), options.begin(), options.end());
        const ToolRun run = RunTool(told);
        EXPECT_EQ(run.exitCode, 0) << options.back() << run.errors;
    }
}

TEST(RetargetCommand, BendsFingersAsTheyAreWhereTheRestPoseIsAFrame) {
    // A fist in all frames, and in the zero pose no body at all; the hero's fingers are straight.
    const FingerHabit& habit = FingerHabits().front();
    const std::vector<TreeJoint> joints = WithFingers(habit);
    const std::string clip = TreeTextAlongX(joints, 4, [](const std::string& joint, int /*frame*/) {
        return Point{0.0, 0.0,
            joint == "LeftArm"                                       ? -80.0
            : joint == "LeftHandIndex2" || joint == "LeftHandIndex3" ? -60.0
                                                                     : 0.0};
    });
    const Point first = WayInResult(clip, "LeftHandIndex1", "LeftHandIndex2", {}, {}, joints);
    const Point second = WayInResult(clip, "LeftHandIndex2", "LeftHandIndex3", {}, {}, joints);
    const double bend =
        std::atan2(first.x * second.y - first.y * second.x, first.x * second.x + first.y * second.y);
    EXPECT_NEAR(bend * 180.0 / std::acos(-1.0), -60.0, 5.0);
}

TEST(RigCommand, ReadsAFileByItsContentAndTheWantedPartOfItsMotion) {
    const TestDirectory directory;
    const std::string clip =
        directory.Write("clip.txt", TreeText(BipedTree(), 31, [](const std::string& joint, int frame) {
            return Point{0.0, 0.0, joint == "LeftArm" ? -1.0 * frame : 0.0};
        }));
    const std::string config = directory.Path("config.json");
    ASSERT_EQ(RunTool({"prepare", "--source", clip, "--target", clip, "-o", config}).exitCode, 0);
    const std::string scene = directory.Path("two.glb");
    ASSERT_EQ(RunTool({"retarget", config, clip, "-o", scene, "--force"}).exitCode, 0);

    // 31 frames at 30 a second last one second.
    struct Case {
        std::vector<std::string> options;
        int frames;
    };

    for (const std::string& file : {clip, scene}) {
        for (const Case& each : {Case{{}, 31}, {{"--fps", "10"}, 11}, {{"--from", "0.5"}, 16},
                 {{"--from", "0.2", "--to", "0.4"}, 7}}) {
            std::vector<std::string> arguments = {
                "retarget", config, file, "-o", directory.Path("out.bvh"), "--force"};
            arguments.insert(arguments.end(), each.options.begin(), each.options.end());
            const ToolRun run = RunTool(arguments);
            EXPECT_EQ(run.exitCode, 0) << run.errors;
            EXPECT_NE(
                ReadFile(directory.Path("out.bvh")).find("Frames: " + std::to_string(each.frames) + "\n"),
                std::string::npos)
                << file << ", " << each.frames;
        }
    }
    const ToolRun other =
        RunTool({"retarget", config, scene, "-o", directory.Path("out.bvh"), "--animation", "2"});
    EXPECT_EQ(other.exitCode, 1);
    EXPECT_NE(other.errors.find("no animation 2"), std::string::npos) << other.errors;
    EXPECT_EQ(
        RunTool({"retarget", config, scene, "-o", directory.Path("out.bvh"), "--animation", "1", "--force"})
            .exitCode,
        0);
}

TEST(RigCommand, TakesWordsOfAUsersOwn) {
    const TestDirectory directory;
    BipedFile file;
    file.names.at(LeftHand) = "LeftGrabber";
    file.names.at(RightHand) = "RightGrabber";
    const std::string path = directory.Write("rig.bvh", file.Text());
    const std::string names = directory.Write("names.txt", "# ours\nwrist: grabber\n");
    const auto sureness = [&](const std::vector<std::string>& options) {
        std::vector<std::string> arguments = {"rig", path, "-o", directory.Path("rig.json")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolRun run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors;
        const size_t row = run.output.find("LeftGrabber");
        return row == std::string::npos ? 0.0 : std::stod(run.output.substr(row + 11));
    };
    EXPECT_GT(sureness({"--names", names}), sureness({}) + 30.0);
    const ToolRun refused = RunTool(
        {"rig", path, "-o", directory.Path("rig.json"), "--names", directory.Write("bad.txt", "tail: x\n")});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_NE(refused.errors.find("line 1"), std::string::npos) << refused.errors;
}

} // namespace
} // namespace Velkori_Tool_Test
