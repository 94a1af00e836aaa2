#include "SkinnedFile.h"
#include "ToolRun.h"

#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>

namespace Velkori_Tool_Test {
namespace {

using JSON = nlohmann::json;

double Distance(const Point& a, const Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

double AngleBetween(const Point& a, const Point& b) {
    const double cosine =
        (a.x * b.x + a.y * b.y + a.z * b.z) / (std::hypot(a.x, a.y, a.z) * std::hypot(b.x, b.y, b.z));
    return std::acos(std::clamp(cosine, -1.0, 1.0)) * 180.0 / std::acos(-1.0);
}

Point Way(const std::vector<Point>& places, int from, int to) {
    return {places[to].x - places[from].x, places[to].y - places[from].y, places[to].z - places[from].z};
}

constexpr int squatFrames = 60;

/** Both legs bend and stretch over feet that stay, and the arms swing; then the body goes a step to the side.
 */
BipedFile SquatFile() {
    BipedFile file;
    file.frameCount = squatFrames;
    file.frameSeconds = 1.0 / 30.0;
    file.motion = [](int joint, int frame) {
        const double pi = std::acos(-1.0);
        const double bend = 25.0 - 25.0 * std::cos(2.0 * pi * frame / (squatFrames - 1));
        JointMotion motion;
        const auto isOneOf = [&](int left, int right) { return joint == left || joint == right; };
        if (joint == Hips) {
            // Thigh and shin are as long, and lean by the same angle to either side of the knee.
            const double lean = std::atan2(0.01, 0.42);
            const double length = std::hypot(0.42, 0.01);
            motion.moved.y = -2.0 * length * (std::cos(lean) - std::cos(lean + bend * pi / 180.0));
        } else if (isOneOf(LeftUpperLeg, RightUpperLeg) || isOneOf(LeftFoot, RightFoot)) {
            motion.degrees.x = -bend;
        } else if (isOneOf(LeftLowerLeg, RightLowerLeg)) {
            motion.degrees.x = 2.0 * bend;
        } else if (isOneOf(LeftUpperArm, RightUpperArm)) {
            motion.degrees = {0.0, bend, joint == LeftUpperArm ? -60.0 : 60.0};
        } else if (isOneOf(LeftLowerArm, RightLowerArm)) {
            motion.degrees.y = joint == LeftLowerArm ? -bend : bend;
        }
        return motion;
    };
    return file;
}

/** A body of other proportions: short legs with long thighs, wide hips, a long trunk. */
SkinnedFile OtherBody() {
    SkinnedFile file;
    for (int joint = 0; joint < BipedJointCount; ++joint) {
        Point& p = file.positions.at(joint);
        const bool isLeg = (joint >= LeftUpperLeg && joint <= LeftToe) || joint >= RightUpperLeg;
        const int part = (joint - LeftUpperLeg) % (RightClavicle - LeftClavicle);
        constexpr std::array<double, 4> heights = {0.72, 0.36, 0.10, 0.0};
        if (isLeg) {
            p.x *= 1.4;
            p.y = heights.at(part);
        } else {
            p.y = 0.74 + (p.y - 0.95) * 1.1;
        }
    }
    return file;
}

/** A directory with the squat, a character and the configuration between them. */
class Character : public testing::Test {
  protected:
    void Prepare(const SkinnedFile& file, const std::string& name = "hero.glb") {
        hero = directory.Write(name, file.Bytes());
        const ToolRun run = RunTool({"prepare", "--source", clip, "--target", hero, "-o", config});
        ASSERT_EQ(run.exitCode, 0) << run.errors;
    }

    GLBFile Retarget(std::vector<std::string> options = {}, const std::string& out = "out.glb") {
        std::vector<std::string> arguments = {"retarget", config, clip, "-o", directory.Path(out)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const ToolRun run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, 0) << run.errors << run.output;
        return GLBFile(ReadFile(directory.Path(out)));
    }

    static int Node(const GLBFile& file, int joint) { return file.NodeNamed(PlainNames().at(joint)); }

    TestDirectory directory;
    std::string clip = directory.Write("squat.bvh", SquatFile().Text());
    std::string config = directory.Path("config.json");
    std::string hero;
};

TEST_F(Character, ComesBackAsItWasWithOneMoreAnimation) {
    struct Case {
        bool isScaled = false;
        bool isMirrored = false;
        Point away;
    };

    for (const Case& each :
        {Case{false, false, {}}, {true, false, {}}, {false, true, {}}, {false, false, {3.0, 0.0, -2.0}}}) {
        SkinnedFile skinned = OtherBody();
        skinned.isUnderScaledArmature = each.isScaled;
        skinned.change = [&](JSON& document) {
            JSON& armature = document["nodes"][0];
            armature["translation"] = {each.away.x, each.away.y, each.away.z};
            if (each.isMirrored) {
                // The mirror turns what its left is to the right, and is bound so.
                armature["scale"] = {-1.0, 1.0, 1.0};
            }
        };
        for (Point& place : skinned.positions) {
            place.x *= each.isMirrored ? -1.0 : 1.0;
        }
        Prepare(skinned);
        const GLBFile before(ReadFile(hero));
        const GLBFile after = Retarget();
        for (const auto& [member, value] : before.document.items()) {
            const JSON& now = after.document[member];
            if (member == "buffers") {
                continue;
            }
            // Lists only grow, and what they held is as it was.
            const bool grows = member == "animations" || member == "accessors" || member == "bufferViews";
            ASSERT_EQ(now.size() > value.size(), grows) << member;
            for (size_t i = 0; value.is_array() && i < value.size(); ++i) {
                EXPECT_EQ(now[i], value[i]) << member << " " << i;
            }
            EXPECT_TRUE(value.is_array() || now == value) << member;
        }
        ASSERT_EQ(after.document["animations"].size(), 2U);
        EXPECT_EQ(after.document["animations"][1]["name"], "squat");
        EXPECT_EQ(after.FrameCount(), squatFrames);
        EXPECT_EQ(before.Floats(2), after.Floats(2));
        // It stands in the world as the skeleton alone does.
        const GLBFile bones = Retarget({"--bones"}, "bones.glb");
        for (const int frame : {0, 10, 30}) {
            const std::vector<Point> places = after.Frame(frame);
            const std::vector<Point> expected = bones.Frame(frame);
            for (int joint = 0; joint < BipedJointCount; ++joint) {
                const Point& place = places[Node(after, joint)];
                EXPECT_LT(Distance({place.x - each.away.x, place.y - each.away.y, place.z - each.away.z},
                              expected[Node(bones, joint)]),
                    1e-4)
                    << PlainNames().at(joint) << " in frame " << frame;
            }
        }
    }
}

TEST_F(Character, KeepsItsBonesAndItsFeetWhereTheyStand) {
    const SkinnedFile skinned = OtherBody();
    Prepare(skinned);
    const GLBFile result = Retarget();
    const auto node = [&](int joint) { return Node(result, joint); };
    const double sourceLeg = 2.0 * std::hypot(0.42, 0.01);
    const double targetLeg = Distance(skinned.positions[LeftUpperLeg], skinned.positions[LeftLowerLeg]) +
                             Distance(skinned.positions[LeftLowerLeg], skinned.positions[LeftFoot]);
    const double firstHeight = result.Frame(0)[node(LeftUpperLeg)].y;
    double lowest = 0.0;
    std::vector<Point> before;
    for (int frame = 0; frame < squatFrames; ++frame) {
        const std::vector<Point> places = result.Frame(frame);
        for (int joint = 1; joint < BipedJointCount; ++joint) {
            const int parent = bipedParents.at(joint);
            EXPECT_NEAR(Distance(places[node(joint)], places[node(parent)]),
                Distance(skinned.positions.at(joint), skinned.positions.at(parent)), 1e-4)
                << PlainNames().at(joint);
        }
        for (const int foot : {LeftFoot, RightFoot, LeftToe, RightToe}) {
            EXPECT_NEAR(places[node(foot)].y, skinned.positions.at(foot).y, 0.005) << foot << " " << frame;
            if (!before.empty()) {
                EXPECT_LT(Distance(places[node(foot)], before[node(foot)]), 0.002) << foot << " " << frame;
            }
        }
        // The hips' way is the captured one in the scale of the legs.
        const double lowered = SquatFile().motion(Hips, frame).moved.y * targetLeg / sourceLeg;
        EXPECT_NEAR(places[node(LeftUpperLeg)].y - firstHeight, lowered, 0.005) << frame;
        lowest = std::min(lowest, lowered);
        // Knees stay in front; the arm points as the captured one, whatever the body's proportions.
        EXPECT_GT(places[node(LeftLowerLeg)].z, places[node(LeftUpperLeg)].z - 0.01);
        const double armTurn = -60.0 * std::acos(-1.0) / 180.0;
        if (frame == 0) {
            EXPECT_LT(AngleBetween(Way(places, node(LeftUpperArm), node(LeftLowerArm)),
                          {std::cos(armTurn), std::sin(armTurn), 0.0}),
                0.5);
        }
        before = places;
    }
    EXPECT_LT(lowest, -0.2);
}

TEST_F(Character, CarriesItsWayWhereItIsToldTo) {
    BipedFile walk = SquatFile();
    walk.motion = [squat = walk.motion](int joint, int frame) {
        JointMotion motion = squat(joint, frame);
        motion.moved.z += joint == Hips ? 0.02 * frame : 0.0;
        return motion;
    };
    clip = directory.Write("walk.bvh", walk.Text());
    Prepare(SkinnedFile());
    const auto way = [&](const GLBFile& file, int node) {
        return file.Frame(squatFrames - 1)[node].z - file.Frame(0)[node].z;
    };
    const double expected = 0.02 * (squatFrames - 1);
    const GLBFile onHips = Retarget({"--force"});
    EXPECT_NEAR(way(onHips, Node(onHips, Hips)), expected, 0.01);
    const GLBFile inPlace = Retarget({"--root-motion", "in-place"});
    EXPECT_NEAR(way(inPlace, Node(inPlace, Hips)), 0.0, 0.01);
    // The skeleton alone has the root joint that this character lacks.
    const GLBFile onRoot = Retarget({"--force", "--root-motion", "root", "--bones"});
    const int root = onRoot.NodeNamed("GroundRoot");
    ASSERT_GE(root, 0);
    EXPECT_NEAR(way(onRoot, root), expected, 0.01);
    EXPECT_NEAR(onRoot.Frame(30)[root].y, 0.0, 1e-4);
    EXPECT_NEAR(way(onRoot, Node(onRoot, Hips)), expected, 0.01);
    const ToolRun said = RunTool(
        {"retarget", config, clip, "-o", directory.Path("out.glb"), "--force", "--root-motion", "root"});
    EXPECT_NE(said.errors.find("has no root joint, so its hips carry the way"), std::string::npos)
        << said.errors;
}

/** Turns a node as in a scene that is stored in a pose; by a quaternion without a part about y. */
void TurnNode(JSON& document, const std::string& name, double x, double z) {
    for (JSON& node : document["nodes"]) {
        if (node["name"] == name) {
            node["rotation"] = {x, 0.0, z, std::sqrt(1.0 - x * x - z * z)};
        }
    }
}

TEST_F(Character, StandsAsItIsBoundHoweverItsNodesAreStored) {
    const auto lie = [](JSON& document) {
        TurnNode(document, "Hips", -std::sqrt(0.5), 0.0);
        document["nodes"][3]["translation"] = {0.0, 0.1, -1.0};
        TurnNode(document, "LeftArm", 0.0, -0.6);
    };
    const auto crouch = [](JSON& document) {
        document["nodes"][3]["translation"] = {0.0, 0.6, 0.0};
        TurnNode(document, "Hips", 0.3, 0.1);
        TurnNode(document, "LeftUpLeg", -0.6, 0.0);
        TurnNode(document, "LeftLeg", 0.7, 0.0);
        TurnNode(document, "RightUpLeg", -0.6, 0.0);
        TurnNode(document, "RightLeg", 0.7, 0.0);
    };
    const auto wearHat = [](JSON& document) {
        // A second mesh is bound to the head alone, and comes first.
        constexpr int head = 3 + Head;
        JSON& accessor = document["accessors"].emplace_back(document["accessors"][2]);
        accessor["count"] = 1;
        accessor["byteOffset"] = Head * 64;
        document["skins"].push_back(
            {{"joints", {head}}, {"inverseBindMatrices", document["accessors"].size() - 1}});
        document["meshes"].push_back(document["meshes"][0]);
        document["nodes"][2]["mesh"] = 1;
        document["nodes"][2]["skin"] = 1;
        document["nodes"][1].erase("children");
        document["scenes"][0]["nodes"] = {2, 0, 1};
    };

    // A handle on the left foot as stored, below a helper that a mesh is bound to, where the hips are bound.
    const auto hold = [](JSON& document) {
        const size_t helper = document["nodes"].size();
        document["nodes"].push_back(
            {{"name", "ik_foot_root"}, {"translation", {0.0, 0.95, 0.0}}, {"children", {helper + 1}}});
        document["nodes"].push_back({{"name", "ik_foot_l"}, {"translation", {0.1, -0.85, -0.13}}});
        document["nodes"][0]["children"].push_back(helper);
        document["skins"][1]["joints"][0] = helper;
        document["accessors"].back()["byteOffset"] = 0;
    };

    struct Case {
        const char* name;
        std::function<void(JSON&)> change;
    };

    Prepare(SkinnedFile());
    const std::vector<Point> expected = Retarget().Frame(20);
    const GLBFile plain = Retarget();
    for (const Case& each : {Case{"lying", lie}, {"crouching", crouch},
             {"lying with a hat", [&](JSON& document) { lie(document), wearHat(document); }},
             {"crouching with a hat", [&](JSON& document) { crouch(document), wearHat(document); }},
             {"lying with a handle",
                 [&](JSON& document) { lie(document), wearHat(document), hold(document); }}}) {
        SkinnedFile file;
        file.change = each.change;
        Prepare(file);
        const GLBFile result = Retarget();
        const std::vector<Point> places = result.Frame(20);
        for (int joint = 0; joint < BipedJointCount; ++joint) {
            EXPECT_LT(Distance(places[Node(result, joint)], expected[Node(plain, joint)]), 1e-3)
                << each.name << ", " << PlainNames().at(joint);
        }
        const int handle = result.NodeNamed("ik_foot_l");
        EXPECT_TRUE(handle < 0 || Distance(places[handle], places[Node(result, LeftFoot)]) < 1e-3);
        EXPECT_EQ(handle >= 0, std::string(each.name) == "lying with a handle");
    }
}

TEST_F(Character, TakesSeveralClipsAndIsFoundElsewhere) {
    Prepare(SkinnedFile());
    const std::string other = directory.Write("other.bvh", SquatFile().Text());
    const GLBFile both = Retarget({other});
    ASSERT_EQ(both.document["animations"].size(), 3U);
    EXPECT_EQ(both.document["animations"][2]["name"], "other");
    // A directory gets a file for each.
    const ToolRun run = RunTool({"retarget", config, clip, other, "-o", directory.Path("moves/"), "--bones"});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    for (const std::string name : {"moves/squat.glb", "moves/other.glb"}) {
        EXPECT_EQ(GLBFile(ReadFile(directory.Path(name))).FrameCount(), squatFrames);
    }
    std::filesystem::create_directory(directory.Path("more"));
    std::filesystem::copy_file(clip, directory.Path("more/squat.bvh"));
    const ToolRun twice =
        RunTool({"retarget", config, clip, directory.Path("more/squat.bvh"), "-o", directory.Path("moves/")});
    EXPECT_EQ(twice.exitCode, 2);
    EXPECT_NE(twice.errors.find("would both become"), std::string::npos) << twice.errors;
    // The file was moved: without it there are bones, with its new place the character.
    std::filesystem::rename(hero, directory.Path("moved.glb"));
    EXPECT_EQ(Retarget().NodeNamed("Hat"), -1);
    EXPECT_GE(Retarget({"--character", directory.Path("moved.glb")}).NodeNamed("Hat"), 0);
}

TEST_F(Character, IsMendedWhereItsWeightsDoNotSumUp) {
    SkinnedFile skinned;
    skinned.hasFaultyWeights = true;
    Prepare(skinned);
    const std::vector<float> weights = Retarget().Floats(1);
    for (size_t i = 0; i < weights.size(); i += 4) {
        EXPECT_NEAR(weights[i] + weights[i + 1] + weights[i + 2] + weights[i + 3], 1.0, 1e-6) << i;
    }
}

TEST_F(Character, ComesBackWithoutAPictureThatIsNotThere) {
    SkinnedFile skinned;
    skinned.change = [](nlohmann::json& document) { document["images"] = {{{"uri", "lost.png"}}}; };
    Prepare(skinned);
    const ToolRun run = RunTool({"retarget", config, clip, "-o", directory.Path("out.glb")});
    EXPECT_EQ(run.exitCode, 0) << run.errors;
    EXPECT_NE(run.errors.find("lost.png"), std::string::npos) << run.errors;
    EXPECT_EQ(GLBFile(ReadFile(directory.Path("out.glb"))).document["images"][0]["uri"], "lost.png");
}

TEST_F(Character, MayHaveASkinWithoutBindMatricesButNoDamagedDocument) {
    SkinnedFile bare;
    bare.hasNoBindMatrices = true;
    Prepare(bare);
    EXPECT_GE(Retarget().NodeNamed("Hat"), 0);
    const std::vector<std::pair<const char*, std::function<void(JSON&)>>> damages = {
        {"names 99 of its", [](JSON& d) { d["nodes"][3]["children"].push_back(99); }},
        {"two parents", [](JSON& d) { d["nodes"][3]["children"].push_back(3); }},
        {"below itself", [](JSON& d) { d["nodes"][5]["children"] = {3}, d["nodes"][0].erase("children"); }},
        {"the 3 numbers", [](JSON& d) { d["nodes"][3]["translation"] = "here"; }},
        {"names 99 of its", [](JSON& d) { d["skins"][0]["joints"][2] = 99; }},
        {"fewer matrices", [](JSON& d) { d["accessors"][2]["count"] = 3; }},
        {"'nodes' are no list", [](JSON& d) {
             d["nodes"] = {{"a", 1}};
         }}};
    for (const auto& [message, change] : damages) {
        SkinnedFile damaged;
        damaged.change = change;
        const std::string path = directory.Write("hero.glb", damaged.Bytes());
        // As a rig, and as the character that it was when the configuration was made.
        for (const std::vector<std::string>& arguments :
            {std::vector<std::string>{"rig", path, "-o", directory.Path("rig.json")},
                {"retarget", config, clip, "-o", directory.Path("damaged.glb")}}) {
            const ToolRun run = RunTool(arguments);
            EXPECT_EQ(run.exitCode, 1) << message;
            EXPECT_NE(run.errors.find(message), std::string::npos) << message << " isn't in " << run.errors;
        }
    }
    EXPECT_FALSE(std::filesystem::exists(directory.Path("damaged.glb")));
}

TEST_F(Character, OfVRMGetsItsMotionAloneToo) {
    SkinnedFile skinned;
    skinned.isVRM = true;
    Prepare(skinned);
    const GLBFile motion = Retarget({}, "motion.vrma");
    const JSON& bones = motion.document["extensions"]["VRMC_vrm_animation"]["humanoid"]["humanBones"];
    EXPECT_EQ(bones["hips"]["node"], Node(motion, Hips));
    EXPECT_EQ(bones["leftUpperArm"]["node"], Node(motion, LeftUpperArm));
    EXPECT_FALSE(motion.document.contains("meshes"));
    const std::vector<Point> expected = Retarget().Frame(20);
    const std::vector<Point> places = motion.Frame(20);
    for (const int joint : {Hips, LeftHand, RightFoot}) {
        EXPECT_LT(Distance(places[Node(motion, joint)], expected[Node(motion, joint)]), 1e-5);
    }
    Prepare(SkinnedFile());
    const ToolRun run = RunTool({"retarget", config, clip, "-o", directory.Path("other.vrma")});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_NE(run.errors.find("no VRM table"), std::string::npos) << run.errors;
}

TEST_F(Character, OfVRMIsKnownByItsTableAndSoIsItsMotion) {
    // Nothing but the table says what these joints are.
    SkinnedFile skinned;
    skinned.isVRM = true;
    for (int joint = 0; joint < BipedJointCount; ++joint) {
        skinned.names.at(joint) = "n" + std::to_string((8 * joint) % BipedJointCount);
    }
    Prepare(skinned, "hero.vrm");
    const GLBFile result = Retarget();
    const GLBFile motion = Retarget({}, "motion.vrma");
    const auto node = [&](int joint) { return motion.NodeNamed(skinned.names.at(joint)); };
    const Point arm = Way(result.Frame(0), node(LeftUpperArm), node(LeftLowerArm));
    EXPECT_LT(arm.y, -0.2);
    // The motion is a clip in turn.
    clip = directory.Path("motion.vrma");
    Prepare(SkinnedFile());
    const GLBFile again = Retarget({}, "again.glb");
    for (const int frame : {0, 29}) {
        for (const int joint : {Hips, LeftHand, RightLowerLeg}) {
            EXPECT_LT(
                Distance(again.Frame(frame)[Node(again, joint)], motion.Frame(frame)[node(joint)]), 0.01)
                << joint << " " << frame;
        }
    }
}

TEST_F(Character, OfColladaComesBackAsGLBWithItsMesh) {
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(std::string(VELKORI_SAMPLES_DIRECTORY) + "/character.glb", 0);
    ASSERT_NE(scene, nullptr);
    hero = directory.Path("hero.dae");
    ASSERT_EQ(Assimp::Exporter().Export(scene, "collada", hero), aiReturn_SUCCESS);
    ASSERT_EQ(RunTool({"prepare", "--source", clip, "--target", hero, "-o", config}).exitCode, 0);
    const GLBFile result = Retarget();
    ASSERT_EQ(result.document["skins"].size(), 1U);
    EXPECT_GT(result.document["skins"][0]["joints"].size(), 20U);
    const JSON& mesh = result.document["meshes"][0]["primitives"][0];
    EXPECT_GE(result.document["accessors"][mesh["attributes"]["POSITION"].get<size_t>()]["count"],
        scene->mMeshes[0]->mNumVertices / 2);
    const GLBFile bones = Retarget({"--bones"}, "bones.glb");
    for (const std::string joint : {"Hand_L", "Foot_R"}) {
        const Point way = Way(result.Frame(20), result.NodeNamed("Hips"), result.NodeNamed(joint));
        EXPECT_LT(Distance(way, Way(bones.Frame(20), bones.NodeNamed("Hips"), bones.NodeNamed(joint))), 1e-3)
            << joint;
    }
}

TEST_F(Character, HoldsItsHandsTogetherWhereTheClipDoes) {
    // The hands meet before the chest and part again.
    BipedFile clap = SquatFile();
    clap.motion = [](int joint, int frame) {
        const double share = 0.5 - 0.5 * std::cos(2.0 * std::acos(-1.0) * frame / (squatFrames - 1));
        const double side = joint >= RightClavicle ? 1.0 : -1.0;
        JointMotion motion;
        if (joint == LeftUpperArm || joint == RightUpperArm) {
            motion.degrees.y = side * 80.0 * share;
        } else if (joint == LeftLowerArm || joint == RightLowerArm) {
            motion.degrees.y = side * 71.5 * share;
        }
        return motion;
    };
    clip = directory.Write("clap.bvh", clap.Text());
    SkinnedFile wide;
    for (const int left : {LeftUpperArm, LeftLowerArm, LeftHand}) {
        wide.positions.at(left).x += 0.08;
        wide.positions.at(left + RightClavicle - LeftClavicle).x -= 0.08;
    }
    Prepare(wide);
    const auto apart = [](const GLBFile& file, int frame) {
        return Distance(file.Frame(frame)[Node(file, LeftHand)], file.Frame(frame)[Node(file, RightHand)]);
    };
    const GLBFile plain = Retarget();
    const GLBFile held = Retarget({"--hold-hands"}, "held.glb");
    EXPECT_GT(apart(plain, squatFrames / 2), 0.14);
    EXPECT_LT(apart(held, squatFrames / 2), 0.02);
    EXPECT_NEAR(apart(held, 0), apart(plain, 0), 1e-3);
}

TEST_F(Character, IsScoredAndABadResultIsRefused) {
    Prepare(OtherBody());
    const ToolRun good = RunTool({"score", config, clip, "--json", "-"});
    EXPECT_EQ(good.exitCode, 0) << good.errors;
    const JSON report = JSON::parse(good.output)["clips"][0];
    EXPECT_EQ(report["measures"]["boneLength"]["verdict"], "good");
    EXPECT_LT(report["measures"]["limbDirection"]["value"], 2.0);
    EXPECT_LT(report["measures"]["footSlide"]["value"], 0.5);
    EXPECT_LT(report["measures"]["footHeight"]["value"], 0.5);
    // With stretched bones the same clip changes them, as far as the bodies differ.
    const ToolRun stretched =
        RunTool({"score", config, clip, "--json", "-", "--behavior", "match-proportions"});
    EXPECT_GT(JSON::parse(stretched.output)["clips"][0]["measures"]["boneLength"]["value"], 10.0);
    // A head by a name of one's own is measured where the name is explained.
    SkinnedFile named;
    named.names.at(Head) = "Noggin";
    const std::string names = directory.Write("names.txt", "head: noggin\n");
    hero = directory.Write("named.glb", named.Bytes());
    for (const bool isExplained : {false, true}) {
        std::vector<std::string> prepare = {"prepare", "--source", clip, "--target", hero, "-o", config};
        std::vector<std::string> score = {"score", config, clip, "--json", "-"};
        for (std::vector<std::string>* arguments : {&prepare, &score}) {
            arguments->insert(
                arguments->end(), {"--names", isExplained ? names : directory.Write("none", "")});
        }
        ASSERT_EQ(RunTool(prepare).exitCode, 0);
        const JSON measures = JSON::parse(RunTool(score).output)["clips"][0]["measures"];
        EXPECT_EQ(measures.contains("headRotation"), isExplained);
    }
    // Driven from the other side, a body is bad, and says so unless that is wanted.
    RunTool({"prepare", "--source", clip, "--target", hero, "-o", config, "--map", "LeftArm=RightArm",
        "--map", "RightArm=LeftArm"});
    const std::vector<std::string> retarget = {"retarget", config, clip, "-o", directory.Path("bad.glb")};
    const ToolRun bad = RunTool(retarget);
    EXPECT_EQ(bad.exitCode, 1) << bad.output;
    EXPECT_NE(bad.errors.find("bad result"), std::string::npos) << bad.errors;
    std::vector<std::string> forced = retarget;
    forced.emplace_back("--force");
    EXPECT_EQ(RunTool(forced).exitCode, 0);
}

} // namespace
} // namespace Velkori_Tool_Test
