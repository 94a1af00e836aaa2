#include "retargeting/alignment/HandMatching.h"

#include "core/JointSpaces.h"
#include "retargeting/alignment/RestPoseSpace.h"
#include "retargeting/alignment/SubtreePoses.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <numeric>
#include <utility>

namespace Velkori_Utility::Alignment {

namespace {

// Knuckles nearer to each other than a tenth of a millimetre are in one place.
constexpr float SamePlaceDistanceSquared = 1e-08F;

// One hand on its way to the source's.
struct HandMatch {
    const Skeleton& skeleton;
    std::span<const JointPose> sourcePose;
    Vector3f sourceUp{};
    HandData sourceHand{};
    HandData targetHand{};
    // The target in root space, written joint by joint, and the local poses that its joints keep when a joint
    // above them is moved.
    std::span<JointPose> pose;
    std::vector<JointPose> localPose;
};

// A finger of the target and the one that it follows, each with the position in its chain at which the finger
// proper, past a joint inside the palm, begins.
struct FingerMatch {
    const FingerData& source;
    const FingerData& target;
    std::size_t sourceStart = 0;
    std::size_t targetStart = 0;

    int SourceKnuckle() const { return source.joints[sourceStart]; }

    int TargetKnuckle() const { return target.joints[targetStart]; }

    std::size_t SourceBoneCount() const { return source.joints.size() - 1 - sourceStart; }

