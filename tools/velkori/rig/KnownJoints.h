#pragma once

#include "motion/Motion.h"
#include "rig/JointName.h"

#include <array>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** Which joint of a skeleton plays a role, how sure that is and why. */
struct KnownJointGuess {
    /** -1 if no joint looks like it. */
    int joint = -1;
    /** 0 to 100. */
    int percent = 0;
    std::string reasons;
};

/** Less certainty than this is a doubt. */
inline constexpr int trustedPercent = 60;

/** By velkori_KnownJointType. */
using KnownJointGuesses = std::array<KnownJointGuess, VELKORI_KNOWN_JOINT_COUNT>;

/** What the user has said, role by role; -1 for a role that the skeleton doesn't have. */
using KnownJointOverrides = std::map<velkori_KnownJointType, int>;

/**
 * Finds the known joints by their names and by where they stand, in the hierarchy and in `pose`, the
 * skeleton's rest pose. `up` is the axis that points up. A root is found only if the skeleton has one on the
 * ground. `names` are the joints' names, as ParseJointNames() gives them.
 */
KnownJointGuesses GuessKnownJoints(const FileSkeleton& skeleton, std::span<const JointName> names,
    std::span<const Transform> pose, const Vector3& up, const KnownJointOverrides& overrides);

/** All joints, those that come closest to a role first. */
std::vector<int> KnownJointCandidates(const FileSkeleton& skeleton, std::span<const JointName> names,
    std::span<const Transform> pose, const Vector3& up, velkori_KnownJointType role);

} // namespace Velkori_Tool
