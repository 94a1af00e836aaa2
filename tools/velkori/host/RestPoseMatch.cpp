#include "host/RestPoseMatch.h"

#include <algorithm>
#include <optional>

namespace Velkori_Tool {

namespace {

constexpr Vector3 up = {0.0f, 1.0f, 0.0f};

class RestPoseMatcher {
  public:
    RestPoseMatcher(const MappedBody& source, const MappedBody& target)
        : source(source), target(target), pose(target.skeleton.rest) {}

    std::vector<Transform> Match() {
        LeanTrunk();
        for (const Side side : {Side::Left, Side::Right}) {
            TurnBone(BodyPart::UpperArm, BodyPart::LowerArm, side);
            TurnBone(BodyPart::LowerArm, BodyPart::Wrist, side);
            TurnHand(side);
            const int ankle = target.map.JointAt(BodyPart::Ankle, side);
            const Quaternion foot = ankle < 0 ? identityRotation : pose[ankle].orientation;
            TurnBone(BodyPart::UpperLeg, BodyPart::LowerLeg, side);
            TurnBone(BodyPart::LowerLeg, BodyPart::Ankle, side);
            if (ankle >= 0) {
                Turn(ankle, foot * Inverse(pose[ankle].orientation));
                TurnFoot(ankle, side);
            }
        }
        StandAgain();
        BringFollowers();
        return std::move(pose);
    }

  private:
    bool IsBelow(int ancestor, int joint) const {
        while (joint >= 0 && joint != ancestor) {
            joint = target.skeleton.parents[joint];
        }
        return joint >= 0;
    }

    /** Turns a joint and all below it about its own place. */
    void Turn(int joint, const Quaternion& turn) {
        const Vector3 center = pose[joint].position;
        for (int other = 0; other < target.skeleton.JointCount(); ++other) {
            if (IsBelow(joint, other)) {
                pose[other].position = center + Rotate(turn, pose[other].position - center);
                pose[other].orientation = Normalized(turn * pose[other].orientation);
            }
        }
    }

    static Vector3 Way(const std::vector<Transform>& pose, int from, int to) {
        return from < 0 || to < 0 ? Vector3{0.0f, 0.0f, 0.0f} : pose[to].position - pose[from].position;
    }

    /** Turned legs reach elsewhere: the body comes down or up until its ankles are as high as they were. */
    void StandAgain() {
        const int hips = target.skeleton.known.at(velkori_KnownJointType_Hips);
        float lift = 0.0f;
        int count = 0;
        for (const Side side : {Side::Left, Side::Right}) {
            const int ankle = target.map.JointAt(BodyPart::Ankle, side);
            if (ankle >= 0 && IsBelow(hips, ankle)) {
                lift += target.skeleton.rest[ankle].position.y - pose[ankle].position.y;
                ++count;
            }
        }
        for (int joint = 0; hips >= 0 && count > 0 && joint < target.skeleton.JointCount(); ++joint) {
            if (IsBelow(hips, joint)) {
                pose[joint].position.y += lift / static_cast<float>(count);
            }
        }
    }

    /** What lies on a joint of the body goes with it, as it did. */
    void BringFollowers() {
        const std::vector<Transform>& made = target.skeleton.made;
        for (const FollowingJoint& follower : target.map.followers) {
            const Transform brought =
                Compose(pose[follower.leader], RelativeTo(made[follower.leader], made[follower.joint]));
            pose[follower.joint].position = brought.position;
            if (!follower.turnsAlone) {
                pose[follower.joint].orientation = brought.orientation;
            }
        }
    }

    void TurnBone(BodyPart from, BodyPart to, Side side) {
        const int joint = target.map.JointAt(from, side);
        const int end = target.map.JointAt(to, side);
        const Vector3 wanted =
            Way(source.skeleton.rest, source.map.JointAt(from, side), source.map.JointAt(to, side));
        if (joint >= 0 && end >= 0 && IsBelow(joint, end)) {
            Turn(joint, ShortestTurn(Way(pose, joint, end), wanted));
        }
    }

    struct HeldHand {
        /** Where the knuckles lie from the wrist, and from the index to the little finger. */
        Quaternion orientation;
        /** The thumb is on the index finger's side, as it is in a hand whose fingers are found. */
        bool isConfirmed = false;
    };

