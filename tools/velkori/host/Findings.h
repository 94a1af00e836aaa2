#pragma once

#include "Remark.h"
#include "library/Library.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** Something about a configuration that its author should know. */
struct Finding {
    /** A problem will show in the result; the rest is for information. */
    bool isProblem = false;
    /** What kind it is, in one word: "library", "knownJoint", "unmapped", "mappedTwice" or "restPose". */
    std::string kind;
    Remark remark;
};

/** Looks a configuration over, joint by joint and rest pose by rest pose. */
std::vector<Finding> FindProblems(const Configuration& configuration);

} // namespace Velkori_Tool
