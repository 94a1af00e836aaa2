#include "solve/KeptBones.h"

#include "solve/LimbIK.h"
#include "solve/Plants.h"

#include <algorithm>

namespace Velkori_Tool {

namespace {

constexpr Vector3 up = {0.0f, 1.0f, 0.0f};

/** One point of a foot: where it is in the capture, and where the target's own bones alone bring it. */
struct FootPoint {
    int sourceJoint = -1;
    int targetJoint = -1;
    std::vector<Vector3> captured;
    std::vector<Vector3> reached;
    std::vector<Plant> plants;
    std::vector<Plant> lowFrames;

    bool IsThere() const { return sourceJoint >= 0 && targetJoint >= 0; }
};

class BoneKeeper {
  public:
    BoneKeeper(const Body& source, std::span<const Transform> captured, const Body& target,
        std::span<const Follower> followers, double frameSeconds, std::vector<Transform>& poses)
        : source(source),
          captured(captured),
          target(target),
          followers(followers),
          frameSeconds(frameSeconds),
          poses(poses),
          frameCount(static_cast<int>(poses.size() / std::max<size_t>(1, target.JointCount()))),
          isDriven(target.JointCount(), false),
          isCarried(target.JointCount(), false) {
        const float sourceLeg = source.LegLength();
        const float targetLeg = target.LegLength();
        scale = sourceLeg > 0.0f && targetLeg > 0.0f ? targetLeg / sourceLeg : 1.0f;
        for (size_t joint = 0; joint < target.JointCount(); ++joint) {
            isDriven[joint] = target.hips < 0 || target.IsBelow(target.hips, static_cast<int>(joint));
        }
        for (const int joint : target.order) {
            const int parent = target.parents[joint];
            locals.push_back(
                parent < 0 ? target.rest[joint] : RelativeTo(target.rest[parent], target.rest[joint]));
        }
        std::vector<bool> follows(target.JointCount(), false);
        for (const Follower& follower : followers) {
            follows[follower.joint] = true;
        }
        for (const int joint : target.order) {
            const int parent = target.parents[joint];
            isCarried[joint] =
                parent >= 0 && !isDriven[joint] && !follows[joint] && (follows[parent] || isCarried[parent]);
        }
        AddChains(source.arms, target.arms, armChains);
        AddChains(source.legs, target.legs, legChains);
    }

    void Run(const KeepOptions& options) {
        leads.resize(poses.size() / std::max<size_t>(1, target.JointCount()) * followers.size());
        for (int frame = 0; frame < frameCount; ++frame) {
            RememberFollowers(frame);
            PlaceBody(frame);
        }
        if (options.plantsFeet) {
            PlantFeet();
        }
        for (int frame = 0; options.holdsHands && frame < frameCount; ++frame) {
            HoldHands(frame);
        }
        for (int frame = 0; frame < frameCount; ++frame) {
            MovePath(frame, options.path);
            PlaceFollowers(frame);
        }
    }

  private:
    struct PairedChain {
        LimbChain chain;
        Limb source;
    };

    std::span<Transform> Pose(int frame) {
        return std::span(poses).subspan(frame * target.JointCount(), target.JointCount());
    }

    std::span<const Transform> Captured(int frame) const {
        return captured.subspan(frame * source.JointCount(), source.JointCount());
    }

    void AddChains(const std::array<Limb, 2>& sourceLimbs, const std::array<Limb, 2>& targetLimbs,
        std::vector<PairedChain>& chains) const {
        for (size_t side = 0; side < sourceLimbs.size(); ++side) {
            if (sourceLimbs.at(side).IsWhole() && targetLimbs.at(side).IsWhole()) {
                chains.push_back({LimbChain(target, targetLimbs.at(side)), sourceLimbs.at(side)});
            }
        }
    }

    /** How followers are turned against their leaders in the library's pose. */
    void RememberFollowers(int frame) {
        const auto pose = Pose(frame);
        for (size_t i = 0; i < followers.size(); ++i) {
            const auto [joint, leader] = followers[i];
            Transform& lead = leads[frame * followers.size() + i];
            lead = RelativeTo(pose[leader], pose[joint]);
            // The library turns them but moves none of them.
            lead.position = RelativeTo(target.rest[leader], target.rest[joint]).position;
        }
    }

