#include "SceneReader.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"
#include "motion/FileFormat.h"
#include "motion/HumanoidTable.h"
#include "motion/SceneAnimation.h"
#include "motion/SceneImport.h"

#include <assimp/scene.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <assimp/Importer.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string_view>

namespace Velkori_Tool {

namespace {

Transform WithoutScale(const aiMatrix4x4& matrix) {
    aiVector3D scale;
    aiQuaternion rotation;
    aiVector3D position;
    matrix.Decompose(scale, rotation, position);
    return {Normalized(Quaternion{rotation.x, rotation.y, rotation.z, rotation.w}),
        {position.x, position.y, position.z}, {1.0f, 1.0f, 1.0f}};
}

aiVector3D PlaceOf(const aiMatrix4x4& matrix) {
    return {matrix.a4, matrix.b4, matrix.c4};
}

aiMatrix4x4 WorldMatrix(const aiNode& node) {
    aiMatrix4x4 world = node.mTransformation;
    for (const aiNode* parent = node.mParent; parent != nullptr; parent = parent->mParent) {
        world = parent->mTransformation * world;
    }
    return world;
}

/** A scene's nodes, parents before children, and what is known of each. */
class SceneSkeleton {
  public:
    /** `animation` is the one that is wanted, or null. */
    SceneSkeleton(const std::string& path, const aiScene& scene, const aiAnimation* animation, bool isGLTF)
        : path(path), scene(scene), isGLTF(isGLTF) {
        CollectNodes(*scene.mRootNode, -1, 0);
        for (const aiNode* node : nodes) {
            const aiNode*& named = nodeByName[node->mName.C_Str()];
            // A bone and the mesh that hangs from it may share a name; the bone is meant.
            named = named == nullptr || (named->mNumMeshes > 0 && node->mNumMeshes == 0) ? node : named;
        }
        FindJoints(animation);
        PlaceSkins();
    }

    FileSkeleton Skeleton() const {
        FileSkeleton skeleton;
        std::map<const aiNode*, aiMatrix4x4> worlds;
        const bool hasSkin = !bindMatrices.empty();
        for (const aiNode* node : joints) {
            const auto bone = bindMatrices.find(node);
            const auto parent = worlds.find(node->mParent);
            const aiNode* const carrier = bone != bindMatrices.end() ? nullptr : BoneUnder(*node);
            worlds[node] = bone != bindMatrices.end() ? bone->second
                           : carrier != nullptr ? bindMatrices.at(carrier) * WorldMatrix(*carrier).Inverse() *
                                                      WorldMatrix(*node)
                           : parent != worlds.end() ? parent->second * node->mTransformation
                                                    : WorldMatrix(*node);
            skeleton.jointNames.emplace_back(node->mName.C_Str());
            const auto parentJoint = std::find(joints.begin(), joints.end(), node->mParent);
            skeleton.parents.push_back(
                parentJoint == joints.end() ? -1 : static_cast<int>(parentJoint - joints.begin()));
            skeleton.bindPose.push_back(WithoutScale(worlds[node]));
            if (hasSkin) {
                skeleton.storedPose.push_back(WithoutScale(WorldMatrix(*node)));
                skeleton.isSkinned.push_back(bone != bindMatrices.end());
            }
        }
        MakeNamesUnique(skeleton.jointNames);
        AddBlendShapes(skeleton);
        return skeleton;
    }

    /** The joint of a node's name; -1 if it is none. */
    int JointOfNode(const std::string& name) const {
        const auto node = nodeByName.find(name);
        const auto joint =
            node == nodeByName.end() ? joints.end() : std::find(joints.begin(), joints.end(), node->second);
        return joint == joints.end() ? -1 : static_cast<int>(joint - joints.begin());
    }

    /** The animation's channel of each node; null where there is none. */
    std::vector<const aiNodeAnim*> ChannelsOfNodes(const aiAnimation& animation) const {
        std::map<std::string_view, const aiNodeAnim*> byName;
        for (const aiNodeAnim* channel : std::span(animation.mChannels, animation.mNumChannels)) {
            byName.emplace(channel->mNodeName.C_Str(), channel);
        }
        std::vector<const aiNodeAnim*> channels;
        channels.reserve(nodes.size());
        for (const aiNode* node : nodes) {
            const auto found = byName.find(node->mName.C_Str());
            channels.push_back(found == byName.end() || !IsMeantByName(*node) ? nullptr : found->second);
        }
        return channels;
    }

