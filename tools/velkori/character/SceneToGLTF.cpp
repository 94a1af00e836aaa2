#include "character/SceneToGLTF.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"
#include "Transforms.h"
#include "motion/SceneImport.h"

#include <assimp/material.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <filesystem>
#include <map>

namespace Velkori_Tool {

namespace {

using JSON = nlohmann::ordered_json;

constexpr int vertexTarget = 34962;
constexpr size_t weightsPerVertex = 4;

Vector3 ToVector(const aiVector3D& v) {
    return {v.x, v.y, v.z};
}

/** Column by column, as glTF has them. */
std::array<float, 16> Columns(const aiMatrix4x4& m) {
    return {m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2, m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4};
}

/** The bones of all meshes of a node, which share one skin. */
struct Skin {
    std::vector<std::string> names;
    std::vector<float> inverseBindMatrices;

    uint16_t IndexOf(const aiBone& bone) {
        const std::string name = bone.mName.C_Str();
        const auto found = std::find(names.begin(), names.end(), name);
        if (found == names.end()) {
            names.push_back(name);
            const auto matrix = Columns(bone.mOffsetMatrix);
            inverseBindMatrices.insert(inverseBindMatrices.end(), matrix.begin(), matrix.end());
            return static_cast<uint16_t>(names.size() - 1);
        }
        return static_cast<uint16_t>(found - names.begin());
    }
};

class SceneConverter {
  public:
    SceneConverter(const std::string& path, const aiScene& scene)
        : path(path), scene(scene), file(MakeEmptyGLTF()) {}

    GLTFFile Convert() {
        for (const aiMaterial* material : std::span(scene.mMaterials, scene.mNumMaterials)) {
            AddMaterial(*material);
        }
        AddNode(*scene.mRootNode);
        file.document["scenes"][0]["nodes"] = {0};
        // Skins name nodes that stand anywhere in the tree.
        for (const auto& [node, index] : nodes) {
            if (node->mNumMeshes > 0) {
                AddMesh(*node, index);
            }
        }
        return std::move(file);
    }

  private:
    int AddNode(const aiNode& node) {
        aiVector3D scale;
        aiQuaternion rotation;
        aiVector3D position;
        node.mTransformation.Decompose(scale, rotation, position);
        const Quaternion q = Normalized(Quaternion{rotation.x, rotation.y, rotation.z, rotation.w});
        const int index = file.Add("nodes",
            {{"name", ValidUTF8(node.mName.C_Str())}, {"translation", {position.x, position.y, position.z}},
                {"rotation", {q.x, q.y, q.z, q.w}}, {"scale", {scale.x, scale.y, scale.z}}});
        nodes.emplace_back(&node, index);
        nodesByName.emplace(node.mName.C_Str(), index);
        JSON children = JSON::array();
        for (const aiNode* child : std::span(node.mChildren, node.mNumChildren)) {
            children.push_back(AddNode(*child));
        }
        if (!children.empty()) {
            file.document["nodes"][index]["children"] = std::move(children);
        }
        return index;
    }

    /** The picture that a material names: within the file, or beside it. */
    std::vector<uint8_t> ReadPicture(const std::string& name) const {
        const aiTexture* const texture = scene.GetEmbeddedTexture(name.c_str());
        if (texture != nullptr && texture->mHeight == 0) {
            // The reader keeps a packed picture's bytes where others have their colours.
            const auto* const bytes = reinterpret_cast<const uint8_t*>(texture->pcData);
            return {bytes, bytes + texture->mWidth};
        }
        std::string flat = name;
        std::replace(flat.begin(), flat.end(), '\\', '/');
        const std::filesystem::path directory = std::filesystem::path(path).parent_path();
        std::error_code isntThere;
        for (const std::filesystem::path& place :
            {directory / flat, directory / std::filesystem::path(flat).filename()}) {
            if (std::filesystem::is_regular_file(place, isntThere)) {
                const std::string text = ReadTextFile(place.string());
                return {text.begin(), text.end()};
            }
        }
        return {};
    }

    /** The index of a texture; -1 if there is no picture that glTF can hold. */
    int AddTexture(const aiMaterial& material) {
        aiString name;
        for (const aiTextureType type : {aiTextureType_BASE_COLOR, aiTextureType_DIFFUSE}) {
            if (material.GetTexture(type, 0, &name) == aiReturn_SUCCESS) {
                break;
            }
        }
        if (name.length == 0) {
            return -1;
        }
        const auto known = textures.find(name.C_Str());
        if (known != textures.end()) {
            return known->second;
        }
        const std::vector<uint8_t> bytes = ReadPicture(name.C_Str());
        const auto startsWith = [&](std::initializer_list<uint8_t> magic) {
            return bytes.size() > magic.size() && std::equal(magic.begin(), magic.end(), bytes.begin());
        };
        const bool isPNG = startsWith({0x89, 'P', 'N', 'G'});
        int texture = -1;
        if (isPNG || startsWith({0xFF, 0xD8})) {
            const int image = file.Add("images",
                {{"bufferView", file.AddView(bytes)}, {"mimeType", isPNG ? "image/png" : "image/jpeg"}});
            texture = file.Add("textures", {{"source", image}});
        }
        textures.emplace(name.C_Str(), texture);
        return texture;
    }

