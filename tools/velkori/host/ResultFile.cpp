#include "host/ResultFile.h"

#include "Failure.h"
#include "OutputFile.h"
#include "character/MendGLTF.h"
#include "character/NodeAnimation.h"
#include "character/SceneToGLTF.h"
#include "character/VRMA.h"
#include "motion/FileFormat.h"

#include <fmt/format.h>

#include <algorithm>

namespace Velkori_Tool {

namespace {

constexpr velkori_SkeletonType target = velkori_SkeletonType_Target;

bool IsGLTF(const std::string& path) {
    const FileFormat format = FindFileFormat(path);
    return format == FileFormat::GLB || format == FileFormat::GLTF;
}

GLTFFile LoadCharacter(const std::string& path, std::vector<Remark>& notes) {
    return IsGLTF(path) ? ReadGLTF(path, notes) : ReadSceneAsGLTF(path, notes);
}

/** The joints whose place in their parent changes; where bones are kept, few do. */
std::vector<bool> MovedJoints(const RetargetedClip& clip, const std::vector<int>& parents, int hips) {
    constexpr float noticeable = 5e-4f;
    std::vector<bool> isMoved(parents.size(), !clip.keepsBones);
    for (size_t joint = 0; clip.keepsBones && joint < parents.size(); ++joint) {
        const int parent = parents[joint];
        const auto place = [&](std::span<const Transform> pose) {
            return parent < 0 ? pose[joint].position : RelativeTo(pose[parent], pose[joint]).position;
        };
        const Vector3 rest = place(clip.restPose);
        isMoved[joint] = static_cast<int>(joint) == hips;
        for (int frame = 0; frame < clip.source.frameCount && !isMoved[joint]; ++frame) {
            isMoved[joint] = Length(place(clip.Frame(frame)) - rest) > noticeable;
        }
    }
    return isMoved;
}

/** A motion in the default space and in metres as the character's file has it. */
void BringIntoFile(const RigFile& character, OutgoingMotion& motion) {
    ConvertSpace(motion.poses, VELKORI_DEFAULT_COORDINATE_SPACE, character.space);
    const auto unitsPerMetre = static_cast<float>(1.0 / character.metresPerUnit);
    for (Transform& transform : motion.poses) {
        transform.position = transform.position * unitsPerMetre + character.origin;
    }
}

} // namespace

OutgoingMotion MakeOutgoingMotion(const Configuration& configuration, const RetargetedClip& clip,
    std::string name, std::vector<Transform> poses) {
    OutgoingMotion motion;
    motion.name = std::move(name);
    motion.jointNames = configuration.JointNames(target);
    motion.parents = configuration.Parents(target);
    motion.restPose = clip.restPose;
    motion.frameSeconds = clip.source.frameSeconds;
    motion.poses = std::move(poses);
    motion.isMoved =
        MovedJoints(clip, motion.parents, configuration.KnownJoint(target, velkori_KnownJointType_Hips));
    ConvertSpace(motion.restPose, VELKORI_DEFAULT_COORDINATE_SPACE, fileSpace);
    ConvertSpace(motion.poses, VELKORI_DEFAULT_COORDINATE_SPACE, fileSpace);
    return motion;
}

SkinnedMesh LoadSkin(const Configuration& configuration, const RigFile& character) {
    std::vector<Remark> ignored;
    const GLTFFile file = LoadCharacter(character.path, ignored);
    SkinnedMesh mesh =
        ReadSkin(file, FindNodes(file, configuration.JointNames(target), configuration.Parents(target)));
    if (mesh.vertices.empty()) {
        return mesh;
    }
    std::vector<Transform> places;
    for (SkinnedMesh::Vertex& vertex : mesh.vertices) {
        for (SkinnedMesh::Influence& influence : vertex) {
            places.push_back({identityRotation, influence.place * static_cast<float>(character.metresPerUnit),
                {1.0f, 1.0f, 1.0f}});
        }
    }
    ConvertSpace(places, character.space, VELKORI_DEFAULT_COORDINATE_SPACE);
    size_t next = 0;
    for (SkinnedMesh::Vertex& vertex : mesh.vertices) {
        for (SkinnedMesh::Influence& influence : vertex) {
            // The library turns joints' own axes with the world's.
            const Transform& converted = places[next++];
            influence.place = Rotate(Inverse(converted.orientation), converted.position);
        }
    }
    return mesh;
}

bool CanCarryMotion(const std::string& path) {
    return FindFileFormat(path) != FileFormat::BVH;
}

void WriteCharacter(const std::string& path, const Configuration& configuration, const RigFile& character,
    std::span<const NamedClip> clips, std::vector<Remark>& notes) {
    const bool isVRMA = LowerCaseExtension(path) == ".vrma";
    GLTFFile file = LoadCharacter(character.path, notes);
    const std::vector<std::string> names = configuration.JointNames(target);
    const std::vector<int> nodes = FindNodes(file, names, configuration.Parents(target));
    const int hips = configuration.KnownJoint(target, velkori_KnownJointType_Hips);
    const auto found =
        static_cast<size_t>(std::count_if(nodes.begin(), nodes.end(), [](int node) { return node >= 0; }));
    if (found * 2 < names.size() || (hips >= 0 && nodes[hips] < 0)) {
        throw Failure(fmt::format("'{}' isn't the configuration's character: {} of its {} joints are there",
                          character.path, found, names.size()),
            Remedy::GiveOwnCharacter);
    }
    const int root = configuration.KnownJoint(target, velkori_KnownJointType_Root);
    const bool wantsRoot = std::any_of(clips.begin(), clips.end(),
        [](const NamedClip& named) { return named.clip.path == MotionPath::Root; });
    if (wantsRoot && root >= 0 && nodes[root] < 0) {
        notes.push_back({fmt::format("'{}' has no root joint, so its hips carry the way", character.path),
            Remedy::WriteBones});
    }
    if (isVRMA) {
        file = MakeVRMA(file);
    }
    MendWeights(file, notes);
    for (const NamedClip& named : clips) {
        OutgoingMotion motion;
        motion.name = named.name;
        motion.jointNames = names;
        motion.parents = configuration.Parents(target);
        motion.frameSeconds = named.clip.source.frameSeconds;
        motion.poses = named.clip.poses;
        motion.isMoved = MovedJoints(named.clip, motion.parents, hips);
        BringIntoFile(character, motion);
        AddNodeAnimation(file, motion, nodes);
    }
    if (!IsGLTF(character.path)) {
        StandInGLTFSpace(file, character.space, character.statedMetresPerUnit);
    }
    WriteFileWhole(path, [&](const std::string& place) { WriteGLTFFile(place, std::move(file)); });
}

} // namespace Velkori_Tool