    /** The rotations on the target's own bones, with the hips' way and the limbs' directions. */
    void PlaceBody(int frame) {
        const auto pose = Pose(frame);
        const auto sourcePose = Captured(frame);
        const Vector3 given = target.hips < 0 ? Vector3{0.0f, 0.0f, 0.0f} : pose[target.hips].position;
        for (size_t i = 0; i < target.order.size(); ++i) {
            const int joint = target.order[i];
            const int parent = target.parents[joint];
            if (!isDriven[joint]) {
                pose[joint] = parent < 0 ? locals[i] : Compose(pose[parent], locals[i]);
            } else {
                pose[joint].position =
                    parent < 0 ? target.rest[joint].position
                               : pose[parent].position + Rotate(pose[parent].orientation, locals[i].position);
                pose[joint].scale = {1.0f, 1.0f, 1.0f};
            }
        }
        if (target.hips >= 0) {
            // Hips that aren't captured go where the library has them.
            MoveBody(frame, source.hips < 0
                                ? given - pose[target.hips].position
                                : source.HipsMiddle(sourcePose) * scale - target.HipsMiddle(pose));
        }
        for (const auto* chains : {&armChains, &legChains}) {
            for (const PairedChain& limb : *chains) {
                limb.chain.Point(pose,
                    sourcePose[limb.source.middle].position - sourcePose[limb.source.upper].position,
                    sourcePose[limb.source.end].position - sourcePose[limb.source.middle].position);
            }
        }
    }

    void MoveBody(int frame, const Vector3& way) {
        const auto pose = Pose(frame);
        for (size_t joint = 0; joint < pose.size(); ++joint) {
            if (isDriven[joint]) {
                pose[joint].position = pose[joint].position + way;
            }
        }
    }

    FootPoint MakeFootPoint(int sourceJoint, int targetJoint) {
        FootPoint point;
        point.sourceJoint = sourceJoint;
        point.targetJoint = targetJoint;
        if (!point.IsThere()) {
            return point;
        }
        point.captured.reserve(frameCount);
        point.reached.reserve(frameCount);
        for (int frame = 0; frame < frameCount; ++frame) {
            point.captured.push_back(Captured(frame)[sourceJoint].position);
            point.reached.push_back(Pose(frame)[targetJoint].position);
        }
        point.plants = FindPlants(point.captured, frameSeconds, source.LegLength());
        point.lowFrames = FindLowFrames(point.captured, point.plants, source.LegLength());
        return point;
    }

    /** How high a point must be in a planted frame: as its own body was made, and what the capture rises. */
    float PlantedHeight(const FootPoint& point, const Plant& plant, int frame) const {
        return target.standingHeights[point.targetJoint] + scale * (point.captured[frame].y - plant.height);
    }

    /** The way up that lets planted feet stand at their height without bending a leg. */
    float HeightOverGround(std::span<const FootPoint* const> points) const {
        const bool hasPlants = std::any_of(
            points.begin(), points.end(), [](const FootPoint* point) { return !point->plants.empty(); });
        std::vector<float> gaps;
        for (const FootPoint* point : points) {
            for (const Plant& plant : hasPlants ? point->plants : point->lowFrames) {
                for (int frame = plant.first; frame <= plant.last; ++frame) {
                    gaps.push_back(PlantedHeight(*point, plant, frame) - point->reached[frame].y);
                }
            }
        }
        if (gaps.empty()) {
            return 0.0f;
        }
        const auto middle = gaps.begin() + static_cast<std::ptrdiff_t>(gaps.size() / 2);
        std::nth_element(gaps.begin(), middle, gaps.end());
        return *middle;
    }

    struct Foot {
        FootPoint ankle;
        FootPoint toe;
    };

    void PlantFeet() {
        std::vector<Foot> feet;
        for (const PairedChain& leg : legChains) {
            feet.push_back({MakeFootPoint(leg.source.end, leg.chain.Joints().end),
                MakeFootPoint(leg.source.tip, leg.chain.Joints().tip)});
        }
        std::vector<const FootPoint*> points;
        points.reserve(feet.size());
        for (const Foot& foot : feet) {
            points.push_back(&foot.ankle);
        }
        const Vector3 lift = up * HeightOverGround(points);
        for (int frame = 0; frame < frameCount; ++frame) {
            MoveBody(frame, lift);
        }
        for (size_t i = 0; i < feet.size(); ++i) {
            for (FootPoint* point : {&feet[i].ankle, &feet[i].toe}) {
                for (Vector3& place : point->reached) {
                    place = place + lift;
                }
            }
            PlantFoot(legChains[i].chain, feet[i]);
        }
    }