    void AddMaterial(const aiMaterial& material) {
        aiColor4D color(0.8f, 0.8f, 0.8f, 1.0f);
        material.Get(AI_MATKEY_COLOR_DIFFUSE, color);
        material.Get(AI_MATKEY_BASE_COLOR, color);
        float opacity = 1.0f;
        material.Get(AI_MATKEY_OPACITY, opacity);
        int isTwoSided = 0;
        material.Get(AI_MATKEY_TWOSIDED, isTwoSided);
        const auto share = [](float value) { return std::clamp(value, 0.0f, 1.0f); };
        constexpr float rough = 0.9f;
        JSON surface = {{"baseColorFactor", {share(color.r), share(color.g), share(color.b), share(opacity)}},
            {"metallicFactor", 0.0f}, {"roughnessFactor", rough}};
        const int texture = AddTexture(material);
        if (texture >= 0) {
            surface["baseColorTexture"] = {{"index", texture}};
        }
        JSON entry = {{"name", ValidUTF8(material.GetName().C_Str())},
            {"pbrMetallicRoughness", std::move(surface)}, {"doubleSided", isTwoSided != 0}};
        if (opacity < 1.0f) {
            entry["alphaMode"] = "BLEND";
        }
        file.Add("materials", std::move(entry));
    }

    int AddVectors(std::span<const aiVector3D> vectors, bool isUnit, bool statesBounds) {
        std::vector<float> values;
        values.reserve(vectors.size() * 3);
        for (const aiVector3D& vector : vectors) {
            Vector3 v = ToVector(vector);
            if (isUnit) {
                v = Length(v) > 0.0f ? Normalized(v) : Vector3{0.0f, 1.0f, 0.0f};
            }
            values.insert(values.end(), {v.x, v.y, v.z});
        }
        const int accessor = file.AddFloats(values, "VEC3", statesBounds);
        file.SetTarget(accessor, vertexTarget);
        return accessor;
    }

    void AddSkinning(const aiMesh& mesh, Skin& skin, JSON& attributes) {
        struct Influence {
            float weight = 0.0f;
            uint16_t joint = 0;
        };

        std::vector<std::vector<Influence>> influences(mesh.mNumVertices);
        for (const aiBone* bone : std::span(mesh.mBones, mesh.mNumBones)) {
            const uint16_t joint = skin.IndexOf(*bone);
            for (const aiVertexWeight& weight : std::span(bone->mWeights, bone->mNumWeights)) {
                if (weight.mWeight > 0.0f && weight.mVertexId < mesh.mNumVertices) {
                    influences[weight.mVertexId].push_back({weight.mWeight, joint});
                }
            }
        }
        std::vector<uint16_t> joints;
        std::vector<float> weights;
        for (std::vector<Influence>& list : influences) {
            std::sort(list.begin(), list.end(),
                [](const Influence& a, const Influence& b) { return a.weight > b.weight; });
            list.resize(std::max<size_t>(1, std::min(list.size(), weightsPerVertex)));
            float sum = 0.0f;
            for (const Influence& influence : list) {
                sum += influence.weight;
            }
            for (size_t i = 0; i < weightsPerVertex; ++i) {
                const Influence influence = i < list.size() ? list[i] : Influence();
                joints.push_back(influence.joint);
                // What no bone moves goes with the first one.
                weights.push_back(sum > 0.0f ? influence.weight / sum : (i == 0 ? 1.0f : 0.0f));
            }
        }
        attributes["JOINTS_0"] = file.AddShorts(joints, "VEC4");
        attributes["WEIGHTS_0"] = file.AddFloats(weights, "VEC4");
        for (const char* name : {"JOINTS_0", "WEIGHTS_0"}) {
            file.SetTarget(attributes[name].get<int>(), vertexTarget);
        }
    }

