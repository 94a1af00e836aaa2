#include "core/SkeletonInitializationParams.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>

namespace Velkori_Utility {

namespace {

// Collects the faults of one skeleton. Every fault is an error, and one is enough to refuse the skeleton.
class FaultReport {
  public:
    explicit FaultReport(LogMsgMap& messages) : messages(messages) {}

    void Add(std::initializer_list<std::string_view> pieces) {
        AddMessage(messages, LogMsgCategory::Error, pieces);
        found = true;
    }

    bool IsEmpty() const { return !found; }

  private:
    LogMsgMap& messages;
    bool found = false;
};

// The joints of a parameter set as a graph of names. Joints with the same name are one node: the first of
// them.
class NamedHierarchy {
  public:
    static constexpr int NoParent = -1;
    static constexpr int NotSpecified = -2;

    explicit NamedHierarchy(std::span<const std::string> jointNames)
        : parents(jointNames.size(), NotSpecified) {
        for (const std::string& name : jointNames) {
            nodes.try_emplace(name, static_cast<int>(nodes.size()));
        }
        names.resize(nodes.size());
        for (const auto& [name, node] : nodes) {
            names[node] = name;
        }
    }

    bool HasDuplicates() const { return nodes.size() < parents.size(); }

    bool Contains(std::string_view name) const { return nodes.contains(name); }

    int NodeOf(std::string_view name) const { return nodes.find(name)->second; }

    std::string_view NameOf(int node) const { return names[node]; }

    int ParentOf(int node) const { return parents[node]; }

    void SpecifyParent(int node, int parent) {
        if (parents[node] == NotSpecified) {
            parents[node] = parent;
        }
    }

    std::size_t NodeCount() const { return names.size(); }

  private:
    std::map<std::string_view, int> nodes;
    std::vector<std::string_view> names;
    std::vector<int> parents;
};

void CheckJointNames(
    const SkeletonInitializationParams& params, const NamedHierarchy& hierarchy, FaultReport& faults) {
    for (const std::string& name : params.jointNames) {
        if (name.empty()) {
            faults.Add({"SKELETON: Skeleton cannot have empty strings for joint names"});
        }
    }
    if (hierarchy.HasDuplicates()) {
        faults.Add({"SKELETON: Duplicate joint names defined."});
    } else if (!params.parentJointNames.empty() &&
               params.parentJointNames.size() != params.jointNames.size()) {
        faults.Add({"SKELETON: ParentJoint index mismatch detected - ParentJoint Array must match Joint "
                    "Names size."});
    }
}

void CheckParentNames(
    const SkeletonInitializationParams& params, NamedHierarchy& hierarchy, FaultReport& faults) {
    const std::size_t count = std::min(params.parentJointNames.size(), params.jointNames.size());
    for (std::size_t i = 0; i < count; ++i) {
        const std::string& parent = params.parentJointNames[i];
        if (parent.empty()) {
            hierarchy.SpecifyParent(hierarchy.NodeOf(params.jointNames[i]), NamedHierarchy::NoParent);
        } else if (hierarchy.Contains(parent)) {
            hierarchy.SpecifyParent(hierarchy.NodeOf(params.jointNames[i]), hierarchy.NodeOf(parent));
        } else {
            faults.Add({"SKELETON: Could not find parent joint named: ", parent});
        }
    }
}

// Finds, for each joint, the joint at which the climb over its ancestors first comes back to where it has
// been.
//
// Each joint is climbed over once, whatever the shape of the graph: what a climb finds out holds for every
// joint on its path.
class CircleSearch {
  public:
    static constexpr int None = -1;

    explicit CircleSearch(const NamedHierarchy& hierarchy)
        : hierarchy(hierarchy),
          states(hierarchy.NodeCount(), State::Unknown),
          circleAt(hierarchy.NodeCount(), None) {}

    // The joint at which the climb from `start` closes a circle, or None if it ends at a root.
    int FindCircle(int start) {
        if (states[start] == State::Unknown) {
            Climb(start);
        }
        return circleAt[start];
    }

  private:
    enum class State { Unknown, OnPath, Known };

    void Climb(int start) {
        path.clear();
        int current = start;
        while (current >= 0 && states[current] == State::Unknown) {
            states[current] = State::OnPath;
            path.push_back(current);
            current = hierarchy.ParentOf(current);
        }
        const bool closed = current >= 0 && states[current] == State::OnPath;
        const int circle = closed ? current : (current >= 0 ? circleAt[current] : None);
        for (const int node : path) {
            states[node] = State::Known;
            circleAt[node] = circle;
        }
        // A climb that starts on the circle itself comes back to its own start.
        if (closed) {
            for (auto node = std::find(path.begin(), path.end(), current); node != path.end(); ++node) {
                circleAt[*node] = *node;
            }
        }
    }

