#include "host/BodyMapping.h"

#include "Failure.h"
#include "host/RestPoseMatch.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>

namespace Velkori_Tool {

namespace {

using nlohmann::ordered_json;

struct Driver {
    int joint = -1;
    float weight = 1.0f;
};

using Drivers = std::vector<Driver>;

/** The mappings of one target joint in a document: from the source's joints, and from its own skeleton's. */
struct JointMappings {
    std::optional<ordered_json> source;
    std::optional<ordered_json> target;
};

JointMappings ReadMappings(const ordered_json& value) {
    JointMappings mappings;
    if (value.contains("source") || value.contains("target")) {
        for (const auto& [key, place] :
            {std::pair{"source", &mappings.source}, std::pair{"target", &mappings.target}}) {
            if (value.contains(key)) {
                *place = value[key];
            }
        }
        return mappings;
    }
    ordered_json own = value;
    own.erase("type");
    (value.value("type", "source") == "target" ? mappings.target : mappings.source) = std::move(own);
    return mappings;
}

ordered_json WriteMappings(const JointMappings& mappings) {
    ordered_json value = ordered_json::object();
    if (mappings.source) {
        value["source"] = *mappings.source;
    }
    if (mappings.target) {
        value["target"] = *mappings.target;
    }
    return value;
}

ordered_json MakeMapping(
    const char* behavior, const Drivers& drivers, const std::vector<std::string>& names) {
    ordered_json entries = ordered_json::object();
    for (const Driver& driver : drivers) {
        entries[names[driver.joint]] = {{"weightPosition", driver.weight}, {"weightRotation", driver.weight}};
    }
    return {{"behavior", behavior}, {"mappings", std::move(entries)}};
}

/**
 * Where each joint's bone begins in a chain that leads from `base` (-1: from its first joint) to `end`, in
 * parts of that length; and the chain's end. `lead` is what the first bone has before its joint.
 */
std::vector<float> BoneStarts(
    const KnownSkeleton& skeleton, const std::vector<int>& chain, int base, int end, float lead = 0.0f) {
    std::vector<float> starts;
    float length = base < 0 ? 0.0f : lead;
    int before = base;
    for (size_t i = 0; i <= chain.size(); ++i) {
        const int joint = i < chain.size() ? chain[i] : end;
        length += before < 0 || joint < 0
                      ? 0.0f
                      : Length(skeleton.rest[joint].position - skeleton.rest[before].position);
        starts.push_back(length);
        length += base < 0 && i == 0 ? lead : 0.0f;
        before = joint;
    }
    for (float& start : starts) {
        start = length > 0.0f ? start / length : 0.0f;
    }
    return starts;
}

/**
 * Which joints of one chain drive each joint of another: those whose bones lie beside its own, by the length
 * that they share, so that both chains lead the same way. The last joint goes with the last, and what hangs
 * from it hangs alike.
 */
std::vector<Drivers> SpreadChain(const std::vector<float>& fromStarts, const std::vector<int>& from,
    const std::vector<float>& toStarts, const std::vector<int>& to) {
    std::vector<Drivers> drivers;
    for (size_t i = 0; i < to.size() && !from.empty(); ++i) {
        const float begin = toStarts[i];
        const float end = toStarts[i + 1];
        Drivers own;
        float sum = 0.0f;
        for (size_t k = 0; k < from.size() && i + 1 < to.size(); ++k) {
            const float shared = std::min(end, fromStarts[k + 1]) - std::max(begin, fromStarts[k]);
            constexpr float little = 0.05f;
            if (shared > little * (end - begin) && shared > 0.0f) {
                own.push_back({from[k], shared});
                sum += shared;
            }
        }
        for (Driver& driver : own) {
            driver.weight /= sum;
        }
        const size_t alike = std::min(i, from.size() - 1);
        drivers.push_back(!own.empty()         ? own
                          : i + 1 == to.size() ? Drivers{{from.back(), 1.0f}}
                                               : Drivers{{from[alike], 1.0f}});
    }
    return drivers;
}

class MappingCompleter {
  public:
    MappingCompleter(const MappedBody& source, const MappedBody& target, const ordered_json& generated)
        : source(source), target(target) {
        for (const auto& [joint, value] : generated.items()) {
            mappings[joint] = ReadMappings(value);
        }
    }

