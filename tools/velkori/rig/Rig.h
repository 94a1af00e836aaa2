#pragma once

#include "Remark.h"
#include "library/Library.h"
#include "motion/Motion.h"
#include "rig/BodyView.h"
#include "rig/KnownJoints.h"
#include "rig/RigFile.h"

#include <map>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** A named subset of a skeleton's joints. */
struct Manifestation {
    std::string name;
    std::vector<std::string> joints;
};

/** How a rig is to be made of a file's skeleton. */
struct RigOptions {
    velkori_SkeletonType type = velkori_SkeletonType_Source;
    BodyOptions body;
    /** Factors of the minimum and maximum rest poses. What lies between two poses is measured by their
        difference, so rigs need a real one; the rest pose is in its middle. */
    float smallest = 0.85f;
    float largest = 1.15f;
    /** Joints that get no generated mapping. */
    std::vector<std::string> excluded;
    std::vector<Manifestation> manifestations;
};

/** A file's skeleton as the library can take it. */
struct Rig {
    std::string name;
    /** With a ground root, if the file had none; its pose is the rest pose, in metres and the file's axes. */
    FileSkeleton skeleton;
    /** Where up, forward and right are in the file's axes. */
    velkori_CoordinateSpace_ space = {};
    double metresPerUnit = 1.0;
    /** What the file itself says of its unit; 1 if nothing. */
    double statedMetresPerUnit = 1.0;
    /** Where the origin of the rest pose is, in the file's axes and unit. */
    Vector3 origin = {0.0f, 0.0f, 0.0f};
    KnownJointGuesses known;
    /** What comes nearest to a role that no joint looks like, or none with certainty; best first. */
    std::map<velkori_KnownJointType, std::vector<std::string>> candidates;
    /** What was decided, a line each. */
    std::vector<Remark> remarks;
    /** What may as well be otherwise, a line each. */
    std::vector<Remark> doubts;
};

/** The name of the ground root that a skeleton gets if it has none. */
inline constexpr const char* groundRootName = "GroundRoot";

Rig MakeRig(const Motion& motion, const RigOptions& options);

/** Makes the configuration with the rig as its only skeleton. */
Configuration MakeConfiguration(const Rig& rig, const RigOptions& options);

/** Which file a rig was made of. */
RigFile FileOf(const Rig& rig, const std::string& path);

} // namespace Velkori_Tool
