#include "character/SkinnedMesh.h"

#include "character/NodeAnimation.h"

#include <cstring>
#include <map>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

/** An accessor's numbers one after the other; empty where they aren't plain numbers of this buffer. */
class AccessorReader {
  public:
    explicit AccessorReader(const GLTFFile& file) : file(file) {}

    std::vector<float> Read(int index, size_t components) const {
        const JSON& accessor = file.document.at("accessors").at(index);
        if (!accessor.contains("bufferView") || accessor.contains("sparse")) {
            return {};
        }
        const JSON& view = file.document.at("bufferViews").at(accessor["bufferView"].get<size_t>());
        const int type = accessor.value("componentType", 0);
        const size_t size = SizeOf(type);
        const size_t stride = view.value("byteStride", size * components);
        const size_t first = view.value("byteOffset", size_t{0}) + accessor.value("byteOffset", size_t{0});
        const size_t count = accessor.value("count", size_t{0});
        if (size == 0 || view.contains("extensions") ||
            !file.Holds(first, stride, count, size * components)) {
            return {};
        }
        const bool isNormalized = accessor.value("normalized", false);
        std::vector<float> values;
        values.reserve(count * components);
        for (size_t element = 0; element < count; ++element) {
            for (size_t i = 0; i < components; ++i) {
                values.push_back(Number(first + element * stride + i * size, type, isNormalized));
            }
        }
        return values;
    }

  private:
    static constexpr int byteType = 5121;
    static constexpr int shortType = 5123;
    static constexpr int wordType = 5125;
    static constexpr int floatType = 5126;

    static size_t SizeOf(int type) {
        return type == byteType ? 1
                                : (type == shortType ? 2 : (type == wordType || type == floatType ? 4 : 0));
    }

    template <typename Value>
    Value At(size_t place) const {
        Value value = {};
        std::memcpy(&value, file.binary.data() + place, sizeof(value));
        return value;
    }

    float Number(size_t place, int type, bool isNormalized) const {
        constexpr float largestByte = 255.0f;
        constexpr float largestShort = 65535.0f;
        switch (type) {
        case byteType:
            return static_cast<float>(At<uint8_t>(place)) / (isNormalized ? largestByte : 1.0f);
        case shortType:
            return static_cast<float>(At<uint16_t>(place)) / (isNormalized ? largestShort : 1.0f);
        case wordType:
            return static_cast<float>(At<uint32_t>(place));
        default:
            return At<float>(place);
        }
    }

    const GLTFFile& file;
};

/** A skin's joints, and the matrices that bring a vertex to them. */
struct SkinJoints {
    std::vector<int> joints;
    std::vector<float> scales;
    std::vector<float> matrices;
};

class SkinReader {
  public:
    SkinReader(const GLTFFile& file, const std::vector<int>& nodes)
        : file(file), reader(file), scales(NodeScales(file)) {
        for (size_t joint = 0; joint < nodes.size(); ++joint) {
            jointOfNode.emplace(nodes[joint], static_cast<int>(joint));
        }
    }

    SkinnedMesh Read() {
        for (const JSON& node : file.document.value("nodes", JSON::array())) {
            if (!node.contains("mesh") || !node.contains("skin")) {
                continue;
            }
            const SkinJoints skin = ReadJoints(file.document.at("skins").at(node["skin"].get<size_t>()));
            const JSON& mesh = file.document.at("meshes").at(node["mesh"].get<size_t>());
            for (const JSON& primitive : mesh.value("primitives", JSON::array())) {
                AddPrimitive(primitive, skin);
            }
        }
        return std::move(result);
    }