    /**
     * What a point near the ground lacks. Planted, it rests around the middle of where it would be; what it
     * moves meanwhile in the capture, it moves here. `place` gives where it would be in a frame, and whether
     * that frame counts for the middle.
     */
    template <typename Place>
    Correction CorrectPoint(const FootPoint& point, Place place) const {
        std::vector<Vector3> offsets(point.captured.size(), Vector3{0.0f, 0.0f, 0.0f});
        for (const Plant& plant : point.plants) {
            Vector3 middle = {0.0f, 0.0f, 0.0f};
            float weight = 0.0f;
            for (int frame = plant.first; frame <= plant.last; ++frame) {
                const auto [where, share] = place(frame);
                middle = middle + (where - point.captured[frame] * scale) * share;
                weight += share;
            }
            middle = middle * (1.0f / weight);
            for (int frame = plant.first; frame <= plant.last; ++frame) {
                offsets[frame] = point.captured[frame] * scale + middle - point.reached[frame];
            }
        }
        const Correction along = FadeCorrection(point.plants, offsets, frameSeconds);
        for (const Plant& low : point.lowFrames) {
            for (int frame = low.first; frame <= low.last; ++frame) {
                offsets[frame].y = PlantedHeight(point, low, frame) - point.reached[frame].y;
            }
        }
        Correction correction = FadeCorrection(point.lowFrames, offsets, frameSeconds);
        for (size_t frame = 0; frame < offsets.size(); ++frame) {
            Vector3& offset = correction.offsets[frame];
            offset = {along.offsets[frame].x, offset.y, along.offsets[frame].z};
            correction.weights[frame] = std::max(correction.weights[frame], along.weights[frame]);
        }
        return correction;
    }

    void PlantFoot(const LimbChain& chain, const Foot& foot) {
        Correction toe;
        if (foot.toe.IsThere()) {
            toe = CorrectPoint(foot.toe, [&](int frame) { return std::pair(foot.toe.reached[frame], 1.0f); });
        }
        const bool hasToe = foot.toe.IsThere();
        // While the toe is planted, too, the ankle stands where the toe has it.
        const Correction ankle = CorrectPoint(foot.ankle, [&](int frame) {
            const bool isFlat = hasToe && toe.weights[frame] >= 1.0f;
            constexpr float nearlyNothing = 1e-4f;
            return std::pair(
                foot.ankle.reached[frame] + (isFlat ? toe.offsets[frame] : Vector3{0.0f, 0.0f, 0.0f}),
                hasToe && !isFlat ? nearlyNothing : 1.0f);
        });
        for (int frame = 0; frame < frameCount; ++frame) {
            const auto pose = Pose(frame);
            const float ankleWeight = ankle.weights[frame];
            const float toeWeight = hasToe ? toe.weights[frame] : 0.0f;
            if (ankleWeight <= 0.0f && toeWeight <= 0.0f) {
                continue;
            }
            const Vector3 reached = foot.ankle.reached[frame];
            Vector3 offset = ankle.offsets[frame];
            if (toeWeight > 0.0f) {
                const Vector3 toePlace = foot.toe.reached[frame] + toe.offsets[frame] * (1.0f / toeWeight);
                Vector3 bone = foot.toe.reached[frame] - reached;
                if (ankleWeight > 0.0f) {
                    const Vector3 anklePlace = reached + ankle.offsets[frame] * (1.0f / ankleWeight);
                    const Quaternion turn =
                        ShareOf(ShortestTurn(bone, toePlace - anklePlace), ankleWeight * toeWeight);
                    chain.TurnEnd(pose, turn);
                    bone = Rotate(turn, bone);
                }
                // Feet of another length can't keep both points; the ankle counts more while it rests.
                constexpr float ankleShare = 0.7f;
                offset = offset + (toePlace - bone - reached - offset) *
                                      (toeWeight * (1.0f - ankleShare * ankleWeight));
            }
            chain.Reach(pose, reached + offset);
        }
    }

    /** How much a hand belongs to something in the capture: 1 on it, 0 far from it. */
    static float Nearness(float distance, float armLength) {
        constexpr float near = 0.3f;
        constexpr float far = 0.6f;
        const float t = std::clamp((far - distance / armLength) / (far - near), 0.0f, 1.0f);
        return t * t * (3.0f - 2.0f * t);
    }

