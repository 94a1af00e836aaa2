#include "host/Findings.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <map>
#include <set>
#include <tuple>

namespace Velkori_Tool {

namespace {

constexpr std::array<velkori_SkeletonType, 2> skeletonTypes = {
    velkori_SkeletonType_Source, velkori_SkeletonType_Target};
constexpr std::array<const char*, 2> skeletonNames = {"source", "target"};

/** A direction in a rest pose, from one known joint to another. */
struct BodyDirection {
    const char* name;
    velkori_KnownJointType from;
    velkori_KnownJointType to;
};

constexpr std::array<BodyDirection, 5> bodyDirections = {
    BodyDirection{"trunk", velkori_KnownJointType_Hips, velkori_KnownJointType_Neck},
    {"left arm", velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_LeftWrist},
    {"right arm", velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_RightWrist},
    {"left leg", velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_LeftAnkle},
    {"right leg", velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_RightAnkle}};

class Inspection {
  public:
    explicit Inspection(const Configuration& configuration) : configuration(configuration) {}

    std::vector<Finding> Run() {
        for (const velkori_SkeletonType type : skeletonTypes) {
            if (configuration.JointCount(type) < 1) {
                AddProblem("restPose", fmt::format("there is no {} skeleton", skeletonNames.at(type)),
                    Remedy::MakeConfiguration);
                continue;
            }
            CheckKnownJoints(type);
            CheckSides(type);
            CheckSizes(type);
            CheckSizeRange(type);
        }
        if (configuration.JointCount(velkori_SkeletonType_Source) > 0 &&
            configuration.JointCount(velkori_SkeletonType_Target) > 0) {
            CheckMappings();
            CompareRestPoses();
        }
        return std::move(findings);
    }

  private:
    void AddProblem(std::string kind, std::string text, Remedy remedy = Remedy::None) {
        findings.push_back({true, std::move(kind), {std::move(text), remedy}});
    }

    void AddNote(std::string kind, std::string text) {
        findings.push_back({false, std::move(kind), {std::move(text)}});
    }

    void CheckKnownJoints(velkori_SkeletonType type) {
        const std::vector<std::string> names = configuration.JointNames(type);
        std::vector<std::string> known;
        for (int role = 0; role < VELKORI_KNOWN_JOINT_COUNT; ++role) {
            const char* const key = VELKORI_KNOWN_JOINT_NAMES[role];
            const int joint = configuration.KnownJoint(type, static_cast<velkori_KnownJointType>(role));
            if (joint >= 0) {
                known.push_back(fmt::format("{} {}", key, names[joint]));
            } else {
                AddProblem("knownJoint", fmt::format("the {} has no {}", skeletonNames.at(type), key),
                    Remedy::NameKnownJoint);
            }
        }
        AddNote("knownJoint",
            fmt::format("known joints of the {}: {}", skeletonNames.at(type), fmt::join(known, ", ")));
    }

    /** From one known joint to another in a rest pose; (0, 0, 0) if either is missing. */
    Vector3 Direction(const std::vector<Transform>& pose, velkori_SkeletonType type,
        velkori_KnownJointType from, velkori_KnownJointType to) const {
        const int first = configuration.KnownJoint(type, from);
        const int second = configuration.KnownJoint(type, to);
        return first < 0 || second < 0 ? Vector3{0.0f, 0.0f, 0.0f}
                                       : pose[second].position - pose[first].position;
    }

    std::vector<Transform> MaxPose(velkori_SkeletonType type) const {
        return configuration.RestPose(type, velkori_SkeletonTPoseType_Max);
    }

    /** The default coordinate space has x to the right. */
    void CheckSides(velkori_SkeletonType type) {
        const std::vector<Transform> pose = MaxPose(type);
        for (const auto& [name, left, right] :
            {std::tuple{"legs", velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_RightUpperLeg},
                std::tuple{
                    "arms", velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_RightUpperArm}}) {
            const Vector3 rightwards = Direction(pose, type, left, right);
            if (rightwards.x < 0.0f && -rightwards.x > 0.5f * Length(rightwards)) {
                AddProblem(
                    "restPose", fmt::format("the {}'s {} are crossed: left is on the right side in its rest "
                                            "pose; known joints are swapped, or it faces backwards",
                                    skeletonNames.at(type), name));
            }
        }
    }

    double Height(velkori_SkeletonType type, velkori_SkeletonTPoseType poseType) const {
        velkori_PoseInfo_ info = {};
        Check(
            velkori_getPoseInfo(configuration.Handle(), type, poseType, &info), "can't measure a rest pose");
        return info.extents.range.y;
    }

    void CheckSizes(velkori_SkeletonType type) {
        const double smallest = Height(type, velkori_SkeletonTPoseType_Min);
        const double largest = Height(type, velkori_SkeletonTPoseType_Max);
        AddNote("restPose", fmt::format("the {}'s rest poses are {:.2f} to {:.2f} m high",
                                skeletonNames.at(type), smallest, largest));
        constexpr double dwarf = 0.3;
        constexpr double giant = 5.0;
        if (!(smallest > dwarf) || !(largest < giant)) {
            AddProblem("restPose",
                fmt::format("the {} is {:.3g} to {:.3g} m high; its unit is wrong", skeletonNames.at(type),
                    smallest, largest),
                Remedy::SayUnit);
        }
        constexpr double rounding = 1.01;
        if (smallest > largest * rounding) {
            AddProblem("restPose", fmt::format("the {}'s minimum rest pose is higher than its maximum one",
                                       skeletonNames.at(type)));
        }
    }

