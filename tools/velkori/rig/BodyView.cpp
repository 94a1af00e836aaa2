#include "rig/BodyView.h"

#include "Failure.h"
#include "rig/BodyUnit.h"
#include "rig/Posture.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace Velkori_Tool {

namespace {

constexpr std::array<Vector3, 6> axes = {Vector3{1.0f, 0.0f, 0.0f}, {-1.0f, 0.0f, 0.0f}, {0.0f, 1.0f, 0.0f},
    {0.0f, -1.0f, 0.0f}, {0.0f, 0.0f, 1.0f}, {0.0f, 0.0f, -1.0f}};

/** Below this, a pose is no standing person's. */
constexpr float leastStanding = 0.4f;

/** Known joints from VRM's names of bones. */
constexpr std::array<std::pair<velkori_KnownJointType, const char*>, 11> humanoidRoles = {
    std::pair{velkori_KnownJointType_Hips, "hips"}, {velkori_KnownJointType_RightUpperArm, "rightUpperArm"},
    {velkori_KnownJointType_LeftUpperArm, "leftUpperArm"}, {velkori_KnownJointType_RightWrist, "rightHand"},
    {velkori_KnownJointType_LeftWrist, "leftHand"}, {velkori_KnownJointType_Chest, "upperChest"},
    {velkori_KnownJointType_Neck, "neck"}, {velkori_KnownJointType_RightUpperLeg, "rightUpperLeg"},
    {velkori_KnownJointType_LeftUpperLeg, "leftUpperLeg"}, {velkori_KnownJointType_RightAnkle, "rightFoot"},
    {velkori_KnownJointType_LeftAnkle, "leftFoot"}};

class BodyViewer {
  public:
    BodyViewer(const Motion& motion, const BodyOptions& options)
        : motion(motion), skeleton(motion.skeleton), options(options), overrides(options.known) {
        for (const auto& [role, bone] : humanoidRoles) {
            auto joint = skeleton.humanoid.find(bone);
            if (joint == skeleton.humanoid.end() && role == velkori_KnownJointType_Chest) {
                joint = skeleton.humanoid.find("chest");
            }
            if (joint != skeleton.humanoid.end()) {
                fromTable.emplace_back(role, joint->second);
                overrides.emplace(role, joint->second);
            }
        }
    }

    BodyView See() {
        view.names = ParseJointNames(skeleton.jointNames, options.names);
        FindJointsInSomePose();
        ChooseBind();
        ChooseRest();
        const Posture posture = MeasurePosture(skeleton, view.rest, view.known);
        const Vector3 up = ChooseUp(posture);
        Upright(posture, up);
        view.known = Guess(view.rest, up);
        Face(up);
        SetReasonsOfTable();
        FindUnit();
        view.standing = MeasurePosture(skeleton, view.rest, view.known).standing;
        return std::move(view);
    }

  private:
    KnownJointGuesses Guess(std::span<const Transform> pose, const Vector3& up) const {
        return GuessKnownJoints(skeleton, view.names, pose, up, overrides);
    }

    static int Sureness(const KnownJointGuesses& known) {
        int sum = 0;
        for (const KnownJointGuess& guess : known) {
            sum += guess.percent;
        }
        return sum;
    }

    /** Names tell joints in any pose; without them it takes a pose of a body that stands. */
    void FindJointsInSomePose() {
        std::vector<std::span<const Transform>> poses = {skeleton.bindPose};
        if (!skeleton.storedPose.empty()) {
            poses.emplace_back(skeleton.storedPose);
        }
        constexpr int mostFrames = 5;
        for (int i = 0; i < std::min(mostFrames, motion.frameCount); ++i) {
            poses.push_back(motion.Frame(motion.frameCount * i / mostFrames));
        }
        int best = -1;
        for (const std::span<const Transform> pose : poses) {
            const Vector3 stated = options.up.value_or(motion.statedUp);
            KnownJointGuesses known = Guess(pose, stated);
            const Vector3 up = NearestAxis(MeasurePosture(skeleton, pose, known).up);
            if (Dot(up, stated) < 0.5f && !options.up) {
                known = Guess(pose, up);
            }
            // The bind pose is the one that others have to beat.
            constexpr int clearlyMore = 60;
            const int sureness = Sureness(known) - (best < 0 ? 0 : clearlyMore);
            if (sureness > best) {
                best = Sureness(known);
                view.known = known;
            }
        }
    }