    ordered_json Complete(const std::vector<WantedMapping>& wanted) {
        UncrossSides();
        DriveSpine();
        DriveNeck();
        DriveClavicles();
        for (const auto& [place, joint] : target.map.joints) {
            const int driver = source.map.JointAt(place.part, place.side, place.number);
            if (driver >= 0) {
                Drive(joint, {{driver, 1.0f}});
            }
        }
        DriveToes();
        DriveDividing();
        for (const FollowingJoint& follower : target.map.followers) {
            Follow(follower);
        }
        for (const auto* const riding : {&target.map.ends, &target.map.palms}) {
            for (const int joint : *riding) {
                mappings.erase(target.skeleton.jointNames[joint]);
            }
        }
        DropTwistsOffTheBone();
        for (const WantedMapping& mapping : wanted) {
            Apply(mapping);
        }
        ordered_json result = ordered_json::object();
        for (const std::string& joint : target.skeleton.jointNames) {
            const auto found = mappings.find(joint);
            if (found != mappings.end() && (found->second.source || found->second.target)) {
                result[joint] = WriteMappings(found->second);
            }
        }
        return result;
    }

  private:
    static int FirstOf(const std::vector<int>& joints) { return joints.empty() ? -1 : joints.front(); }

    /** From the middle of the hip joints up to the hips' own joint; 0 where that isn't known. */
    static float HipsLead(const MappedBody& body) {
        const int hips = body.map.JointAt(BodyPart::Hips);
        const int left = body.map.JointAt(BodyPart::UpperLeg, Side::Left);
        const int right = body.map.JointAt(BodyPart::UpperLeg, Side::Right);
        if (hips < 0 || left < 0 || right < 0) {
            return 0.0f;
        }
        const std::vector<Transform>& rest = body.skeleton.rest;
        const float middle = 0.5f * (rest[left].position.y + rest[right].position.y);
        return std::max(0.0f, rest[hips].position.y - middle);
    }

    /** The hips' bone is the first of the trunk. */
    void DriveSpine() {
        const int hips = target.map.JointAt(BodyPart::Hips);
        const int sourceHips = source.map.JointAt(BodyPart::Hips);
        std::vector<int> trunk = source.map.spine;
        if (sourceHips >= 0) {
            trunk.insert(trunk.begin(), sourceHips);
        }
        const auto& own = target.map.spine;
        Drive(own,
            SpreadChain(BoneStarts(source.skeleton, trunk, -1, FirstOf(source.map.neck), HipsLead(source)),
                trunk, BoneStarts(target.skeleton, own, hips, FirstOf(target.map.neck), HipsLead(target)),
                own));
    }

    void DriveNeck() {
        Drive(target.map.neck,
            SpreadChain(BoneStarts(source.skeleton, source.map.neck, -1, source.map.JointAt(BodyPart::Head)),
                source.map.neck,
                BoneStarts(target.skeleton, target.map.neck, -1, target.map.JointAt(BodyPart::Head)),
                target.map.neck));
    }

    void Drive(int joint, const Drivers& drivers) {
        JointMappings& own = mappings[target.skeleton.jointNames[joint]];
        own.source = MakeMapping("normal", drivers, source.skeleton.jointNames);
        // A joint of the trunk that is named a twist is none.
        const bool isOfTrunk =
            std::find(target.map.neck.begin(), target.map.neck.end(), joint) != target.map.neck.end() ||
            std::find(target.map.spine.begin(), target.map.spine.end(), joint) != target.map.spine.end();
        const bool isTwist = own.target && own.target->value("behavior", "") == "twist";
        if (isOfTrunk || isTwist) {
            own.target.reset();
        }
    }

    void Drive(const std::vector<int>& joints, const std::vector<Drivers>& drivers) {
        for (size_t i = 0; i < std::min(joints.size(), drivers.size()); ++i) {
            Drive(joints[i], drivers[i]);
        }
    }

    void DriveClavicles() {
        for (size_t i = 0; i < target.map.clavicles.size(); ++i) {
            const Side side = i == 0 ? Side::Left : Side::Right;
            const std::vector<int>& own = target.map.clavicles.at(i);
            std::vector<int> from = source.map.clavicles.at(i);
            if (from.empty() && !source.map.spine.empty()) {
                from.push_back(source.map.spine.back());
            }
            Drive(own,
                SpreadChain(
                    BoneStarts(source.skeleton, from, -1, source.map.JointAt(BodyPart::UpperArm, side)), from,
                    BoneStarts(target.skeleton, own, -1, target.map.JointAt(BodyPart::UpperArm, side)), own));
        }
    }

