#include "retargeting/alignment/LimbRotations.h"

#include "core/JointSpaces.h"
#include "core/PoseMeasures.h"

#include <algorithm>
#include <optional>
#include <span>

namespace Velkori_Utility::Alignment {

namespace {

using LimbPath = std::vector<int>;
using Results = FastRangedIntegralMap<int, JointPose>;

// Tells the joints that lie about on a limb's straight line from those that are bent out of it, as seen from
// either end, by more than 30 degrees.
class LimbLine {
  public:
    LimbLine(const Vector3f& start, const Vector3f& end)
        : first(start), last(end), direction((end - start).Normalize()) {}

    bool IsBentOut(const Vector3f& position, bool isLast) const {
        constexpr float IgnoreThreshold = 0.8660254F;
        const Vector3f fromStart = (position - first).Normalize();
        const Vector3f toEnd = isLast ? direction : (last - position).Normalize();
        return direction.Dot(fromStart) < IgnoreThreshold || direction.Dot(toEnd) < IgnoreThreshold;
    }

  private:
    Vector3f first;
    Vector3f last;
    Vector3f direction;
};

// The source's limb as a line through its joints, without those that are bent out of it.
class SourceCurve {
  public:
    SourceCurve(const LimbPath& path, std::span<const JointPose> pose) {
        const Vector3f& first = pose[path.front()].position;
        const LimbLine line(first, pose[path.back()].position);
        points.push_back(first);
        distances.push_back(0.0F);
        for (std::size_t i = 1; i < path.size(); ++i) {
            const Vector3f& position = pose[path[i]].position;
            if (!line.IsBentOut(position, i + 1 == path.size())) {
                length += (position - points.back()).Length();
                points.push_back(position);
                distances.push_back(length);
            }
        }
    }

    float GetLength() const { return length; }

    const Vector3f& GetFirst() const { return points.front(); }

    const Vector3f& GetLast() const { return points.back(); }

    // The point at a distance along the curve; none beyond its ends.
    std::optional<Vector3f> FindPoint(float distance) const {
        for (std::size_t i = 1; i < points.size(); ++i) {
            if (distance < distances[i - 1] || distance > distances[i]) {
                continue;
            }
            const float segment = distances[i] - distances[i - 1];
            return segment > 0.0F ? points[i - 1].Lerp(points[i], (distance - distances[i - 1]) / segment)
                                  : points[i];
        }
        return std::nullopt;
    }

  private:
    std::vector<Vector3f> points;
    std::vector<float> distances;
    float length = 0.0F;
};

// The target's limb as it is being turned, joint by joint along its path. Root-space poses have no scale.
class TargetLimb {
  public:
    TargetLimb(const LimbPath& limbPath, std::span<const JointPose> pose)
        : path(limbPath), distances(limbPath.size(), 0.0F), isIgnored(limbPath.size(), false) {
        const LimbLine line(pose[path.front()].position, pose[path.back()].position);
        for (std::size_t i = 0; i < path.size(); ++i) {
            const JointPose& joint = pose[path[i]];
            relative.push_back(i == 0 ? joint : ExpressRelativeTo(world.back(), joint));
            world.emplace_back(joint.orientation, joint.position);
            if (i == 0) {
                continue;
            }
            isIgnored[i] = line.IsBentOut(joint.position, i + 1 == path.size());
            if (!isIgnored[i]) {
                length += (joint.position - world[i - 1].position).Length();
                distances[i] = length;
            }
        }
    }

    // Turns one segment after the other, each with everything beyond it, along the source's curve.
    void Follow(const SourceCurve& curve, Results& results) {
        const float ratio = length < MinNormal ? 1.0F : curve.GetLength() / length;
        float along = 0.0F;
        for (std::size_t i = 0; i + 1 < path.size();) {
            const std::size_t j = FindSegmentEnd(i);
            const float end = ratio * distances[j];
            const Vector3f from = curve.FindPoint(along).value_or(curve.GetFirst());
            const Vector3f to = curve.FindPoint(end).value_or(curve.GetLast());
            Turn(i, (world[j].position - world[i].position).Normalize(), (to - from).Normalize());
            for (std::size_t k = i; k < path.size(); ++k) {
                results.insert(path[k], world[k]);
            }
            i = j;
            along = end;
        }
    }

