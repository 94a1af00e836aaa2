#include "BipedFile.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

namespace Velkori_Tool_Test {
namespace {

const std::string fullSample = std::string(VELKORI_SAMPLES_DIRECTORY) + "/full.json";
const std::string sampleCharacter = std::string(VELKORI_SAMPLES_DIRECTORY) + "/character.glb";

/** A directory with a biped's clip and its configuration. */
class Failure : public testing::Test {
  protected:
    void SetUp() override {
        const ToolRun run = RunTool({"prepare", "--source", clip, "--target", fullSample, "-o", config});
        ASSERT_EQ(run.exitCode, 0) << run.errors;
        files = directory.FileNames();
    }

    /** The command fails with 1 or as told, says each of `parts`, and leaves no file behind. */
    void ExpectFailure(const std::vector<std::string>& arguments, const std::vector<std::string>& parts,
        int exitCode = 1) const {
        const ToolRun run = RunTool(arguments);
        EXPECT_EQ(run.exitCode, exitCode) << arguments.at(0) << " " << arguments.at(1) << "\n" << run.output;
        for (const std::string& part : parts) {
            EXPECT_NE(run.errors.find(part), std::string::npos)
                << "'" << part << "' isn't in: " << run.errors;
        }
        EXPECT_EQ(directory.FileNames(), files) << arguments.at(0) << " " << arguments.at(1);
    }

