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
        for (const aiNode* node : joints) {
            skeleton.jointNames.emplace_back(node->mName.C_Str());
            const auto parentJoint = std::find(joints.begin(), joints.end(), node->mParent);
            skeleton.parents.push_back(
                parentJoint == joints.end() ? -1 : static_cast<int>(parentJoint - joints.begin()));
            if (!bonePlaces.empty()) {
                skeleton.storedPose.push_back(WithoutScale(WorldMatrix(*node)));
                skeleton.isSkinned.push_back(possibleBinds.front().count(node) > 0);
            }
        }
        skeleton.bindPose = BindPose(possibleBinds.front());
        for (size_t i = 1; i < possibleBinds.size(); ++i) {
            skeleton.otherBindPoses.push_back(BindPose(possibleBinds[i]));
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
    using Binds = std::map<const aiNode*, aiMatrix4x4>;

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

    std::vector<Transform> BindPose(const Binds& binds) const {
        Binds worlds;
        std::vector<Transform> pose;
        for (const aiNode* node : joints) {
            const auto bone = binds.find(node);
            const auto parent = worlds.find(node->mParent);
            const aiNode* const carrier = bone != binds.end() ? nullptr : BoneUnder(*node);
            worlds[node] = bone != binds.end() ? bone->second
                           : carrier != nullptr
                               ? binds.at(carrier) * WorldMatrix(*carrier).Inverse() * WorldMatrix(*node)
                           : parent != worlds.end() ? parent->second * node->mTransformation
                                                    : WorldMatrix(*node);
            pose.push_back(WithoutScale(worlds[node]));
        }
        return pose;
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
     * lies there when the mesh is bound, too. Null if there is none, or if it is above the node.
     */
    const aiNode* BoneUnder(const aiNode& node) const {
        const aiVector3D own = PlaceOf(WorldMatrix(node));
        float farthest = 0.0f;
        for (const auto& [other, place] : bonePlaces) {
            farthest = std::max(farthest, (place - own).Length());
        }
        constexpr float onBone = 0.001f;
        const aiNode* bone = nullptr;
        float nearest = onBone * farthest;
        for (const auto& [other, place] : bonePlaces) {
            const float distance = (place - own).Length();
            if (distance < onBone * farthest && IsAbove(other, node)) {
                return nullptr;
            }
            if (distance < nearest) {
                nearest = distance;
                bone = other;
            }
        }
        return bone;
    }

    static bool IsAbove(const aiNode* ancestor, const aiNode& node) {
        const aiNode* above = node.mParent;
        while (above != nullptr && above != ancestor) {
            above = above->mParent;
        }
        return above != nullptr;
    }

    /** One way in which a skin may stand in the scene, and how far its bones are from there as stored. */
    struct Placement {
        aiMatrix4x4 matrix;
        /** The middle of the angles by which bones turn, in degrees. */
        float turn = 0.0f;
        /** The middle of the ways that bones go, in parts of the skin's size. */
        float way = 0.0f;

        /** Nearly all bones are there. */
        bool isAsStored = false;

        /** In degrees; a turn that lays a body down counts as much as a way of half its size. */
        float Distance() const {
            constexpr float degreesPerSize = 180.0f;
            return turn + degreesPerSize * way;
        }
    };

    /** What a share of the values stays below. */
    static float ValueAt(std::vector<float> values, double share) {
        const auto place =
            values.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(values.size() - 1));
        std::nth_element(values.begin(), place, values.end());
        return *place;
    }

    static Placement Measure(const Skin& skin, const aiMatrix4x4& unscaled) {
        Placement placement{ScaledToScene(skin, unscaled)};
        std::vector<float> turns;
        std::vector<float> ways;
        float size = 0.0f;
        for (const auto& [node, bind] : skin.bones) {
            const aiMatrix4x4 bound = placement.matrix * bind;
            const aiMatrix4x4 stored = WorldMatrix(*node);
            turns.push_back(AngleBetween(WithoutScale(bound).orientation, WithoutScale(stored).orientation));
            ways.push_back((PlaceOf(bound) - PlaceOf(stored)).Length());
            size =
                std::max(size, (PlaceOf(stored) - PlaceOf(WorldMatrix(*skin.bones.front().first))).Length());
        }
        constexpr double half = 0.5;
        constexpr double nearlyAll = 0.9;
        constexpr float noTurn = 2.0f;
        constexpr float noWay = 0.02f;
        placement.turn = ValueAt(turns, half);
        placement.way = size > 0.0f ? ValueAt(ways, half) / size : 1.0f;
        placement.isAsStored = ValueAt(turns, nearlyAll) < noTurn && ValueAt(ways, nearlyAll) < noWay * size;
        return placement;
    }

    /** As programs write skins: in the world, in what is above the bones, in the mesh's node. Nearest first.
     */
    std::vector<Placement> WrittenPlacements(const Skin& skin) const {
        const aiNode* armature = skin.bones.front().first;
        while (armature->mParent != nullptr && HasBone(skin, armature)) {
            armature = armature->mParent;
        }
        std::vector<Placement> placements;
        for (const aiMatrix4x4& matrix :
            {aiMatrix4x4(), WorldMatrix(*armature), WorldMatrix(*skin.meshNode)}) {
            placements.push_back(Measure(skin, matrix));
        }
        std::stable_sort(placements.begin(), placements.end(), [](const Placement& a, const Placement& b) {
            return a.isAsStored != b.isAsStored ? a.isAsStored : a.Distance() < b.Distance();
        });
        return placements;
    }

    /**
     * Where a glTF skin may stand in the scene, likeliest first. No node says it: only the joints' way from
     * bind to scene does. Where the joints are stored as they are bound, one placement brings them all there,
     * be it one that programs write or another. Where they are in a pose, it is one that programs write, and
     * then which one is for the body to tell.
     */
    std::vector<Placement> Placements(const Skin& skin) const {
        std::vector<Placement> placements = WrittenPlacements(skin);
        if (placements.front().isAsStored) {
            return {placements.front()};
        }
        const auto& [first, firstBind] = skin.bones.front();
        aiMatrix4x4 inverse = firstBind;
        const Placement asFirst = Measure(skin, WorldMatrix(*first) * inverse.Inverse());
        placements.push_back(asFirst);
        if (asFirst.isAsStored) {
            std::swap(placements.front(), placements.back());
        }
        return placements;
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

    static bool HasBone(const Skin& skin, const aiNode* node) {
        return std::any_of(
            skin.bones.begin(), skin.bones.end(), [&](const auto& bone) { return bone.first == node; });
    }

    /** One skin of those that share bones, as these are bound in one pose; those with most bones first. */
    std::vector<Skin> JoinedSkins() const {
        std::vector<Skin> joined;
        for (Skin skin : skins) {
            // What it shares bones with is joined to it, in its own space.
            for (auto other = joined.begin(); other != joined.end();) {
                const auto shared = std::find_if(other->bones.begin(), other->bones.end(),
                    [&](const auto& bone) { return HasBone(skin, bone.first); });
                if (shared == other->bones.end()) {
                    ++other;
                    continue;
                }
                const auto own = std::find_if(skin.bones.begin(), skin.bones.end(),
                    [&](const auto& bone) { return bone.first == shared->first; });
                aiMatrix4x4 inverse = shared->second;
                const aiMatrix4x4 change = own->second * inverse.Inverse();
                for (const auto& [node, bind] : other->bones) {
                    if (!HasBone(skin, node)) {
                        skin.bones.emplace_back(node, change * bind);
                    }
                }
                other = joined.erase(other);
            }
            joined.push_back(std::move(skin));
        }
        std::stable_sort(joined.begin(), joined.end(),
            [](const Skin& a, const Skin& b) { return a.bones.size() > b.bones.size(); });
        return joined;
    }

    static void Bind(const Skin& skin, const aiMatrix4x4& placement, Binds& binds) {
        for (const auto& [node, bind] : skin.bones) {
            binds.emplace(node, placement * bind);
        }
    }

    void PlaceSkins() {
        for (const Skin& skin : skins) {
            for (const auto& [node, bind] : skin.bones) {
                bonePlaces.emplace_back(node, PlaceOf(WorldMatrix(*node)));
            }
        }
        if (!isGLTF) {
            possibleBinds.emplace_back();
            for (const Skin& skin : skins) {
                Bind(skin, WorldMatrix(*skin.meshNode), possibleBinds.back());
            }
            return;
        }
        const std::vector<Skin> joined = JoinedSkins();
        const std::vector<Placement> placements =
            joined.empty() ? std::vector<Placement>(1) : Placements(joined.front());
        for (const Placement& placement : placements) {
            Binds& binds = possibleBinds.emplace_back();
            for (const Skin& skin : joined) {
                // A few bones tell little: where they aren't sure, they stand where the body does.
                const Placement own = WrittenPlacements(skin).front();
                Bind(skin, &skin != &joined.front() && own.isAsStored ? own.matrix : placement.matrix, binds);
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
    /** Where each bone is bound, as SceneSkeleton::Placements() may place its skin. */
    std::vector<Binds> possibleBinds;
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
const aiAnimation* ChooseAnimation(
    const aiScene& scene, const std::string& path, const std::string& wanted, std::vector<Remark>& notes) {
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
            notes.push_back({fmt::format("'{}' has {} animations ({}); the first is taken", path,
                                 animations.size(), fmt::join(names, ", ")),
                Remedy::ChooseAnimation});
        }
        return animations[0];
    }
    size_t number = 0;
    const char* const end = wanted.data() + wanted.size();
    const auto parsed = std::from_chars(wanted.data(), end, number);
    if (parsed.ptr != end || number < 1 || number > animations.size()) {
        throw Failure(fmt::format("'{}' has no animation {}; it has {}", path, wanted,
            names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))));
    }
    return animations[number - 1];
}

} // namespace

Motion ReadScene(
    const std::string& path, FileFormat format, const ReadOptions& options, std::vector<Remark>& notes) {
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