  private:
    SkinJoints ReadJoints(const JSON& entry) const {
        SkinJoints skin;
        for (const JSON& node : entry.at("joints")) {
            const auto found = jointOfNode.find(node.get<int>());
            skin.joints.push_back(found == jointOfNode.end() ? -1 : found->second);
            skin.scales.push_back(scales.at(node.get<size_t>()));
        }
        constexpr size_t matrixSize = 16;
        if (entry.contains("inverseBindMatrices")) {
            skin.matrices = reader.Read(entry["inverseBindMatrices"].get<int>(), matrixSize);
        }
        // Joints that have none are bound in the mesh's own space.
        while (skin.matrices.size() < skin.joints.size() * matrixSize) {
            const size_t place = skin.matrices.size() % matrixSize;
            skin.matrices.push_back(place % 5 == 0 ? 1.0f : 0.0f);
        }
        return skin;
    }

    void AddPrimitive(const JSON& primitive, const SkinJoints& skin) {
        constexpr int trianglesMode = 4;
        const JSON attributes = primitive.value("attributes", JSON::object());
        if (primitive.value("mode", trianglesMode) != trianglesMode || !attributes.contains("POSITION") ||
            !attributes.contains("JOINTS_0") || !attributes.contains("WEIGHTS_0")) {
            return;
        }
        const std::vector<float> places = reader.Read(attributes["POSITION"].get<int>(), 3);
        const std::vector<float> joints = reader.Read(attributes["JOINTS_0"].get<int>(), 4);
        const std::vector<float> weights = reader.Read(attributes["WEIGHTS_0"].get<int>(), 4);
        const size_t count = places.size() / 3;
        if (joints.size() != 4 * count || weights.size() != 4 * count) {
            return;
        }
        const size_t first = result.vertices.size();
        for (size_t i = 0; i < count; ++i) {
            const Vector3 place = {places[3 * i], places[3 * i + 1], places[3 * i + 2]};
            SkinnedMesh::Vertex vertex;
            for (size_t k = 0; k < vertex.size(); ++k) {
                vertex.at(k) =
                    MakeInfluence(skin, static_cast<size_t>(joints[4 * i + k]), weights[4 * i + k], place);
            }
            result.vertices.push_back(vertex);
        }
        std::vector<float> indices;
        if (primitive.contains("indices")) {
            indices = reader.Read(primitive["indices"].get<int>(), 1);
        } else {
            for (size_t i = 0; i < count; ++i) {
                indices.push_back(static_cast<float>(i));
            }
        }
        for (size_t i = 0; i + 2 < indices.size(); i += 3) {
            const auto corner = [&](size_t k) { return static_cast<size_t>(indices[i + k]); };
            if (corner(0) < count && corner(1) < count && corner(2) < count) {
                for (const size_t k : {0, 1, 2}) {
                    result.triangles.push_back(static_cast<uint32_t>(first + corner(k)));
                }
            }
        }
    }

    static SkinnedMesh::Influence MakeInfluence(
        const SkinJoints& skin, size_t index, float weight, const Vector3& p) {
        if (index >= skin.joints.size() || skin.joints[index] < 0 || !(weight > 0.0f)) {
            return {};
        }
        const float* const m = skin.matrices.data() + 16 * index;
        const Vector3 local = {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12],
            m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13], m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14]};
        return {skin.joints[index], weight, local * skin.scales[index]};
    }

    const GLTFFile& file;
    AccessorReader reader;
    std::map<int, int> jointOfNode;
    /** By node, in the world. */
    std::vector<float> scales;
    SkinnedMesh result;
};

} // namespace

Vector3 SkinnedMesh::Place(const Vertex& vertex, std::span<const Transform> pose) {
    Vector3 sum = {0.0f, 0.0f, 0.0f};
    float weight = 0.0f;
    for (const Influence& influence : vertex) {
        if (influence.joint >= 0) {
            const Transform& joint = pose[influence.joint];
            sum = sum + (joint.position + Rotate(joint.orientation, influence.place)) * influence.weight;
            weight += influence.weight;
        }
    }
    return weight > 0.0f ? sum * (1.0f / weight) : sum;
}

SkinnedMesh ReadSkin(const GLTFFile& file, const std::vector<int>& nodes) {
    return SkinReader(file, nodes).Read();
}

} // namespace Velkori_Tool
