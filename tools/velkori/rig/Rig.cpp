#include "rig/Rig.h"

#include "Text.h"
#include "rig/Posture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <filesystem>

namespace Velkori_Tool {

namespace {

/** For the roles that were found without certainty or not at all, though nobody said that there is none. */
void FindCandidates(const BodyView& body, const BodyOptions& options, Rig& rig) {
    for (int index = 0; index < VELKORI_KNOWN_JOINT_COUNT; ++index) {
        const auto role = static_cast<velkori_KnownJointType>(index);
        const KnownJointGuess& guess = rig.known.at(role);
        if (guess.percent >= trustedPercent || role == velkori_KnownJointType_Root ||
            options.known.count(role) > 0) {
            continue;
        }
        constexpr size_t most = 5;
        std::vector<std::string>& names = rig.candidates[role];
        for (const int joint :
            KnownJointCandidates(rig.skeleton, body.names, rig.skeleton.bindPose, rig.space.up, role)) {
            const auto plays = [joint](const KnownJointGuess& other) {
                return other.joint == joint && other.percent >= trustedPercent;
            };
            const bool isTaken = std::any_of(rig.known.begin(), rig.known.end(), plays);
            if (joint != guess.joint && !isTaken && names.size() < most) {
                names.push_back(rig.skeleton.jointNames[joint]);
            }
        }
    }
}

/** Moves the body so that a place is its origin. */
void MoveToOrigin(const Vector3& place, Rig& rig) {
    for (Transform& transform : rig.skeleton.bindPose) {
        transform.position = transform.position - place;
    }
    rig.origin = place * static_cast<float>(1.0 / rig.metresPerUnit);
}

/** The ground under the hips: where a standing body's feet are, and for one that sits in the air at nought.
 */
Vector3 GroundUnderHips(const Rig& rig, bool stands) {
    const FileSkeleton& skeleton = rig.skeleton;
    const Vector3& up = rig.space.up;
    const int hips = rig.known[velkori_KnownJointType_Hips].joint;
    const Vector3 place = hips < 0 ? skeleton.bindPose.front().position : skeleton.bindPose[hips].position;
    const float lowest = MeasureBodySpan(skeleton, skeleton.bindPose, rig.known, up).lowest;
    return WithoutAxis(place, up) + up * (stands ? lowest : std::min(lowest, 0.0f));
}

/** Puts a joint at the origin, above all joints without parent. */
void AddGroundRoot(Rig& rig) {
    FileSkeleton& skeleton = rig.skeleton;
    for (int& parent : skeleton.parents) {
        ++parent;
    }
    skeleton.jointNames.insert(skeleton.jointNames.begin(), groundRootName);
    skeleton.parents.insert(skeleton.parents.begin(), -1);
    skeleton.bindPose.insert(skeleton.bindPose.begin(), identityTransform);
    if (!skeleton.isSkinned.empty()) {
        skeleton.isSkinned.insert(skeleton.isSkinned.begin(), false);
    }
    for (auto& [bone, joint] : skeleton.humanoid) {
        ++joint;
    }
    MakeNamesUnique(skeleton.jointNames);
    for (KnownJointGuess& guess : rig.known) {
        guess.joint += guess.joint >= 0 ? 1 : 0;
    }
    rig.known[velkori_KnownJointType_Root] = {
        0, 100, "put on the ground under the hips, as the file has none"};
}

std::vector<const char*> Pointers(const std::vector<std::string>& names) {
    std::vector<const char*> pointers;
    pointers.reserve(names.size());
    for (const std::string& name : names) {
        pointers.push_back(name.c_str());
    }
    return pointers;
}

std::vector<Transform> Scaled(std::vector<Transform> pose, float scale) {
    for (Transform& transform : pose) {
        transform.position = transform.position * scale;
    }
    return pose;
}

} // namespace

Rig MakeRig(const Motion& motion, const RigOptions& options) {
    BodyView body = SeeBody(motion, options.body);
    Rig rig;
    rig.name = ValidUTF8(std::filesystem::path(motion.path).stem().string());
    rig.space = body.space;
    rig.metresPerUnit = body.metresPerUnit;
    rig.statedMetresPerUnit = motion.statedMetresPerUnit.value_or(1.0);
    rig.known = body.known;
    rig.skeleton = motion.skeleton;
    rig.skeleton.bindPose = body.rest;
    // From here on the rest pose is the only one.
    rig.skeleton.storedPose.clear();
    FindCandidates(body, options.body, rig);
    rig.remarks = std::move(body.remarks);
    rig.doubts = std::move(body.doubts);
    rig.skeleton.bindPose = Scaled(std::move(rig.skeleton.bindPose), static_cast<float>(rig.metresPerUnit));
    const int root = rig.known[velkori_KnownJointType_Root].joint;
    // Somebody may have put the character anywhere in its scene.
    constexpr float elsewhere = 0.05f;
    if (root >= 0 && Length(rig.skeleton.bindPose[root].position) > elsewhere) {
        MoveToOrigin(rig.skeleton.bindPose[root].position, rig);
    } else if (root < 0) {
        constexpr float leastStanding = 0.4f;
        MoveToOrigin(GroundUnderHips(rig, body.standing >= leastStanding), rig);
        if (options.body.known.count(velkori_KnownJointType_Root) == 0) {
            AddGroundRoot(rig);
        }
    }
    return rig;
}

Configuration MakeConfiguration(const Rig& rig, const RigOptions& options) {
    std::vector<Transform> rest = rig.skeleton.bindPose;
    ConvertSpace(rest, rig.space, VELKORI_DEFAULT_COORDINATE_SPACE);
    const std::vector<Transform> smallest = Scaled(rest, options.smallest);
    const std::vector<Transform> largest = Scaled(rest, options.largest);

    std::vector<const char*> parents;
    for (const int parent : rig.skeleton.parents) {
        parents.push_back(parent < 0 ? nullptr : rig.skeleton.jointNames[parent].c_str());
    }
    std::array<const char*, VELKORI_KNOWN_JOINT_COUNT> known = {};
    for (size_t role = 0; role < known.size(); ++role) {
        const int joint = rig.known.at(role).joint;
        known.at(role) = joint < 0 ? nullptr : rig.skeleton.jointNames[joint].c_str();
    }
    std::vector<std::string> manifestationNames;
    std::vector<int32_t> manifestationCounts;
    std::vector<std::string> manifestationJoints;
    for (const Manifestation& manifestation : options.manifestations) {
        manifestationNames.push_back(manifestation.name);
        manifestationCounts.push_back(static_cast<int32_t>(manifestation.joints.size()));
        manifestationJoints.insert(
            manifestationJoints.end(), manifestation.joints.begin(), manifestation.joints.end());
    }
    const std::vector<const char*> blendShapes = Pointers(rig.skeleton.blendShapeNames);
    const std::vector<const char*> joints = Pointers(rig.skeleton.jointNames);
    const std::vector<const char*> excluded = Pointers(options.excluded);
    const std::vector<const char*> manifestationNamePointers = Pointers(manifestationNames);
    const std::vector<const char*> manifestationJointPointers = Pointers(manifestationJoints);

    velkori_SkeletonInitParams_ params = VELKORI_EMPTY_SKELETON_INIT_PARAMS;
    params.blendShapeCount = static_cast<int32_t>(blendShapes.size());
    params.blendShapeNames = blendShapes.data();
    params.jointCount = rig.skeleton.JointCount();
    params.jointNames = joints.data();
    params.parentJointNames = parents.data();
    params.minTPose = smallest.data();
    params.maxTPose = largest.data();
    params.unscaledTPose = rest.data();
    params.knownJoints = known.data();
    params.optional_autoMapExcludedJointCount = static_cast<int32_t>(excluded.size());
    params.optional_autoMapExcludedJointNames = excluded.data();
    params.optional_manifestationCount = static_cast<int32_t>(manifestationNames.size());
    params.optional_manifestationNames = manifestationNamePointers.data();
    params.optional_manifestationJointCounts = manifestationCounts.data();
    params.optional_manifestationJointNames = manifestationJointPointers.data();
    velkori_Handle handle = 0;
    Check(velkori_createOrUpdateSimpleUtilityConfig(rig.name.c_str(), options.type, &params, &handle),
        fmt::format("the library doesn't take the rig '{}'; mend what it says", rig.name));
    return Configuration(handle);
}

RigFile FileOf(const Rig& rig, const std::string& path) {
    return {std::filesystem::absolute(path).lexically_normal().string(), rig.space, rig.metresPerUnit,
        rig.statedMetresPerUnit, rig.origin};
}

} // namespace Velkori_Tool
