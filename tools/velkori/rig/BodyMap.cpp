#include "rig/BodyMap.h"

#include <algorithm>
#include <cmath>

namespace Velkori_Tool {

namespace {

struct LimbRoles {
    Side side;
    velkori_KnownJointType upper;
    velkori_KnownJointType end;
    BodyPart upperPart;
    BodyPart middlePart;
    BodyPart endPart;
};

constexpr std::array<LimbRoles, 4> limbs = {
    LimbRoles{Side::Left, velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_LeftWrist,
        BodyPart::UpperArm, BodyPart::LowerArm, BodyPart::Wrist},
    {Side::Right, velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_RightWrist, BodyPart::UpperArm,
        BodyPart::LowerArm, BodyPart::Wrist},
    {Side::Left, velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_LeftAnkle, BodyPart::UpperLeg,
        BodyPart::LowerLeg, BodyPart::Ankle},
    {Side::Right, velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_RightAnkle, BodyPart::UpperLeg,
        BodyPart::LowerLeg, BodyPart::Ankle}};

constexpr std::array<BodyPart, 5> fingers = {
    BodyPart::Thumb, BodyPart::Index, BodyPart::Middle, BodyPart::Ring, BodyPart::Little};

struct HumanoidPlace {
    const char* bone = nullptr;
    BodyPart part = BodyPart::Root;
    int number = 0;
};

/** VRM's bones that aren't known joints, without their side; of both versions. */
constexpr std::array<HumanoidPlace, 22> humanoidPlaces = {HumanoidPlace{"head", BodyPart::Head},
    {"jaw", BodyPart::Jaw}, {"Eye", BodyPart::Eye}, {"LowerArm", BodyPart::LowerArm},
    {"LowerLeg", BodyPart::LowerLeg}, {"Toes", BodyPart::Toe}, {"ThumbMetacarpal", BodyPart::Thumb, 0},
    {"ThumbProximal", BodyPart::Thumb, 1}, {"ThumbIntermediate", BodyPart::Thumb, 1},
    {"ThumbDistal", BodyPart::Thumb, 2}, {"IndexProximal", BodyPart::Index, 0},
    {"IndexIntermediate", BodyPart::Index, 1}, {"IndexDistal", BodyPart::Index, 2},
    {"MiddleProximal", BodyPart::Middle, 0}, {"MiddleIntermediate", BodyPart::Middle, 1},
    {"MiddleDistal", BodyPart::Middle, 2}, {"RingProximal", BodyPart::Ring, 0},
    {"RingIntermediate", BodyPart::Ring, 1}, {"RingDistal", BodyPart::Ring, 2},
    {"LittleProximal", BodyPart::Little, 0}, {"LittleIntermediate", BodyPart::Little, 1},
    {"LittleDistal", BodyPart::Little, 2}};

class BodyMapper {
  public:
    BodyMapper(const KnownSkeleton& skeleton, const NamingHabits& habits)
        : skeleton(skeleton), names(ParseJointNames(skeleton.jointNames, habits)), children(names.size()) {
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            if (skeleton.parents[joint] >= 0) {
                children[skeleton.parents[joint]].push_back(joint);
            }
            map.sides.push_back(names[joint].side);
        }
    }

    BodyMap Map() {
        Put({BodyPart::Hips}, Known(velkori_KnownJointType_Hips));
        MapHead();
        MapSpine();
        for (const LimbRoles& limb : limbs) {
            MapLimb(limb);
        }
        for (const Side side : {Side::Left, Side::Right}) {
            MapFingers(side);
            MapToes(side);
            MapFace(BodyPart::Eye, side);
        }
        MapFace(BodyPart::Jaw, Side::None);
        MapHumanoidTable();
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const bool follows = FindFollower(joint);
            if (IsUnplacedPalm(joint)) {
                map.palms.push_back(joint);
            }
            if (!follows && names[joint].isHelper && children[joint].empty() && !HasPlace(joint)) {
                map.ends.push_back(joint);
            }
        }
        return std::move(map);
    }

  private:
    int Known(velkori_KnownJointType role) const { return skeleton.known.at(role); }

    const Vector3& Position(int joint) const { return skeleton.rest[joint].position; }

    bool IsBelow(int ancestor, int joint) const {
        while (joint >= 0 && joint != ancestor) {
            joint = skeleton.parents[joint];
        }
        return joint >= 0;
    }

    void Put(const BodyPlace& place, int joint) {
        if (joint >= 0 && !HasPlace(joint)) {
            map.joints.emplace(place, joint);
        }
    }

    bool HasPlace(int joint) const {
        return std::any_of(
            map.joints.begin(), map.joints.end(), [&](const auto& entry) { return entry.second == joint; });
    }

