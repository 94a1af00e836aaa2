#include "rig/Rig.h"

#include "Failure.h"
#include "OutputFile.h"
#include "Text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <set>
#include <string_view>

namespace Velkori_Tool {

namespace {

constexpr std::array<velkori_KnownJointType, VELKORI_KNOWN_JOINT_COUNT> roles = {velkori_KnownJointType_Root,
    velkori_KnownJointType_Hips, velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_LeftUpperArm,
    velkori_KnownJointType_RightWrist, velkori_KnownJointType_LeftWrist, velkori_KnownJointType_Chest,
    velkori_KnownJointType_Neck, velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_LeftUpperLeg,
    velkori_KnownJointType_RightAnkle, velkori_KnownJointType_LeftAnkle};

int FindJoint(const FileSkeleton& skeleton, std::string_view name, std::string_view option) {
    const auto found = std::find(skeleton.jointNames.begin(), skeleton.jointNames.end(), name);
    if (found == skeleton.jointNames.end()) {
        throw Failure(fmt::format("{}: the skeleton has no joint '{}'; its joints are: {}", option, name,
            fmt::join(skeleton.jointNames, ", ")));
    }
    return static_cast<int>(found - skeleton.jointNames.begin());
}

KnownJointOverrides ParseOverrides(const FileSkeleton& skeleton, const std::vector<std::string>& texts) {
    KnownJointOverrides overrides;
    for (const std::string& text : texts) {
        const size_t equals = text.find('=');
        const std::string role = text.substr(0, equals);
        const auto* const known =
            std::find(std::begin(VELKORI_KNOWN_JOINT_NAMES), std::end(VELKORI_KNOWN_JOINT_NAMES), role);
        if (equals == std::string::npos || known == std::end(VELKORI_KNOWN_JOINT_NAMES)) {
            throw UsageFailure(fmt::format("--known {}: say it as role=joint; the roles are: {}", text,
                fmt::join(VELKORI_KNOWN_JOINT_NAMES, ", ")));
        }
        const std::string joint = text.substr(equals + 1);
        overrides[roles.at(known - std::begin(VELKORI_KNOWN_JOINT_NAMES))] =
            joint.empty() ? -1 : FindJoint(skeleton, joint, "--known " + text);
    }
    return overrides;
}

/** The axis, with its sign, that a direction is nearest to. */
Vector3 NearestAxis(const Vector3& direction) {
    const std::array<Vector3, 6> axes = {Vector3{1.0f, 0.0f, 0.0f}, {-1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f},
        {0.0f, -1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, -1.0f}};
    return *std::max_element(axes.begin(), axes.end(),
        [&](const Vector3& a, const Vector3& b) { return Dot(a, direction) < Dot(b, direction); });
}

/** From right to left between two known joints; (0, 0, 0) if either is missing. */
Vector3 Leftwards(const FileSkeleton& skeleton, const KnownJointGuesses& known, velkori_KnownJointType left,
    velkori_KnownJointType right) {
    const int leftJoint = known.at(left).joint;
    const int rightJoint = known.at(right).joint;
    return leftJoint < 0 || rightJoint < 0
               ? Vector3{0.0f, 0.0f, 0.0f}
               : Normalized(skeleton.bindPose[leftJoint].position - skeleton.bindPose[rightJoint].position);
}

/** The way up along the trunk; (0, 0, 0) if it can't be told. */
Vector3 Upwards(const FileSkeleton& skeleton, const KnownJointGuesses& known) {
    const int hips = known.at(velkori_KnownJointType_Hips).joint;
    const int neck = known.at(velkori_KnownJointType_Neck).joint;
    const int top = neck >= 0 ? neck : known.at(velkori_KnownJointType_Chest).joint;
    return hips < 0 || top < 0
               ? Vector3{0.0f, 0.0f, 0.0f}
               : Normalized(skeleton.bindPose[top].position - skeleton.bindPose[hips].position);
}

velkori_CoordinateSpace_ SpaceOf(
    const FileSkeleton& skeleton, const Vector3& up, const KnownJointGuesses& known) {
    const Vector3 leftwards =
        Leftwards(
            skeleton, known, velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_RightUpperLeg) +
        Leftwards(skeleton, known, velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_RightUpperArm);
    const Vector3 across = WithoutAxis(leftwards, up);
    // Files are right-handed: forward follows from left and up. Most files with y up face z, others face -y.
    const Vector3 usual = up.y != 0.0f ? Vector3{0.0f, 0.0f, 1.0f} : Vector3{0.0f, -1.0f, 0.0f};
    constexpr float clear = 0.1f;
    const Vector3 forward = Length(across) > clear ? NearestAxis(Cross(across, up)) : usual;
    return {up, forward, Cross(forward, up)};
}

/** The pose that the skeleton has as rest pose, in the file's unit. */
std::vector<Transform> RestPose(const Motion& motion, const std::string& rest) {
    const FileSkeleton& skeleton = motion.skeleton;
    if (rest == "bind") {
        return skeleton.bindPose;
    }
    if (rest == "zero") {
        std::vector<Transform> pose = skeleton.bindPose;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            pose[joint].orientation = identityRotation;
            const int parent = skeleton.parents[joint];
            if (parent >= 0) {
                const Vector3 offset =
                    RelativeTo(skeleton.bindPose[parent], skeleton.bindPose[joint]).position;
                pose[joint].position = pose[parent].position + offset;
            }
        }
        return pose;
    }
    constexpr std::string_view framePrefix = "frame:";
    int frame = -1;
    if (rest.compare(0, framePrefix.size(), framePrefix) == 0) {
        const char* const end = rest.data() + rest.size();
        const auto parsed = std::from_chars(rest.data() + framePrefix.size(), end, frame);
        frame = parsed.ptr == end ? frame : -1;
    }
    if (frame < 0 || frame >= motion.frameCount) {
        throw Failure(fmt::format("--rest {}: say bind, zero or frame:N; '{}' has {} frames, counted from 0",
            rest, motion.path, motion.frameCount));
    }
    const auto pose = motion.Frame(frame);
    return {pose.begin(), pose.end()};
}

struct Unit {
    double metres;
    std::string_view name;
};

/** Which unit gives the body a likely height; what the file says counts unless the body would be absurd. */
double FindMetresPerUnit(const Motion& motion, double heightInUnits, std::vector<std::string>& remarks) {
    constexpr double smallestBody = 1.3;
    constexpr double tallestBody = 2.2;
    constexpr double smallestStated = 0.4;
    constexpr double tallestStated = 4.0;
    constexpr double usualBody = 1.7;
    // The Carnegie Mellon captures measure in parts of 0.45 inches.
    constexpr std::array<Unit, 6> units = {Unit{1.0, "metres"}, {0.01, "centimetres"}, {0.001, "millimetres"},
        {0.0254 / 0.45, "the Carnegie Mellon captures' 0.45 to the inch"}, {0.0254, "inches"},
        {0.3048, "feet"}};
    if (!(heightInUnits > 0.0)) {
        throw Failure(
            fmt::format("'{}': the rest pose has no height; choose another with --rest", motion.path));
    }
    if (motion.statedMetresPerUnit && *motion.statedMetresPerUnit * heightInUnits > smallestStated &&
        *motion.statedMetresPerUnit * heightInUnits < tallestStated) {
        remarks.push_back(fmt::format("unit: {:g} m, as the file says; the body is {:.2f} m high",
            *motion.statedMetresPerUnit, heightInUnits * *motion.statedMetresPerUnit));
        return *motion.statedMetresPerUnit;
    }
    for (const Unit& unit : units) {
        const double height = heightInUnits * unit.metres;
        if (height > smallestBody && height < tallestBody) {
            remarks.push_back(fmt::format(
                "unit: {}, from the body's height of {:.2f} units, which makes {:.2f} m; --metres-per-unit "
                "says otherwise",
                unit.name, heightInUnits, height));
            return unit.metres;
        }
    }
    remarks.push_back(fmt::format(
        "unit: {:g} m, so that the body of {:.2f} units is {} m high; --metres-per-unit says otherwise",
        usualBody / heightInUnits, heightInUnits, usualBody));
    return usualBody / heightInUnits;
}

void CheckKnownJoints(const Motion& motion, const Vector3& up, const KnownJointGuesses& known,
    const KnownJointOverrides& overrides) {
    std::string problems;
    for (const velkori_KnownJointType role : roles) {
        if (known.at(role).joint >= 0 || role == velkori_KnownJointType_Root || overrides.count(role) > 0) {
            continue;
        }
        const std::vector<int> candidates = KnownJointCandidates(motion.skeleton, up, role);
        constexpr size_t most = 5;
        std::vector<std::string_view> names;
        for (size_t i = 0; i < std::min(most, candidates.size()); ++i) {
            names.emplace_back(motion.skeleton.jointNames[candidates[i]]);
        }
        const char* const key = VELKORI_KNOWN_JOINT_NAMES[role];
        problems +=
            fmt::format("{}no joint looks like {}; candidates: {}; name it with --known {}=JOINT, or say "
                        "that there is none with --known {}=",
                problems.empty() ? "" : "\n", key, fmt::join(names, ", "), key, key);
    }
    if (!problems.empty()) {
        throw Failure(fmt::format("'{}': {}", motion.path, problems));
    }
}

float LowestHeight(const std::vector<Transform>& pose, const Vector3& up) {
    float lowest = Dot(up, pose.front().position);
    for (const Transform& transform : pose) {
        lowest = std::min(lowest, Dot(up, transform.position));
    }
    return lowest;
}

float HighestHeight(const std::vector<Transform>& pose, const Vector3& up) {
    return -LowestHeight(pose, up * -1.0f);
}

/** Moves the body so that the ground under its hips is the origin. */
void MoveOntoGround(Rig& rig) {
    FileSkeleton& skeleton = rig.skeleton;
    const Vector3& up = rig.space.up;
    const int hips = rig.known[velkori_KnownJointType_Hips].joint;
    Vector3 ground = hips < 0 ? skeleton.bindPose.front().position : skeleton.bindPose[hips].position;
    ground = WithoutAxis(ground, up) + up * LowestHeight(skeleton.bindPose, up);
    for (Transform& transform : skeleton.bindPose) {
        transform.position = transform.position - ground;
    }
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

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> parts;
    size_t begin = 0;
    while (begin <= text.size()) {
        const size_t end = std::min(text.find(separator, begin), text.size());
        if (end > begin) {
            parts.push_back(text.substr(begin, end - begin));
        }
        begin = end + 1;
    }
    return parts;
}

struct Manifestations {
    std::vector<std::string> names;
    std::vector<int32_t> jointCounts;
    std::vector<std::string> jointNames;
};

/** No joint may be left out between two of a manifestation's: poses couldn't be put together across it. */
void CheckHasNoGap(const FileSkeleton& skeleton, const std::set<int>& members, const std::string& option) {
    for (const int member : members) {
        std::vector<std::string_view> between;
        int above = skeleton.parents[member];
        while (above >= 0 && members.count(above) == 0) {
            between.emplace_back(skeleton.jointNames[above]);
            above = skeleton.parents[above];
        }
        if (above >= 0 && !between.empty()) {
            throw Failure(fmt::format("{}: between '{}' and '{}' it leaves out {}; name what is between, too",
                option, skeleton.jointNames[above], skeleton.jointNames[member], fmt::join(between, ", ")));
        }
    }
}

Manifestations ParseManifestations(const FileSkeleton& skeleton, const std::vector<std::string>& texts) {
    Manifestations manifestations;
    for (const std::string& text : texts) {
        const size_t equals = text.find('=');
        const std::string option = "--manifestation " + text;
        if (equals == std::string::npos || equals == 0) {
            throw UsageFailure(option + ": say it as name=joint,joint,...");
        }
        const std::vector<std::string> joints = Split(text.substr(equals + 1), ',');
        if (joints.empty()) {
            throw UsageFailure(option + ": name at least one joint, as in name=joint,joint,...");
        }
        std::set<int> members;
        for (const std::string& joint : joints) {
            members.insert(FindJoint(skeleton, joint, option));
        }
        CheckHasNoGap(skeleton, members, option);
        manifestations.names.push_back(ValidUTF8(text.substr(0, equals)));
        manifestations.jointCounts.push_back(static_cast<int32_t>(joints.size()));
        manifestations.jointNames.insert(manifestations.jointNames.end(), joints.begin(), joints.end());
    }
    return manifestations;
}

} // namespace

