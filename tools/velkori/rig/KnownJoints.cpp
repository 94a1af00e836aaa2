#include "rig/KnownJoints.h"

#include <fmt/format.h>

#include <algorithm>
#include <tuple>

namespace Velkori_Tool {

namespace {

/** An arm or a leg: from which joint to which, and by what it is told. */
struct LimbKind {
    BodyPart upper;
    BodyPart middle;
    BodyPart end;
    /** The height of the upper joint, in parts of the body's. */
    float lowestUpper = 0.0f;
    float highestUpper = 0.0f;
    /** The way from the upper joint to the end as the crow flies, in parts of the body's height. */
    float shortest = 0.0f;
    float longest = 0.0f;
    /** The highest that the end is expected at, which tells legs. */
    float highestEnd = 0.0f;
    std::string_view middleName;
};

constexpr LimbKind arm = {
    BodyPart::UpperArm, BodyPart::LowerArm, BodyPart::Wrist, 0.66f, 0.92f, 0.2f, 0.45f, 1.0f, "elbow"};
constexpr LimbKind leg = {
    BodyPart::UpperLeg, BodyPart::LowerLeg, BodyPart::Ankle, 0.38f, 0.64f, 0.3f, 0.6f, 0.2f, "knee"};

struct Limb {
    int upper = -1;
    int end = -1;
    Side side = Side::None;
    /** Each 0 to 1. */
    float upperName = 0.0f;
    float endName = 0.0f;
    float hierarchy = 0.0f;
    float position = 0.0f;

    /** Whether a mesh is bound to both ends, of a rig where some joints only control others. */
    float skin = 0.0f;

    float Score() const {
        return 0.3f * upperName + 0.3f * endName + 0.2f * hierarchy + 0.2f * position + 0.1f * skin;
    }
};

/** 1 inside a range and falling to 0 within `margin` outside it. */
float FitRange(float value, float lowest, float highest, float margin) {
    const float outside = std::max({0.0f, lowest - value, value - highest});
    return std::max(0.0f, 1.0f - outside / margin);
}

class KnownJointFinder {
  public:
    KnownJointFinder(const FileSkeleton& skeleton, std::span<const JointName> names,
        std::span<const Transform> pose, const Vector3& up)
        : skeleton(skeleton), names(names), pose(pose), up(up) {
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            heights.push_back(Dot(up, pose[joint].position));
            childCounts.push_back(0);
            if (skeleton.parents[joint] >= 0) {
                ++childCounts[skeleton.parents[joint]];
            }
        }
        const auto [low, high] = std::minmax_element(heights.begin(), heights.end());
        bodyHeight = std::max(*high - *low, 1e-6f);
        const float ground = *low;
        for (float& height : heights) {
            height = (height - ground) / bodyHeight;
        }
    }

    KnownJointGuesses Find(const KnownJointOverrides& wanted) {
        overrides = wanted;
        FindLimbs(leg, velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_LeftAnkle,
            velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_RightAnkle);
        FindLimbs(arm, velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_LeftWrist,
            velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_RightWrist);
        FindChest();
        FindNeck();
        FindHips();
        FindRoot();
        return guesses;
    }

    std::vector<int> Candidates(velkori_KnownJointType role) const {
        const auto [part, side] = PartOf(role);
        std::vector<std::pair<float, int>> scored;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const JointName& name = names[joint];
            const float sideFit = name.side == side ? 0.5f : 0.0f;
            const float score = NameFit(name, part) + sideFit + NeighbourFit(name, part) -
                                (NamesAnotherPart(name, part) ? 0.4f : 0.0f);
            scored.emplace_back(-score, joint);
        }
        std::stable_sort(scored.begin(), scored.end());
        std::vector<int> joints;
        joints.reserve(scored.size());
        for (const auto& [score, joint] : scored) {
            joints.push_back(joint);
        }
        return joints;
    }

