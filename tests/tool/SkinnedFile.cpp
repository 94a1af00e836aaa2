#include "SkinnedFile.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace Velkori_Tool_Test {

namespace {

using JSON = nlohmann::json;
using Matrix = std::array<double, 16>; // column by column

Matrix Identity() {
    return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
}

Matrix Multiply(const Matrix& a, const Matrix& b) {
    Matrix product = {};
    for (size_t column = 0; column < 4; ++column) {
        for (size_t row = 0; row < 4; ++row) {
            for (size_t k = 0; k < 4; ++k) {
                product.at(4 * column + row) += a.at(4 * k + row) * b.at(4 * column + k);
            }
        }
    }
    return product;
}

Matrix FromParts(const std::vector<double>& t, const std::vector<double>& q, const std::vector<double>& s) {
    const double x = q[0];
    const double y = q[1];
    const double z = q[2];
    const double w = q[3];
    return {s[0] * (1 - 2 * (y * y + z * z)), s[0] * 2 * (x * y + z * w), s[0] * 2 * (x * z - y * w), 0,
        s[1] * 2 * (x * y - z * w), s[1] * (1 - 2 * (x * x + z * z)), s[1] * 2 * (y * z + x * w), 0,
        s[2] * 2 * (x * z + y * w), s[2] * 2 * (y * z - x * w), s[2] * (1 - 2 * (x * x + y * y)), 0, t[0],
        t[1], t[2], 1};
}

void AppendWord(std::string& bytes, size_t value) {
    const auto word = static_cast<uint32_t>(value);
    std::array<char, sizeof(word)> parts = {};
    std::memcpy(parts.data(), &word, sizeof(word));
    bytes.append(parts.data(), parts.size());
}

/** Appends an accessor whose values are floats. */
void AddFloats(JSON& document, std::string& binary, const std::vector<float>& values, const char* type,
    size_t components) {
    document["bufferViews"].push_back(
        {{"buffer", 0}, {"byteOffset", binary.size()}, {"byteLength", values.size() * sizeof(float)}});
    document["accessors"].push_back({{"bufferView", document["bufferViews"].size() - 1},
        {"componentType", 5126}, {"count", values.size() / components}, {"type", type}});
    const size_t begin = binary.size();
    binary.resize(begin + values.size() * sizeof(float));
    std::memcpy(binary.data() + begin, values.data(), values.size() * sizeof(float));
}

} // namespace

std::string SkinnedFile::Bytes() const {
    // In the armature's own axes z is up, and its unit is a centimetre.
    const auto inArmature = [this](const Point& p) {
        return isUnderScaledArmature ? Point{100 * p.x, -100 * p.z, 100 * p.y} : p;
    };
    JSON document = {{"asset", {{"version", "2.0"}}}, {"scene", 0}, {"scenes", {{{"nodes", {0, 1}}}}},
        {"extras", {{"note", "of the artist's own"}}}};
    constexpr int firstJoint = 3;
    JSON armature = {{"name", "Armature"}, {"children", {firstJoint}}};
    if (isUnderScaledArmature) {
        armature["scale"] = {0.01, 0.01, 0.01};
        armature["rotation"] = {-std::sqrt(0.5), 0, 0, std::sqrt(0.5)};
    }
    document["nodes"] = {armature, {{"name", "Body"}, {"mesh", 0}, {"skin", 0}, {"children", {2}}},
        {{"name", "Hat"}, {"translation", {0, 2, 0}}, {"extras", {{"price", 12}}}}};
    std::string binary;
    std::vector<float> places;
    std::vector<float> weights;
    std::vector<float> inverses;
    std::vector<float> joints;
    for (int joint = 0; joint < BipedJointCount; ++joint) {
        const int parent = bipedParents.at(joint);
        const Point p = inArmature(positions.at(joint));
        const Point above = parent < 0 ? Point() : inArmature(positions.at(parent));
        JSON node = {
            {"name", names.at(joint)}, {"translation", {p.x - above.x, p.y - above.y, p.z - above.z}}};
        for (int child = joint + 1; child < BipedJointCount; ++child) {
            if (bipedParents.at(child) == joint) {
                node["children"].push_back(firstJoint + child);
            }
        }
        document["nodes"].push_back(node);
        document["skins"][0]["joints"].push_back(firstJoint + joint);
        for (const double value : {positions.at(joint).x, positions.at(joint).y, positions.at(joint).z}) {
            places.push_back(static_cast<float>(value));
        }
        const float first = hasFaultyWeights && joint == Head ? 1.2F : 1.0F;
        weights.insert(weights.end(), {first, 0, 0, 0});
        joints.insert(joints.end(), {static_cast<float>(joint), 0, 0, 0});
        // World to joint: the armature's own way back, then to the joint's place.
        Matrix inverse = Identity();
        if (isUnderScaledArmature) {
            inverse = {100, 0, 0, 0, 0, 0, 100, 0, 0, -100, 0, 0, 0, 0, 0, 1};
        }
        inverse[12] = -p.x;
        inverse[13] = -p.y;
        inverse[14] = -p.z;
        inverses.insert(inverses.end(), inverse.begin(), inverse.end());
    }
    AddFloats(document, binary, places, "VEC3", 3);
    document["accessors"][0]["min"] = {-1, -1, -1};
    document["accessors"][0]["max"] = {1, 2, 1};
    AddFloats(document, binary, weights, "VEC4", 4);
    AddFloats(document, binary, inverses, "MAT4", 16);
    AddFloats(document, binary, {0, 1}, "SCALAR", 1);
    AddFloats(document, binary, {0, 0, 0, 1, 0, 0, 0, 1}, "VEC4", 4);
    document["bufferViews"].push_back(
        {{"buffer", 0}, {"byteOffset", binary.size()}, {"byteLength", 4 * BipedJointCount}});
    document["accessors"].push_back(
        {{"bufferView", 5}, {"componentType", 5121}, {"count", BipedJointCount}, {"type", "VEC4"}});
    for (const float joint : joints) {
        binary.push_back(static_cast<char>(joint));
    }
    if (!hasNoBindMatrices) {
        document["skins"][0]["inverseBindMatrices"] = 2;
    }
    document["meshes"] = {{{"name", "Body"},
        {"primitives", {{{"mode", 0}, {"attributes", {{"POSITION", 0}, {"WEIGHTS_0", 1}, {"JOINTS_0", 5}}},
                           {"material", 0}}}}}};
    document["materials"] = {{{"name", "Skin"}, {"extras", {{"shader", "toon"}}}}};
    document["animations"] = {{{"name", "Nod"}, {"samplers", {{{"input", 3}, {"output", 4}}}},
        {"channels", {{{"sampler", 0}, {"target", {{"node", firstJoint + Head}, {"path", "rotation"}}}}}}}};
    if (isVRM) {
        JSON& bones = document["extensions"]["VRMC_vrm"]["humanoid"]["humanBones"];
        constexpr std::array<const char*, BipedJointCount> table = {"hips", "spine", "chest", "neck", "head",
            "leftShoulder", "leftUpperArm", "leftLowerArm", "leftHand", "leftUpperLeg", "leftLowerLeg",
            "leftFoot", "leftToes", "rightShoulder", "rightUpperArm", "rightLowerArm", "rightHand",
            "rightUpperLeg", "rightLowerLeg", "rightFoot", "rightToes"};
        for (int joint = 0; joint < BipedJointCount; ++joint) {
            bones[table.at(joint)]["node"] = firstJoint + joint;
        }
        document["extensionsUsed"] = {"VRMC_vrm"};
    }
    document["buffers"] = {{{"byteLength", binary.size()}}};
    change(document);
    std::string text = document.dump();
    text.resize((text.size() + 3) / 4 * 4, ' ');
    binary.resize((binary.size() + 3) / 4 * 4);
    std::string bytes = "glTF";
    for (const size_t word : {size_t{2}, 28 + text.size() + binary.size(), text.size()}) {
        AppendWord(bytes, word);
    }
    bytes += "JSON" + text;
    AppendWord(bytes, binary.size());
    return bytes + std::string("BIN\0", 4) + binary;
}

