#include "BipedFile.h"
#include "ToolRun.h"
#include "Velkori_Utility.h"

#include <assimp/scene.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <assimp/Exporter.hpp>
#include <assimp/Importer.hpp>
#include <cmath>
#include <map>
#include <nlohmann/json.hpp>
#include <vector>

namespace Velkori_Tool_Test {
namespace {

const std::string fullSample = std::string(VELKORI_SAMPLES_DIRECTORY) + "/full.json";
const std::string captures = "/usr/share/assimp/models/BVH/";

using Positions = std::map<std::string, Point>;

/** A written motion as another program reads it. */
class ReadMotion {
  public:
    explicit ReadMotion(const std::string& path, double metresPerUnit) : metresPerUnit(metresPerUnit) {
        const aiScene* scene = importer.ReadFile(path, 0);
        EXPECT_NE(scene, nullptr) << importer.GetErrorString();
        if (scene != nullptr && scene->mNumAnimations == 1) {
            root = scene->mRootNode;
            animation = scene->mAnimations[0];
        }
    }

    int FrameCount() const {
        return animation == nullptr ? 0 : static_cast<int>(animation->mChannels[0]->mNumRotationKeys);
    }

    double SecondsBetweenFrames() const {
        const aiNodeAnim& channel = *animation->mChannels[0];
        return (channel.mRotationKeys[1].mTime - channel.mRotationKeys[0].mTime) / animation->mTicksPerSecond;
    }

    /** World positions of all nodes in a frame, in metres. */
    Positions Frame(int frame) const {
        Positions positions;
        AddPositions(*root, aiMatrix4x4(), frame, positions);
        return positions;
    }

  private:
    void AddPositions(const aiNode& node, const aiMatrix4x4& parent, int frame, Positions& positions) const {
        aiMatrix4x4 local = node.mTransformation;
        for (unsigned i = 0; i < animation->mNumChannels; ++i) {
            const aiNodeAnim& channel = *animation->mChannels[i];
            if (channel.mNodeName == node.mName) {
                local = aiMatrix4x4(aiVector3D(1.0f), channel.mRotationKeys[frame].mValue,
                    channel.mPositionKeys[std::min<unsigned>(frame, channel.mNumPositionKeys - 1)].mValue);
            }
        }
        const aiMatrix4x4 world = parent * local;
        positions[node.mName.C_Str()] = {
            world.a4 * metresPerUnit, world.b4 * metresPerUnit, world.c4 * metresPerUnit};
        for (unsigned i = 0; i < node.mNumChildren; ++i) {
            AddPositions(*node.mChildren[i], world, frame, positions);
        }
    }