  private:
    static std::pair<BodyPart, Side> PartOf(velkori_KnownJointType role) {
        switch (role) {
        case velkori_KnownJointType_Hips:
            return {BodyPart::Hips, Side::None};
        case velkori_KnownJointType_RightUpperArm:
            return {BodyPart::UpperArm, Side::Right};
        case velkori_KnownJointType_LeftUpperArm:
            return {BodyPart::UpperArm, Side::Left};
        case velkori_KnownJointType_RightWrist:
            return {BodyPart::Wrist, Side::Right};
        case velkori_KnownJointType_LeftWrist:
            return {BodyPart::Wrist, Side::Left};
        case velkori_KnownJointType_Chest:
            return {BodyPart::Chest, Side::None};
        case velkori_KnownJointType_Neck:
            return {BodyPart::Neck, Side::None};
        case velkori_KnownJointType_RightUpperLeg:
            return {BodyPart::UpperLeg, Side::Right};
        case velkori_KnownJointType_LeftUpperLeg:
            return {BodyPart::UpperLeg, Side::Left};
        case velkori_KnownJointType_RightAnkle:
            return {BodyPart::Ankle, Side::Right};
        case velkori_KnownJointType_LeftAnkle:
            return {BodyPart::Ankle, Side::Left};
        default:
            return {BodyPart::Root, Side::None};
        }
    }

    /** Parts next to each other in the list are next to each other in the body, mostly. */
    static float NeighbourFit(const JointName& name, BodyPart part) {
        constexpr float share = 0.3f;
        float fit = 0.0f;
        for (const int step : {-1, 1}) {
            fit = std::max(fit, NameFit(name, static_cast<BodyPart>(static_cast<int>(part) + step)));
        }
        return share * fit;
    }

    const Vector3& Position(int joint) const { return pose[joint].position; }

    float Distance(int a, int b) const { return Length(Position(a) - Position(b)); }

    bool IsAncestorOrSelf(int ancestor, int joint) const {
        while (joint >= 0 && joint != ancestor) {
            joint = skeleton.parents[joint];
        }
        return joint >= 0;
    }

    int CommonAncestor(int a, int b) const {
        while (a >= 0 && (b < 0 || !IsAncestorOrSelf(a, b))) {
            a = skeleton.parents[a];
        }
        return a;
    }

    /** A joint between both ends that halves the limb, and whether a joint between is named after it. */
    float MiddleFit(const LimbKind& kind, int upper, int end) const {
        float halves = 0.0f;
        float named = 0.0f;
        for (int joint = skeleton.parents[end]; joint != upper; joint = skeleton.parents[joint]) {
            const float above = Distance(upper, joint);
            const float below = Distance(joint, end);
            constexpr float farthest = 0.69f; // one half is twice the other
            if (above > 0.0f && below > 0.0f) {
                halves = std::max(halves, 1.0f - std::fabs(std::log(above / below)) / farthest);
            }
            named = std::max(named, NameFit(names[joint], kind.middle));
        }
        return 0.5f * halves + 0.3f * named;
    }

    Limb Measure(const LimbKind& kind, int upper, int end) const {
        Limb limb{upper, end};
        limb.side = names[upper].side != Side::None ? names[upper].side : names[end].side;
        limb.upperName = NameFit(names[upper], kind.upper);
        limb.endName = NameFit(names[end], kind.end);
        const float branches = childCounts[end] != 1 ? 0.2f : 0.0f;
        limb.hierarchy = MiddleFit(kind, upper, end) + (kind.end == BodyPart::Ankle ? 0.2f : branches);
        limb.skin = IsSkinned(upper) && IsSkinned(end) ? 1.0f : 0.0f;
        constexpr float margin = 0.12f;
        limb.position =
            (FitRange(heights[upper], kind.lowestUpper, kind.highestUpper, margin) +
                FitRange(heights[end], 0.0f, kind.highestEnd, margin) +
                FitRange(Distance(upper, end) / bodyHeight, kind.shortest, kind.longest, margin)) /
            3.0f;
        return limb;
    }

