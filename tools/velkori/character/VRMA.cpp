#include "character/VRMA.h"

#include "Failure.h"

#include <array>
#include <string_view>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

/** What version 0 called thumbs and version 1 calls otherwise. */
std::string NameInVersion1(const std::string& name) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 2> renamed = {
        std::pair{"ThumbProximal", "ThumbMetacarpal"}, {"ThumbIntermediate", "ThumbProximal"}};
    for (const auto& [before, now] : renamed) {
        if (name.ends_with(before)) {
            return name.substr(0, name.size() - before.size()) + std::string(now);
        }
    }
    return name;
}

/** By bone; empty if the character is no VRM. */
JSON HumanBones(const JSON& extensions, bool& isVersion0) {
    JSON bones = JSON::object();
    isVersion0 = !extensions.contains("VRMC_vrm") && extensions.contains("VRM");
    if (isVersion0) {
        for (const JSON& bone : extensions["VRM"].at("humanoid").at("humanBones")) {
            bones[NameInVersion1(bone.at("bone").get<std::string>())] = {{"node", bone.at("node")}};
        }
    } else if (extensions.contains("VRMC_vrm")) {
        for (const auto& [name, bone] : extensions["VRMC_vrm"].at("humanoid").at("humanBones").items()) {
            bones[name] = {{"node", bone.at("node")}};
        }
    }
    // Eyes are turned by where a character looks.
    for (const char* eye : {"leftEye", "rightEye"}) {
        bones.erase(eye);
    }
    return bones;
}

} // namespace

GLTFFile MakeVRMA(const GLTFFile& character) {
    bool isVersion0 = false;
    const JSON extensions = character.document.value("extensions", JSON::object());
    const JSON bones = HumanBones(extensions, isVersion0);
    if (!bones.contains("hips")) {
        throw Failure("the character has no VRM table of bones; write its motion as a .glb");
    }
    GLTFFile file = MakeEmptyGLTF();
    for (const JSON& node : character.document.at("nodes")) {
        JSON bare = JSON::object();
        for (const char* member : {"name", "children", "matrix", "translation", "rotation", "scale"}) {
            if (node.contains(member)) {
                bare[member] = node[member];
            }
        }
        file.Add("nodes", std::move(bare));
    }
    JSON tops = character.document.at("scenes").at(character.document.value("scene", 0)).at("nodes");
    if (isVersion0) {
        // Characters of version 0 face away from where animations have them face.
        const int turned = file.Add("nodes",
            {{"name", "Turned"}, {"rotation", {0.0f, 1.0f, 0.0f, 0.0f}}, {"children", std::move(tops)}});
        tops = {turned};
    }
    file.document["scenes"][0]["nodes"] = std::move(tops);
    file.document["extensionsUsed"] = {"VRMC_vrm_animation"};
    file.document["extensions"]["VRMC_vrm_animation"] = {
        {"specVersion", "1.0"}, {"humanoid", {{"humanBones", bones}}}};
    return file;
}

} // namespace Velkori_Tool