    /** Where one rig has a joint for all toes and the other one for each, all bend alike. */
    void DriveToes() {
        for (const Side side : {Side::Left, Side::Right}) {
            const int toes = source.map.JointAt(BodyPart::Toe, side);
            for (const auto& [place, joint] : target.map.joints) {
                constexpr int tens = 10;
                const bool isFirst = place.part == BodyPart::Toe && place.side == side &&
                                     place.number > tens && place.number % tens == 1;
                if (isFirst && toes >= 0) {
                    Drive(joint, {{toes, 1.0f}});
                }
            }
        }
    }

    void Follow(const FollowingJoint& follower) {
        JointMappings own;
        own.target = MakeMapping("ikDerived", {{follower.leader, 1.0f}}, target.skeleton.jointNames);
        for (const auto& [place, joint] : target.map.joints) {
            const int driver = source.map.JointAt(place.part, place.side, place.number);
            if (follower.turnsAlone && joint == follower.leader && driver >= 0) {
                own.source = MakeMapping("normal", {{driver, 1.0f}}, source.skeleton.jointNames);
                (*own.target)["mappings"].front()["weightRotation"] = 0.0f;
            }
        }
        mappings[target.skeleton.jointNames[follower.joint]] = std::move(own);
    }

    /** Joints that divide a bone turn with it, or with their counterparts. */
    void DriveDividing() {
        for (const auto& [place, joints] : target.map.dividing) {
            const auto counterparts = source.map.dividing.find(place);
            const bool areAlike =
                counterparts != source.map.dividing.end() && counterparts->second.size() == joints.size();
            const int carrier = source.map.JointAt(place.part, place.side);
            for (size_t i = 0; i < joints.size(); ++i) {
                const int driver = areAlike ? counterparts->second[i] : carrier;
                if (driver >= 0) {
                    Drive(joints[i], {{driver, 1.0f}});
                }
            }
        }
    }

    /** No joint of one side is driven by one of the other. */
    void UncrossSides() {
        for (int joint = 0; joint < target.skeleton.JointCount(); ++joint) {
            const Side side = target.map.sides[joint];
            const auto found = mappings.find(target.skeleton.jointNames[joint]);
            if (side == Side::None || found == mappings.end() || !found->second.source) {
                continue;
            }
            ordered_json& entries = (*found->second.source)["mappings"];
            for (int driver = 0; driver < source.skeleton.JointCount(); ++driver) {
                const Side other = source.map.sides[driver];
                if (other != Side::None && other != side) {
                    entries.erase(source.skeleton.jointNames[driver]);
                }
            }
            const bool turns = std::any_of(entries.begin(), entries.end(),
                [](const ordered_json& entry) { return entry.value("weightRotation", 0.0) > 0.0; });
            if (!turns) {
                found->second.source.reset();
            }
        }
    }

    /** A twist about another direction than that to the next joint would swing it off its bone. */
    void DropTwistsOffTheBone() {
        for (const auto& [from, to] : {std::pair{BodyPart::UpperArm, BodyPart::LowerArm},
                 std::pair{BodyPart::LowerArm, BodyPart::Wrist},
                 std::pair{BodyPart::UpperLeg, BodyPart::LowerLeg},
                 std::pair{BodyPart::LowerLeg, BodyPart::Ankle}}) {
            for (const Side side : {Side::Left, Side::Right}) {
                const int joint = target.map.JointAt(from, side);
                const int next = target.map.JointAt(to, side);
                if (joint < 0 || next < 0) {
                    continue;
                }
                constexpr float straight = 2.0f;
                const Vector3 place = target.skeleton.rest[joint].position;
                if (AngleBetween(MiddleOfChildren(joint) - place,
                        target.skeleton.rest[next].position - place) > straight) {
                    mappings[target.skeleton.jointNames[joint]].target.reset();
                }
            }
        }
    }

    Vector3 MiddleOfChildren(int joint) const {
        Vector3 sum = {0.0f, 0.0f, 0.0f};
        float count = 0.0f;
        for (int child = 0; child < target.skeleton.JointCount(); ++child) {
            if (target.skeleton.parents[child] == joint) {
                sum = sum + target.skeleton.rest[child].position;
                count += 1.0f;
            }
        }
        return count > 0.0f ? sum * (1.0f / count) : target.skeleton.rest[joint].position;
    }