    bool IsSkinned(int joint) const { return !skeleton.isSkinned.empty() && skeleton.isSkinned[joint]; }

    bool CanBe(int joint, BodyPart part) const { return !NamesAnotherPart(names[joint], part); }

    /** All limbs that are worth a thought, best first. */
    std::vector<Limb> MeasureLimbs(const LimbKind& kind) const {
        constexpr int mostLevels = 12;
        constexpr float leastScore = 0.28f;
        std::vector<Limb> limbs;
        for (int end = 0; end < skeleton.JointCount(); ++end) {
            int upper = skeleton.parents[end];
            for (int level = 1; upper >= 0 && level < mostLevels && CanBe(end, kind.end); ++level) {
                const bool sidesFit = names[upper].side == Side::None || names[end].side == Side::None ||
                                      names[upper].side == names[end].side;
                if (level > 1 && sidesFit && CanBe(upper, kind.upper)) {
                    const Limb limb = Measure(kind, upper, end);
                    if (limb.Score() >= leastScore) {
                        limbs.push_back(limb);
                    }
                }
                upper = skeleton.parents[upper];
            }
        }
        std::stable_sort(
            limbs.begin(), limbs.end(), [](const Limb& a, const Limb& b) { return a.Score() > b.Score(); });
        return limbs;
    }

    bool AreApart(const Limb& a, const Limb& b) const {
        return !IsAncestorOrSelf(a.upper, b.upper) && !IsAncestorOrSelf(b.upper, a.upper);
    }

    void FindLimbs(const LimbKind& kind, velkori_KnownJointType leftUpper, velkori_KnownJointType leftEnd,
        velkori_KnownJointType rightUpper, velkori_KnownJointType rightEnd) {
        const std::vector<Limb> limbs = MeasureLimbs(kind);
        const auto bestOf = [&](Side side, const Limb& other) {
            for (const Limb& limb : limbs) {
                if (limb.side == side && (other.upper < 0 || AreApart(limb, other))) {
                    return limb;
                }
            }
            return Limb();
        };
        Limb left = bestOf(Side::Left, {});
        Limb right = bestOf(Side::Right, left);
        if (left.upper < 0 && right.upper < 0) {
            std::tie(left, right) = FindUnnamedPair(limbs);
        } else if (left.upper < 0) {
            left = bestOf(Side::None, right);
        } else if (right.upper < 0) {
            right = bestOf(Side::None, left);
        }
        SetLimb(kind, left, Side::Left, leftUpper, leftEnd);
        SetLimb(kind, right, Side::Right, rightUpper, rightEnd);
    }

    /** Two limbs that nothing says the side of: each other's mirror images as far as possible. */
    std::pair<Limb, Limb> FindUnnamedPair(const std::vector<Limb>& limbs) const {
        constexpr size_t mostLimbs = 200;
        std::pair<Limb, Limb> best;
        float bestScore = 0.0f;
        const size_t count = std::min(limbs.size(), mostLimbs);
        for (size_t i = 0; i < count; ++i) {
            for (size_t j = i + 1; j < count; ++j) {
                const Limb& a = limbs[i];
                const Limb& b = limbs[j];
                const float difference =
                    std::fabs(heights[a.upper] - heights[b.upper]) +
                    std::fabs(heights[a.end] - heights[b.end]) +
                    std::fabs(Distance(a.upper, a.end) - Distance(b.upper, b.end)) / bodyHeight;
                const float score = a.Score() + b.Score() - difference;
                if (score > bestScore && AreApart(a, b)) {
                    best = {a, b};
                    bestScore = score;
                }
            }
        }
        const auto& [a, b] = best;
        if (a.upper >= 0 && Dot(Position(a.end) - Position(b.end), LeftAxis(a, b)) < 0.0f) {
            return {b, a};
        }
        return best;
    }