    /** Appends the pose of all joints at a time of the animation, in ticks. */
    void AppendPose(
        std::span<const aiNodeAnim* const> channels, double time, std::vector<Transform>& poses) const {
        std::vector<aiMatrix4x4> worlds(nodes.size());
        for (size_t i = 0; i < nodes.size(); ++i) {
            const aiMatrix4x4& rest = nodes[i]->mTransformation;
            const aiMatrix4x4 local = channels[i] == nullptr ? rest : SampleChannel(*channels[i], rest, time);
            worlds[i] = parentNodes[i] < 0 ? local : worlds[parentNodes[i]] * local;
        }
        for (const size_t node : jointNodes) {
            poses.push_back(WithoutScale(worlds[node]));
        }
    }

  private:
    void CollectNodes(const aiNode& node, int parent, int depth) {
        constexpr int deepest = 1000;
        if (depth > deepest) {
            throw Failure(fmt::format(
                "'{}': nodes are nested more than {} levels deep; no skeleton is", path, deepest));
        }
        const int index = static_cast<int>(nodes.size());
        nodes.push_back(&node);
        parentNodes.push_back(parent);
        for (const aiNode* child : std::span(node.mChildren, node.mNumChildren)) {
            CollectNodes(*child, index, depth + 1);
        }
    }

    bool IsMeantByName(const aiNode& node) const {
        return nodeByName.find(node.mName.C_Str())->second == &node;
    }

    bool IsCameraOrLight(const aiNode& node) const {
        const auto isNode = [&](const auto* thing) { return thing->mName == node.mName; };
        const std::span cameras(scene.mCameras, scene.mNumCameras);
        const std::span lights(scene.mLights, scene.mNumLights);
        return std::any_of(cameras.begin(), cameras.end(), isNode) ||
               std::any_of(lights.begin(), lights.end(), isNode);
    }

    /** A mesh's bones, each as the mesh's own space has it bound. */
    struct Skin {
        const aiNode* meshNode = nullptr;
        std::vector<std::pair<const aiNode*, aiMatrix4x4>> bones;
    };

    void CollectSkins() {
        for (const aiNode* node : nodes) {
            for (const unsigned index : std::span(node->mMeshes, node->mNumMeshes)) {
                const aiMesh& mesh = *scene.mMeshes[index];
                Skin skin;
                skin.meshNode = node;
                for (const aiBone* bone : std::span(mesh.mBones, mesh.mNumBones)) {
                    const auto named = nodeByName.find(bone->mName.C_Str());
                    aiMatrix4x4 offset = bone->mOffsetMatrix;
                    if (named != nodeByName.end() && offset.Determinant() != 0.0f) {
                        skin.bones.emplace_back(named->second, offset.Inverse());
                    }
                }
                if (!skin.bones.empty()) {
                    skins.push_back(std::move(skin));
                }
            }
        }
    }

    /**
     * The bone on which a node lies as the scene is stored, though it hangs from elsewhere: a handle, which
     * lies there when the mesh is bound, too. Null if there is none.
     */
    const aiNode* BoneUnder(const aiNode& node) const {
        for (const aiNode* above = node.mParent; above != nullptr; above = above->mParent) {
            if (bindMatrices.count(above) > 0) {
                return nullptr;
            }
        }
        const aiNode* bone = nullptr;
        const aiVector3D own = PlaceOf(WorldMatrix(node));
        float nearest = std::numeric_limits<float>::max();
        float farthest = 0.0f;
        for (const auto& [other, place] : bonePlaces) {
            const float distance = (place - own).Length();
            farthest = std::max(farthest, distance);
            if (distance < nearest) {
                nearest = distance;
                bone = other;
            }
        }
        constexpr float onBone = 0.001f;
        return nearest < onBone * farthest ? bone : nullptr;
    }