    /** None where fewer than two fingers are known. */
    static std::optional<HeldHand> HoldOf(
        const MappedBody& body, const std::vector<Transform>& pose, Side side) {
        std::vector<Vector3> knuckles;
        for (const BodyPart finger : {BodyPart::Index, BodyPart::Middle, BodyPart::Ring, BodyPart::Little}) {
            const int joint = body.map.JointAt(finger, side);
            if (joint >= 0) {
                knuckles.push_back(pose[joint].position);
            }
        }
        const int wrist = body.map.JointAt(BodyPart::Wrist, side);
        if (wrist < 0 || knuckles.size() < 2) {
            return std::nullopt;
        }
        const Vector3 middle = (knuckles.front() + knuckles.back()) * 0.5f;
        const Vector3 out = middle - pose[wrist].position;
        const Vector3 across = knuckles.front() - knuckles.back();
        const Quaternion swing = ShortestTurn({0.0f, 0.0f, 1.0f}, out);
        const Quaternion twist =
            ShortestTurn(Rotate(swing, {1.0f, 0.0f, 0.0f}), WithoutAxis(across, Normalized(out)));
        const int thumb = body.map.JointAt(BodyPart::Thumb, side);
        return HeldHand{twist * swing,
            thumb >= 0 && Dot(WithoutAxis(across, Normalized(out)), pose[thumb].position - middle) > 0.0f};
    }

    /** Hands and fingers that are held alike keep what their own shapes differ by. */
    static bool IsAnotherWay(float degrees) {
        constexpr float alike = 15.0f;
        return degrees > alike;
    }

    /** The turn from a finger's bone to its counterpart; none where either isn't known. */
    Quaternion TurnOfFinger(const BodyPlace& place) const {
        // Of a finger of one joint nothing tells reliably where it points.
        const bool isKnown = source.map.JointAt(place.part, place.side, 1) >= 0 &&
                             target.map.JointAt(place.part, place.side, 1) >= 0 &&
                             target.map.JointAt(place.part, place.side, place.number) >= 0;
        return isKnown ? ShortestTurn(
                             FingerBone(target, pose, place), FingerBone(source, source.skeleton.rest, place))
                       : identityRotation;
    }

    /**
     * A hand that is held another way, by itself or by one of its fingers, is matched as a whole: the rest
     * pose of a clip may be one of its frames, in which a hand does something.
     */
    void TurnHand(Side side) {
        const int wrist = target.map.JointAt(BodyPart::Wrist, side);
        const auto wanted = HoldOf(source, source.skeleton.rest, side);
        if (wanted && HoldOf(target, pose, side)) {
            HoldAsMade(wrist);
        }
        const auto own = HoldOf(target, pose, side);
        constexpr float beyondDoubt = 130.0f;
        const float angle = own && wanted ? AngleBetween(own->orientation, wanted->orientation) : 0.0f;
        if (angle > 0.0f && (angle < beyondDoubt || (own->isConfirmed && wanted->isConfirmed))) {
            const std::vector<Transform> before = pose;
            Turn(wrist, wanted->orientation * Inverse(own->orientation));
            if (!IsAnotherWay(angle) && !IsAnyFingerHeldAnotherWay(side)) {
                pose = before;
            }
        }
        const bool matchesAll = IsAnyFingerHeldAnotherWay(side);
        for (const BodyPart finger :
            {BodyPart::Thumb, BodyPart::Index, BodyPart::Middle, BodyPart::Ring, BodyPart::Little}) {
            for (int number = 0; number < 3; ++number) {
                const int joint = target.map.JointAt(finger, side, number);
                const Quaternion turn = TurnOfFinger({finger, side, number});
                if (joint >= 0 && (matchesAll || IsAnotherWay(AngleBetween(turn, identityRotation)))) {
                    Turn(joint, turn);
                }
            }
        }
    }

    /** The palm and the fingers lie to the wrist as they did before they were aligned. */
    void HoldAsMade(int wrist) {
        const std::vector<Transform>& made = target.skeleton.made;
        for (int joint = 0; joint < target.skeleton.JointCount(); ++joint) {
            if (joint != wrist && IsBelow(wrist, joint)) {
                pose[joint] = Compose(pose[wrist], RelativeTo(made[wrist], made[joint]));
            }
        }
    }

    /** Thumbs don't tell, as their shapes differ most. */
    bool IsAnyFingerHeldAnotherWay(Side side) const {
        for (const BodyPart finger : {BodyPart::Index, BodyPart::Middle, BodyPart::Ring, BodyPart::Little}) {
            for (int number = 0; number < 3; ++number) {
                if (IsAnotherWay(AngleBetween(TurnOfFinger({finger, side, number}), identityRotation))) {
                    return true;
                }
            }
        }
        return false;
    }

