#include "motion/GLBWriter.h"

#include "Failure.h"
#include "Text.h"

#include <tiny_gltf.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <fstream>
#include <span>

namespace Velkori_Tool {

namespace {

using Vector4 = std::array<float, 4>;
using Matrix4 = std::array<float, 16>;

/** A mesh of one slim octahedron per bone, each bound to the joint at its thick end. */
struct BoneMesh {
    std::vector<Vector3> positions;
    std::vector<std::array<uint16_t, 4>> joints;
    std::vector<Vector4> weights;
    std::vector<uint32_t> indices;
};

void AddBone(const Vector3& from, const Vector3& to, uint16_t joint, BoneMesh& mesh) {
    const Vector3 along = to - from;
    const float length = Length(along);
    if (!(length > 0.0f)) {
        return;
    }
    const Vector3 direction = Normalized(along);
    const Vector3 other =
        std::fabs(direction.y) < 0.9f ? Vector3{0.0f, 1.0f, 0.0f} : Vector3{1.0f, 0.0f, 0.0f};
    const Vector3 right = Normalized(Cross(direction, other));
    const Vector3 front = Cross(right, direction);
    constexpr float thickest = 0.03f;
    const float width = std::min(thickest, 0.15f * length);
    const Vector3 waist = from + along * 0.15f;
    const auto first = static_cast<uint32_t>(mesh.positions.size());
    for (const Vector3& corner : {from, waist + right * width, waist + front * width, waist - right * width,
             waist - front * width, to}) {
        mesh.positions.push_back(corner);
        mesh.joints.push_back({joint, 0, 0, 0});
        mesh.weights.push_back({1.0f, 0.0f, 0.0f, 0.0f});
    }
    for (uint32_t side = 0; side < 4; ++side) {
        const uint32_t next = (side + 1) % 4;
        for (const uint32_t corner : {0U, next + 1, side + 1, 5U, side + 1, next + 1}) {
            mesh.indices.push_back(first + corner);
        }
    }
}

BoneMesh MakeBoneMesh(const OutgoingMotion& motion) {
    BoneMesh mesh;
    for (size_t joint = 0; joint < motion.parents.size(); ++joint) {
        const int parent = motion.parents[joint];
        // A root on the ground has no bone that a body would have.
        if (parent >= 0 && motion.parents[parent] >= 0) {
            AddBone(motion.restPose[parent].position, motion.restPose[joint].position,
                static_cast<uint16_t>(parent), mesh);
        }
    }
    return mesh;
}

/** The inverse of a joint's rest transform, column by column. */
Matrix4 InverseMatrix(const Transform& transform) {
    const Quaternion inverse = Inverse(transform.orientation);
    const Vector3 x = Rotate(inverse, {1.0f, 0.0f, 0.0f});
    const Vector3 y = Rotate(inverse, {0.0f, 1.0f, 0.0f});
    const Vector3 z = Rotate(inverse, {0.0f, 0.0f, 1.0f});
    const Vector3 offset = Rotate(inverse, transform.position) * -1.0f;
    return {
        x.x, x.y, x.z, 0.0f, y.x, y.y, y.z, 0.0f, z.x, z.y, z.z, 0.0f, offset.x, offset.y, offset.z, 1.0f};
}

class GLBMaker {
  public:
    explicit GLBMaker(const OutgoingMotion& motion) : motion(motion) {}

    tinygltf::Model Make() {
        model.asset.version = "2.0";
        model.asset.generator = "velkori";
        model.buffers.emplace_back();
        model.scenes.emplace_back();
        model.defaultScene = 0;
        AddNodes();
        AddSkinnedBones();
        AddAnimation();
        return std::move(model);
    }

  private:
    Transform Local(std::span<const Transform> pose, size_t joint) const {
        const int parent = motion.parents[joint];
        return parent < 0 ? pose[joint] : RelativeTo(pose[parent], pose[joint]);
    }

    /** Appends a list to the binary buffer as an accessor of its own. */
    template <typename Element>
    int AddAccessor(const std::vector<Element>& list, int type, int componentType, int target) {
        std::vector<unsigned char>& bytes = model.buffers.front().data;
        tinygltf::BufferView view;
        view.buffer = 0;
        view.byteOffset = bytes.size();
        view.byteLength = list.size() * sizeof(Element);
        view.target = target;
        bytes.resize(bytes.size() + view.byteLength);
        std::memcpy(bytes.data() + view.byteOffset, list.data(), view.byteLength);
        model.bufferViews.push_back(view);

        tinygltf::Accessor accessor;
        accessor.bufferView = static_cast<int>(model.bufferViews.size()) - 1;
        accessor.type = type;
        accessor.componentType = componentType;
        accessor.count = list.size();
        model.accessors.push_back(accessor);
        return static_cast<int>(model.accessors.size()) - 1;
    }

    void AddNodes() {
        for (size_t joint = 0; joint < motion.jointNames.size(); ++joint) {
            const Transform local = Local(motion.restPose, joint);
            tinygltf::Node node;
            node.name = ValidUTF8(motion.jointNames[joint]);
            node.translation = {local.position.x, local.position.y, local.position.z};
            node.rotation = {
                local.orientation.x, local.orientation.y, local.orientation.z, local.orientation.w};
            model.nodes.push_back(node);
        }
        for (size_t joint = 0; joint < motion.jointNames.size(); ++joint) {
            const int parent = motion.parents[joint];
            (parent < 0 ? model.scenes.front().nodes : model.nodes[parent].children)
                .push_back(static_cast<int>(joint));
        }
    }