    float Standing(std::span<const Transform> pose) const {
        return MeasurePosture(skeleton, pose, view.known).standing;
    }

    bool IsUpright(std::span<const Transform> pose) const {
        constexpr float near = 0.7f;
        return Dot(MeasurePosture(skeleton, pose, view.known).up, options.up.value_or(motion.statedUp)) >
               near;
    }

    /** A skin whose place in the scene nothing says stands upright in it, if it may. */
    void ChooseBind() {
        bind = skeleton.bindPose;
        for (size_t i = 0; i < skeleton.otherBindPoses.size() && !IsUpright(bind); ++i) {
            if (IsUpright(skeleton.otherBindPoses[i])) {
                bind = skeleton.otherBindPoses[i];
            }
        }
    }

    void ChooseRest() {
        using Kind = RestChoice::Kind;
        if (options.rest.kind == Kind::Frame) {
            TakeFrame(options.rest.frame);
        } else if (options.rest.kind == Kind::Zero) {
            view.rest = ZeroPose();
        } else {
            view.rest = bind;
        }
        std::string what = options.rest.kind == Kind::Frame  ? fmt::format("frame {}", options.rest.frame)
                           : options.rest.kind == Kind::Zero ? "no joint turned"
                                                             : "as it is bound";
        if (options.rest.kind == Kind::Best && Standing(view.rest) < leastStanding) {
            what = ChooseStandingPose();
        }
        view.remarks.push_back({fmt::format(
            "rest pose: {} ({:.0f} % like a standing person)", what, 100.0f * Standing(view.rest))});
    }

    void TakeFrame(int frame) {
        if (frame < 0 || frame >= motion.frameCount) {
            throw Failure(fmt::format("frame {} can't be the rest pose: '{}' has {} frames, counted from 0",
                frame, motion.path, motion.frameCount));
        }
        const auto pose = motion.Frame(frame);
        view.rest.assign(pose.begin(), pose.end());
        isFrame = true;
    }

    /** The bind pose is none: as the nodes are stored, or the frame that comes nearest. */
    std::string ChooseStandingPose() {
        std::string what = "as it is bound";
        float best = Standing(view.rest);
        constexpr float rounding = 0.01f;
        if (!skeleton.storedPose.empty() && Standing(skeleton.storedPose) > best + rounding) {
            best = Standing(skeleton.storedPose);
            view.rest = skeleton.storedPose;
            what = "as the nodes are stored";
        }
        constexpr int mostFrames = 120;
        const int step = 1 + motion.frameCount / mostFrames;
        int bestFrame = -1;
        for (int frame = 0; frame < motion.frameCount; frame += step) {
            const float standing = Standing(motion.Frame(frame));
            if (standing > best) {
                best = standing;
                bestFrame = frame;
            }
        }
        if (bestFrame < 0) {
            return what;
        }
        TakeFrame(bestFrame);
        return fmt::format("frame {}, as the file's own zero pose is no standing body", bestFrame);
    }

    std::vector<Transform> ZeroPose() const {
        std::vector<Transform> pose = bind;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            pose[joint].orientation = identityRotation;
            const int parent = skeleton.parents[joint];
            if (parent >= 0) {
                const Vector3 offset = RelativeTo(bind[parent], bind[joint]).position;
                pose[joint].position = pose[parent].position + offset;
            }
        }
        return pose;
    }

