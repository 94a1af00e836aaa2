#include "host/SourceClip.h"

#include "Failure.h"
#include "Text.h"
#include "host/FootContact.h"
#include "rig/BodyUnit.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <map>

namespace Velkori_Tool {

namespace {

constexpr velkori_SkeletonType source = velkori_SkeletonType_Source;
constexpr Vector3 up = {0.0f, 1.0f, 0.0f};

/** "xyz:LeftArm", "LeftArm" and "Leftarm" are the same joint of three exports. */
std::string PlainName(const std::string& name) {
    return LowerCase(name.substr(name.find_last_of(":|") + 1));
}

/** The 24 rotations that bring axes onto axes, the identity first. */
std::vector<Quaternion> AxisRotations() {
    constexpr float right = 90.0f;
    std::vector<Quaternion> rotations;
    const Vector3 x = {1.0f, 0.0f, 0.0f};
    const Vector3 z = {0.0f, 0.0f, 1.0f};
    for (const Quaternion& top : {identityRotation, TurnAbout(x, right), TurnAbout(x, -right),
             TurnAbout(x, 2.0f * right), TurnAbout(z, right), TurnAbout(z, -right)}) {
        for (int quarter = 0; quarter < 4; ++quarter) {
            rotations.push_back(top * TurnAbout(up, right * static_cast<float>(quarter)));
        }
    }
    return rotations;
}

class SourceClipMaker {
  public:
    SourceClipMaker(const Configuration& configuration, const Motion& motion)
        : configuration(configuration),
          motion(motion),
          names(configuration.JointNames(source)),
          parents(configuration.Parents(source)),
          rest(configuration.RestPose(source, velkori_SkeletonTPoseType_Min)),
          root(configuration.KnownJoint(source, velkori_KnownJointType_Root)),
          hips(configuration.KnownJoint(source, velkori_KnownJointType_Hips)) {
        const std::vector<Transform> largest = configuration.RestPose(source, velkori_SkeletonTPoseType_Max);
        for (size_t joint = 0; joint < rest.size(); ++joint) {
            rest[joint].position = (rest[joint].position + largest[joint].position) * 0.5f;
        }
    }

    SourceClip Make(const SourceClipOptions& options, std::vector<Remark>& notes) {
        MatchJoints(notes);
        const double lengthRatio = MeasureBones();
        metresPerUnit = options.metresPerUnit ? *options.metresPerUnit : UsualUnitNear(lengthRatio);
        notes.push_back({fmt::format("'{}': unit: {:g} m{}", motion.path, metresPerUnit,
            options.metresPerUnit ? ", as told" : DescribeUnit(lengthRatio))});
        BodyOptions body;
        body.rest = options.rest;
        body.known = ClipKnownJoints();
        body.up = options.up;
        body.facing = options.facing;
        body.metresPerUnit = metresPerUnit;
        BodyView view = SeeBody(motion, body);
        space = view.space;
        for (const Remark& remark : view.remarks) {
            notes.push_back({fmt::format("'{}': {}", motion.path, remark.text), remark.remedy});
        }
        clipRest = motion.skeleton.bindPose;
        if (options.rest.kind == RestChoice::Kind::Best) {
            jointTurns.assign(names.size(), FindAxisTurn());
            CheckJointAxes(notes);
        } else {
            clipRest = std::move(view.rest);
            FindJointTurns();
        }

        SourceClip clip;
        clip.doubts = std::move(view.doubts);
        clip.frameSeconds = motion.frameSeconds;
        clip.frameCount = motion.frameCount;
        clip.jointCount = static_cast<int>(names.size());
        clip.poses.reserve(static_cast<size_t>(motion.frameCount) * names.size());
        for (int frame = 0; frame < motion.frameCount; ++frame) {
            const std::vector<Transform> pose = MakePose(motion.Frame(frame));
            clip.poses.insert(clip.poses.end(), pose.begin(), pose.end());
        }
        if (!options.keepsHeight) {
            PutOnGround(clip, notes);
        }
        // The root stands on the ground, which is known only now.
        for (int frame = 0; frame < clip.frameCount && root >= 0 && clipJoints[root] < 0; ++frame) {
            PlaceRoot(std::span(clip.poses).subspan(static_cast<size_t>(frame) * names.size(), names.size()));
        }
        clip.reference = MakeReference(static_cast<float>(metresPerUnit / lengthRatio));
        return clip;
    }