GLBFile::GLBFile(const std::string& bytes) {
    uint32_t length = 0;
    std::memcpy(&length, bytes.data() + 12, sizeof(length));
    document = JSON::parse(bytes.substr(20, length));
    binary = bytes.substr(20 + length + 8);
}

int GLBFile::NodeNamed(const std::string& name) const {
    for (size_t node = 0; node < document["nodes"].size(); ++node) {
        if (document["nodes"][node].value("name", "") == name) {
            return static_cast<int>(node);
        }
    }
    return -1;
}

std::vector<float> GLBFile::Floats(int accessor) const {
    const JSON& entry = document["accessors"][accessor];
    const JSON& view = document["bufferViews"][entry["bufferView"].get<size_t>()];
    std::vector<float> values(view["byteLength"].get<size_t>() / sizeof(float));
    std::memcpy(
        values.data(), binary.data() + view.value("byteOffset", size_t{0}), values.size() * sizeof(float));
    return values;
}

int GLBFile::FrameCount() const {
    return static_cast<int>(Floats(document["animations"].back()["samplers"][0]["input"]).size());
}

std::vector<Point> GLBFile::Frame(int frame) const {
    const JSON& animation = document["animations"].back();
    std::vector<std::array<std::vector<double>, 3>> parts;
    for (const JSON& node : document["nodes"]) {
        parts.push_back({node.value("translation", std::vector<double>{0, 0, 0}),
            node.value("rotation", std::vector<double>{0, 0, 0, 1}),
            node.value("scale", std::vector<double>{1, 1, 1})});
    }
    for (const JSON& channel : animation["channels"]) {
        const bool isRotation = channel["target"]["path"] == "rotation";
        const std::vector<float> values =
            Floats(animation["samplers"][channel["sampler"].get<size_t>()]["output"]);
        const size_t size = isRotation ? 4 : 3;
        const auto begin = values.begin() + static_cast<std::ptrdiff_t>(size) * frame;
        parts.at(channel["target"]["node"].get<size_t>()).at(isRotation ? 1 : 0) =
            std::vector<double>(begin, begin + static_cast<std::ptrdiff_t>(size));
    }
    std::vector<Point> positions(parts.size());
    const auto place = [&](const auto& self, size_t node, const Matrix& above) -> void {
        const Matrix world = Multiply(above, FromParts(parts[node][0], parts[node][1], parts[node][2]));
        positions[node] = {world[12], world[13], world[14]};
        for (const JSON& child : document["nodes"][node].value("children", JSON::array())) {
            self(self, child.get<size_t>(), world);
        }
    };
    for (const JSON& top : document["scenes"][0]["nodes"]) {
        place(place, top.get<size_t>(), Identity());
    }
    return positions;
}

} // namespace Velkori_Tool_Test