    /** In which share of the frames the body's up is near each axis. */
    std::array<float, axes.size()> UprightShares() const {
        std::array<float, axes.size()> shares = {};
        constexpr int mostFrames = 200;
        const int step = 1 + motion.frameCount / mostFrames;
        int count = 0;
        for (int frame = 0; frame < motion.frameCount; frame += step) {
            const Vector3 up = MeasurePosture(skeleton, motion.Frame(frame), view.known).up;
            for (size_t axis = 0; axis < axes.size(); ++axis) {
                constexpr float near = 0.7f;
                shares.at(axis) += Dot(up, axes.at(axis)) > near ? 1.0f : 0.0f;
            }
            ++count;
        }
        for (float& share : shares) {
            share /= static_cast<float>(std::max(count, 1));
        }
        return shares;
    }

    /** Where the lowest part of the body is along an axis, over the frames, in parts of its size. */
    struct Ground {
        float height = 0.0f;
        float spread = 0.0f;
    };

    Ground GroundAlong(const Vector3& axis) const {
        std::vector<float> lowest;
        float size = 1e-6f;
        constexpr int mostFrames = 200;
        const int step = 1 + motion.frameCount / mostFrames;
        for (int frame = 0; frame < motion.frameCount; frame += step) {
            const BodySpan span = MeasureBodySpan(skeleton, motion.Frame(frame), view.known, axis);
            lowest.push_back(span.lowest);
            // A body that lies is thin along up, and as large as ever.
            for (const Vector3& other : {axes[0], axes[2], axes[4]}) {
                const BodySpan extent = MeasureBodySpan(skeleton, motion.Frame(frame), view.known, other);
                size = std::max(size, extent.highest - extent.lowest);
            }
        }
        std::sort(lowest.begin(), lowest.end());
        const float low = lowest[lowest.size() / 10];
        return {low / size, (lowest[lowest.size() * 9 / 10] - low) / size};
    }

    /**
     * How likely an axis is up that the body is along in a share of the frames. A body that lies along it is,
     * too; but only along the true one the lowest part of it is at one height, standing and lying, and that
     * mostly at nought. And few files have another axis up than the format's or z.
     */
    float Uprightness(const Vector3& axis, float share) const {
        if (share <= 0.0f) {
            return 0.0f;
        }
        const Ground ground = GroundAlong(axis);
        constexpr float little = 0.15f;
        const float usual = Dot(axis, motion.statedUp) > 0.5f ? 6.0f : (axis.z > 0.5f ? 3.0f : 0.5f);
        return share * usual /
               ((little + ground.spread) * (little + std::min(1.0f, std::fabs(ground.height))));
    }

    /** Nothing of the body is clearly below the ground, and something always near it. */
    bool MayLieOnGround(const Vector3& axis) const {
        constexpr float deepest = -0.1f;
        constexpr float highest = 0.3f;
        const Ground ground = GroundAlong(axis);
        return ground.height > deepest && ground.height < highest && ground.spread < highest;
    }

    static size_t AxisIndex(const Vector3& axis) {
        size_t index = 0;
        while (index + 1 < axes.size() && Dot(axes.at(index), axis) < 0.5f) {
            ++index;
        }
        return index;
    }