    /**
     * Where a skin stands in the scene. A mesh's own node says so, but not in glTF: there only the joints'
     * way from bind to scene does. A program writes its skins in the world's space, the mesh's or the
     * armature's; the joints as they are stored, though they may be in a pose, tell which, as most of them
     * turn by less than another space would.
     */
    aiMatrix4x4 SkinPlacement(const Skin& skin) const {
        if (!isGLTF) {
            return WorldMatrix(*skin.meshNode);
        }
        const aiNode* armature = skin.bones.front().first;
        const auto isBone = [&](const aiNode* node) {
            return std::any_of(
                skin.bones.begin(), skin.bones.end(), [&](const auto& bone) { return bone.first == node; });
        };
        while (armature->mParent != nullptr && isBone(armature)) {
            armature = armature->mParent;
        }
        const auto& [first, firstBind] = skin.bones.front();
        aiMatrix4x4 inverse = firstBind;
        const std::array<aiMatrix4x4, 4> placements = {aiMatrix4x4(), WorldMatrix(*armature),
            WorldMatrix(*skin.meshNode), WorldMatrix(*first) * inverse.Inverse()};
        const auto best = std::min_element(
            placements.begin(), placements.end(), [&](const aiMatrix4x4& a, const aiMatrix4x4& b) {
                constexpr float clearly = 5.0f;
                return UsualTurn(skin, a) + clearly < UsualTurn(skin, b);
            });
        return ScaledToScene(skin, *best);
    }

    /** The middle of the angles by which the bones turn from the placed bind to the scene, in degrees. */
    static float UsualTurn(const Skin& skin, const aiMatrix4x4& placement) {
        std::vector<float> angles;
        for (const auto& [node, bind] : skin.bones) {
            angles.push_back(AngleBetween(
                WithoutScale(placement * bind).orientation, WithoutScale(WorldMatrix(*node)).orientation));
        }
        const auto middle = angles.begin() + static_cast<std::ptrdiff_t>(angles.size() / 2);
        std::nth_element(angles.begin(), middle, angles.end());
        return *middle;
    }

    /** The placement with the scale that makes the bones as long as the scene has them. */
    static aiMatrix4x4 ScaledToScene(const Skin& skin, const aiMatrix4x4& placement) {
        float bound = 0.0f;
        float stored = 0.0f;
        for (const auto& [node, bind] : skin.bones) {
            for (const auto& [other, otherBind] : skin.bones) {
                if (node->mParent == other) {
                    bound += (PlaceOf(placement * bind) - PlaceOf(placement * otherBind)).Length();
                    stored += (PlaceOf(WorldMatrix(*node)) - PlaceOf(WorldMatrix(*other))).Length();
                }
            }
        }
        constexpr float same = 1.1f;
        if (!(bound > 0.0f && stored > 0.0f) || (stored < bound * same && bound < stored * same)) {
            return placement;
        }
        aiMatrix4x4 scaling;
        aiMatrix4x4::Scaling(aiVector3D(stored / bound), scaling);
        return scaling * placement;
    }

    /** The placement moved to where the scene has the topmost bone, if that is far away: then no pose is why.
     */
    static aiMatrix4x4 MovedToScene(const Skin& skin, const aiMatrix4x4& placement) {
        const auto hasParent = [&](const auto& bone) {
            return std::any_of(skin.bones.begin(), skin.bones.end(),
                [&](const auto& other) { return other.first == bone.first->mParent; });
        };
        const auto top = std::find_if_not(skin.bones.begin(), skin.bones.end(), hasParent);
        const aiVector3D first = PlaceOf(placement * top->second);
        float size = 0.0f;
        for (const auto& [node, bind] : skin.bones) {
            size = std::max(size, (PlaceOf(placement * bind) - first).Length());
        }
        const aiVector3D way = PlaceOf(WorldMatrix(*top->first)) - first;
        constexpr float farAway = 0.4f;
        if (way.Length() < farAway * size) {
            return placement;
        }
        aiMatrix4x4 moving;
        aiMatrix4x4::Translation(way, moving);
        return moving * placement;
    }

    /** Skins that share a bone are bound in one pose. */
    std::optional<aiMatrix4x4> PlacementByOthers(const Skin& skin) const {
        for (const auto& [node, bind] : skin.bones) {
            const auto placed = bindMatrices.find(node);
            if (placed != bindMatrices.end()) {
                aiMatrix4x4 inverse = bind;
                return placed->second * inverse.Inverse();
            }
        }
        return std::nullopt;
    }

    void PlaceSkins() {
        for (const Skin& skin : skins) {
            const std::optional<aiMatrix4x4> shared = PlacementByOthers(skin);
            const aiMatrix4x4 placement = !isGLTF  ? SkinPlacement(skin)
                                          : shared ? *shared
                                                   : MovedToScene(skin, SkinPlacement(skin));
            for (const auto& [node, bind] : skin.bones) {
                bindMatrices.emplace(node, placement * bind);
                bonePlaces.emplace_back(node, PlaceOf(WorldMatrix(*node)));
            }
        }
    }