    std::size_t TargetBoneCount() const { return target.joints.size() - 1 - targetStart; }
};

// How a finger turns about the hand. All of it is in root space; offsets are from the hand joint.
struct KnuckleAim {
    Vector3f sourceKnuckle{};
    Vector3f sourceOffset{};
    Vector3f targetDirection{};
    // Where the target's knuckle is to go, and by how much farther out it would have to be to get there.
    Vector3f aimedOffset{};
    float stretch = 1.0F;
    Quaternionf swing{};
};

float SumOfFirst(std::span<const float> values, std::size_t count) {
    const auto summed = values.first(count);
    return std::accumulate(summed.begin(), summed.end(), 0.0F);
}

// Without a divisor there is nothing to compare with: the ratio is 1 then.
float RatioOrOne(float dividend, float divisor) {
    return divisor >= MinNormal ? dividend / divisor : 1.0F;
}

JointPose Turned(const Quaternionf& turn, const JointPose& pose) {
    return {turn * pose.orientation, pose.position};
}

// Turns a joint in its place, with all that hangs on it.
void TurnWithChildren(int joint, const Quaternionf& turn, HandMatch& hand) {
    UpdateRootSpaceJointPoseWithChildren(
        joint, hand.skeleton, Turned(turn, hand.pose[joint]), hand.localPose, hand.pose);
}

// -- The knuckle -------------------------------------------------------------------------------------------

// Lets the target's knuckle land on the line of the source's finger, at its own distance from the hand. That
// line has the direction from the hand to the knuckle, as far as it lies in the plane in which the finger
// bends.
KnuckleAim AimAtFingerLine(
    const FingerMatch& finger, const HandMatch& hand, bool scaleFingers, KnuckleAim aim) {
    const float reachSquared = aim.aimedOffset.LengthSquared();
    const Vector3f bone =
        hand.sourcePose[finger.source.joints[finger.sourceStart + 1]].position - aim.sourceKnuckle;
    const Vector3f bendAxis = bone.Normalize().Cross(hand.sourceUp).Normalize();
    const Vector3f across = bendAxis.Cross(aim.sourceOffset.Normalize()).Normalize();
    const Vector3f line = across.Cross(bendAxis).Normalize();
    const Vector3f handPosition = hand.pose[hand.targetHand.handJoint].position;
    Vector3f foot = aim.sourceOffset + handPosition - line * bone.Length();
    foot += line * (handPosition - foot).Dot(line);
    aim.aimedOffset = foot - handPosition;
    const float footDistanceSquared = aim.aimedOffset.LengthSquared();
    if (reachSquared > footDistanceSquared) {
        aim.aimedOffset = foot + line * std::sqrt(reachSquared - footDistanceSquared) - handPosition;
    } else if (scaleFingers) {
        aim.stretch = RatioOrOne(std::sqrt(footDistanceSquared), std::sqrt(reachSquared));
    }
    aim.swing = Quaternionf(aim.targetDirection, aim.aimedOffset.Normalize());
    return aim;
}

KnuckleAim AimKnuckle(const FingerMatch& finger, const HandMatch& hand, bool scaleFingers) {
    KnuckleAim aim;
    aim.sourceKnuckle = hand.sourcePose[finger.SourceKnuckle()].position;
    aim.sourceOffset = aim.sourceKnuckle - hand.sourcePose[hand.sourceHand.handJoint].position;
    aim.aimedOffset =
        hand.pose[finger.TargetKnuckle()].position - hand.pose[hand.targetHand.handJoint].position;
    aim.targetDirection = aim.aimedOffset.Normalize();
    aim.swing = Quaternionf(aim.targetDirection, aim.sourceOffset.Normalize());
    return finger.SourceBoneCount() > 0 ? AimAtFingerLine(finger, hand, scaleFingers, aim) : aim;
}

// -- Bone lengths ------------------------------------------------------------------------------------------

// Scale factors for the hand-to-knuckle offset and for the bones beyond it, and how the finger then turns
// about the hand.
struct FingerScale {
    float knuckle = 1.0F;
    float bones = 1.0F;
    Quaternionf swing{};
};

// Scales the target's finger so that its tip gets where the source's is, along the line that joins their
// knuckles. Where that moves the knuckle, the finger turns along.
FingerScale ScaleTowardsSource(
    float sourceLength, float targetLength, const Vector3f& handPosition, const KnuckleAim& aim) {
    const Vector3f knuckle = handPosition + aim.aimedOffset * aim.stretch;
    const Vector3f offset = knuckle - handPosition;
    Vector3f between = knuckle - aim.sourceKnuckle;
    if (between.LengthSquared() <= SamePlaceDistanceSquared) {
        return {aim.stretch, RatioOrOne(sourceLength, targetLength), aim.swing};
    }
    if (between.Dot(aim.sourceOffset) < 0.0F) {
        between = -between;
    }
    const Vector3f direction = between.Normalize();
    const float along = offset.Dot(direction);
    const float scale = RatioOrOne(sourceLength + aim.sourceOffset.Dot(direction), targetLength + along);
    const Vector3f base = knuckle - direction * along;
    const Vector3f scaledAlong = direction * along * scale;
    const float scaledReach = std::sqrt((base - handPosition).LengthSquared() + scaledAlong.LengthSquared());
    return {RatioOrOne(scaledReach, offset.Length()), scale,
        Quaternionf(aim.targetDirection, (base + scaledAlong - handPosition).Normalize())};
}

// The swing that the scaled finger needs.
Quaternionf ScaleFinger(const FingerMatch& finger, const KnuckleAim& aim, HandMatch& hand) {
    const std::size_t count = std::min(finger.SourceBoneCount(), finger.TargetBoneCount());
    const int first = finger.target.joints.front();
    const Vector3f handPosition = hand.pose[hand.targetHand.handJoint].position;
    if (count == 0) {
        const Vector3f offset = handPosition + aim.aimedOffset * aim.stretch - handPosition;
        ScaleLocalSpacePoseAndChildrenRecursive(
            first, -1, RatioOrOne(aim.sourceOffset.Length(), offset.Length()), hand.skeleton, hand.localPose);
        return aim.swing;
    }
    const float sourceLength = SumOfFirst(CalculateRayLengths(CalculateFingerJointRaysForAlignment(
                                              finger.source, hand.sourcePose, finger.sourceStart)),
        count);
    const float targetLength = SumOfFirst(CalculateRayLengths(CalculateFingerJointRaysForAlignment(
                                              finger.target, hand.pose, finger.targetStart)),
        count);
    const FingerScale scale = ScaleTowardsSource(sourceLength, targetLength, handPosition, aim);
    const int next = finger.target.joints[finger.targetStart + 1];
    ScaleLocalSpacePoseAndChildrenRecursive(first, next, scale.knuckle, hand.skeleton, hand.localPose);
    ScaleLocalSpacePoseAndChildrenRecursive(next, -1, scale.bones, hand.skeleton, hand.localPose);
    return scale.swing;
}

// -- The finger --------------------------------------------------------------------------------------------

// Turns the finger about the hand. The hand itself isn't turned: each finger has a swing of its own.
void SwingFinger(int firstJoint, const Quaternionf& swing, HandMatch& hand) {
    const JointPose turnedHand = Turned(swing, hand.pose[hand.targetHand.handJoint]);
    UpdateRootSpaceJointPoseWithChildren(firstJoint, hand.skeleton,
        turnedHand.ApplyWithoutScale(hand.localPose[firstJoint]), hand.localPose, hand.pose);
    UpdateLocalSpaceJointPoseWithChildren(firstJoint, hand.skeleton, hand.pose, hand.localPose);
}

// The source finger's direction at a distance from its knuckle: it goes over from each bone to the next on
// the way along that bone.
Vector3f DirectionAtDistance(std::span<const Vector3f> rays, std::span<const float> lengths, float distance) {
    float start = 0.0F;
    for (std::size_t i = 0; i + 1 < rays.size(); ++i) {
        if (distance <= start + lengths[i]) {
            const float fraction = lengths[i] >= MinNormal ? (distance - start) / lengths[i] : 0.0F;
            return rays[i].Lerp(rays[i + 1], fraction);
        }
        start += lengths[i];
    }
    return rays.back();
}

// The tip has no bone of its own: it is turned as if the last bone, as it lies in the joint before, went on
// from it.
void TurnTip(
    const FingerData& finger, const Vector3f& lastSourceRay, const Vector3f& lastTargetRay, HandMatch& hand) {
    const int tip = finger.joints.back();
    const Quaternionf parentOrientation = hand.pose[hand.skeleton.GetParentJointIndex(tip)].orientation;
    const Vector3f ray = hand.pose[tip].orientation.Rotate(parentOrientation.Inverse().Rotate(lastTargetRay));
    TurnWithChildren(tip, Quaternionf(ray.Normalize(), lastSourceRay.Normalize()), hand);
}

// Lets each of the target's bones point where the source's finger points as far along, in shares of the
// fingers' lengths, as the bone ends. So a finger of three bones can follow one of four.
void AlignBones(const FingerMatch& finger, HandMatch& hand) {
    const std::vector<Vector3f> sourceRays =
        CalculateFingerJointRaysForAlignment(finger.source, hand.sourcePose, finger.sourceStart);
    std::vector<Vector3f> targetRays =
        CalculateFingerJointRaysForAlignment(finger.target, hand.pose, finger.targetStart);
    if (sourceRays.empty() || targetRays.empty()) {
        return;
    }
    const std::vector<float> sourceLengths = CalculateRayLengths(sourceRays);
    const std::vector<float> targetLengths = CalculateRayLengths(targetRays);
    const std::size_t sharedCount = std::min(sourceRays.size(), targetRays.size());
    const float sourceTotal = SumOfFirst(sourceLengths, sharedCount);
    const float targetTotal = SumOfFirst(targetLengths, sharedCount);
    float run = 0.0F;
    for (std::size_t i = 0; i < targetRays.size(); ++i) {
        run += targetLengths[i];
        const bool isPastEnd = RatioOrOne(run, targetTotal) >= 1.0F;
        const Vector3f aim =
            isPastEnd ? sourceRays.back()
                      : DirectionAtDistance(sourceRays, sourceLengths, sourceTotal * run / targetTotal);
        const Quaternionf turn(targetRays[i].Normalize(), aim.Normalize());
        TurnWithChildren(finger.target.joints[finger.targetStart + i], turn, hand);
        // The bones as they lie now.
        std::for_each(targetRays.begin() + static_cast<std::ptrdiff_t>(i), targetRays.end(),
            [&](Vector3f& ray) { ray = turn.Rotate(ray); });
    }
    TurnTip(finger.target, sourceRays.back(), targetRays.back(), hand);
}

void MatchFinger(const FingerMatch& finger, bool scaleFingers, HandMatch& hand) {
    const KnuckleAim aim = AimKnuckle(finger, hand, scaleFingers);
    const Quaternionf swing = scaleFingers ? ScaleFinger(finger, aim, hand) : aim.swing;
    SwingFinger(finger.target.joints.front(), swing, hand);
    AlignBones(finger, hand);
}

// Fingers that the source hasn't follow its last one.
void MatchFingers(bool scaleFingers, HandMatch& hand) {
    const std::vector<FingerData>& sourceFingers = hand.sourceHand.fingers;
    for (std::size_t i = 0; i < hand.targetHand.fingers.size(); ++i) {
        const FingerData& source = sourceFingers[std::min(i, sourceFingers.size() - 1)];
        const FingerData& target = hand.targetHand.fingers[i];
        MatchFinger({source, target, source.hasPalmJoint ? 1U : 0U, target.hasPalmJoint ? 1U : 0U},
            scaleFingers, hand);
    }
}

// -- The hand ----------------------------------------------------------------------------------------------

// Where the fingers lead out of the hand. The first, which should be the thumb, doesn't count.
Vector3f CalculatePalmDirection(const HandData& hand, std::span<const JointPose> pose) {
    Vector3f sum;
    for (std::size_t i = 1; i < hand.fingers.size(); ++i) {
        const int firstJoint = hand.fingers[i].joints.front();
        sum += (pose[firstJoint].position - pose[hand.handJoint].position).Normalize();
    }
    return sum.Normalize();
}

// The fingers are where they have to be already: what else hangs on the hand comes along with it.
void TurnPalm(const Quaternionf& turn, HandMatch& hand) {
    const int handJoint = hand.targetHand.handJoint;
    hand.pose[handJoint] = Turned(turn, hand.pose[handJoint]);
    for (const int child : hand.skeleton.GetChildJointIndexArray(handJoint)) {
        const bool isFinger = std::any_of(hand.targetHand.fingers.begin(), hand.targetHand.fingers.end(),
            [child](const FingerData& finger) { return finger.joints.front() == child; });
        if (!isFinger) {
            UpdateRootSpaceJointPoseWithChildren(child, hand.skeleton,
                hand.pose[handJoint].ApplyWithoutScale(hand.localPose[child]), hand.localPose, hand.pose);
        }
    }
}

bool HasArm(const Skeleton& skeleton, const KnownJointChain& arm) {
    return skeleton.HasValidKnownJoints(std::array{arm.first, arm.second});
}

void MatchHand(const RestPose& source, PoseData& target, HumanoidLimb limb, bool scaleFingers,
    std::span<JointPose> pose) {
    const Skeleton& skeleton = target.GetSkeleton();
    const Skeleton& sourceSkeleton = source.GetSkeleton();
    const std::vector<JointPose>& sourcePose = source.GetJointPoses(RootSpace);
    const KnownJointChain& arm = *HandWristAlignmentArmJoint.Find(limb);
    const auto sourceSpace = CalculateRestPoseCoordinateSpace(sourceSkeleton, sourcePose);
    HandData sourceHand;
    HandData targetHand;
    if (!sourceSpace || !HasArm(sourceSkeleton, arm) || !HasArm(skeleton, arm) ||
        !IdentifyFingersFromSkeleton(
            sourceSkeleton, sourcePose, source.GetJointLengths(), limb, sourceHand) ||
        !IdentifyFingersFromSkeleton(
            skeleton, target.GetJointPoses(RootSpace), target.GetJointLengths(), limb, targetHand)) {
        return;
    }
    HandMatch hand{skeleton, sourcePose, sourceSpace->up, std::move(sourceHand), std::move(targetHand), pose,
        target.GetJointPoses(LocalSpace)};
    const Quaternionf acrossTurn(hand.targetHand.acrossDirection, hand.sourceHand.acrossDirection);
    TurnWithChildren(skeleton.GetJointIndex(arm.second), acrossTurn, hand);
    const Vector3f palmBefore = CalculatePalmDirection(hand.targetHand, pose);
    MatchFingers(scaleFingers, hand);
    TurnPalm(Quaternionf(palmBefore, CalculatePalmDirection(hand.targetHand, pose)), hand);
}

} // namespace

PoseData MatchPoseHandsAndFingers(const RestPose& source, PoseData target, bool scaleFingers) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return target;
    }
    std::vector<JointPose> pose = target.GetJointPoses(RootSpace);
    for (const HumanoidLimb limb : {HumanoidLimb_LeftHand, HumanoidLimb_RightHand}) {
        MatchHand(source, target, limb, scaleFingers, pose);
    }
    return PoseData(target.GetSkeleton(), RootSpace, pose, JointPose::Identity);
}

std::vector<Vector3f> CalculateFingerJointRaysForAlignment(
    const FingerData& finger, std::span<const JointPose> pose, std::size_t startIndex) {
    std::vector<Vector3f> rays;
    for (std::size_t i = startIndex + 1; i < finger.joints.size(); ++i) {
        rays.push_back(pose[finger.joints[i]].position - pose[finger.joints[i - 1]].position);
    }
    return rays;
}

std::vector<float> CalculateRayLengths(std::span<const Vector3f> rays) {
    std::vector<float> lengths;
    lengths.reserve(rays.size());
    std::transform(rays.begin(), rays.end(), std::back_inserter(lengths),
        [](const Vector3f& ray) { return ray.Length(); });
    return lengths;
}

} // namespace Velkori_Utility::Alignment
