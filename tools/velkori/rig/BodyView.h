#pragma once

#include "Remark.h"
#include "motion/Motion.h"
#include "rig/KnownJoints.h"

#include <optional>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** Which of a file's poses is the rest pose. */
struct RestChoice {
    enum class Kind {
        /** The one that stands most like a person. */
        Best,
        /** As meshes are bound, or else as the file stores the skeleton. */
        Bind,
        /** No joint turned. */
        Zero,
        Frame,
    };
    Kind kind = Kind::Best;
    /** Counted from 0. */
    int frame = 0;
};

/** What somebody knows of a file's body beforehand. */
struct BodyOptions {
    RestChoice rest;
    /** Axes of the file. */
    std::optional<Vector3> up;
    std::optional<Vector3> facing;
    std::optional<double> metresPerUnit;
    KnownJointOverrides known;
    NamingHabits names = NamingHabits::BuiltIn();
};

/** The body in a file: which joints are which, how it stands, where up and forward are, how large it is. */
struct BodyView {
    std::vector<JointName> names;
    KnownJointGuesses known;
    /** In the file's axes and unit, upright, and facing along an axis. */
    std::vector<Transform> rest;
    /** Where up, forward and right are in the file's axes. */
    velkori_CoordinateSpace_ space = {};
    double metresPerUnit = 1.0;
    /** How much the rest pose is a standing person's, 0 to 1. */
    float standing = 0.0f;
    /** What was decided, a line each, with how certain it is. */
    std::vector<Remark> remarks;
    /** What may as well be otherwise and would spoil a result: a line each, with what says it by hand. */
    std::vector<Remark> doubts;
};

/** Throws Failure if the rest pose that is asked for isn't there, or has no height. */
BodyView SeeBody(const Motion& motion, const BodyOptions& options);

/** The axis, with its sign, that a direction is nearest to. */
Vector3 NearestAxis(const Vector3& direction);

/** "x", "-z" and so on. */
std::string AxisName(const Vector3& axis);

} // namespace Velkori_Tool