    void FindJoints(const aiAnimation* animation) {
        CollectSkins();
        std::set<const aiNode*> wanted;
        for (const Skin& skin : skins) {
            for (const auto& [node, bind] : skin.bones) {
                wanted.insert(node);
            }
        }
        if (wanted.empty() && animation != nullptr) {
            for (const aiNodeAnim* channel : std::span(animation->mChannels, animation->mNumChannels)) {
                const auto named = nodeByName.find(channel->mNodeName.C_Str());
                if (named != nodeByName.end()) {
                    wanted.insert(named->second);
                }
            }
        }
        const auto isWanted = [&](const aiNode& node) {
            return wanted.empty() ? node.mNumMeshes == 0 && node.mParent != nullptr && !IsCameraOrLight(node)
                                  : wanted.count(&node) > 0;
        };
        // What hangs below a joint shows where it points; what stands above two joints connects them.
        std::set<const aiNode*> isJoint;
        for (const aiNode* node : nodes) {
            if (isWanted(*node) || (node->mNumMeshes == 0 && isJoint.count(node->mParent) > 0)) {
                isJoint.insert(node);
            }
        }
        ConnectTops(isJoint);
        for (size_t i = 0; i < nodes.size(); ++i) {
            if (isJoint.count(nodes[i]) > 0) {
                joints.push_back(nodes[i]);
                jointNodes.push_back(i);
            }
        }
        if (joints.size() < 2) {
            throw Failure(fmt::format(
                "'{}' has no skeleton; export the character with its armature or its bones", path));
        }
    }

    /** Takes in the nodes on the ways from joints without a parent joint up to where these ways meet. */
    void ConnectTops(std::set<const aiNode*>& isJoint) const {
        std::map<const aiNode*, int> waysThrough;
        int tops = 0;
        for (const aiNode* node : isJoint) {
            if (isJoint.count(node->mParent) > 0) {
                continue;
            }
            ++tops;
            for (const aiNode* above = node->mParent; above != nullptr; above = above->mParent) {
                ++waysThrough[above];
            }
        }
        const aiNode* meeting = nullptr;
        for (const aiNode* node : nodes) {
            meeting = waysThrough[node] == tops ? node : meeting;
        }
        for (const aiNode* node : nodes) {
            if (tops > 1 && waysThrough[node] > 0 && (waysThrough[node] < tops || node == meeting)) {
                isJoint.insert(node);
            }
        }
    }

    void AddBlendShapes(FileSkeleton& skeleton) const {
        std::set<std::string> known;
        for (const aiMesh* mesh : std::span(scene.mMeshes, scene.mNumMeshes)) {
            for (const aiAnimMesh* shape : std::span(mesh->mAnimMeshes, mesh->mNumAnimMeshes)) {
                if (shape->mName.length > 0 && known.insert(shape->mName.C_Str()).second) {
                    skeleton.blendShapeNames.emplace_back(shape->mName.C_Str());
                }
            }
        }
    }

