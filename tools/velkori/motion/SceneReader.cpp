#include "SceneReader.h"

#include "Failure.h"
#include "OutputFile.h"

#include <assimp/config.h>
#include <assimp/scene.h>
#include <fmt/format.h>

#include <algorithm>
#include <assimp/Importer.hpp>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
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

aiMatrix4x4 WorldMatrix(const aiNode& node) {
    aiMatrix4x4 world = node.mTransformation;
    for (const aiNode* parent = node.mParent; parent != nullptr; parent = parent->mParent) {
        world = parent->mTransformation * world;
    }
    return world;
}

/** The channels of one node at one time: linear between keys, and held before the first and after the last.
 */
template <typename Key, typename Blend>
auto SampleKeys(std::span<const Key> keys, double time, Blend blend) {
    const auto next = std::upper_bound(
        keys.begin(), keys.end(), time, [](double wanted, const Key& key) { return wanted < key.mTime; });
    if (next == keys.begin()) {
        return keys.front().mValue;
    }
    if (next == keys.end()) {
        return keys.back().mValue;
    }
    const Key& before = *std::prev(next);
    return blend(before.mValue, next->mValue,
        static_cast<float>((time - before.mTime) / (next->mTime - before.mTime)));
}

aiMatrix4x4 SampleChannel(const aiNodeAnim& channel, const aiMatrix4x4& rest, double time) {
    aiVector3D scale;
    aiQuaternion rotation;
    aiVector3D position;
    rest.Decompose(scale, rotation, position);
    const auto blendVectors = [](const aiVector3D& a, const aiVector3D& b, float t) {
        return a + (b - a) * t;
    };
    if (channel.mNumPositionKeys > 0) {
        position = SampleKeys(std::span<const aiVectorKey>(channel.mPositionKeys, channel.mNumPositionKeys),
            time, blendVectors);
    }
    if (channel.mNumScalingKeys > 0) {
        scale = SampleKeys(
            std::span<const aiVectorKey>(channel.mScalingKeys, channel.mNumScalingKeys), time, blendVectors);
    }
    if (channel.mNumRotationKeys > 0) {
        rotation = SampleKeys(std::span<const aiQuatKey>(channel.mRotationKeys, channel.mNumRotationKeys),
            time, [](const aiQuaternion& a, const aiQuaternion& b, float t) {
                aiQuaternion blended;
                aiQuaternion::Interpolate(blended, a, b, t);
                return blended;
            });
    }
    return {scale, rotation, position};
}

/** A scene's nodes, parents before children, and what is known of each. */
class SceneSkeleton {
  public:
    SceneSkeleton(const std::string& path, const aiScene& scene) : path(path), scene(scene) {
        CollectNodes(*scene.mRootNode, -1, 0);
        FindJoints();
    }

