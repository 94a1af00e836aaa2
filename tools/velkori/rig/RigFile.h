#pragma once

#include "Velkori_Utility.h"

#include <map>
#include <optional>
#include <string>

namespace Velkori_Tool {

/** The file that a rig was made of, and how the rig lies in it. */
struct RigFile {
    std::string path;
    /** Where up, forward and right are in the file's axes. */
    velkori_CoordinateSpace_ space = {};
    double metresPerUnit = 1.0;
    /** What the file itself says of its unit. */
    double statedMetresPerUnit = 1.0;
    /** Where the rig's origin is, in the file's axes and unit. */
    velkori_Vector3f_ origin = {0.0f, 0.0f, 0.0f};
};

/**
 * The document of a configuration with the file that its target was made of, in a member of this program's
 * own, which the library passes over.
 */
std::string WithTargetFile(const std::string& document, const RigFile& file);

/** What WithTargetFile() put into a document. */
std::optional<RigFile> FindTargetFile(const std::string& document);

/** How high joints of a target's feet are, by name, in metres, as the character was made. */
using StandingHeights = std::map<std::string, float>;

/** The document with these, as a target's rest pose is turned to fit a source's. */
std::string WithStandingHeights(const std::string& document, const StandingHeights& heights);

/** What WithStandingHeights() put into a document. */
StandingHeights FindStandingHeights(const std::string& document);

} // namespace Velkori_Tool
