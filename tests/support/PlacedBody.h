#pragma once

#include "core/PoseData.h"
#include "core/PoseMeasures.h"
#include "core/SkeletonData.h"

#include <algorithm>
#include <string>
#include <vector>

// A body whose joints are told by name, parent and root-space pose, in any place and order. Joints named like
// known joints are these.
struct PlacedJoint {
    std::string name;
    std::string parent;
    Velkori_Utility::Vector3f position{};
    Velkori_Utility::Quaternionf orientation{};
};

using PlacedJoints = std::vector<PlacedJoint>;

class PlacedBody {
  public:
    explicit PlacedBody(const PlacedJoints& joints, const std::vector<std::string>& excluded = {})
        : skeleton(MakeParams(joints, excluded)), rest(skeleton, MakePose(joints)), pose(skeleton, rest) {}

    int Find(const std::string& name) const {
        const auto& names = skeleton.GetJointNames();
        return static_cast<int>(std::find(names.begin(), names.end(), name) - names.begin());
    }

    Velkori_Utility::JointPose PoseOf(const std::string& name, Velkori_Utility::PoseData in) const {
        return in.GetJointPoses(velkori_JointRelativeSpaceType_RootOriginRelative).at(Find(name));
    }

    Velkori_Utility::SourceSkeletonData skeleton;
    Velkori_Utility::RestPose rest;
    // The same pose, to be worked with.
    Velkori_Utility::PoseData pose;

  private:
    static Velkori_Utility::SkeletonInitializationParams MakeParams(
        const PlacedJoints& joints, const std::vector<std::string>& excluded) {
        Velkori_Utility::SkeletonInitializationParams params;
        for (const PlacedJoint& joint : joints) {
            params.jointNames.push_back(joint.name);
            params.parentJointNames.push_back(joint.parent);
        }
        params.knownJointNames.assign(
            std::begin(VELKORI_KNOWN_JOINT_NAMES), std::end(VELKORI_KNOWN_JOINT_NAMES));
        params.autoMappingExcludedJoints = excluded;
        return params;
    }

    static std::vector<Velkori_Utility::JointPose> MakePose(const PlacedJoints& joints) {
        std::vector<Velkori_Utility::JointPose> pose;
        pose.reserve(joints.size());
        for (const PlacedJoint& joint : joints) {
            pose.emplace_back(joint.orientation, joint.position);
        }
        return pose;
    }
};

inline PlacedJoints operator+(PlacedJoints joints, const PlacedJoints& more) {
    joints.insert(joints.end(), more.begin(), more.end());
    return joints;
}

// A target that some step has matched to a source.
class MatchedBody {
  public:
    template <typename Step, typename... Arguments>
    MatchedBody(const Step& step, const PlacedJoints& sourceJoints, const PlacedJoints& targetJoints,
        const Arguments&... arguments)
        : source(sourceJoints), target(targetJoints), pose(step(source.rest, target.pose, arguments...)) {}

    Velkori_Utility::JointPose PoseOf(const std::string& joint) const { return target.PoseOf(joint, pose); }

    Velkori_Utility::Vector3f PositionOf(const std::string& joint) const { return PoseOf(joint).position; }

    Velkori_Utility::Vector3f Between(const std::string& from, const std::string& to) const {
        return PositionOf(to) - PositionOf(from);
    }

    PlacedBody source;
    PlacedBody target;
    Velkori_Utility::PoseData pose;
};

inline bool AreEqual(Velkori_Utility::PoseData a, Velkori_Utility::PoseData b) {
    constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;
    return a.GetJointPoses(Root) == b.GetJointPoses(Root);
}

// But for noise.
inline bool AreAlike(Velkori_Utility::PoseData a, Velkori_Utility::PoseData b) {
    constexpr auto Root = velkori_JointRelativeSpaceType_RootOriginRelative;
    return AreApproxEqual(a.GetJointPoses(Root), b.GetJointPoses(Root));
}