velkori_CoordinateSpace_ FindSpace(const Motion& motion, const KnownJointOverrides& overrides) {
    Vector3 up = motion.statedUp;
    KnownJointGuesses known = GuessKnownJoints(motion.skeleton, up, overrides);
    const Vector3 upwards = Upwards(motion.skeleton, known);
    constexpr float clearlyUp = 0.5f;
    if (Length(upwards) > clearlyUp && Dot(upwards, up) < clearlyUp) {
        up = NearestAxis(upwards);
        known = GuessKnownJoints(motion.skeleton, up, overrides);
    }
    return SpaceOf(motion.skeleton, up, known);
}

Rig MakeRig(const Motion& motion, const RigOptions& options) {
    const KnownJointOverrides overrides = ParseOverrides(motion.skeleton, options.known);
    Rig rig;
    rig.name = ValidUTF8(std::filesystem::path(motion.path).stem().string());
    rig.space = FindSpace(motion, overrides);
    const Vector3& up = rig.space.up;
    rig.known = GuessKnownJoints(motion.skeleton, up, overrides);
    CheckKnownJoints(motion, up, rig.known, overrides);
    rig.skeleton = motion.skeleton;
    rig.skeleton.bindPose = RestPose(motion, options.rest);

    const auto describe = [](const Vector3& axis) {
        return fmt::format("{}{}", axis.x + axis.y + axis.z < 0.0f ? "-" : "",
            axis.x != 0.0f ? "x" : (axis.y != 0.0f ? "y" : "z"));
    };
    rig.remarks.push_back(fmt::format(
        "axes: {} is up, the body faces {}", describe(rig.space.up), describe(rig.space.forward)));
    const double height = HighestHeight(rig.skeleton.bindPose, up) - LowestHeight(rig.skeleton.bindPose, up);
    rig.metresPerUnit =
        options.metresPerUnit ? *options.metresPerUnit : FindMetresPerUnit(motion, height, rig.remarks);
    rig.skeleton.bindPose = Scaled(std::move(rig.skeleton.bindPose), static_cast<float>(rig.metresPerUnit));
    if (rig.known[velkori_KnownJointType_Root].joint < 0) {
        MoveOntoGround(rig);
        if (overrides.count(velkori_KnownJointType_Root) == 0) {
            AddGroundRoot(rig);
        }
    }
    for (const std::string& name : options.excluded) {
        FindJoint(rig.skeleton, name, "--exclude " + name);
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
    const Manifestations manifestations = ParseManifestations(rig.skeleton, options.manifestations);
    const std::vector<const char*> blendShapes = Pointers(rig.skeleton.blendShapeNames);
    const std::vector<const char*> joints = Pointers(rig.skeleton.jointNames);
    const std::vector<const char*> excluded = Pointers(options.excluded);
    const std::vector<const char*> manifestationNames = Pointers(manifestations.names);
    const std::vector<const char*> manifestationJoints = Pointers(manifestations.jointNames);

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
    params.optional_manifestationNames = manifestationNames.data();
    params.optional_manifestationJointCounts = manifestations.jointCounts.data();
    params.optional_manifestationJointNames = manifestationJoints.data();
    velkori_Handle handle = 0;
    Check(velkori_createOrUpdateSimpleUtilityConfig(rig.name.c_str(), options.type, &params, &handle),
        fmt::format("the library doesn't take the rig '{}'; mend what it says", rig.name));
    return Configuration(handle);
}

Configuration LoadRigOrDocument(
    const std::string& path, velkori_SkeletonType type, std::vector<std::string>& notes) {
    if (LowerCaseExtension(path) == ".json") {
        return LoadDocumentFile(path);
    }
    RigOptions options;
    options.type = type;
    const Rig rig = MakeRig(ReadMotion(path, notes), options);
    for (const std::string& remark : rig.remarks) {
        notes.push_back(fmt::format("'{}': {}", path, remark));
    }
    return MakeConfiguration(rig, options);
}

} // namespace Velkori_Tool