    /** The joints between an ancestor and a joint below it, from above; empty if it isn't one. */
    std::vector<int> Between(int ancestor, int joint) const {
        std::vector<int> path;
        if (ancestor < 0 || joint < 0 || joint == ancestor || !IsBelow(ancestor, joint)) {
            return path;
        }
        for (int above = skeleton.parents[joint]; above != ancestor; above = skeleton.parents[above]) {
            path.insert(path.begin(), above);
        }
        return path;
    }

    /** Below the neck, or else the chest: what is named so, or the one joint that the neck carries. */
    void MapHead() {
        const int neck = Known(velkori_KnownJointType_Neck);
        const int above = neck >= 0 ? neck : Known(velkori_KnownJointType_Chest);
        int head = -1;
        float best = 0.5f;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            const float fit = NameFit(names[joint], BodyPart::Head);
            if (above >= 0 && joint != above && IsBelow(above, joint) && fit > best) {
                head = joint;
                best = fit;
            }
        }
        head = head < 0 ? EndOfNeck(neck) : head;
        Put({BodyPart::Head}, head);
        if (neck >= 0) {
            map.neck = Between(neck, head);
            map.neck.insert(map.neck.begin(), neck);
        }
    }

    /** Where nothing is named a head: a neck that is numbered on ends in it, or else carries it. */
    int EndOfNeck(int neck) const {
        int joint = neck;
        int before = neck;
        while (joint >= 0 && children[joint].size() == 1 && !names[children[joint].front()].isHelper &&
               names[children[joint].front()].word == names[joint].word) {
            before = joint;
            joint = children[joint].front();
        }
        // Without names, the bone above the head's joint is longer than the neck's and ends at its top.
        const bool endsAtTop = before != neck && before >= 0 && names[joint].word.empty() &&
                               children[joint].empty() &&
                               Length(Position(joint) - Position(before)) >
                                   Length(Position(before) - Position(skeleton.parents[before]));
        joint = endsAtTop ? before : joint;
        const bool carriesOne = joint >= 0 && joint == neck && children[joint].size() == 1 &&
                                !names[children[joint].front()].isHelper;
        return carriesOne ? children[joint].front() : (joint == neck ? -1 : joint);
    }

    void MapSpine() {
        const int hips = Known(velkori_KnownJointType_Hips);
        const int neck = Known(velkori_KnownJointType_Neck);
        const int chest = Known(velkori_KnownJointType_Chest);
        map.spine = Between(hips, neck >= 0 ? neck : chest);
        if (neck < 0 && chest >= 0 && chest != hips) {
            map.spine.push_back(chest);
        }
    }

    int FindMiddle(const std::vector<int>& between, BodyPart part, int upper, int end) const {
        int middle = -1;
        float best = 0.0f;
        for (const int joint : between) {
            const float above = Length(Position(joint) - Position(upper));
            const float below = Length(Position(end) - Position(joint));
            const float balance = std::min(above, below) / std::max({above, below, 1e-6f});
            // The first joint that is named after it, and otherwise the one that halves the limb.
            const float fit = NameFit(names[joint], part) >= 0.7f ? 2.0f : balance;
            if (fit > best) {
                middle = joint;
                best = fit;
            }
        }
        return middle;
    }

    void MapLimb(const LimbRoles& limb) {
        const int upper = Known(limb.upper);
        const int end = Known(limb.end);
        Put({limb.upperPart, limb.side}, upper);
        Put({limb.endPart, limb.side}, end);
        const std::vector<int> between = Between(upper, end);
        const int middle = FindMiddle(between, limb.middlePart, upper, end);
        if (middle >= 0) {
            Put({limb.middlePart, limb.side}, middle);
            map.dividing[{limb.upperPart, limb.side}] = Between(upper, middle);
            map.dividing[{limb.middlePart, limb.side}] = Between(middle, end);
        } else if (upper >= 0 && end >= 0) {
            // A leg whose foot hangs elsewhere: what is named so.
            PutNamed({limb.middlePart, limb.side}, upper);
        }
        const bool isArm = limb.upperPart == BodyPart::UpperArm;
        const int trunk = Known(isArm ? velkori_KnownJointType_Chest : velkori_KnownJointType_Hips);
        const std::vector<int> above = Between(trunk, upper);
        if (isArm) {
            map.clavicles.at(limb.side == Side::Left ? 0 : 1) = above;
        } else {
            auto& pelvis = map.dividing[{BodyPart::Hips}];
            pelvis.insert(pelvis.end(), above.begin(), above.end());
        }
    }

    bool IsSkinned(int joint) const { return skeleton.isSkinned.empty() || skeleton.isSkinned[joint]; }

    /** Of joints that share names, those that a mesh is bound to are the body's and the others control it. */
    void KeepSkinned(std::vector<int>& joints) const {
        if (std::any_of(joints.begin(), joints.end(), [&](int joint) { return IsSkinned(joint); })) {
            std::erase_if(joints, [&](int joint) { return !IsSkinned(joint); });
        }
    }

    void PutNamed(const BodyPlace& place, int below) {
        int found = -1;
        float best = 0.0f;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            constexpr float preferred = 0.1f;
            const float name = NameFit(names[joint], place.part);
            const float fit = name > 0.0f && IsSkinned(joint) ? name + preferred : name;
            if (joint != below && IsBelow(below, joint) && names[joint].side == place.side && fit > best) {
                found = joint;
                best = fit;
            }
        }
        Put(place, found);
    }

    void MapFace(BodyPart part, Side side) {
        const int head = map.JointAt(BodyPart::Head);
        if (head >= 0) {
            PutNamed({part, side}, head);
        }
    }

    /** The finger that a name says, or -1: 0 for the thumb to 4 for the little one. */
    int FingerOf(int joint) const {
        constexpr float clear = 0.5f;
        for (size_t finger = 0; finger < fingers.size(); ++finger) {
            if (NameFit(names[joint], fingers.at(finger)) >= clear) {
                return static_cast<int>(finger);
            }
        }
        return -1;
    }

    /** Joints inside the palm carry fingers without being of them; a thumb has all its bones outside. */
    bool IsPalm(int joint) const {
        return NameFit(names[joint], BodyPart::Palm) > 0.0f ||
               names[joint].word.find("metacarpal") != std::string::npos ||
               names[joint].word.find("inhand") != std::string::npos;
    }

    /** A hand below a wrist, a metacarpal or what else of the palm isn't of a finger. */
    bool IsUnplacedPalm(int joint) const {
        const auto isBelow = [&](velkori_KnownJointType wrist) {
            return Known(wrist) >= 0 && joint != Known(wrist) && IsBelow(Known(wrist), joint);
        };
        return !HasPlace(joint) && (NameFit(names[joint], BodyPart::Wrist) > 0.0f || IsPalm(joint)) &&
               (isBelow(velkori_KnownJointType_LeftWrist) || isBelow(velkori_KnownJointType_RightWrist));
    }

    void MapFingers(Side side) {
        const int wrist =
            Known(side == Side::Left ? velkori_KnownJointType_LeftWrist : velkori_KnownJointType_RightWrist);
        if (wrist < 0) {
            return;
        }
        std::array<std::vector<int>, fingers.size()> named;
        std::map<int, std::vector<int>> numbered;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            if (joint == wrist || !IsBelow(wrist, joint) || names[joint].isHelper) {
                continue;
            }
            const int finger = FingerOf(joint);
            if (finger >= 0 && (finger == 0 || !IsPalm(joint))) {
                named.at(finger).push_back(joint);
            } else if (finger < 0 && NameFit(names[joint], BodyPart::Finger) > 0.0f) {
                numbered[ChainNumber(wrist, joint)].push_back(joint);
            }
        }
        PutNumberedFingers(numbered, named);
        for (size_t finger = 0; finger < fingers.size(); ++finger) {
            PutFinger({fingers.at(finger), side}, named.at(finger));
        }
    }

    /** The first number in the name of a finger's first joint: "finger2-1" is of the second finger. */
    int ChainNumber(int wrist, int joint) const {
        int base = joint;
        for (int above = skeleton.parents[joint]; above != wrist; above = skeleton.parents[above]) {
            base = NameFit(names[above], BodyPart::Finger) > 0.0f ? above : base;
        }
        return names[base].numbers.empty() ? 0 : names[base].numbers.front();
    }

    /** Fingers by number count from the thumb, unless that has its own name. */
    static void PutNumberedFingers(const std::map<int, std::vector<int>>& numbered,
        std::array<std::vector<int>, fingers.size()>& named) {
        size_t finger = named[0].empty() && numbered.size() > 3 ? 0 : 1;
        for (const auto& [number, joints] : numbered) {
            while (finger < named.size() && !named.at(finger).empty()) {
                ++finger;
            }
            if (finger < named.size()) {
                named.at(finger) = joints;
            }
        }
    }

    /** Along the chain from the hand; of two that stand at one place, the outer one bends. */
    void PutFinger(const BodyPlace& place, std::vector<int> joints) {
        KeepSkinned(joints);
        std::stable_sort(joints.begin(), joints.end(), [&](int a, int b) { return Depth(a) < Depth(b); });
        std::vector<int> bending;
        for (const int joint : joints) {
            const bool repeats = !bending.empty() && skeleton.parents[joint] == bending.back() &&
                                 names[joint].numbers == names[bending.back()].numbers &&
                                 names[joint].word == names[bending.back()].word &&
                                 !names[joint].numbers.empty();
            if (repeats) {
                bending.back() = joint;
            } else {
                bending.push_back(joint);
            }
        }
        constexpr size_t most = 3;
        for (size_t i = 0; i < std::min(bending.size(), most); ++i) {
            Put({place.part, place.side, static_cast<int>(i)}, bending[i]);
        }
    }

    int Depth(int joint) const {
        int depth = 0;
        for (int above = skeleton.parents[joint]; above >= 0; above = skeleton.parents[above]) {
            ++depth;
        }
        return depth;
    }

    std::vector<int> NamedBelow(int ancestor, BodyPart part) const {
        constexpr float clear = 0.5f;
        std::vector<int> joints;
        for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
            if (ancestor >= 0 && joint != ancestor && IsBelow(ancestor, joint) && !names[joint].isHelper &&
                NameFit(names[joint], part) > clear) {
                joints.push_back(joint);
            }
        }
        return joints;
    }

    /** One chain, or one for each toe, which then have places in tens by their number. */
    void MapToes(Side side) {
        const int ankle =
            Known(side == Side::Left ? velkori_KnownJointType_LeftAnkle : velkori_KnownJointType_RightAnkle);
        std::vector<int> toes = NamedBelow(ankle, BodyPart::Toe);
        // "Ankle" and "foot" are an ankle and toes.
        toes = toes.empty() ? NamedBelow(ankle, BodyPart::Ankle) : toes;
        KeepSkinned(toes);
        std::stable_sort(toes.begin(), toes.end(), [&](int a, int b) { return Depth(a) < Depth(b); });
        const bool hasManyToes =
            std::any_of(toes.begin(), toes.end(), [&](int joint) { return names[joint].numbers.size() > 1; });
        int number = 0;
        for (const int joint : toes) {
            const std::vector<int>& numbers = names[joint].numbers;
            if (!hasManyToes) {
                Put({BodyPart::Toe, side, number++}, joint);
            } else if (numbers.size() > 1) {
                constexpr int tens = 10;
                Put({BodyPart::Toe, side, tens * numbers[0] + numbers[1]}, joint);
            }
        }
    }

    /** What the file itself says counts more than names. */
    void MapHumanoidTable() {
        for (const HumanoidPlace& entry : humanoidPlaces) {
            for (const auto& [prefix, side] :
                {std::pair{"", Side::None}, std::pair{"left", Side::Left}, std::pair{"right", Side::Right}}) {
                const auto found = skeleton.humanoid.find(std::string(prefix) + entry.bone);
                if (found == skeleton.humanoid.end()) {
                    continue;
                }
                // The first version of the table has no thumb metacarpal and begins with the proximal joint.
                const bool isOldThumb =
                    entry.part == BodyPart::Thumb && entry.number == 1 &&
                    skeleton.humanoid.count(std::string(prefix) + "ThumbIntermediate") > 0 &&
                    std::string_view(entry.bone) == "ThumbProximal";
                const int number = isOldThumb ? 0 : entry.number;
                const int joint = found->second;
                std::erase_if(map.joints, [&](const auto& other) { return other.second == joint; });
                map.joints[{entry.part, side, number}] = joint;
            }
        }
    }

    /** What stands beside the body is a handle: its name, or its place at rest, says of which joint. */
    bool FindFollower(int joint) {
        const int hips = Known(velkori_KnownJointType_Hips);
        if (hips < 0 || HasPlace(joint) || IsBelow(joint, hips) || IsBelow(hips, joint)) {
            return false;
        }
        int leader = -1;
        for (const auto& [place, other] : map.joints) {
            constexpr float clear = 0.7f;
            if (place.side == names[joint].side && place.number == 0 &&
                MeaningFit(joint, place.part) >= clear) {
                leader = other;
            }
        }
        constexpr float same = 0.02f;
        for (const auto& [place, other] : map.joints) {
            if (leader < 0 && Length(skeleton.made[other].position - skeleton.made[joint].position) < same) {
                leader = other;
            }
        }
        if (leader < 0 || IsBelow(joint, leader)) {
            return false;
        }
        map.followers.push_back({joint, leader, !names[joint].isHelper});
        return true;
    }

    /** What a helper's word means though it is no such part itself. */
    float MeaningFit(int joint, BodyPart part) const {
        float fit = 0.0f;
        for (const WordMeaning& meaning : names[joint].meanings) {
            fit = meaning.part == part ? std::max(fit, meaning.fit) : fit;
        }
        return fit;
    }

    const KnownSkeleton& skeleton;
    std::vector<JointName> names;
    std::vector<std::vector<int>> children;
    BodyMap map;
};

} // namespace

int BodyMap::JointAt(BodyPart part, Side side, int number) const {
    const auto found = joints.find({part, side, number});
    return found == joints.end() ? -1 : found->second;
}

BodyMap MapBody(const KnownSkeleton& skeleton, const NamingHabits& habits) {
    return BodyMapper(skeleton, habits).Map();
}

} // namespace Velkori_Tool