    TestDirectory directory;
    std::string clip = directory.Write("clip.bvh", BipedFile().Text());
    std::string config = directory.Path("config.json");
    std::vector<std::string> files;
};

TEST_F(Failure, OfADamagedFileNamesIt) {
    const std::string biped = BipedFile().Text();
    std::string noNumber = biped;
    noNumber.replace(noNumber.find("OFFSET 0 "), 9, "OFFSET zero ");
    const std::string motion = biped.substr(0, biped.find("Frame Time: "));
    BipedFile far;
    far.unitsPerMetre = 1e20;
    const std::map<std::string, std::string> damaged = {{"empty.bvh", ""}, {"cut.bvh", biped.substr(0, 300)},
        {"word.bvh", noNumber},
        {"channels.bvh", "HIERARCHY\nROOT a\n{\nOFFSET 0 0 0\nCHANNELS 1e9 Xrotation\n}\n"},
        {"time.bvh", motion + "Frame Time: -1\n"}, {"instant.bvh", motion + "Frame Time: 1e-300\n"},
        {"far.bvh", far.Text()}, {"infinite.bvh", motion + "Frame Time: 0.01\ninf"},
        {"deep.bvh",
            [] {
                std::string text = "HIERARCHY\nROOT a\n{\n";
                for (int i = 0; i < 100000; ++i) {
                    text += "JOINT b\n{\n";
                }
                return text;
            }()},
        {"text.glb", "not a model"}, {"text.gltf", "{\"asset\":"}, {"text.fbx", "; nothing"},
        {"text.dae", "<COLLADA><library"}, {"noise.glb", std::string("glTF\x02\0\0\0\xff\xff\xff\x7f", 12)},
        {"unknown.xyz", "?"}};
    for (const auto& [name, text] : damaged) {
        const std::string path = directory.Write(name, text);
        files = directory.FileNames();
        ExpectFailure({"rig", path, "-o", directory.Path("rig.json")}, {name});
        ExpectFailure({"retarget", config, path, "-o", directory.Path("out.bvh")}, {name});
    }
    for (const std::string text : {"", "{", "[]", "{\"name\": 3}"}) {
        const std::string path = directory.Write("damaged.json", text);
        files = directory.FileNames();
        ExpectFailure({"retarget", path, clip, "-o", directory.Path("out.bvh")}, {"damaged.json"});
        ExpectFailure({"prepare", "--source", path, "--target", fullSample, "-o", directory.Path("out.json")},
            {"damaged.json"});
    }
}

TEST_F(Failure, OfAFileThatIsNotThereNamesIt) {
    for (const std::string name : {"none.bvh", "none.glb", "none.json"}) {
        ExpectFailure({"prepare", "--source", directory.Path(name), "--target", fullSample, "-o",
                          directory.Path("out.json")},
            {name, "can't read"});
    }
    ExpectFailure({"check", directory.Path("none.json")}, {"none.json"});
    ExpectFailure({"draw", directory.Path("."), clip, "-o", directory.Path("out.png")}, {"directory"});
}

TEST_F(Failure, ToWriteIsToldBeforeTheWork) {
    for (const std::string& place : {directory.Path("nowhere/out"), directory.Path(".")}) {
        ExpectFailure(
            {"rig", clip, "-o", place == directory.Path(".") ? place : place + ".json"}, {"can't write"});
    }
    for (const std::string ending : {".bvh", ".glb"}) {
        ExpectFailure(
            {"retarget", config, clip, "-o", directory.Path("nowhere/out" + ending)}, {"can't write"});
    }
    ExpectFailure({"draw", config, clip, "-o", directory.Path("nowhere/out.svg")}, {"can't write"});
    ExpectFailure({"draw", config, clip, "-o", directory.Path("out.jpg")}, {".png"}, 2);
    ExpectFailure({"retarget", config, clip, "-o", directory.Path("out.fbx")}, {".bvh"}, 2);
}

TEST_F(Failure, ToTellInputFromOutputSparesTheInput) {
    const std::string character = directory.Write("character.glb", ReadFile(sampleCharacter));
    const std::string own = directory.Path("own.json");
    ASSERT_EQ(RunTool({"prepare", "--source", clip, "--target", character, "-o", own}).exitCode, 0);
    const std::string link = directory.Path("link.bvh");
    std::filesystem::create_symlink(clip, link);
    files = directory.FileNames();
    const std::vector<std::vector<std::string>> wrong = {{"rig", clip, "-o", clip},
        {"prepare", "--source", clip, "--target", character, "-o", character},
        {"retarget", own, clip, "-o", link}, {"retarget", own, clip, "-o", character},
        {"retarget", own, clip, "-o", directory.Path("out.glb"), "--json", own},
        {"score", own, clip, "--json", clip}};
    const std::string clipBefore = ReadFile(clip);
    const std::string characterBefore = ReadFile(character);
    for (const std::vector<std::string>& arguments : wrong) {
        ExpectFailure(arguments, {"would be replaced"}, 2);
    }
    EXPECT_EQ(ReadFile(clip), clipBefore);
    EXPECT_EQ(ReadFile(character), characterBefore);
}

TEST_F(Failure, ToFinishKeepsWhatStoodThere) {
    // Links are followed and rights kept; a pipe gets the text and stays a pipe.
    const std::string real = directory.Write("real.json", "{}");
    std::filesystem::permissions(
        real, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    std::filesystem::create_symlink(real, directory.Path("link.json"));
    ASSERT_EQ(RunTool({"rig", clip, "-o", directory.Path("link.json")}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_symlink(directory.Path("link.json")));
    EXPECT_NE(ReadFile(real), "{}");
    EXPECT_EQ(std::filesystem::status(real).permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    ASSERT_EQ(RunTool({"rig", clip, "-o", "/dev/null"}).exitCode, 0);
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
    // What fails midway leaves the old file: a target nested too deep for the format.
    nlohmann::json deep = nlohmann::json::parse(ReadFile(config));
    std::string parent = "Head";
    for (int i = 0; i < 1200; ++i) {
        const std::string name = "chain" + std::to_string(i);
        deep["target"]["joints"].push_back(name);
        deep["target"]["hierarchy"][name] = parent;
        parent = name;
    }
    const std::string deepConfig = directory.Write("deep.json", deep.dump());
    const std::string out = directory.Write("out.bvh", "before");
    files = directory.FileNames();
    ExpectFailure({"retarget", deepConfig, clip, "-o", out}, {"out.bvh", "levels"});
    EXPECT_EQ(ReadFile(out), "before");
}

TEST_F(Failure, OfAClipWithAnotherRigNamesTheJointsThatItLacks) {
    BipedFile other;
    for (std::string& name : other.names) {
        name = "other" + name;
    }
    const std::string path = directory.Write("other.bvh", other.Text());
    files = directory.FileNames();
    ExpectFailure({"retarget", config, path, "-o", directory.Path("out.bvh")},
        {"other.bvh", "another rig", "LeftHand", "otherLeftHand", "velkori rig"});
    // A file of the right rig, but without motion.
    const std::string biped = BipedFile().Text();
    const std::string still = directory.Write("still.bvh", biped.substr(0, biped.find("MOTION")));
    files = directory.FileNames();
    ExpectFailure({"retarget", config, still, "-o", directory.Path("out.bvh")}, {"no frames"});
}

TEST_F(Failure, OfAnOptionSaysHowToSayIt) {
    const std::vector<std::string> rig = {"rig", clip, "-o", directory.Path("rig.json")};

    struct Case {
        std::string option;
        std::string value;
        std::string message;
        /** 2 for what no file could make right. */
        int exitCode = 1;
    };

    const std::vector<Case> cases = {{"--known", "leftWrist", "role=joint", 2},
        {"--known", "tail=Hips", "leftWrist", 2}, {"--known", "hips=Nothing", "no joint 'Nothing'"},
        {"--rest", "frame:9", "1 frames"}, {"--rest", "sitting", "bind", 2},
        {"--size-range", "2:1", "0.85:1.2", 2}, {"--size-range", "a", "0.85:1.2", 2},
        {"--exclude", "Nothing", "no joint 'Nothing'"}, {"--manifestation", "upper", "name=joint", 2},
        {"--manifestation", "upper=", "at least one", 2},
        {"--manifestation", "upper=Nothing", "no joint 'Nothing'"},
        {"--manifestation", "upper=Hips,Spine,Neck", "leaves out Spine1"}};
    for (const Case& each : cases) {
        std::vector<std::string> arguments = rig;
        arguments.insert(arguments.end(), {each.option, each.value});
        ExpectFailure(arguments, {each.option, each.message}, each.exitCode);
    }
    ExpectFailure({"stream", config, clip, "--loss", "1"}, {"lower --loss"});
    ExpectFailure({"retarget", config, clip, "-o", directory.Path("out.bvh"), "--manifestation", "none"},
        {"no manifestation 'none'"});
}

TEST_F(Failure, ToUseTheProgramEndsWith2) {
    const std::vector<std::vector<std::string>> wrong = {{}, {"dance"}, {"rig"}, {"rig", clip},
        {"rig", clip, "-o", "x", "--metres-per-unit", "-1"}, {"rig", clip, "-o", "x", "--as", "both"},
        {"prepare", "--source", clip, "--target", clip, "-o", "x", "--align", "feet"},
        {"retarget", config, clip, "-o", "x.bvh", "--behavior", "wild"},
        {"retarget", config, clip, "-o", "x.bvh", "--behavior", "3"}, {"stream", config, clip, "--loss", "2"},
        {"stream", config, clip, "--jitter-ms", "nan"},
        {"rig", clip, "-o", "x", "--metres-per-unit", "1e-300"}, {"stream", config, clip, "-o", "x.bvh"},
        {"draw", config, clip, "-o", "x.png", "--moments", "0"}};
    for (const std::vector<std::string>& arguments : wrong) {
        EXPECT_EQ(RunTool(arguments).exitCode, 2) << (arguments.empty() ? "" : arguments.back());
    }
    for (const std::string command : {"rig", "prepare", "retarget", "stream", "draw", "check"}) {
        const ToolRun help = RunTool({command, "--help"});
        EXPECT_EQ(help.exitCode, 0);
        EXPECT_NE(help.output.find("Example:\n  velkori " + command), std::string::npos) << help.output;
    }
    EXPECT_EQ(directory.FileNames(), files);
}

/** The problems that the check finds in a document changed by `change`, by kind. */
std::map<std::string, int> ProblemsAfter(
    const TestDirectory& directory, nlohmann::json document, void (*change)(nlohmann::json&)) {
    change(document);
    const ToolRun run = RunTool({"check", directory.Write("changed.json", document.dump()), "--json"});
    const nlohmann::json report = nlohmann::json::parse(run.output);
    std::map<std::string, int> problems;
    for (const auto& finding : report["findings"]) {
        problems[finding["kind"]] += finding["problem"].get<bool>() ? 1 : 0;
    }
    EXPECT_EQ(run.exitCode, report["problems"] == 0 ? 0 : 1);
    return problems;
}

TEST_F(Failure, OfAConfigurationIsFoundByTheCheck) {
    const nlohmann::json document = nlohmann::json::parse(ReadFile(config));
    const auto problems = [&](void (*change)(nlohmann::json&)) {
        return ProblemsAfter(directory, document, change);
    };
    for (const auto& [kind, count] : problems([](nlohmann::json&) {})) {
        EXPECT_EQ(count, 0) << kind;
    }
    EXPECT_EQ(
        problems([](nlohmann::json& d) { d["target"]["knownJoints"].erase("leftWrist"); })["knownJoint"], 1);
    EXPECT_GE(problems([](nlohmann::json& d) {
        std::swap(d["source"]["knownJoints"]["leftUpperLeg"], d["source"]["knownJoints"]["rightUpperLeg"]);
    })["restPose"],
        1);
    EXPECT_GE(problems([](nlohmann::json& d) {
        for (const char* pose : {"tposeMin", "tposeMax", "tpose"}) {
            for (auto& joint : d["target"][pose]) {
                for (auto& component : joint["position"]) {
                    component = component.get<double>() * 100.0;
                }
            }
        }
    })["restPose"],
        1);
    EXPECT_GE(problems([](nlohmann::json& d) { d["source"]["joints"].push_back("Hips"); })["library"], 1);
    EXPECT_GE(problems([](nlohmann::json& d) { d["target"]["joints"] = 3; })["library"], 1);
}

} // namespace
} // namespace Velkori_Tool_Test