    /** Hands lie to each other, to the head and to the hips as they do in the capture, where they are near.
     */
    void HoldHands(int frame) {
        const auto pose = Pose(frame);
        const auto from = Captured(frame);
        std::vector<Vector3> offsets(armChains.size(), Vector3{0.0f, 0.0f, 0.0f});
        std::vector<float> weights(armChains.size(), 0.0f);
        const auto hold = [&](size_t arm, const Vector3& way, const Vector3& wanted, float share) {
            const PairedChain& chain = armChains[arm];
            const float sourceArm = source.LimbLength(chain.source);
            const float weight = Nearness(Length(wanted), sourceArm);
            const float ratio = chain.chain.Length() / sourceArm;
            offsets[arm] = offsets[arm] + (wanted * ratio - way) * (weight * share);
            weights[arm] += weight;
        };
        for (size_t arm = 0; arm < armChains.size(); ++arm) {
            const Vector3 hand = pose[armChains[arm].chain.Joints().end].position;
            const Vector3 sourceHand = from[armChains[arm].source.end].position;
            if (armChains.size() == 2) {
                const PairedChain& other = armChains[1 - arm];
                constexpr float halfEach = 0.5f;
                hold(arm, hand - pose[other.chain.Joints().end].position,
                    sourceHand - from[other.source.end].position, halfEach);
            }
            if (source.head >= 0 && target.head >= 0) {
                hold(arm, hand - pose[target.head].position, sourceHand - from[source.head].position, 1.0f);
            }
            if (source.hips >= 0 && target.hips >= 0) {
                hold(arm, hand - target.HipsMiddle(pose), sourceHand - source.HipsMiddle(from), 1.0f);
            }
        }
        for (size_t arm = 0; arm < armChains.size(); ++arm) {
            if (weights[arm] > 0.0f) {
                const LimbChain& chain = armChains[arm].chain;
                chain.Reach(pose,
                    pose[chain.Joints().end].position + offsets[arm] * (1.0f / std::max(1.0f, weights[arm])));
            }
        }
    }

    void MovePath(int frame, MotionPath path) {
        if (path == MotionPath::Hips || target.hips < 0) {
            return;
        }
        const auto pose = Pose(frame);
        Vector3 way = WithoutAxis(target.HipsMiddle(pose) - target.HipsMiddle(target.rest), up);
        if (path == MotionPath::InPlace) {
            MoveBody(frame, way * -1.0f);
            return;
        }
        if (target.root < 0) {
            return;
        }
        const Quaternion heading =
            TwistAbout(pose[target.hips].orientation * Inverse(target.rest[target.hips].orientation), up);
        const Vector3 restMiddle = target.HipsMiddle(target.rest);
        const Vector3 base = WithoutAxis(target.HipsMiddle(pose), up);
        const Transform& rest = target.rest[target.root];
        pose[target.root].orientation = Normalized(heading * rest.orientation);
        pose[target.root].position = base + Rotate(heading, rest.position - WithoutAxis(restMiddle, up));
        for (size_t i = 0; i < target.order.size(); ++i) {
            const int joint = target.order[i];
            if (!isDriven[joint] && joint != target.root && target.IsBelow(target.root, joint)) {
                pose[joint] = Compose(pose[target.parents[joint]], locals[i]);
            }
        }
    }

    void PlaceFollowers(int frame) {
        const auto pose = Pose(frame);
        for (size_t i = 0; i < followers.size(); ++i) {
            pose[followers[i].joint] =
                Compose(pose[followers[i].leader], leads[frame * followers.size() + i]);
        }
        for (size_t i = 0; i < target.order.size(); ++i) {
            if (isCarried[target.order[i]]) {
                pose[target.order[i]] = Compose(pose[target.parents[target.order[i]]], locals[i]);
            }
        }
    }

    const Body& source;
    std::span<const Transform> captured;
    const Body& target;
    std::span<const Follower> followers;
    double frameSeconds;
    std::vector<Transform>& poses;
    int frameCount;
    /** By joint: it belongs to the hips or hangs from them. */
    std::vector<bool> isDriven;
    /** By joint: it hangs from a follower. */
    std::vector<bool> isCarried;
    /** In the order of target.order. */
    std::vector<Transform> locals;
    std::vector<PairedChain> armChains;
    std::vector<PairedChain> legChains;
    /** The target's legs in parts of the source's. */
    float scale = 1.0f;
    /** Frame by frame and follower by follower. */
    std::vector<Transform> leads;
};

} // namespace

void KeepBones(const Body& source, std::span<const Transform> captured, const Body& target,
    std::span<const Follower> followers, double frameSeconds, const KeepOptions& options,
    std::vector<Transform>& poses) {
    BoneKeeper(source, captured, target, followers, frameSeconds, poses).Run(options);
}

} // namespace Velkori_Tool