    JSON MakePrimitive(const aiMesh& mesh, Skin& skin, bool isSkinned) {
        const size_t count = mesh.mNumVertices;
        JSON attributes;
        attributes["POSITION"] = AddVectors({mesh.mVertices, count}, false, true);
        if (mesh.HasNormals()) {
            attributes["NORMAL"] = AddVectors({mesh.mNormals, count}, true, false);
        }
        if (mesh.HasTextureCoords(0)) {
            std::vector<float> values;
            for (const aiVector3D& place : std::span(mesh.mTextureCoords[0], count)) {
                values.insert(values.end(), {place.x, 1.0f - place.y});
            }
            attributes["TEXCOORD_0"] = file.AddFloats(values, "VEC2");
            file.SetTarget(attributes["TEXCOORD_0"].get<int>(), vertexTarget);
        }
        if (isSkinned) {
            AddSkinning(mesh, skin, attributes);
        }
        std::vector<uint32_t> indices;
        for (const aiFace& face : std::span(mesh.mFaces, mesh.mNumFaces)) {
            if (face.mNumIndices == 3) {
                indices.insert(indices.end(), face.mIndices, face.mIndices + 3);
            }
        }
        JSON primitive = {{"attributes", std::move(attributes)}, {"indices", file.AddIndices(indices)},
            {"material", mesh.mMaterialIndex}};
        for (const aiAnimMesh* shape : std::span(mesh.mAnimMeshes, mesh.mNumAnimMeshes)) {
            std::vector<aiVector3D> moves(count);
            for (size_t i = 0; i < count; ++i) {
                moves[i] = shape->HasPositions() ? shape->mVertices[i] - mesh.mVertices[i] : aiVector3D();
            }
            primitive["targets"].push_back({{"POSITION", AddVectors(moves, false, true)}});
        }
        return primitive;
    }

    static bool HasTriangles(const aiMesh& mesh) {
        const std::span faces(mesh.mFaces, mesh.mNumFaces);
        return std::any_of(
            faces.begin(), faces.end(), [](const aiFace& face) { return face.mNumIndices == 3; });
    }

    void AddMesh(const aiNode& node, int index) {
        const std::span numbers(node.mMeshes, node.mNumMeshes);
        const bool isSkinned = std::any_of(
            numbers.begin(), numbers.end(), [&](unsigned i) { return scene.mMeshes[i]->HasBones(); });
        Skin skin;
        JSON primitives = JSON::array();
        JSON shapeNames = JSON::array();
        for (const unsigned number : numbers) {
            const aiMesh& mesh = *scene.mMeshes[number];
            // All of a glTF mesh's primitives have as many blend shapes.
            const bool isAlike = primitives.empty() || shapeNames.size() == mesh.mNumAnimMeshes;
            if (HasTriangles(mesh) && isAlike) {
                primitives.push_back(MakePrimitive(mesh, skin, isSkinned));
                for (size_t i = shapeNames.size(); i < mesh.mNumAnimMeshes; ++i) {
                    shapeNames.push_back(ValidUTF8(mesh.mAnimMeshes[i]->mName.C_Str()));
                }
            }
        }
        if (primitives.empty()) {
            return;
        }
        JSON mesh = {{"name", ValidUTF8(node.mName.C_Str())}, {"primitives", std::move(primitives)}};
        if (!shapeNames.empty()) {
            mesh["weights"] = std::vector<float>(shapeNames.size(), 0.0f);
            mesh["extras"] = {{"targetNames", std::move(shapeNames)}};
        }
        file.document["nodes"][index]["mesh"] = file.Add("meshes", std::move(mesh));
        if (isSkinned) {
            JSON joints = JSON::array();
            for (const std::string& name : skin.names) {
                const auto found = nodesByName.find(name);
                joints.push_back(found == nodesByName.end() ? 0 : found->second);
            }
            file.document["nodes"][index]["skin"] = file.Add(
                "skins", {{"joints", std::move(joints)},
                             {"inverseBindMatrices", file.AddFloats(skin.inverseBindMatrices, "MAT4")}});
        }
    }

    const std::string& path;
    const aiScene& scene;
    GLTFFile file;
    std::vector<std::pair<const aiNode*, int>> nodes;
    std::map<std::string, int> nodesByName;
    std::map<std::string, int> textures;
};

} // namespace

GLTFFile ReadSceneAsGLTF(const std::string& path, std::vector<Remark>& notes) {
    CheckReadable(path);
    Assimp::Importer importer;
    const aiScene& scene = ImportScene(importer, path, FindFileFormat(path), ReadTextFile(path),
        aiProcess_Triangulate | aiProcess_JoinIdenticalVertices | aiProcess_LimitBoneWeights);
    if (scene.mNumAnimations > 0) {
        notes.push_back(
            {fmt::format("the animations that '{}' has itself aren't carried over into the GLB", path)});
    }
    return SceneConverter(path, scene).Convert();
}

} // namespace Velkori_Tool