  private:
    /** Finds each source joint in the clip. What the clip lacks rides on its parent, unless it is a known
     * one. */
    void MatchJoints(std::vector<Remark>& notes) {
        std::map<std::string, int> byName;
        std::map<std::string, std::vector<int>> byShortName;
        for (int joint = 0; joint < motion.skeleton.JointCount(); ++joint) {
            const std::string& name = motion.skeleton.jointNames[joint];
            byName.emplace(name, joint);
            byShortName[PlainName(name)].push_back(joint);
        }
        std::vector<std::string> missing;
        for (const std::string& name : names) {
            const auto exact = byName.find(name);
            const std::vector<int>& alike = byShortName[PlainName(name)];
            const int unambiguous = alike.size() == 1 ? alike.front() : -1;
            clipJoints.push_back(exact != byName.end() ? exact->second : unambiguous);
            if (clipJoints.back() < 0 && static_cast<int>(clipJoints.size()) - 1 != root) {
                missing.push_back(name);
            }
        }
        std::vector<std::string> missingKnown;
        for (int role = velkori_KnownJointType_Hips; role < VELKORI_KNOWN_JOINT_COUNT; ++role) {
            const int joint = configuration.KnownJoint(source, static_cast<velkori_KnownJointType>(role));
            if (joint >= 0 && clipJoints[joint] < 0) {
                missingKnown.push_back(names[joint]);
            }
        }
        if (!missingKnown.empty() || missing.size() * 2 > names.size()) {
            throw Failure(
                fmt::format(
                    "'{}' is a clip of another rig than the configuration's source: it has no joint {}; its "
                    "joints are {}",
                    motion.path, fmt::join(missingKnown.empty() ? missing : missingKnown, ", "),
                    fmt::join(motion.skeleton.jointNames, ", ")),
                Remedy::MakeOwnConfiguration);
        }
        if (!missing.empty()) {
            notes.push_back({fmt::format(
                "'{}' has no {}; they ride on their parents", motion.path, fmt::join(missing, ", "))});
        }
        if (root >= 0 && clipJoints[root] < 0 && hips < 0) {
            throw Failure(fmt::format("'{}' has no joint '{}' and the configuration no hips to put it under",
                              motion.path, names[root]),
                Remedy::NameHips);
        }
    }

    /** A bone of the body that the clip has, too; the way from a root joint to the hips is none. */
    bool HasClipBone(size_t joint) const {
        const int parent = parents[joint];
        return parent >= 0 && clipJoints[joint] >= 0 && clipJoints[parent] >= 0 &&
               (hips < 0 || (static_cast<int>(joint) != hips && IsBelowHips(static_cast<int>(joint))));
    }

    bool IsBelowHips(int joint) const {
        while (joint >= 0 && joint != hips) {
            joint = parents[joint];
        }
        return joint >= 0;
    }

    double ClipBoneLength(size_t joint) const {
        const std::vector<Transform>& bind = motion.skeleton.bindPose;
        return Length(bind[clipJoints[joint]].position - bind[clipJoints[parents[joint]]].position);
    }

    double BoneLength(size_t joint) const {
        return Length(rest[joint].position - rest[parents[joint]].position);
    }

    /** How long the source's bones are in the clip's unit. */
    double MeasureBones() const {
        double clipLength = 0.0;
        double length = 0.0;
        for (size_t joint = 0; joint < names.size(); ++joint) {
            if (HasClipBone(joint)) {
                clipLength += ClipBoneLength(joint);
                length += BoneLength(joint);
            }
        }
        if (!(clipLength > 0.0 && length > 0.0)) {
            throw Failure(
                fmt::format("'{}': the bones that it shares with the configuration have no length; it "
                            "is another rig's clip or damaged",
                    motion.path));
        }
        return length / clipLength;
    }

    /** How well the unit makes the bones as long as the configuration's. */
    std::string DescribeUnit(double lengthRatio) const {
        return fmt::format(
            "; its bones are {:.2f} times as long as the configuration's", metresPerUnit / lengthRatio);
    }