    FileSkeleton Skeleton() const {
        FileSkeleton skeleton;
        std::map<const aiNode*, aiMatrix4x4> worlds;
        for (const aiNode* node : joints) {
            const auto bone = bindMatrices.find(node->mName.C_Str());
            const auto parent = worlds.find(node->mParent);
            worlds[node] = bone != bindMatrices.end() ? bone->second
                           : parent != worlds.end()   ? parent->second * node->mTransformation
                                                      : WorldMatrix(*node);
            skeleton.jointNames.emplace_back(node->mName.C_Str());
            const auto parentJoint = std::find(joints.begin(), joints.end(), node->mParent);
            skeleton.parents.push_back(
                parentJoint == joints.end() ? -1 : static_cast<int>(parentJoint - joints.begin()));
            skeleton.bindPose.push_back(WithoutScale(worlds[node]));
        }
        MakeNamesUnique(skeleton.jointNames);
        AddBlendShapes(skeleton);
        return skeleton;
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
            channels.push_back(found == byName.end() ? nullptr : found->second);
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

    /**
     * Where a mesh's skin stands in the scene. In glTF a skinned mesh's own node says nothing about that,
     * only its joints do: the first of them is taken to stand as it was bound.
     */
    aiMatrix4x4 SkinPlacement(const aiMesh& mesh, const aiNode& meshNode) const {
        const std::string extension = LowerCaseExtension(path);
        if (extension != ".gltf" && extension != ".glb") {
            return WorldMatrix(meshNode);
        }
        for (const aiNode* node : nodes) {
            for (const aiBone* bone : std::span(mesh.mBones, mesh.mNumBones)) {
                if (bone->mName == node->mName) {
                    return WorldMatrix(*node) * bone->mOffsetMatrix;
                }
            }
        }
        return {};
    }

    bool IsCameraOrLight(const aiNode& node) const {
        const auto isNode = [&](const auto* thing) { return thing->mName == node.mName; };
        const std::span cameras(scene.mCameras, scene.mNumCameras);
        const std::span lights(scene.mLights, scene.mNumLights);
        return std::any_of(cameras.begin(), cameras.end(), isNode) ||
               std::any_of(lights.begin(), lights.end(), isNode);
    }

    void FindJoints() {
        std::set<std::string_view> wanted;
        for (const aiNode* node : nodes) {
            for (const unsigned mesh : std::span(node->mMeshes, node->mNumMeshes)) {
                const aiMatrix4x4 placement = SkinPlacement(*scene.mMeshes[mesh], *node);
                for (const aiBone* bone :
                    std::span(scene.mMeshes[mesh]->mBones, scene.mMeshes[mesh]->mNumBones)) {
                    wanted.insert(bone->mName.C_Str());
                    aiMatrix4x4 offset = bone->mOffsetMatrix;
                    bindMatrices.emplace(bone->mName.C_Str(), placement * offset.Inverse());
                }
            }
        }
        if (wanted.empty() && scene.mNumAnimations > 0) {
            const aiAnimation& animation = *scene.mAnimations[0];
            for (const aiNodeAnim* channel : std::span(animation.mChannels, animation.mNumChannels)) {
                wanted.insert(channel->mNodeName.C_Str());
            }
        }
        const auto isWanted = [&](const aiNode& node) {
            return wanted.empty() ? node.mNumMeshes == 0 && node.mParent != nullptr && !IsCameraOrLight(node)
                                  : wanted.count(node.mName.C_Str()) > 0;
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
    std::vector<const aiNode*> nodes;
    /** Indices of nodes; -1 for the scene's root. */
    std::vector<int> parentNodes;
    std::vector<const aiNode*> joints;
    /** Where each joint stands among the nodes. */
    std::vector<size_t> jointNodes;
    std::map<std::string, aiMatrix4x4> bindMatrices;
};

/** All times at which a channel has a key, in ascending order. */
std::vector<double> KeyTimes(const aiNodeAnim& channel) {
    std::vector<double> times;
    for (const aiVectorKey& key : std::span(channel.mPositionKeys, channel.mNumPositionKeys)) {
        times.push_back(key.mTime);
    }
    for (const aiQuatKey& key : std::span(channel.mRotationKeys, channel.mNumRotationKeys)) {
        times.push_back(key.mTime);
    }
    std::erase_if(times, [](double time) { return !std::isfinite(time); });
    std::sort(times.begin(), times.end());
    times.erase(std::unique(times.begin(), times.end()), times.end());
    return times;
}

/**
 * The time between two frames, from the times of at least two keys: the usual gap where most are alike; where
 * keys were left out, the smallest, as what is left still lies on frames.
 */
double FrameGap(const std::vector<double>& keyTimes) {
    std::vector<double> gaps;
    for (size_t i = 1; i < keyTimes.size(); ++i) {
        gaps.push_back(keyTimes[i] - keyTimes[i - 1]);
    }
    std::sort(gaps.begin(), gaps.end());
    const double median = gaps[gaps.size() / 2];
    // Files hold times in single precision.
    constexpr double alike = 0.02;
    double sum = 0.0;
    size_t count = 0;
    for (const double gap : gaps) {
        const bool isAlike = std::fabs(gap - median) < alike * median;
        sum += isAlike ? gap : 0.0;
        count += isAlike ? 1 : 0;
    }
    const bool mostAreAlike = count * 5 >= gaps.size() * 4;
    return mostAreAlike ? sum / static_cast<double>(count) : gaps.front();
}

/** When an animation's frames are, in ticks: from the first key of all channels to the last one. */
struct FrameTimes {
    double first = 0.0;
    double step = 1.0;
    int64_t count = 1;
};

FrameTimes FindFrameTimes(const aiAnimation& animation, double ticksPerSecond) {
    std::vector<double> densest;
    double first = std::numeric_limits<double>::max();
    double last = std::numeric_limits<double>::lowest();
    for (const aiNodeAnim* channel : std::span(animation.mChannels, animation.mNumChannels)) {
        std::vector<double> times = KeyTimes(*channel);
        if (!times.empty()) {
            first = std::min(first, times.front());
            last = std::max(last, times.back());
        }
        if (times.size() > densest.size()) {
            densest = std::move(times);
        }
    }
    constexpr double usualRate = 30.0;
    constexpr double sparsestRate = 5.0;
    constexpr double densestRate = 240.0;
    FrameTimes frames = {densest.empty() ? 0.0 : first, ticksPerSecond / usualRate, 1};
    if (densest.size() > 1) {
        const double rate = ticksPerSecond / FrameGap(densest);
        frames.step = ticksPerSecond / (rate < sparsestRate ? usualRate : std::min(rate, densestRate));
    }
    constexpr double mostFrames = 1e9;
    frames.count += densest.empty() ? 0 : std::llround(std::min((last - first) / frames.step, mostFrames));
    return frames;
}

void SampleAnimation(const aiAnimation& animation, const SceneSkeleton& skeleton, Motion& motion) {
    constexpr double ticksPerSecondIfUnsaid = 25.0;
    const double ticksPerSecond =
        animation.mTicksPerSecond > 0.0 ? animation.mTicksPerSecond : ticksPerSecondIfUnsaid;
    const FrameTimes frames = FindFrameTimes(animation, ticksPerSecond);
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
void ReadStatedSpace(const aiScene& scene, const std::string& path, Motion& motion) {
    if (LowerCaseExtension(path) != ".fbx") {
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

} // namespace

Motion ReadScene(const std::string& path, std::vector<std::string>& notes) {
    // The reader says little about a file that isn't there.
    CheckReadable(path);
    Assimp::Importer importer;
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    const aiScene* scene = importer.ReadFile(path, 0);
    if (scene == nullptr || scene->mRootNode == nullptr) {
        throw Failure(fmt::format(
            "can't read '{}': {}; export it again or as another format", path, importer.GetErrorString()));
    }
    Motion motion;
    motion.path = path;
    const SceneSkeleton skeleton(path, *scene);
    motion.skeleton = skeleton.Skeleton();
    ReadStatedSpace(*scene, path, motion);
    if (scene->mNumAnimations > 0) {
        SampleAnimation(*scene->mAnimations[0], skeleton, motion);
    }
    if (scene->mNumAnimations > 1) {
        notes.push_back(fmt::format("'{}' has {} animations; the first, '{}', is taken", path,
            scene->mNumAnimations, scene->mAnimations[0]->mName.C_Str()));
    }
    return motion;
}

} // namespace Velkori_Tool
