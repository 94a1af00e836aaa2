#pragma once

#include "host/Library.h"
#include "motion/Motion.h"
#include "rig/KnownJoints.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Velkori_Tool {

/** How a rig is to be made of a file's skeleton. */
struct RigOptions {
    velkori_SkeletonType type = velkori_SkeletonType_Source;
    /** "bind", "zero" or "frame:N" with frames counted from 0. */
    std::string rest = "bind";
    std::optional<double> metresPerUnit;
    /** "leftWrist=LeftHand"; without a joint for a role that the skeleton doesn't have. */
    std::vector<std::string> known;
    /** Factors of the minimum and maximum rest poses. What lies between two poses is measured by their
        difference, so rigs need a real one; the rest pose is in its middle. */
    float smallest = 0.85f;
    float largest = 1.15f;
    std::vector<std::string> excluded;
    /** "upper=Hips,Spine". */
    std::vector<std::string> manifestations;
};

/** A file's skeleton as the library can take it. */
struct Rig {
    std::string name;
    /** With a ground root, if the file had none; its pose is the rest pose, in metres and the file's axes. */
    FileSkeleton skeleton;
    /** Where up, forward and right are in the file's axes. */
    velkori_CoordinateSpace_ space = {};
    double metresPerUnit = 1.0;
    KnownJointGuesses known;
    /** What was decided, a line each. */
    std::vector<std::string> remarks;
};

/** The name of the ground root that a skeleton gets if it has none. */
inline constexpr const char* groundRootName = "GroundRoot";

/** Where up, forward and right are in a file: from what it states, and from its body's bind pose. */
velkori_CoordinateSpace_ FindSpace(const Motion& motion, const KnownJointOverrides& overrides);

/** Throws Failure if a known joint can't be found or an option names what isn't there. */
Rig MakeRig(const Motion& motion, const RigOptions& options);

/** Makes the configuration with the rig as its only skeleton. */
Configuration MakeConfiguration(const Rig& rig, const RigOptions& options);

/** Reads a rig's file, or one of the skeletons' documents, as a configuration. */
Configuration LoadRigOrDocument(
    const std::string& path, velkori_SkeletonType type, std::vector<std::string>& notes);

} // namespace Velkori_Tool