    KnownJointOverrides ClipKnownJoints() const {
        KnownJointOverrides known;
        for (int index = 0; index < VELKORI_KNOWN_JOINT_COUNT; ++index) {
            const auto role = static_cast<velkori_KnownJointType>(index);
            const int joint = configuration.KnownJoint(source, role);
            known[role] = joint < 0 ? -1 : clipJoints[joint];
        }
        return known;
    }

    /** Calls `visit` with each bone's direction in its parent's axes, in the source and in the clip. */
    template <typename Visit>
    void VisitBones(Visit visit) const {
        std::vector<Transform> bind = clipRest;
        ConvertSpace(bind, space, VELKORI_DEFAULT_COORDINATE_SPACE);
        for (size_t joint = 0; joint < names.size(); ++joint) {
            if (HasClipBone(joint) && BoneLength(joint) > 0.0 && ClipBoneLength(joint) > 0.0) {
                const int parent = parents[joint];
                visit(RelativeTo(rest[parent], rest[joint]).position,
                    RelativeTo(bind[clipJoints[parent]], bind[clipJoints[joint]]).position);
            }
        }
    }

    /** Of two exports of one rig, one may have z up and the other y, and so may all their joints' axes. */
    Quaternion FindAxisTurn() const {
        const std::vector<Quaternion> turns = AxisRotations();
        std::vector<float> agreements(turns.size(), 0.0f);
        float total = 0.0f;
        VisitBones([&](const Vector3& own, const Vector3& clip) {
            for (size_t i = 0; i < turns.size(); ++i) {
                agreements[i] += Length(own) * Dot(Rotate(turns[i], Normalized(own)), Normalized(clip));
            }
            total += Length(own);
        });
        const size_t best = std::max_element(agreements.begin(), agreements.end()) - agreements.begin();
        constexpr float clearly = 0.2f;
        return agreements[best] > agreements[0] + clearly * total ? turns[best] : identityRotation;
    }

    /** The clip's joints as they lie in its rest pose are the source's in its own. */
    void FindJointTurns() {
        std::vector<Transform> pose = clipRest;
        ConvertSpace(pose, space, VELKORI_DEFAULT_COORDINATE_SPACE);
        for (size_t joint = 0; joint < names.size(); ++joint) {
            jointTurns.push_back(clipJoints[joint] < 0 ? identityRotation
                                                       : Inverse(pose[clipJoints[joint]].orientation) *
                                                             rest[joint].orientation);
        }
    }

    /** A clip whose joints have other axes than the configuration's would turn every bone. */
    void CheckJointAxes(std::vector<Remark>& notes) const {
        std::vector<float> angles;
        VisitBones([&](const Vector3& own, const Vector3& clip) {
            angles.push_back(AngleBetween(Rotate(jointTurns.front(), own), clip));
        });
        const auto middle = angles.begin() + static_cast<std::ptrdiff_t>(angles.size() / 2);
        std::nth_element(angles.begin(), middle, angles.end());
        constexpr float suspicious = 10.0f;
        if (middle != angles.end() && *middle > suspicious) {
            notes.push_back(
                {fmt::format("warning: the joints of '{}' have other axes than the configuration's "
                             "source (half of the bones differ by more than {:.0f} degrees); if the "
                             "result is twisted, make the configuration from this file's rig",
                    motion.path, *middle)});
        }
    }

    /** A file's pose in the source's joints, in metres and the default coordinate space; the root not placed.
     */
    std::vector<Transform> MakePose(std::span<const Transform> filePose) const {
        std::vector<Transform> pose(names.size(), identityTransform);
        for (size_t joint = 0; joint < pose.size(); ++joint) {
            if (clipJoints[joint] >= 0) {
                pose[joint].orientation = filePose[clipJoints[joint]].orientation;
                pose[joint].position =
                    filePose[clipJoints[joint]].position * static_cast<float>(metresPerUnit);
            }
        }
        ConvertSpace(pose, space, VELKORI_DEFAULT_COORDINATE_SPACE);
        for (size_t joint = 0; joint < pose.size(); ++joint) {
            pose[joint].orientation = pose[joint].orientation * jointTurns[joint];
            if (clipJoints[joint] < 0 && static_cast<int>(joint) != root) {
                RideOnParent(static_cast<int>(joint), pose);
            }
        }
        return pose;
    }