    const NamedHierarchy& hierarchy;
    std::vector<State> states;
    std::vector<int> circleAt;
    std::vector<int> path;
};

void CheckForCircles(
    const SkeletonInitializationParams& params, const NamedHierarchy& hierarchy, FaultReport& faults) {
    CircleSearch search(hierarchy);
    for (const std::string& joint : params.jointNames) {
        const int node = hierarchy.NodeOf(joint);
        if (hierarchy.ParentOf(node) == NamedHierarchy::NotSpecified) {
            faults.Add({"SKELETON: Parent Joint not specified for: ", joint});
            continue;
        }
        const int circle = search.FindCircle(node);
        if (circle != CircleSearch::None) {
            faults.Add({"SKELETON: Circular joint dependency detected for \"", joint, "\" at \"",
                hierarchy.NameOf(circle), "\""});
        }
    }
}

void CheckKnownJoints(
    const SkeletonInitializationParams& params, const NamedHierarchy& hierarchy, FaultReport& faults) {
    const std::vector<std::string>& names = params.knownJointNames;
    if (names.empty()) {
        return;
    }
    if (names.size() != VELKORI_KNOWN_JOINT_COUNT) {
        faults.Add({"SKELETON: Invalid Known Joint IDs specified.  Vector must either be empty or size: ",
            std::to_string(VELKORI_KNOWN_JOINT_COUNT)});
        return;
    }
    std::set<std::string_view> used;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (names[i].empty()) {
            continue;
        }
        if (!hierarchy.Contains(names[i])) {
            faults.Add({"SKELETON: Could not find known joint ", VELKORI_KNOWN_JOINT_NAMES[i],
                " named: ", names[i]});
        }
        if (!used.insert(names[i]).second) {
            faults.Add(
                {"SKELETON: Duplicate joint \"", names[i], "\" specified for multiple known joint IDs."});
        }
    }
}

void CheckExcludedJoints(
    const SkeletonInitializationParams& params, const NamedHierarchy& hierarchy, FaultReport& faults) {
    for (const std::string& name : params.autoMappingExcludedJoints) {
        if (name.empty()) {
            faults.Add({"SKELETON: AutoMapping Excluded Joints cannot contain empty joint names"});
        } else if (!hierarchy.Contains(name)) {
            faults.Add({"SKELETON: Could not find AutoMapping Excluded joint named: ", name});
        }
    }
}

void CheckPoseSize(
    const std::vector<JointPose>& pose, const char* poseName, std::size_t jointCount, FaultReport& faults) {
    if (!pose.empty() && pose.size() != jointCount) {
        faults.Add({"SKELETON: ", poseName, " does not match the number of joints defined.  Found: ",
            std::to_string(pose.size()), " Expected: ", std::to_string(jointCount)});
    }
}

void CheckPoses(const SkeletonInitializationParams& params, FaultReport& faults) {
    CheckPoseSize(params.minTPose, "MinTPose", params.jointNames.size(), faults);
    CheckPoseSize(params.maxTPose, "MaxTPose", params.jointNames.size(), faults);
    CheckPoseSize(params.unscaledTPose, "UnscaledTPose", params.jointNames.size(), faults);
    if (params.minTPose.empty() != params.maxTPose.empty()) {
        faults.Add({"SKELETON: Min and Max T-Pose must both be defined if either is defined."});
    }
}

// A number beyond the range of a float reads as infinity, and would spread through everything that is derived
// from the pose.
void CheckPoseNumbers(std::span<const JointPose> pose, std::string_view poseName, FaultReport& faults) {
    if (!AreFinite(pose)) {
        faults.Add({"SKELETON: ", poseName, " contains nan/inf values."});
    }
}

void CheckManifestations(
    const SkeletonInitializationParams& params, const NamedHierarchy& hierarchy, FaultReport& faults) {
    for (const auto& [manifestation, jointNames] : params.manifestations) {
        if (manifestation.empty()) {
            faults.Add({"SKELETON: Manifestations must have a valid string as a name."});
        }
        std::set<std::string_view> seen;
        for (const std::string& joint : jointNames) {
            if (!hierarchy.Contains(joint)) {
                faults.Add({"SKELETON: Invalid joint name \"", joint, "\" specified in manifestation \"",
                    manifestation, "\""});
            }
            if (!seen.insert(joint).second) {
                faults.Add({"SKELETON: Duplicate joint name \"", joint, "\" specified in manifestation \"",
                    manifestation, "\""});
            }
        }
    }
}

} // namespace

NameToIndexMap SkeletonInitializationParams::StringArrayToLookupMap(
    LogMsgMap& messages, std::span<const std::string> names) {
    NameToIndexMap map;
    map.Reserve(names.size());
    int index = 0;
    for (const std::string& name : names) {
        if (map.Contains(name)) {
            AddMessage(messages, LogMsgCategory::Error,
                {"[SkeletonData::CreateFromJSON] Duplicate joint/blendshape name found in string array: \"",
                    name, "\""});
        } else if (name.empty()) {
            AddMessage(messages, LogMsgCategory::Error,
                {"[SkeletonData::CreateFromJSON] Name/label in joint/blendshape name array cannot be an "
                 "empty string"});
        } else {
            map.Insert(name, index);
        }
        ++index;
    }
    return map;
}

bool SkeletonInitializationParams::CheckIsValid(LogMsgMap& messages) const {
    FaultReport faults(messages);
    NamedHierarchy hierarchy(jointNames);
    CheckJointNames(*this, hierarchy, faults);
    CheckParentNames(*this, hierarchy, faults);
    CheckForCircles(*this, hierarchy, faults);
    CheckKnownJoints(*this, hierarchy, faults);
    CheckExcludedJoints(*this, hierarchy, faults);
    CheckPoses(*this, faults);
    CheckManifestations(*this, hierarchy, faults);
    CheckPoseNumbers(minTPose, "MinTPose", faults);
    CheckPoseNumbers(maxTPose, "MaxTPose", faults);
    CheckPoseNumbers(unscaledTPose, "UnscaledTPose", faults);
    return faults.IsEmpty();
}

} // namespace Velkori_Utility