    Assimp::Importer importer;
    double metresPerUnit;
    const aiNode* root = nullptr;
    const aiAnimation* animation = nullptr;
};

double Distance(const Point& a, const Point& b) {
    return std::hypot(a.x - b.x, a.y - b.y, a.z - b.z);
}

void Succeed(const std::vector<std::string>& arguments) {
    const ToolRun run = RunTool(arguments);
    ASSERT_EQ(run.exitCode, 0) << arguments.front() << ": " << run.errors;
}

/** A walk of the hips with swinging left arm, so simple that the test can pose the library's source itself.
 */
constexpr int walkFrames = 20;

double ArmAngle(int frame) {
    return -70.0 + 3.0 * frame;
}

BipedFile WalkFile() {
    BipedFile file;
    file.frameCount = walkFrames;
    file.motion = [](int joint, int frame) {
        return JointMotion{
            {0.0, 0.0, joint == LeftUpperArm ? ArmAngle(frame) : 0.0}, {0.02 * frame, 0.0, 0.05 * frame}};
    };
    return file;
}

/** A joint that has turned about the file's z axis from its rest pose, in the library's default space. */
velkori_Transform_ InDefaultSpace(
    const Point& position, double degreesAboutZ, const velkori_Transform_& rest) {
    // Files are right-handed with left at +x; the default space has right at +x, so turns about z are
    // reversed.
    const double half = -0.5 * degreesAboutZ * std::acos(-1.0) / 180.0;
    const auto s = static_cast<float>(std::sin(half));
    const auto c = static_cast<float>(std::cos(half));
    const velkori_Quaternionf_& q = rest.orientation;
    return {{c * q.x - s * q.y, c * q.y + s * q.x, c * q.z + s * q.w, c * q.w - s * q.z},
        {static_cast<float>(-position.x), static_cast<float>(position.y), static_cast<float>(position.z)},
        {1.0f, 1.0f, 1.0f}};
}

/** The walk's frame in the terms of a configuration's source skeleton, by forward kinematics on paper. */
std::vector<velkori_Transform_> WalkPose(
    const std::vector<std::string>& names, const std::vector<velkori_Transform_>& rest, int frame) {
    const Point moved = {0.02 * frame, 0.0, 0.05 * frame};
    const double radians = ArmAngle(frame) * std::acos(-1.0) / 180.0;
    std::vector<velkori_Transform_> pose;
    for (const std::string& name : names) {
        const velkori_Transform_& restTransform = rest[pose.size()];
        if (name == "GroundRoot") {
            pose.push_back(InDefaultSpace(moved, 0.0, restTransform));
            continue;
        }
        const std::string bone = name.substr(0, name.find("_End"));
        const auto joint = static_cast<int>(
            std::find(PlainNames().begin(), PlainNames().end(), bone) - PlainNames().begin());
        Point position = BipedPosition(joint);
        position.z += bone != name ? 0.05 : 0.0;
        const bool isInArm = joint >= LeftUpperArm && joint <= LeftHand;
        if (isInArm) {
            const Point shoulder = BipedPosition(LeftUpperArm);
            const Point offset = {position.x - shoulder.x, position.y - shoulder.y, 0.0};
            position.x = shoulder.x + std::cos(radians) * offset.x - std::sin(radians) * offset.y;
            position.y = shoulder.y + std::sin(radians) * offset.x + std::cos(radians) * offset.y;
        }
        pose.push_back(InDefaultSpace({position.x + moved.x, position.y + moved.y, position.z + moved.z},
            isInArm ? ArmAngle(frame) : 0.0, restTransform));
    }
    return pose;
}

std::vector<std::string> JointNames(velkori_Handle handle, velkori_SkeletonType type) {
    int32_t size = 0;
    int32_t count = 0;
    velkori_getJointNames(handle, type, nullptr, &size, nullptr, &count);
    std::vector<char> buffer(size);
    std::vector<const char*> names(count);
    velkori_getJointNames(handle, type, buffer.data(), &size, names.data(), &count);
    return {names.begin(), names.end()};
}

TEST(RetargetCommand, WritesWhatTheLibraryReturnsForOtherProgramsToRead) {
    const TestDirectory directory;
    const std::string clip = directory.Write("walk.bvh", WalkFile().Text());
    const std::string config = directory.Path("config.json");
    Succeed({"prepare", "--source", clip, "--target", fullSample, "-o", config});
    for (const std::string out : {"out.bvh", "out.glb"}) {
        Succeed({"retarget", config, clip, "-o", directory.Path(out), "--behavior", "match-proportions",
            "--metres-per-bvh-unit", "0.0254"});
    }
    const ReadMotion bvh(directory.Path("out.bvh"), 0.0254);
    const ReadMotion glb(directory.Path("out.glb"), 1.0);

    velkori_Handle handle = 0;
    ASSERT_EQ(velkori_createOrUpdateHandle(ReadFile(config).c_str(), &handle), velkori_Result_Success);
    const std::vector<std::string> sourceNames = JointNames(handle, velkori_SkeletonType_Source);
    const std::vector<std::string> targetNames = JointNames(handle, velkori_SkeletonType_Target);
    std::vector<velkori_Transform_> rest(sourceNames.size());
    auto sourceCount = static_cast<int32_t>(rest.size());
    // Rigs are made with the rest pose in the middle of their sizes.
    velkori_calculateSkeletonTPose(handle, velkori_SkeletonType_Source,
        velkori_JointRelativeSpaceType_RootOriginRelative, 0.5f, rest.data(), &sourceCount);
    velkori_updateSourceReferenceTPose(handle, rest.data(), sourceCount, nullptr);
    ASSERT_EQ(bvh.FrameCount(), walkFrames);
    ASSERT_EQ(glb.FrameCount(), walkFrames);
    EXPECT_NEAR(bvh.SecondsBetweenFrames(), 0.01, 1e-6);
    EXPECT_NEAR(glb.SecondsBetweenFrames(), 0.01, 1e-6);
    for (int frame = 0; frame < walkFrames; ++frame) {
        const velkori_RetargetingBehaviorInfo_ info = {velkori_JointRelativeSpaceType_RootOriginRelative,
            velkori_RetargetingBehavior_MatchProportions, velkori_RetargetingRootMotionBehavior_Unchanged,
            velkori_RetargetingBehaviorFlags_None};
        const std::vector<velkori_Transform_> source = WalkPose(sourceNames, rest, frame);
        std::vector<velkori_Transform_> expected(targetNames.size());
        auto targetCount = static_cast<int32_t>(expected.size());
        ASSERT_EQ(velkori_retargetFromSourceFrameData(handle, info, source.data(), sourceCount,
                      expected.data(), &targetCount, nullptr, nullptr),
            velkori_Result_Success);
        const Positions bvhPositions = bvh.Frame(frame);
        const Positions glbPositions = glb.Frame(frame);
        for (size_t joint = 0; joint < targetNames.size(); ++joint) {
            const Point position = {
                -expected[joint].position.x, expected[joint].position.y, expected[joint].position.z};
            EXPECT_LT(Distance(bvhPositions.at(targetNames[joint]), position), 2e-4)
                << targetNames[joint] << " in frame " << frame;
            EXPECT_LT(Distance(glbPositions.at(targetNames[joint]), position), 2e-5)
                << targetNames[joint] << " in frame " << frame;
        }
    }
    velkori_destroy(handle);
}

/** The character goes where the person goes, in the scale of its legs, which are no dwarf's and no giant's.
 */
void ExpectScaledWay(const std::vector<std::pair<Point, Point>>& ways, const char* name) {
    double product = 0.0;
    double square = 0.0;
    const auto since = [&](const std::pair<Point, Point>& way) {
        const auto& [from, to] = ways.front();
        return std::array{
            way.first.x - from.x, way.first.z - from.z, way.second.x - to.x, way.second.z - to.z};
    };
    for (const auto& way : ways) {
        const auto [x, z, toX, toZ] = since(way);
        product += x * toX + z * toZ;
        square += x * x + z * z;
    }
    const double scale = product / square;
    EXPECT_GT(scale, 0.75) << name;
    EXPECT_LT(scale, 1.35) << name;
    for (const auto& way : ways) {
        const auto [x, z, toX, toZ] = since(way);
        EXPECT_LT(std::hypot(toX - scale * x, toZ - scale * z), 0.05) << name;
    }
}

/** Between the joints that both legs begin with, in whichever of the files' names. */
Point LegsMiddle(const Positions& positions) {
    for (const auto& [left, right] :
        {std::pair{"LeftUpLeg", "RightUpLeg"}, {"LeftHip", "RightHip"}, {"Thigh_L", "Thigh_R"}}) {
        if (positions.count(left) > 0) {
            const Point& a = positions.at(left);
            const Point& b = positions.at(right);
            return {(a.x + b.x) / 2, (a.y + b.y) / 2, (a.z + b.z) / 2};
        }
    }
    ADD_FAILURE() << "no legs";
    return {};
}

/** A captured clip's way to another rig, and the joints to look at in both. */
struct CapturedCase {
    const char* name;
    std::string clip;
    std::string target;
    double metresPerUnit;
    std::array<std::string, 4> targetJoints; // hips, neck, left and right foot
};

TEST(RetargetCommand, CarriesCapturedClipsOver) {
    constexpr double centimetre = 0.01;
    constexpr double captureUnit = 0.0254 / 0.45;
    const std::array<CapturedCase, 3> cases = {
        CapturedCase{"capture to sample", captures + "01_01.bvh", fullSample, captureUnit,
            {"Hips", "Neck", "Foot_L", "Foot_R"}},
        {"other capture to sample", captures + "Boxing_Toes.bvh", fullSample, centimetre,
            {"Hips", "Neck", "Foot_L", "Foot_R"}},
        {"capture to the other's rig", captures + "01_01.bvh", captures + "Boxing_Toes.bvh", captureUnit,
            {"Hips", "Neck", "LeftAnkle", "RightAnkle"}}};
    for (const CapturedCase& captured : cases) {
        const TestDirectory directory;
        const std::string config = directory.Path("config.json");
        const std::string out = directory.Path("out.bvh");
        Succeed({"rig", captured.clip, "-o", directory.Path("rig.json")});
        Succeed(
            {"prepare", "--source", directory.Path("rig.json"), "--target", captured.target, "-o", config});
        Succeed({"check", config});
        Succeed({"retarget", config, captured.clip, "-o", out, "--report"});
        const ReadMotion source(captured.clip, captured.metresPerUnit);
        const ReadMotion result(out, centimetre);
        ASSERT_GE(result.FrameCount(), source.FrameCount());

        std::vector<std::pair<Point, Point>> ways;
        int framesOnGround = 0;
        int framesWithLeftOnTheLeft = 0;
        int framesUpright = 0;
        int frames = 0;
        constexpr int step = 25;
        for (int frame = 0; frame < source.FrameCount(); frame += step, ++frames) {
            const Positions from = source.Frame(frame);
            const Positions to = result.Frame(frame);
            const Point& hips = to.at(captured.targetJoints[0]);
            const Point& left = to.at(captured.targetJoints[2]);
            const Point& right = to.at(captured.targetJoints[3]);
            ways.emplace_back(LegsMiddle(from), LegsMiddle(to));
            framesOnGround += std::min(left.y, right.y) < 0.14 && std::min(left.y, right.y) > -0.02 ? 1 : 0;
            framesUpright += to.at(captured.targetJoints[1]).y > hips.y + 0.3 ? 1 : 0;
            // Feet are on the sides on which the person has them.
            const auto& sourceLeft = from.count("LeftAnkle") > 0 ? from.at("LeftAnkle") : from.at("LeftFoot");
            const auto& sourceRight =
                from.count("RightAnkle") > 0 ? from.at("RightAnkle") : from.at("RightFoot");
            const double sameSide = (left.x - right.x) * (sourceLeft.x - sourceRight.x) +
                                    (left.z - right.z) * (sourceLeft.z - sourceRight.z);
            framesWithLeftOnTheLeft += sameSide > 0.0 ? 1 : 0;
        }
        ExpectScaledWay(ways, captured.name);
        EXPECT_GT(framesOnGround, frames / 2) << captured.name;
        EXPECT_GT(framesWithLeftOnTheLeft, frames * 95 / 100) << captured.name;
        const bool isFighting = captured.clip.find("Boxing") != std::string::npos;
        EXPECT_GT(framesUpright, frames * (isFighting ? 60 : 95) / 100) << captured.name;
    }
}

TEST(RetargetCommand, ReportsFootSliding) {
    // Both feet slide with the hips: 0.02 and 0.05 m a frame, sqrt(29) cm together, over 19 steps and 2 feet.
    const TestDirectory directory;
    const std::string clip = directory.Write("walk.bvh", WalkFile().Text());
    Succeed({"prepare", "--source", clip, "--target", clip, "-o", directory.Path("config.json")});
    // The same walk 40 cm above the ground, which is left there.
    BipedFile raised = WalkFile();
    raised.motion = [walk = raised.motion](int joint, int frame) {
        JointMotion motion = walk(joint, frame);
        motion.moved.y += 0.4;
        return motion;
    };
    const std::string raisedClip = directory.Write("raised.bvh", raised.Text());
    const double expected = std::hypot(0.02, 0.05) * (walkFrames - 1) * 2;
    for (const std::string& walk : {clip, raisedClip}) {
        const ToolRun run = RunTool({"retarget", directory.Path("config.json"), walk, "-o",
            directory.Path("out.bvh"), "--report", "--keep-height"});
        for (const std::string who : {"source", "target"}) {
            const size_t row = run.output.find("\n" + who);
            ASSERT_NE(row, std::string::npos) << run.output;
            EXPECT_NEAR(std::stod(run.output.substr(row + 1 + who.size())), expected, 0.002) << who << walk;
        }
    }
}

TEST(RetargetCommand, KeepsTheFrameRateOfASceneFile) {
    const TestDirectory directory;
    for (const double rate : {10.0, 24.0, 120.0}) {
        BipedFile file = WalkFile();
        file.frameSeconds = 1.0 / rate;
        const std::string clip = directory.Write("walk.bvh", file.Text());
        const std::string scene = directory.Path("walk.glb");
        const std::string config = directory.Path("config.json");
        Succeed({"prepare", "--source", clip, "--target", clip, "-o", config});
        Succeed({"retarget", config, clip, "-o", scene});
        Succeed({"prepare", "--source", scene, "--target", clip, "-o", config});
        Succeed({"retarget", config, scene, "-o", directory.Path("out.glb")});
        const ReadMotion motion(directory.Path("out.glb"), 1.0);
        EXPECT_EQ(motion.FrameCount(), walkFrames);
        EXPECT_NEAR(motion.SecondsBetweenFrames(), 1.0 / rate, 1e-5);
    }
}

TEST(RetargetCommand, LeavesOutKeysOnTheStraightWayBetweenFrames) {
    const TestDirectory directory;
    constexpr int keysPerFrame = 8;
    BipedFile file;
    file.frameSeconds = 1.0 / (30.0 * keysPerFrame);
    file.frameCount = 10 * keysPerFrame + 1;
    file.motion = [](int joint, int key) {
        const auto captured = [](int frame) { return 40.0 * std::sin(1.0 * frame); };
        const double share = 1.0 * (key % keysPerFrame) / keysPerFrame;
        const int frame = key / keysPerFrame;
        const double degrees = captured(frame) * (1.0 - share) + captured(frame + 1) * share;
        return JointMotion{{0.0, 0.0, joint == LeftUpperArm ? degrees : 0.0}, {}};
    };
    const std::string clip = directory.Write("keys.bvh", file.Text());
    const std::string config = directory.Path("config.json");
    const std::string scene = directory.Path("keys.glb");
    const std::string result = directory.Path("out.glb");
    Succeed({"prepare", "--source", clip, "--target", clip, "-o", config});
    Succeed({"retarget", config, clip, "-o", scene});
    Succeed({"prepare", "--source", scene, "--target", clip, "-o", config});
    Succeed({"retarget", config, scene, "-o", result});
    const ReadMotion motion(result, 1.0);
    EXPECT_EQ(motion.FrameCount(), 11);
    EXPECT_NEAR(motion.SecondsBetweenFrames(), 1.0 / 30.0, 1e-5);
}

TEST(RetargetCommand, TellsJointsApartByTheirNamespaceAndTakesPartOfThem) {
    const TestDirectory directory;
    BipedFile file = WalkFile();
    file.names.at(LeftHand) = "A:Hand";
    file.names.at(RightHand) = "B:Hand";
    const std::string clip = directory.Write("walk.bvh", file.Text());
    const std::string config = directory.Path("config.json");
    Succeed({"rig", clip, "-o", directory.Path("rig.json"), "--known", "leftWrist=A:Hand", "--known",
        "rightWrist=B:Hand", "--manifestation", "right=RightShoulder,RightArm,RightForeArm,B:Hand"});
    Succeed({"prepare", "--source", directory.Path("rig.json"), "--target", fullSample, "-o", config});
    Succeed({"retarget", config, clip, "-o", directory.Path("out.glb")});
    const ReadMotion whole(directory.Path("out.glb"), 1.0);
    EXPECT_GT(Distance(whole.Frame(0).at("Hand_L"), whole.Frame(0).at("Hand_R")), 0.3);
    // Tracked by its right arm alone, the body goes along and doesn't do what the left arm does in the clip.
    Succeed({"retarget", config, clip, "-o", directory.Path("part.glb"), "--manifestation", "right"});
    const ReadMotion part(directory.Path("part.glb"), 1.0);
    const auto swing = [](const ReadMotion& motion) {
        const Positions first = motion.Frame(0);
        const Positions last = motion.Frame(walkFrames - 1);
        return std::fabs(
            Distance(first.at("Hand_L"), first.at("Hips")) - Distance(last.at("Hand_L"), last.at("Hips")));
    };
    EXPECT_GT(swing(whole), 0.1);
    EXPECT_LT(swing(part), 1e-3);
}

TEST(RetargetCommand, TakesTheFramesThatAFileHasAndNotThoseThatItStates) {
    const TestDirectory directory;
    BipedFile file = WalkFile();
    const std::string config = directory.Path("config.json");
    Succeed({"prepare", "--source", directory.Write("rig.bvh", file.Text()), "--target", fullSample, "-o",
        config});
    for (const int stated : {0, walkFrames - 5, walkFrames + 1000000}) {
        file.statedFrameCount = stated;
        const std::string clip = directory.Write("clip.bvh", file.Text());
        const ToolRun run = RunTool({"retarget", config, clip, "-o", directory.Path("out.bvh")});
        // Frames that are missing are a loss, frames too many are not.
        EXPECT_EQ(run.exitCode, stated > walkFrames ? 1 : 0) << run.errors;
        EXPECT_EQ(run.output.find("cut short") != std::string::npos, stated > walkFrames) << run.output;
        EXPECT_NE(run.errors.find("says that it has"), std::string::npos) << run.errors;
        EXPECT_NE(ReadFile(directory.Path("out.bvh")).find("Frames: 20\n"), std::string::npos);
    }
}

TEST(RigCommand, ReadsTheSameRigFromEachFormat) {
    // The character as this program writes it, and as another program writes it on.
    const TestDirectory directory;
    const std::string clip = directory.Write("walk.bvh", WalkFile().Text());
    Succeed({"prepare", "--source", clip, "--target", fullSample, "-o", directory.Path("config.json")});
    const std::string glb = directory.Path("out.glb");
    Succeed({"retarget", directory.Path("config.json"), clip, "-o", glb});
    Assimp::Importer importer;
    const aiScene* scene = importer.ReadFile(glb, 0);
    ASSERT_NE(scene, nullptr);
    std::vector<std::string> files = {glb, directory.Path("out.bvh")};
    Succeed({"retarget", directory.Path("config.json"), clip, "-o", files.back()});
    for (const std::string format : {"gltf2", "fbxa"}) {
        files.push_back(directory.Path("out." + format.substr(0, format == "fbxa" ? 3 : 4)));
        ASSERT_EQ(Assimp::Exporter().Export(scene, format, files.back()), aiReturn_SUCCESS) << format;
    }
    const nlohmann::json expected = nlohmann::json::parse(ReadFile(fullSample))["target"]["knownJoints"];
    Positions first;
    for (const std::string& file : files) {
        const std::string rig = directory.Path("rig.json");
        Succeed({"rig", file, "-o", rig, "--as", "target"});
        const nlohmann::json document = nlohmann::json::parse(ReadFile(rig));
        EXPECT_EQ(document["target"]["knownJoints"], expected) << file;
        for (const auto& [joint, pose] : document["target"]["tpose"].items()) {
            const Point position = {pose["position"]["x"], pose["position"]["y"], pose["position"]["z"]};
            const auto known = first.emplace(joint, position).first;
            EXPECT_LT(Distance(position, known->second), 1e-3) << file << ", " << joint;
        }
        // Its own motion, on the rig that was read from it, is the walk again. (The other program can't write
        // the times of FBX.)
        if (file == directory.Path("out.fbx")) {
            continue;
        }
        Succeed({"prepare", "--source", rig, "--target", rig, "-o", directory.Path("own.json"), "--align",
            "none"});
        Succeed(
            {"retarget", directory.Path("own.json"), file, "-o", directory.Path("own.bvh"), "--keep-height"});
        const ReadMotion own(directory.Path("own.bvh"), 0.01);
        const ReadMotion walk(directory.Path("out.bvh"), 0.01);
        ASSERT_EQ(own.FrameCount(), walkFrames) << file;
        for (const std::string joint : {"Hips", "Hand_L", "Foot_R"}) {
            EXPECT_LT(
                Distance(own.Frame(walkFrames - 1).at(joint), walk.Frame(walkFrames - 1).at(joint)), 0.01)
                << file << ", " << joint;
        }
    }
}

TEST(StreamCommand, MeasuresTheLinkAndWritesWhatArrived) {
    const TestDirectory directory;
    const std::string clip = captures + "01_01.bvh";
    const std::string config = directory.Path("config.json");
    Succeed({"prepare", "--source", clip, "--target", fullSample, "-o", config});
    const ToolRun run = RunTool({"stream", config, clip, "--json", "--loss", "0.2", "--seed", "7"});
    ASSERT_EQ(run.exitCode, 0) << run.errors;
    const nlohmann::json rows = nlohmann::json::parse(run.output);
    ASSERT_EQ(rows.size(), 3U);
    for (const auto& row : rows) {
        EXPECT_EQ(row["framesSent"], 2752);
        // Four standard deviations of a binomial with p = 0.2 are 84.
        EXPECT_NEAR(row["framesLost"].get<double>(), 550.4, 84.0);
        EXPECT_NEAR(
            row["kilobitsPerSecond"].get<double>(), row["bytesPerFrame"].get<double>() * 8 * 0.12, 0.1);
        // At most 3 m/s in steps of 27 ms, beside the easing's lag.
        EXPECT_LT(row["meanPositionErrorWithoutLagMetres"].get<double>(), 0.05);
    }
    EXPECT_LT(rows[0]["bytesPerFrame"], rows[1]["bytesPerFrame"]);
    EXPECT_LT(rows[1]["bytesPerFrame"], rows[2]["bytesPerFrame"]);
    EXPECT_LT(rows[2]["meanPositionErrorWithoutLagMetres"].get<double>(), 0.01);

    Succeed({"stream", config, clip, "--type", "max", "-o", directory.Path("received.glb")});
    Succeed({"retarget", config, clip, "-o", directory.Path("sent.glb")});
    const ReadMotion received(directory.Path("received.glb"), 1.0);
    const ReadMotion sent(directory.Path("sent.glb"), 1.0);
    constexpr int frame = 1000;
    EXPECT_LT(Distance(received.Frame(frame).at("Hips"), sent.Frame(frame).at("Hips")), 0.3);
}

TEST(DrawCommand, DrawsEachFormat) {
    const TestDirectory directory;
    const std::string clip = directory.Write("walk.bvh", WalkFile().Text());
    const std::string config = directory.Path("config.json");
    Succeed({"prepare", "--source", clip, "--target", fullSample, "-o", config});
    const std::map<std::string, std::string> beginnings = {
        {"sheet.png", "\x89PNG"}, {"sheet.svg", "<?xml"}, {"sheet.pdf", "%PDF"}};
    for (const auto& [name, beginning] : beginnings) {
        Succeed({"draw", config, clip, "-o", directory.Path(name), "--at", "0,0.1"});
        EXPECT_EQ(ReadFile(directory.Path(name)).substr(0, beginning.size()), beginning);
    }
    EXPECT_EQ(RunTool({"draw", config, clip, "-o", directory.Path("sheet.png"), "--at", "5"}).exitCode, 1);
}

} // namespace
} // namespace Velkori_Tool_Test