    void RideOnParent(int joint, std::vector<Transform>& pose) const {
        int carrier = parents[joint];
        while (carrier >= 0 && clipJoints[carrier] < 0) {
            carrier = parents[carrier];
        }
        pose[joint] =
            carrier < 0 ? rest[joint] : Compose(pose[carrier], RelativeTo(rest[carrier], rest[joint]));
    }

    /** Under the hips, as high as in the rest pose, and turned about up as they are. */
    void PlaceRoot(std::span<Transform> pose) const {
        const Vector3 restOffset = rest[root].position - rest[hips].position;
        const Quaternion turn = TwistAbout(pose[hips].orientation * Inverse(rest[hips].orientation), up);
        const Vector3 offset = Rotate(turn, WithoutAxis(restOffset, up));
        pose[root].orientation = Normalized(turn * rest[root].orientation);
        pose[root].position = WithoutAxis(pose[hips].position + offset, up) + up * rest[root].position.y;
    }

    void PutOnGround(SourceClip& clip, std::vector<Remark>& notes) const {
        constexpr float noticeable = 0.01f;
        const float ground = GroundHeight(configuration, source, clip.poses, clip.jointCount);
        if (std::fabs(ground) < noticeable) {
            return;
        }
        for (Transform& transform : clip.poses) {
            transform.position.y -= ground;
        }
        notes.push_back({fmt::format("the feet stand at {:.3f} m in '{}'; the motion is moved to the ground",
                             ground, motion.path),
            Remedy::KeepHeight});
    }

    /**
     * The source's rest pose where the clip's bones are as long, within what files round. Otherwise with the
     * clip's lengths: these are taken from its bind pose, under which the root stands in proportion.
     */
    std::vector<Transform> MakeReference(float sizeRatio) const {
        float largestDifference = 0.0f;
        for (size_t joint = 0; joint < names.size(); ++joint) {
            if (HasClipBone(joint)) {
                const double length = ClipBoneLength(joint) * metresPerUnit;
                largestDifference =
                    std::max(largestDifference, static_cast<float>(std::fabs(length - BoneLength(joint))));
            }
        }
        constexpr float noticeable = 0.002f;
        std::vector<Transform> reference = rest;
        if (largestDifference < noticeable) {
            return reference;
        }
        reference = MakePose(clipRest);
        for (int above = hips < 0 ? -1 : parents[hips]; above >= 0; above = parents[above]) {
            reference[above] = rest[above];
            reference[above].position =
                reference[hips].position + (rest[above].position - rest[hips].position) * sizeRatio;
        }
        Check(velkori_matchCurrentTPose(configuration.Handle(), source, velkori_MatchBehavior_JointLengths,
                  velkori_JointRelativeSpaceType_RootOriginRelative, static_cast<int32_t>(reference.size()),
                  reference.data()),
            fmt::format("the library can't measure the body in '{}'", motion.path));
        return reference;
    }

    const Configuration& configuration;
    const Motion& motion;
    std::vector<std::string> names;
    std::vector<int> parents;
    /** The middle of the source's minimum and maximum rest poses. */
    std::vector<Transform> rest;
    int root = -1;
    int hips = -1;
    /** The clip's joint for each source joint; -1 where it has none. */
    std::vector<int> clipJoints;
    double metresPerUnit = 1.0;
    /** The clip's rest pose, in its own joints, axes and unit. */
    std::vector<Transform> clipRest;
    /** From the configuration's axes of each joint to the clip's. */
    std::vector<Quaternion> jointTurns;
    velkori_CoordinateSpace_ space = VELKORI_DEFAULT_COORDINATE_SPACE;
};

} // namespace

SourceClip MakeSourceClip(const Configuration& configuration, const Motion& motion,
    const SourceClipOptions& options, std::vector<Remark>& notes) {
    if (configuration.JointCount(source) < 1) {
        throw Failure("the configuration has no source skeleton", Remedy::MakeConfiguration);
    }
    if (motion.frameCount < 1) {
        throw Failure(fmt::format("'{}' has no frames; give a file with motion", motion.path));
    }
    return SourceClipMaker(configuration, motion).Make(options, notes);
}

} // namespace Velkori_Tool