    const std::string& path;
    const aiScene& scene;
    bool isGLTF = false;
    std::vector<const aiNode*> nodes;
    /** Of nodes with one name, the one that is meant by it. */
    std::map<std::string, const aiNode*> nodeByName;
    /** Indices of nodes; -1 for the scene's root. */
    std::vector<int> parentNodes;
    std::vector<const aiNode*> joints;
    /** Where each joint stands among the nodes. */
    std::vector<size_t> jointNodes;
    std::vector<Skin> skins;
    std::map<const aiNode*, aiMatrix4x4> bindMatrices;
    /** Where each bone is as the scene is stored. */
    std::vector<std::pair<const aiNode*, aiVector3D>> bonePlaces;
};

void SampleAnimation(const aiAnimation& animation, std::optional<double> statedRate,
    std::optional<double> wantedRate, const SceneSkeleton& skeleton, Motion& motion) {
    const double ticksPerSecond = TicksPerSecond(animation);
    const FrameTimes frames = FindFrameTimes(animation, statedRate, wantedRate);
    constexpr double mostTransforms = 2e7;
    if (static_cast<double>(frames.count) * motion.skeleton.JointCount() > mostTransforms) {
        throw Failure(
            fmt::format("'{}' has an animation of {} frames for {} joints; cut it into shorter ones",
                motion.path, frames.count, motion.skeleton.JointCount()));
    }
    const std::vector<const aiNodeAnim*> channels = skeleton.ChannelsOfNodes(animation);
    motion.frameSeconds = frames.step / ticksPerSecond;
    motion.frameCount = static_cast<int>(frames.count);
    for (int frame = 0; frame < motion.frameCount; ++frame) {
        skeleton.AppendPose(channels, frames.first + frame * frames.step, motion.poses);
    }
}

/** FBX says which axis is up and how many centimetres a unit has; the other formats are in metres with y up.
 */
void ReadStatedSpace(const aiScene& scene, FileFormat format, Motion& motion) {
    if (format != FileFormat::FBX) {
        motion.statedMetresPerUnit = 1.0;
        return;
    }
    int32_t upAxis = 1;
    if (scene.mMetaData != nullptr && scene.mMetaData->Get("UpAxis", upAxis) && upAxis == 2) {
        motion.statedUp = {0.0f, 0.0f, 1.0f};
    }
    double centimetres = 1.0;
    float centimetresInSingle = 1.0f;
    if (scene.mMetaData != nullptr && !scene.mMetaData->Get("UnitScaleFactor", centimetres) &&
        scene.mMetaData->Get("UnitScaleFactor", centimetresInSingle)) {
        centimetres = centimetresInSingle;
    }
    constexpr double metresPerCentimetre = 0.01;
    motion.statedMetresPerUnit = centimetres * metresPerCentimetre;
}

/** The wanted animation: by its name, however it is written, or by its number from 1. */
const aiAnimation* ChooseAnimation(const aiScene& scene, const std::string& path, const std::string& wanted,
    std::vector<std::string>& notes) {
    const std::span animations(scene.mAnimations, scene.mNumAnimations);
    if (animations.empty() && wanted.empty()) {
        return nullptr;
    }
    std::vector<std::string> names;
    for (size_t i = 0; i < animations.size(); ++i) {
        const std::string name = animations[i]->mName.C_Str();
        if (!wanted.empty() && (name == wanted || LowerCase(name) == LowerCase(wanted))) {
            return animations[i];
        }
        names.push_back(fmt::format("{} '{}'", i + 1, name));
    }
    if (wanted.empty()) {
        if (animations.size() > 1) {
            notes.push_back(
                fmt::format("'{}' has {} animations; the first, '{}', is taken; --animation chooses: {}",
                    path, animations.size(), animations[0]->mName.C_Str(), fmt::join(names, ", ")));
        }
        return animations[0];
    }
    size_t number = 0;
    const char* const end = wanted.data() + wanted.size();
    const auto parsed = std::from_chars(wanted.data(), end, number);
    if (parsed.ptr != end || number < 1 || number > animations.size()) {
        throw Failure(fmt::format("--animation {}: '{}' has {}", wanted, path,
            names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))));
    }
    return animations[number - 1];
}

} // namespace

Motion ReadScene(
    const std::string& path, FileFormat format, const ReadOptions& options, std::vector<std::string>& notes) {
    const std::string content = ReadTextFile(path);
    Assimp::Importer importer;
    const aiScene& scene = ImportScene(importer, path, format, content);
    const bool isGLTF = format == FileFormat::GLB || format == FileFormat::GLTF;
    Motion motion;
    motion.path = path;
    const aiAnimation* const animation = ChooseAnimation(scene, path, options.animation, notes);
    const SceneSkeleton skeleton(path, scene, animation, isGLTF);
    motion.skeleton = skeleton.Skeleton();
    ReadStatedSpace(scene, format, motion);
    if (isGLTF) {
        for (const auto& [bone, node] : ReadHumanoidTable(JSONOfGLTF(content))) {
            const int joint = skeleton.JointOfNode(node);
            if (joint >= 0) {
                motion.skeleton.humanoid.emplace(bone, joint);
            }
        }
    }
    if (animation != nullptr) {
        motion.animationName = animation->mName.C_Str();
        // The importer counts FBX's time in frames.
        const std::optional<double> statedRate =
            format == FileFormat::FBX ? std::optional(TicksPerSecond(*animation)) : std::nullopt;
        SampleAnimation(*animation, statedRate, options.framesPerSecond, skeleton, motion);
    }
    return motion;
}

} // namespace Velkori_Tool