  private:
    static JointPose ExpressRelativeTo(const JointPose& previous, const JointPose& joint) {
        const Quaternionf inverse = previous.orientation.Inverse();
        return {
            (inverse * joint.orientation).Normalize(), inverse.Rotate(joint.position - previous.position)};
    }

    // Joints that are ignored ride along with the segment that they lie in.
    std::size_t FindSegmentEnd(std::size_t start) const {
        for (std::size_t j = start + 1; j < path.size(); ++j) {
            if (!isIgnored[j]) {
                return j;
            }
        }
        return path.size() - 1;
    }

    void Turn(std::size_t i, const Vector3f& now, const Vector3f& wanted) {
        world[i].orientation = (Quaternionf(now, wanted) * world[i].orientation).Normalize();
        for (std::size_t k = i + 1; k < path.size(); ++k) {
            const JointPose& previous = world[k - 1];
            world[k] = {(previous.orientation * relative[k].orientation).Normalize(),
                previous.position + previous.orientation.Rotate(relative[k].position)};
        }
    }

    const LimbPath& path;
    std::vector<JointPose> world;
    // Each joint in the space of the one before.
    std::vector<JointPose> relative;
    // Along the limb, 0 for an ignored joint.
    std::vector<float> distances;
    std::vector<bool> isIgnored;
    float length = 0.0F;
};

// The joint that follows on an arm's upper arm joint: along the chain, or the hand's first. -1 if there is
// none, or if the arm begins there and there is no shoulder to turn.
int FindJointAfterArmStart(const Skeleton& skeleton, HumanoidLimb arm, int start) {
    const std::vector<int>& chain = skeleton.GetJointChainByHumanoidLimb(arm);
    const auto place = std::find(chain.begin(), chain.end(), start);
    if (place == chain.end() || place == chain.begin()) {
        return -1;
    }
    if (place + 1 != chain.end()) {
        return *(place + 1);
    }
    const std::vector<int>& hand = skeleton.GetJointChainByHumanoidLimb(
        arm == HumanoidLimb_LeftArm ? HumanoidLimb_LeftHand : HumanoidLimb_RightHand);
    return hand.empty() ? -1 : hand.front();
}

// Turns the shoulder by the part of the upper arm's turn that its share of their length makes up.
void TurnShoulder(const RestPose& source, velkori_KnownJointType startType, PoseData& work) {
    const Skeleton& sourceSkeleton = source.GetSkeleton();
    const SkeletonData& skeleton = work.GetSkeleton();
    const int sourceStart = sourceSkeleton.GetJointIndex(startType);
    const int start = skeleton.GetJointIndex(startType);
    const HumanoidLimb arm = skeleton.GetLimb(start);
    if (sourceSkeleton.GetLimb(sourceStart) != arm ||
        (arm != HumanoidLimb_LeftArm && arm != HumanoidLimb_RightArm)) {
        return;
    }
    const int sourceNext = FindJointAfterArmStart(sourceSkeleton, arm, sourceStart);
    const int next = FindJointAfterArmStart(skeleton, arm, start);
    if (sourceNext == -1 || next == -1) {
        return;
    }
    const auto& sourcePose = source.GetJointPoses(RootSpace);
    const auto& pose = work.GetJointPoses(RootSpace);
    const Vector3f sourceDirection = sourcePose[sourceNext].position - sourcePose[sourceStart].position;
    const Vector3f direction = pose[next].position - pose[start].position;
    const int shoulder = skeleton.GetJointChainByHumanoidLimb(arm).front();
    JointPose turned = pose[shoulder];
    const float shoulderLength = (pose[start].position - turned.position).Length();
    const float wholeLength = shoulderLength + direction.Length();
    const float share = wholeLength < MinNormal ? 0.0F : shoulderLength / wholeLength * 0.25F;
    if (!(share > 0.0F)) {
        return;
    }
    turned.orientation =
        Quaternionf::Identity.Slerp(Quaternionf(direction, sourceDirection), share) * turned.orientation;
    const int parent = skeleton.GetParentJointIndex(shoulder);
    std::vector<JointPose> localPoses = work.GetJointPoses(LocalSpace);
    localPoses[shoulder] = parent == -1 ? turned : pose[parent].Inverted().ApplyWithoutScale(turned);
    work = PoseData(skeleton, LocalSpace, localPoses, JointPose::Identity);
}

LimbPath FindLimbPath(const Skeleton& skeleton, velkori_KnownJointType start, velkori_KnownJointType end) {
    return skeleton.GetConnectedPathBetweenJoints(skeleton.GetJointIndex(start), skeleton.GetJointIndex(end));
}

void MatchLimb(const RestPose& source, velkori_KnownJointType start, velkori_KnownJointType end,
    PoseData& work, Results& results) {
    LimbPath sourcePath = FindLimbPath(source.GetSkeleton(), start, end);
    LimbPath path = FindLimbPath(work.GetSkeleton(), start, end);
    if (sourcePath.empty() || path.empty()) {
        return;
    }
    TurnShoulder(source, start, work);
    // A path doesn't hold the joint that it starts from.
    sourcePath.insert(sourcePath.begin(), source.GetSkeleton().GetJointIndex(start));
    path.insert(path.begin(), work.GetSkeleton().GetJointIndex(start));
    TargetLimb(path, work.GetJointPoses(RootSpace))
        .Follow(SourceCurve(sourcePath, source.GetJointPoses(RootSpace)), results);
}

// The pose with the limbs' new poses, and what hangs on them. The feet stay level.
std::vector<JointPose> Rebuild(PoseData& work, const Results& results) {
    const Skeleton& skeleton = work.GetSkeleton();
    const std::vector<JointPose>& localPoses = work.GetJointPoses(LocalSpace);
    std::vector<JointPose> poses = work.GetJointPoses(RootSpace);
    const int rightAnkle = skeleton.GetJointIndex(velkori_KnownJointType_RightAnkle);
    const int leftAnkle = skeleton.GetJointIndex(velkori_KnownJointType_LeftAnkle);
    for (const int joint : skeleton.GetHierarchicalUpdateOrder()) {
        const int parent = skeleton.GetParentJointIndex(joint);
        JointPose pose = poses[joint];
        if (const JointPose* result = results.Find(joint)) {
            pose = *result;
        } else if (parent != -1) {
            pose = poses[parent].ApplyWithoutScale(localPoses[joint]);
        }
        if (joint == rightAnkle || joint == leftAnkle) {
            poses[joint].position = pose.position;
        } else {
            poses[joint] = pose;
        }
    }
    return poses;
}

// Lifts or lowers the whole body to the floor that it stood on.
void KeepFloor(PoseData& work, const Vector3f& up, std::vector<JointPose>& poses) {
    const PoseExtents extents = MeasureExtents(work.GetSkeleton(), poses);
    const Vector3f offset = up.Abs().Multiply(work.MeasureExtents().min - extents.min);
    if (offset == Vector3f::Zero) {
        return;
    }
    for (JointPose& pose : poses) {
        pose.position += offset;
    }
}

} // namespace

PoseData MatchPoseLimbRotations(const RestPose& source, PoseData target, const Vector3f& up) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return target;
    }
    Results results;
    results.initialize(0, target.GetJointCount());
    for (const auto& [start, end] : KnownLimbPairs) {
        MatchLimb(source, start, end, target, results);
    }
    if (results.IsEmpty()) {
        return target;
    }
    std::vector<JointPose> poses = Rebuild(target, results);
    KeepFloor(target, up, poses);
    return PoseData(target.GetSkeleton(), RootSpace, poses, JointPose::Identity);
}

} // namespace Velkori_Utility::Alignment