    void AddSkinnedBones() {
        const BoneMesh bones = MakeBoneMesh(motion);
        if (bones.positions.empty()) {
            return;
        }
        tinygltf::Primitive primitive;
        primitive.mode = TINYGLTF_MODE_TRIANGLES;
        primitive.attributes["POSITION"] = AddAccessor(
            bones.positions, TINYGLTF_TYPE_VEC3, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TARGET_ARRAY_BUFFER);
        SetBounds(bones.positions);
        primitive.attributes["JOINTS_0"] = AddAccessor(bones.joints, TINYGLTF_TYPE_VEC4,
            TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT, TINYGLTF_TARGET_ARRAY_BUFFER);
        primitive.attributes["WEIGHTS_0"] = AddAccessor(
            bones.weights, TINYGLTF_TYPE_VEC4, TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TARGET_ARRAY_BUFFER);
        primitive.indices = AddAccessor(bones.indices, TINYGLTF_TYPE_SCALAR,
            TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER);
        tinygltf::Mesh mesh;
        mesh.name = "Bones";
        mesh.primitives.push_back(primitive);
        model.meshes.push_back(mesh);

        tinygltf::Skin skin;
        std::vector<Matrix4> inverses;
        for (size_t joint = 0; joint < motion.restPose.size(); ++joint) {
            skin.joints.push_back(static_cast<int>(joint));
            inverses.push_back(InverseMatrix(motion.restPose[joint]));
        }
        skin.inverseBindMatrices =
            AddAccessor(inverses, TINYGLTF_TYPE_MAT4, TINYGLTF_COMPONENT_TYPE_FLOAT, 0);
        model.skins.push_back(skin);

        tinygltf::Node node;
        node.name = "Bones";
        node.mesh = 0;
        node.skin = 0;
        model.scenes.front().nodes.push_back(static_cast<int>(model.nodes.size()));
        model.nodes.push_back(node);
    }

    /** Positions must state their box. */
    void SetBounds(const std::vector<Vector3>& positions) {
        Vector3 low = positions.front();
        Vector3 high = positions.front();
        for (const Vector3& p : positions) {
            low = {std::min(low.x, p.x), std::min(low.y, p.y), std::min(low.z, p.z)};
            high = {std::max(high.x, p.x), std::max(high.y, p.y), std::max(high.z, p.z)};
        }
        model.accessors.back().minValues = {low.x, low.y, low.z};
        model.accessors.back().maxValues = {high.x, high.y, high.z};
    }

    void AddAnimation() {
        const size_t frameCount = motion.FrameCount();
        if (frameCount < 1) {
            return;
        }
        std::vector<float> times;
        for (size_t frame = 0; frame < frameCount; ++frame) {
            times.push_back(static_cast<float>(static_cast<double>(frame) * motion.frameSeconds));
        }
        const int timeAccessor = AddAccessor(times, TINYGLTF_TYPE_SCALAR, TINYGLTF_COMPONENT_TYPE_FLOAT, 0);
        model.accessors.back().minValues = {times.front()};
        model.accessors.back().maxValues = {times.back()};

        tinygltf::Animation animation;
        animation.name = ValidUTF8(motion.name);
        for (size_t joint = 0; joint < motion.jointNames.size(); ++joint) {
            std::vector<Vector3> translations;
            std::vector<Quaternion> rotations;
            for (size_t frame = 0; frame < frameCount; ++frame) {
                const auto pose = std::span(motion.poses)
                                      .subspan(frame * motion.jointNames.size(), motion.jointNames.size());
                const Transform local = Local(pose, joint);
                translations.push_back(local.position);
                rotations.push_back(local.orientation);
            }
            AddChannel(animation, joint, "translation", timeAccessor,
                AddAccessor(translations, TINYGLTF_TYPE_VEC3, TINYGLTF_COMPONENT_TYPE_FLOAT, 0));
            AddChannel(animation, joint, "rotation", timeAccessor,
                AddAccessor(rotations, TINYGLTF_TYPE_VEC4, TINYGLTF_COMPONENT_TYPE_FLOAT, 0));
        }
        model.animations.push_back(animation);
    }

    static void AddChannel(
        tinygltf::Animation& animation, size_t joint, const char* path, int input, int output) {
        tinygltf::AnimationSampler sampler;
        sampler.input = input;
        sampler.output = output;
        sampler.interpolation = "LINEAR";
        tinygltf::AnimationChannel channel;
        channel.sampler = static_cast<int>(animation.samplers.size());
        channel.target_node = static_cast<int>(joint);
        channel.target_path = path;
        animation.samplers.push_back(sampler);
        animation.channels.push_back(channel);
    }

    const OutgoingMotion& motion;
    tinygltf::Model model;
};

} // namespace

void WriteGLB(const std::string& path, const OutgoingMotion& motion) {
    tinygltf::Model model = GLBMaker(motion).Make();
    constexpr bool isPretty = false;
    constexpr bool isBinary = true;
    std::ofstream file(path, std::ios::binary);
    const bool isMade = tinygltf::TinyGLTF().WriteGltfSceneToStream(&model, file, isPretty, isBinary);
    file.close();
    if (!isMade || !file) {
        throw Failure("the disk may be full");
    }
}

} // namespace Velkori_Tool