    /**
     * The motion says where up is, as people are upright more often than not; without a clear word of it, the
     * rest pose does, if it is a standing body's, and then the file's format.
     */
    Vector3 ChooseUp(const Posture& posture) {
        if (options.up) {
            AddUpRemark(*options.up, "as told");
            return *options.up;
        }
        const bool stands = posture.standing >= leastStanding;
        const Vector3 own = stands ? NearestAxis(posture.up) : motion.statedUp;
        if (motion.frameCount < 1) {
            const Vector3 up =
                Length(posture.up) > 0.0f && Dot(posture.up, own) < 0.5f ? NearestAxis(posture.up) : own;
            AddUpRemark(
                up, fmt::format("from the rest pose, {:.0f} % certain", 50.0f + 50.0f * posture.standing));
            return up;
        }
        const auto shares = UprightShares();
        constexpr float once = 0.1f;
        constexpr float shareOfRest = 0.3f;
        const bool restStands = stands && !isFrame;
        // Somebody may lie or turn somersaults all clip long; that they stand up once settles it.
        if (restStands && shares.at(AxisIndex(own)) >= once) {
            AddUpRemark(own, DescribeShare(shares.at(AxisIndex(own))));
            return own;
        }
        Vector3 up = own;
        Vector3 other = own;
        float best = 0.0f;
        float second = 0.0f;
        for (const Vector3& axis : axes) {
            const float seen = shares.at(AxisIndex(axis));
            const bool mayLie = (restStands && Dot(axis, own) > 0.5f) ||
                                (Dot(axis, motion.statedUp) > 0.5f && MayLieOnGround(axis));
            const float uprightness =
                Uprightness(axis, std::max(seen >= once ? seen : 0.0f, mayLie ? shareOfRest : 0.0f));
            if (uprightness > best) {
                other = up;
                second = best;
                up = axis;
                best = uprightness;
            } else if (uprightness > second) {
                other = axis;
                second = uprightness;
            }
        }
        AddUpRemark(up, DescribeShare(shares.at(AxisIndex(up))));
        constexpr float clearly = 2.0f;
        if (best <= 0.0f && !restStands) {
            view.doubts.push_back(
                {fmt::format("the body never stands along an axis; {} is taken for up", AxisName(up)),
                    Remedy::SayUp});
        } else if (best < clearly * second || (restStands && Dot(up, own) < 0.5f && MayLieOnGround(own))) {
            other = best < clearly * second ? other : own;
            view.doubts.push_back(
                {fmt::format("{} is taken for up, but it may be {}, along which the body then {}",
                     AxisName(up), AxisName(other),
                     shares.at(AxisIndex(other)) >= once ? "stands" : "lies in all frames"),
                    Remedy::SayUp});
        }
        return up;
    }

    static std::string DescribeShare(float share) {
        return fmt::format("the body is upright along it in {:.0f} % of the frames", 100.0f * share);
    }

    void AddUpRemark(const Vector3& up, const std::string& why) {
        upRemark = fmt::format("up: {}, {}", AxisName(up), why);
    }