    /** Where left is without anybody saying so: from the legs, if they are known; from the feet, which point
     * forward; or as most files have it. */
    Vector3 LeftAxis(const Limb& left, const Limb& right) const {
        const int leftLeg = Joint(velkori_KnownJointType_LeftUpperLeg);
        const int rightLeg = Joint(velkori_KnownJointType_RightUpperLeg);
        if (leftLeg >= 0 && rightLeg >= 0) {
            return Position(leftLeg) - Position(rightLeg);
        }
        Vector3 forward = {0.0f, 0.0f, 0.0f};
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            for (const int ankle : {left.end, right.end}) {
                if (heights[joint] < leg.highestEnd && heights[ankle] < leg.highestEnd &&
                    IsAncestorOrSelf(ankle, joint)) {
                    forward = forward + WithoutAxis(Position(joint) - Position(ankle), up);
                }
            }
        }
        if (Length(forward) < 0.01f * bodyHeight) {
            forward = up.y > 0.5f ? Vector3{0.0f, 0.0f, 1.0f} : Vector3{0.0f, -1.0f, 0.0f};
        }
        return Cross(up, forward);
    }

    /** Of a wrist and a hand below it, or an ankle and a foot, the limb ends at the first. */
    int FirstEnd(const LimbKind& kind, const Limb& limb) const {
        constexpr float wellNamed = 0.9f;
        int end = limb.end;
        for (int joint = limb.end; joint >= 0 && joint != limb.upper; joint = skeleton.parents[joint]) {
            end = NameFit(names[joint], kind.end) >= wellNamed ? joint : end;
        }
        return end;
    }

    void SetLimb(const LimbKind& kind, Limb limb, Side side, velkori_KnownJointType upperRole,
        velkori_KnownJointType endRole) {
        limb.end = FirstEnd(kind, limb);
        if (limb.upper < 0) {
            SetByName(upperRole, kind.upper, side);
            SetByName(endRole, kind.end, side);
            EndLimbNear(upperRole, endRole);
            return;
        }
        const float structure = 0.15f * limb.hierarchy + 0.15f * limb.position;
        const char* const sideReason =
            names[limb.upper].side != Side::None ? "side by name" : "side by position";
        const float sideShare = names[limb.upper].side != Side::None ? 0.15f : 0.07f;
        const auto reasons = [&](int joint, float nameFit) {
            const std::string name =
                nameFit > 0.0f ? fmt::format("name '{}'", names[joint].word) : std::string("no name for it");
            return fmt::format("{}, {}, {} {}, height {:.0f} %", name, sideReason,
                limb.hierarchy > 0.5f ? "with" : "without a clear", kind.middleName, 100.0f * heights[joint]);
        };
        Set(upperRole, limb.upper, 0.55f * limb.upperName + sideShare + structure,
            reasons(limb.upper, limb.upperName));
        Set(endRole, limb.end, 0.55f * limb.endName + sideShare + structure, reasons(limb.end, limb.endName));
    }

    /** In rigs with IK the foot hangs elsewhere: the limb itself ends in the joint that stands where it is.
     */
    void EndLimbNear(velkori_KnownJointType upperRole, velkori_KnownJointType endRole) {
        const int upper = Joint(upperRole);
        const int end = Joint(endRole);
        if (upper < 0 || end < 0 || IsAncestorOrSelf(upper, end) || overrides.count(endRole) > 0) {
            return;
        }
        constexpr float farthest = 0.12f;
        float nearest = farthest * bodyHeight;
        int own = -1;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            if (joint != upper && skeleton.parents[joint] != upper && IsAncestorOrSelf(upper, joint) &&
                Distance(joint, end) < nearest) {
                nearest = Distance(joint, end);
                own = joint;
            }
        }
        if (own >= 0) {
            Set(endRole, own, 0.65f,
                fmt::format(
                    "ends the limb where '{}' stands, which hangs elsewhere", skeleton.jointNames[end]));
        }
    }

    /** A joint of a limb that isn't whole, if its name leaves no doubt. */
    void SetByName(velkori_KnownJointType role, BodyPart part, Side side) {
        constexpr float clear = 0.8f;
        const int joint = BestNamed(part, side);
        const float fit = joint < 0 ? 0.0f : NameFit(names[joint], part);
        Set(role, fit < clear ? -1 : joint, 0.5f * fit,
            joint < 0 ? "" : fmt::format("name '{}' alone, no whole limb", names[joint].word));
    }

    /** The first joint of those whose name fits best; -1 if none fits. */
    int BestNamed(BodyPart part, Side side = Side::None) const {
        int best = -1;
        float bestFit = 0.0f;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            if (names[joint].side == side && NameFit(names[joint], part) > bestFit) {
                best = joint;
                bestFit = NameFit(names[joint], part);
            }
        }
        return best;
    }

    /** The joint that both arms hang from, or the first above it that isn't named after the neck. */
    void FindChest() {
        int joint = CommonAncestor(
            Joint(velkori_KnownJointType_LeftUpperArm), Joint(velkori_KnownJointType_RightUpperArm));
        while (joint >= 0 && NameFit(names[joint], BodyPart::Neck) > 0.0f) {
            joint = skeleton.parents[joint];
        }
        joint = joint < 0 ? BestNamed(BodyPart::Chest) : joint;
        const float fit = joint < 0 ? 0.0f : NameFit(names[joint], BodyPart::Chest);
        Set(velkori_KnownJointType_Chest, joint, TrunkSureness(fit),
            TrunkReasons(joint, fit, "both arms hang from it"));
    }

    /** Of what stands above the chest without being an arm: what is named so, or else what leads up. */
    void FindNeck() {
        const int chest = Joint(velkori_KnownJointType_Chest);
        int best = -1;
        float bestFit = 0.0f;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const float fit = NameFit(names[joint], BodyPart::Neck);
            if (fit > bestFit && (chest < 0 || IsAncestorOrSelf(chest, joint))) {
                best = joint;
                bestFit = fit;
            }
        }
        if (best < 0 && chest >= 0) {
            best = ChildTowardsTop(chest);
        }
        Set(velkori_KnownJointType_Neck, best, TrunkSureness(bestFit) - (bestFit > 0.0f ? 0.0f : 0.05f),
            TrunkReasons(best, bestFit, "leads from the chest to the head"));
    }

    /** The child whose subtree holds the highest joint that isn't part of an arm; -1 if there is none. */
    int ChildTowardsTop(int chest) const {
        int highest = -1;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const bool isArm =
                IsAncestorOrSelf(ChildTowards(chest, Joint(velkori_KnownJointType_LeftUpperArm)), joint) ||
                IsAncestorOrSelf(ChildTowards(chest, Joint(velkori_KnownJointType_RightUpperArm)), joint);
            if (joint != chest && IsAncestorOrSelf(chest, joint) && !isArm &&
                (highest < 0 || heights[joint] > heights[highest])) {
                highest = joint;
            }
        }
        const int child = ChildTowards(chest, highest);
        const bool isHead = child >= 0 && NameFit(names[child], BodyPart::Head) > 0.0f;
        return isHead ? -1 : child;
    }

    /** The child of an ancestor on the way to a joint below it. */
    int ChildTowards(int ancestor, int joint) const {
        while (joint >= 0 && skeleton.parents[joint] != ancestor) {
            joint = skeleton.parents[joint];
        }
        return joint;
    }

    /** The joint that legs and chest hang from, or one not far above it that is named so. */
    void FindHips() {
        const int legs = CommonAncestor(
            Joint(velkori_KnownJointType_LeftUpperLeg), Joint(velkori_KnownJointType_RightUpperLeg));
        const int chest = Joint(velkori_KnownJointType_Chest);
        int joint = chest < 0 || legs < 0 ? legs : CommonAncestor(legs, chest);
        const int above = joint < 0 ? -1 : skeleton.parents[joint];
        constexpr float wellNamed = 0.5f;
        if (above >= 0 && NameFit(names[joint], BodyPart::Hips) < wellNamed &&
            NameFit(names[above], BodyPart::Hips) > wellNamed) {
            joint = above;
        }
        joint = joint < 0 ? BestNamed(BodyPart::Hips) : joint;
        const float fit = joint < 0 ? 0.0f : NameFit(names[joint], BodyPart::Hips);
        Set(velkori_KnownJointType_Hips, joint, TrunkSureness(fit),
            TrunkReasons(joint, fit, "legs and trunk hang from it"));
    }

    /** What stands above the hips, if it is on the ground. */
    void FindRoot() {
        int top = Joint(velkori_KnownJointType_Hips);
        while (top >= 0 && skeleton.parents[top] >= 0) {
            top = skeleton.parents[top];
        }
        constexpr float onGround = 0.1f;
        const bool isRoot = top >= 0 && top != Joint(velkori_KnownJointType_Hips) && heights[top] < onGround;
        const float fit = isRoot ? NameFit(names[top], BodyPart::Root) : 0.0f;
        Set(velkori_KnownJointType_Root, isRoot ? top : -1, 0.6f + 0.4f * fit,
            TrunkReasons(isRoot ? top : -1, fit, "stands above the hips on the ground"));
    }

    /** A joint that the limbs hang from is as sure as these are; its own name adds the rest. */
    float TrunkSureness(float nameFit) const {
        float least = 1.0f;
        for (const auto role : {velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_RightUpperLeg,
                 velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_RightUpperArm}) {
            least = std::min(least, 0.01f * static_cast<float>(guesses.at(role).percent));
        }
        const float structure = 0.4f + 0.3f * least;
        return structure + (1.0f - structure) * nameFit;
    }

    std::string TrunkReasons(int joint, float nameFit, std::string_view place) const {
        if (joint < 0) {
            return "";
        }
        const std::string name =
            nameFit > 0.0f ? fmt::format("name '{}'", names[joint].word) : std::string("no name for it");
        return fmt::format("{}, {}, height {:.0f} %", name, place, 100.0f * heights[joint]);
    }

    int Joint(velkori_KnownJointType role) const { return guesses.at(role).joint; }

    void Set(velkori_KnownJointType role, int joint, float sureness, std::string reasons) {
        const auto wanted = overrides.find(role);
        if (wanted != overrides.end()) {
            guesses.at(role) = {wanted->second, 100, "as told"};
        } else {
            guesses.at(role) = {
                joint, joint < 0 ? 0 : static_cast<int>(std::lround(100.0f * sureness)), std::move(reasons)};
        }
    }

    const FileSkeleton& skeleton;
    std::span<const JointName> names;
    std::span<const Transform> pose;
    Vector3 up;
    /** Above the lowest joint, in parts of the body's height. */
    std::vector<float> heights;
    std::vector<int> childCounts;
    float bodyHeight = 0.0f;
    KnownJointOverrides overrides;
    KnownJointGuesses guesses;
};

} // namespace

KnownJointGuesses GuessKnownJoints(const FileSkeleton& skeleton, std::span<const JointName> names,
    std::span<const Transform> pose, const Vector3& up, const KnownJointOverrides& overrides) {
    return KnownJointFinder(skeleton, names, pose, up).Find(overrides);
}

std::vector<int> KnownJointCandidates(const FileSkeleton& skeleton, std::span<const JointName> names,
    std::span<const Transform> pose, const Vector3& up, velkori_KnownJointType role) {
    return KnownJointFinder(skeleton, names, pose, up).Candidates(role);
}

} // namespace Velkori_Tool