    /** Poses that differ by rounding alone, as when one of two aligned rigs has a range of sizes and one
     * hasn't. */
    void CheckSizeRange(velkori_SkeletonType type) {
        const std::vector<Transform> smallest = configuration.RestPose(type, velkori_SkeletonTPoseType_Min);
        const std::vector<Transform> largest = MaxPose(type);
        float difference = 0.0f;
        float extent = 0.0f;
        for (size_t joint = 0; joint < smallest.size(); ++joint) {
            difference = std::max(difference, Length(largest[joint].position - smallest[joint].position));
            extent = std::max(extent, Length(largest[joint].position));
        }
        constexpr float rounding = 1e-4f;
        if (difference > 0.0f && difference < rounding * extent) {
            AddProblem("restPose",
                fmt::format(
                    "the {}'s minimum and maximum rest poses are equal but for rounding, which then decides "
                    "where a body lies between them",
                    skeletonNames.at(type)),
                Remedy::SaySizeRange);
        }
    }

    void CheckMappings() {
        const std::vector<std::string> names = configuration.JointNames(velkori_SkeletonType_Target);
        const auto mappings = configuration.Mappings(velkori_SkeletonTPoseType_Max);
        const auto entries = configuration.MappingEntries(velkori_SkeletonTPoseType_Max);
        std::map<int, int> mappingCounts;
        size_t next = 0;
        for (const velkori_JointMapping_& mapping : mappings) {
            ++mappingCounts[mapping.jointIndex];
            std::set<int> drivers;
            for (int32_t i = 0; i < mapping.entryCount; ++i, ++next) {
                if (!drivers.insert(entries[next].jointIndex).second) {
                    AddProblem("mappedTwice",
                        fmt::format("the mapping of '{}' names a joint twice", names[mapping.jointIndex]));
                }
            }
        }
        std::vector<std::string> unmapped;
        for (size_t joint = 0; joint < names.size(); ++joint) {
            const int count = mappingCounts[static_cast<int>(joint)];
            if (count > 1) {
                AddNote("mappedTwice",
                    fmt::format("'{}' is mapped twice: by source joints and by joints of its own "
                                "skeleton",
                        names[joint]));
            } else if (count == 0) {
                unmapped.push_back(names[joint]);
            }
        }
        if (unmapped.size() == names.size()) {
            AddProblem("unmapped", "no target joint is mapped", Remedy::MakeMappings);
        } else if (!unmapped.empty()) {
            AddNote(
                "unmapped", fmt::format("{} of {} target joints are unmapped and ride on their parents: {}",
                                unmapped.size(), names.size(), fmt::join(unmapped, ", ")));
        }
        CheckKnownJointsAreMapped(names, mappingCounts);
    }

    /** Chest and neck may ride on a mapped spine; hips and limbs carry the motion. */
    void CheckKnownJointsAreMapped(const std::vector<std::string>& names, std::map<int, int>& mappingCounts) {
        for (int role = 0; role < VELKORI_KNOWN_JOINT_COUNT; ++role) {
            const int joint = configuration.KnownJoint(
                velkori_SkeletonType_Target, static_cast<velkori_KnownJointType>(role));
            if (joint < 0 || mappingCounts[joint] > 0) {
                continue;
            }
            const std::string text = fmt::format(
                "the target's {}, '{}', is unmapped", VELKORI_KNOWN_JOINT_NAMES[role], names[joint]);
            if (role == velkori_KnownJointType_Chest || role == velkori_KnownJointType_Neck) {
                AddNote("unmapped", text + " and rides on its parent");
            } else {
                AddProblem("unmapped", text + ": no source joint lies near it", Remedy::ChooseNearJoint);
            }
        }
    }

    /** Retargeting carries over how joints turn from their rest poses, so these should agree. */
    void CompareRestPoses() {
        const std::vector<Transform> source = MaxPose(velkori_SkeletonType_Source);
        const std::vector<Transform> target = MaxPose(velkori_SkeletonType_Target);
        constexpr float suspicious = 25.0f;
        for (const BodyDirection& direction : bodyDirections) {
            const float angle =
                AngleBetween(Direction(source, velkori_SkeletonType_Source, direction.from, direction.to),
                    Direction(target, velkori_SkeletonType_Target, direction.from, direction.to));
            if (angle > suspicious) {
                AddProblem("restPose",
                    fmt::format("the rest poses differ: the {} points {:.0f} degrees elsewhere",
                        direction.name, angle),
                    Remedy::AlignRigs);
            }
        }
        const double ratio = Height(velkori_SkeletonType_Target, velkori_SkeletonTPoseType_Max) /
                             Height(velkori_SkeletonType_Source, velkori_SkeletonTPoseType_Max);
        constexpr double tooDifferent = 1.6;
        if (ratio > tooDifferent || ratio < 1.0 / tooDifferent) {
            AddProblem("restPose", fmt::format("the target is {:.2f} times as high as the source", ratio),
                Remedy::AlignRigs);
        }
    }

    const Configuration& configuration;
    std::vector<Finding> findings;
};

} // namespace

std::vector<Finding> FindProblems(const Configuration& configuration) {
    return Inspection(configuration).Run();
}

} // namespace Velkori_Tool