    void Turn(const Quaternion& turn, bool turnsAncestors) {
        const int hips = view.known[velkori_KnownJointType_Hips].joint;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const bool isAbove = hips >= 0 && joint != hips && IsAncestorOrSelf(skeleton, joint, hips);
            Transform& transform = view.rest[joint];
            transform.position = Rotate(turn, transform.position);
            if (turnsAncestors || !isAbove) {
                transform.orientation = Normalized(turn * transform.orientation);
            }
        }
    }

    /** A body that is bound lying, or that leans in the frame that was chosen, is stood up. */
    void Upright(const Posture& posture, const Vector3& up) {
        if (Length(posture.up) == 0.0f) {
            return;
        }
        const Vector3 own = NearestAxis(posture.up);
        if (Dot(own, up) < 0.5f) {
            const bool isOpposite = Dot(own, up) < -0.5f;
            const Vector3 side =
                isOpposite && Length(posture.left) > 0.0f ? NearestAxis(posture.left) : Cross(own, up);
            Turn(TurnAbout(side, isOpposite ? 180.0f : 90.0f), true);
        }
        const Vector3 now = MeasurePosture(skeleton, view.rest, view.known).up;
        constexpr float leaning = 15.0f;
        if (isFrame && AngleBetween(now, up) > leaning) {
            Turn(ShortestTurn(now, up), false);
        }
    }

    /** Files are right-handed: forward follows from left and up. Most with y up face z, others face -y. */
    void Face(const Vector3& up) {
        const Vector3 usual = up.y != 0.0f ? Vector3{0.0f, 0.0f, 1.0f} : Vector3{0.0f, -1.0f, 0.0f};
        const Vector3 left = WithoutAxis(MeasurePosture(skeleton, view.rest, view.known).left, up);
        constexpr float clear = 0.1f;
        const bool isClear = Length(left) > clear;
        const Vector3 own = isClear ? Normalized(Cross(left, up)) : usual;
        const Vector3 forward = options.facing ? *options.facing : NearestAxis(own);
        if (std::fabs(Dot(forward, up)) > 0.5f) {
            throw Failure(fmt::format(
                "'{}': the body can't face {} where up is {}", motion.path, AxisName(forward), AxisName(up)));
        }
        constexpr float noticeable = 3.0f;
        const float angle = AngleBetween(own, forward);
        if (!options.facing && angle > noticeable) {
            Turn(ShortestTurn(own, forward), false);
        }
        if (isFrame) {
            StandOverRoot(up);
        }
        view.space = {up, forward, Cross(forward, up)};
        const std::string certainty =
            isClear ? fmt::format(" (its hips and shoulders, {:.0f} degrees off)", angle)
                    : std::string(", as most files have it");
        view.remarks.push_back({fmt::format("{}; the body faces {}{}", upRemark, AxisName(forward),
            options.facing ? std::string(", as told") : certainty)});
    }

    /** In a frame the body is anywhere; at rest it stands over the origin, and what is above the hips there.
     */
    void StandOverRoot(const Vector3& up) {
        const int hips = view.known[velkori_KnownJointType_Hips].joint;
        if (hips < 0) {
            return;
        }
        const float ground = MeasureBodySpan(skeleton, view.rest, view.known, up).lowest;
        const Vector3 place = WithoutAxis(view.rest[hips].position, up) + up * ground;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const bool isAbove = joint != hips && IsAncestorOrSelf(skeleton, joint, hips);
            Vector3& position = view.rest[joint].position;
            position = isAbove ? Vector3{0.0f, 0.0f, 0.0f} : position - place;
        }
    }

    void SetReasonsOfTable() {
        for (const auto& [role, joint] : fromTable) {
            if (options.known.count(role) == 0) {
                view.known.at(role) = {joint, 100, "the file's own humanoid table"};
            }
        }
    }

    void FindUnit() {
        if (options.metresPerUnit) {
            view.metresPerUnit = *options.metresPerUnit;
            return;
        }
        const BodySpan span = MeasureBodySpan(skeleton, view.rest, view.known, view.space.up);
        const double height = span.highest - span.lowest;
        if (!(height > 0.0)) {
            throw Failure(fmt::format("'{}': the rest pose has no height; choose another", motion.path));
        }
        const BodyUnit unit = FindBodyUnit(height, motion.statedMetresPerUnit);
        view.metresPerUnit = unit.metres;
        view.remarks.push_back(
            {fmt::format("unit: {}; the body is {:.2f} m high", unit.reason, height * unit.metres)});
    }

    const Motion& motion;
    const FileSkeleton& skeleton;
    const BodyOptions& options;
    KnownJointOverrides overrides;
    std::vector<std::pair<velkori_KnownJointType, int>> fromTable;
    std::vector<Transform> bind;
    bool isFrame = false;
    std::string upRemark;
    BodyView view;
};

} // namespace

Vector3 NearestAxis(const Vector3& direction) {
    return *std::max_element(axes.begin(), axes.end(),
        [&](const Vector3& a, const Vector3& b) { return Dot(a, direction) < Dot(b, direction); });
}

std::string AxisName(const Vector3& axis) {
    return fmt::format("{}{}", axis.x + axis.y + axis.z < 0.0f ? "-" : "",
        axis.x != 0.0f ? "x" : (axis.y != 0.0f ? "y" : "z"));
}

BodyView SeeBody(const Motion& motion, const BodyOptions& options) {
    return BodyViewer(motion, options).See();
}

} // namespace Velkori_Tool
