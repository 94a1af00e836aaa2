#include "retargeting/preparation/TwistJointIdentification.h"

#include "core/JointSpaces.h"

#include <algorithm>
#include <string>

namespace Velkori_Utility::AutoMapping {

namespace {

// From one joint to another.
struct Way {
    Vector3f direction;
    float lengthSquared = 0.0F;
};

char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool HasTwistInName(const std::string& name) {
    std::string lower(name);
    std::transform(lower.begin(), lower.end(), lower.begin(), ToLower);
    return lower.find("twist") != std::string::npos;
}

class TwistJointSearch {
  public:
    explicit TwistJointSearch(const RestPose& pose)
        : skeleton(pose.GetSkeleton()), joints(pose.GetJointPoses(RootSpace)) {
        definitions.initialize(0, skeleton.GetJointCount());
    }

    std::vector<velkori_TwistJointDefinition_> Run() {
        queue = skeleton.GetRootJoints();
        // Visiting a joint appends to the queue.
        std::size_t next = 0;
        while (next < queue.size()) {
            Visit(queue[next++]);
        }
        return definitions.ToValueVector();
    }

  private:
    bool IsExcluded(int joint) const { return skeleton.GetAutoMappingExcludedJoints().contains(joint); }

    Way WayBetween(int from, int to) const {
        const Vector3f way = joints[to].position - joints[from].position;
        return {way.Normalize(), way.LengthSquared()};
    }

    void Define(int twist, int start, int end) {
        const Vector3f bone = joints[end].position - joints[start].position;
        const Vector3f offset = joints[twist].position - joints[start].position;
        const float length = bone.Length();
        const float ratio = length < MinNormal ? 0.0F : std::min(length, offset.Dot(bone) / length) / length;
        definitions.insert(twist, velkori_TwistJointDefinition_{twist, start, end, ratio});
    }

    void Visit(int joint) {
        const std::vector<int>& children = skeleton.GetChildJointIndexArray(joint);
        if (IsExcluded(joint) || children.empty()) {
            return;
        }
        const int parent = skeleton.GetParentJointIndex(joint);
        if (parent != -1 && HasTwistInName(skeleton.GetJointName(joint))) {
            Define(joint, parent, children.front());
            queue.insert(queue.end(), children.begin(), children.end());
        } else if (children.size() == 1) {
            queue.push_back(children.front());
        } else {
            VisitBranch(joint, children);
        }
    }

    // Joints beside a bone are parented to its start and lie on its line.
    void VisitBranch(int joint, const std::vector<int>& children) {
        std::vector<int> branches;
        std::vector<int> candidates;
        for (const int child : children) {
            if (IsExcluded(child)) {
                continue;
            }
            if (!AppendStraightChain(joint, child, candidates)) {
                branches.push_back(child);
            }
        }
        queue.insert(queue.end(), branches.begin(), branches.end());
        for (const int branch : branches) {
            const Way bone = WayBetween(joint, branch);
            for (const int candidate : candidates) {
                const Way way = WayBetween(joint, candidate);
                if (!definitions.contains(candidate) && way.lengthSquared < bone.lengthSquared &&
                    bone.direction.Dot(way.direction) >= TwistDeviationThreshold) {
                    Define(candidate, joint, branch);
                }
            }
        }
    }

    // True if the child and the single joints below it run straight to a leaf. They are appended, the leaf
    // first, without those that are excluded.
    bool AppendStraightChain(int joint, int child, std::vector<int>& candidates) const {
        const Vector3f direction = WayBetween(joint, child).direction;
        int leaf = child;
        while (!skeleton.GetChildJointIndexArray(leaf).empty()) {
            if (skeleton.GetChildJointIndexArray(leaf).size() > 1) {
                return false;
            }
            leaf = skeleton.GetChildJointIndexArray(leaf).front();
            if (WayBetween(joint, leaf).direction.Dot(direction) < TwistDeviationThreshold) {
                return false;
            }
        }
        for (int met = leaf; met != joint; met = skeleton.GetParentJointIndex(met)) {
            if (!IsExcluded(met)) {
                candidates.push_back(met);
            }
        }
        return true;
    }

    const Skeleton& skeleton;
    const std::vector<JointPose>& joints;
    std::vector<int> queue;
    FastRangedIntegralMap<int, velkori_TwistJointDefinition_> definitions;
};

} // namespace

std::vector<velkori_TwistJointDefinition_> IdentifyTwistJoints(const RestPose& pose) {
    if (!pose.IsInitialized()) {
        return {};
    }
    return TwistJointSearch(pose).Run();
}

} // namespace Velkori_Utility::AutoMapping