    static int FindJoint(const KnownSkeleton& skeleton, const std::string& name, const char* which) {
        const auto found = std::find(skeleton.jointNames.begin(), skeleton.jointNames.end(), name);
        if (found == skeleton.jointNames.end()) {
            throw Failure(fmt::format("the {} has no joint '{}' to map; its joints are: {}", which, name,
                fmt::join(skeleton.jointNames, ", ")));
        }
        return static_cast<int>(found - skeleton.jointNames.begin());
    }

    void Apply(const WantedMapping& wanted) {
        const int joint = FindJoint(target.skeleton, wanted.targetJoint, "target");
        Drivers drivers;
        for (const auto& [name, weight] : wanted.drivers) {
            drivers.push_back({FindJoint(source.skeleton, name, "source"), weight});
        }
        mappings.erase(target.skeleton.jointNames[joint]);
        if (!drivers.empty()) {
            Drive(joint, drivers);
        }
    }

    const MappedBody& source;
    const MappedBody& target;
    std::map<std::string, JointMappings> mappings;
};

/** The pose's rotations in a document's rest pose; its places too, if wanted. */
void WritePose(const KnownSkeleton& skeleton, const std::vector<Transform>& pose, bool withPlaces,
    ordered_json& document) {
    for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
        const auto found = document.find(skeleton.jointNames[joint]);
        if (found == document.end()) {
            continue;
        }
        const Quaternion& q = pose[joint].orientation;
        const Vector3& p = pose[joint].position;
        (*found)["rotation"] = {{"x", q.x}, {"y", q.y}, {"z", q.z}, {"w", q.w}};
        if (withPlaces) {
            (*found)["position"] = {{"x", p.x}, {"y", p.y}, {"z", p.z}};
        }
    }
}

} // namespace

MappedBody ReadBody(const Configuration& configuration, velkori_SkeletonType type,
    const FileKnowledge& knowledge, const NamingHabits& habits, std::vector<Transform> made) {
    MappedBody body;
    KnownSkeleton& skeleton = body.skeleton;
    skeleton.jointNames = configuration.JointNames(type);
    skeleton.parents = configuration.Parents(type);
    skeleton.rest =
        configuration.RestPose(type, type == velkori_SkeletonType_Target ? velkori_SkeletonTPoseType_Unscaled
                                                                         : velkori_SkeletonTPoseType_Max);
    for (int role = 0; role < VELKORI_KNOWN_JOINT_COUNT; ++role) {
        skeleton.known.at(role) = configuration.KnownJoint(type, static_cast<velkori_KnownJointType>(role));
    }
    for (const auto& [bone, name] : knowledge.humanoid) {
        const auto found = std::find(skeleton.jointNames.begin(), skeleton.jointNames.end(), name);
        if (found != skeleton.jointNames.end()) {
            skeleton.humanoid.emplace(bone, static_cast<int>(found - skeleton.jointNames.begin()));
        }
    }
    for (const std::string& name : skeleton.jointNames) {
        if (!knowledge.skinned.empty()) {
            skeleton.isSkinned.push_back(knowledge.skinned.count(name) > 0);
        }
    }
    skeleton.made = made.size() == skeleton.rest.size() ? std::move(made) : skeleton.rest;
    body.map = MapBody(skeleton, habits);
    return body;
}

Configuration CompleteMappings(const Configuration& configuration, const MappedBody& source,
    const MappedBody& target, const std::vector<WantedMapping>& wanted) {
    ordered_json document = ordered_json::parse(configuration.Document(VELKORI_DEFAULT_COORDINATE_SPACE));
    const std::vector<Transform> rest = MatchRestPose(source, target);
    ordered_json& skeleton = document["target"];
    WritePose(target.skeleton, rest, true, skeleton["tpose"]);
    // At other sizes the joints stay where the alignment put them, and turn as the rest pose does.
    WritePose(target.skeleton, rest, false, skeleton["tposeMin"]);
    WritePose(target.skeleton, rest, false, skeleton["tposeMax"]);
    for (const char* const size : {"min", "max"}) {
        ordered_json& mapping = document["mapping"][size];
        mapping = MappingCompleter(source, target, mapping.is_object() ? mapping : ordered_json::object())
                      .Complete(wanted);
    }
    return LoadDocument(document.dump(), "completed mappings");
}

} // namespace Velkori_Tool