    /** To the finger's next joint, to the one joint at its end, or else straight on. */
    static Vector3 FingerBone(
        const MappedBody& body, const std::vector<Transform>& pose, const BodyPlace& place) {
        const int joint = body.map.JointAt(place.part, place.side, place.number);
        const int next = body.map.JointAt(place.part, place.side, place.number + 1);
        if (joint < 0 || next >= 0) {
            return Way(pose, joint, next);
        }
        const std::vector<int>& parents = body.skeleton.parents;
        const auto child = std::find(parents.begin(), parents.end(), joint);
        if (child != parents.end()) {
            return Way(pose, joint, static_cast<int>(child - parents.begin()));
        }
        return Way(pose, body.map.JointAt(place.part, place.side, place.number - 1), joint);
    }

    /** From the middle of the hip joints to the neck. */
    static Vector3 TrunkWay(const MappedBody& body, const std::vector<Transform>& pose) {
        const int left = body.map.JointAt(BodyPart::UpperLeg, Side::Left);
        const int right = body.map.JointAt(BodyPart::UpperLeg, Side::Right);
        if (left < 0 || right < 0 || body.map.neck.empty()) {
            return {0.0f, 0.0f, 0.0f};
        }
        return pose[body.map.neck.front()].position - (pose[left].position + pose[right].position) * 0.5f;
    }

    /** The spine leans; what hangs from it keeps how it is turned. */
    void LeanTrunk() {
        if (target.map.spine.empty()) {
            return;
        }
        const int base = target.map.spine.front();
        const Vector3 wanted = TrunkWay(source, source.skeleton.rest);
        // The spine turns about its base, above the hips' middle, so it takes a few rounds.
        for (int round = 0; round < 4; ++round) {
            const Vector3 now = TrunkWay(target, pose);
            const Quaternion turn = ShortestTurn(now, wanted);
            constexpr float tooMuch = 40.0f;
            if (Length(now) == 0.0f || Length(wanted) == 0.0f || AngleBetween(now, wanted) > tooMuch) {
                return;
            }
            std::vector<Quaternion> kept;
            for (const int joint : Hanging()) {
                kept.push_back(pose[joint].orientation);
            }
            Turn(base, turn);
            size_t next = 0;
            for (const int joint : Hanging()) {
                Turn(joint, kept[next++] * Inverse(pose[joint].orientation));
            }
        }
    }

    /** The neck and the clavicles, or the arms where there are none. */
    std::vector<int> Hanging() const {
        std::vector<int> joints;
        if (!target.map.neck.empty()) {
            joints.push_back(target.map.neck.front());
        }
        for (const auto& [clavicles, side] : {std::pair{target.map.clavicles[0], Side::Left},
                 std::pair{target.map.clavicles[1], Side::Right}}) {
            const int arm = target.map.JointAt(BodyPart::UpperArm, side);
            if (!clavicles.empty() || arm >= 0) {
                joints.push_back(clavicles.empty() ? arm : clavicles.front());
            }
        }
        std::erase_if(joints, [&](int joint) { return !IsBelow(target.map.spine.front(), joint); });
        return joints;
    }

    /** About up alone: how high an ankle stands over its toes is a foot's own affair. */
    void TurnFoot(int ankle, Side side) {
        const Vector3 own = WithoutAxis(Way(pose, ankle, target.map.JointAt(BodyPart::Toe, side)), up);
        const Vector3 wanted =
            WithoutAxis(Way(source.skeleton.rest, source.map.JointAt(BodyPart::Ankle, side),
                            source.map.JointAt(BodyPart::Toe, side)),
                up);
        constexpr float shortest = 0.02f;
        constexpr float tooMuch = 60.0f;
        if (Length(own) > shortest && Length(wanted) > shortest && AngleBetween(own, wanted) < tooMuch) {
            Turn(ankle, ShortestTurn(own, wanted));
        }
    }

    const MappedBody& source;
    const MappedBody& target;
    std::vector<Transform> pose;
};

} // namespace

std::vector<Transform> MatchRestPose(const MappedBody& source, const MappedBody& target) {
    return RestPoseMatcher(source, target).Match();
}

} // namespace Velkori_Tool
