#pragma once

#include "Remark.h"
#include "host/BodyMapping.h"
#include "rig/Rig.h"

#include <optional>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** What a rig's options say in words, until the file is read that they are about. */
struct RigTexts {
    std::string rest = "best";
    std::string up;
    std::string facing;
    std::vector<std::string> known;
    std::vector<std::string> excluded;
    std::vector<std::string> manifestations;
    std::string sizeRange;
    std::string namesFile;
};

/** An axis by its name, such as "-z". Throws UsageFailure, naming the option, if it is none. */
Vector3 ParseAxis(const std::string& text, const std::string& option);

/** "best", "bind", "zero" or "frame:N". Throws UsageFailure if it is none of them. */
RestChoice ParseRest(const std::string& text);

/** Makes the rig that a file and the options say. Throws Failure if a known joint is missing. */
Rig MakeRigAsTold(const Motion& motion, const RigTexts& texts, RigOptions& options);

/** The words of joints' names: the program's own, and those of a file if one is given. */
NamingHabits LoadNames(const std::string& namesFile);

/** Says which joints were found with too little certainty to be trusted. */
void AddDoubts(const Rig& rig, const std::string& path, std::vector<Remark>& notes);

/** A configuration with one skeleton, and what its file says besides. */
struct LoadedRig {
    Configuration configuration;
    /** Nothing for a document. */
    FileKnowledge knowledge;
    /** Where the target's file is, if that is known. */
    std::optional<RigFile> file;
};

/** Reads a rig's file, or one of the skeletons' documents, as a configuration. */
LoadedRig LoadRigOrDocument(const std::string& path, velkori_SkeletonType type, const NamingHabits& names,
    std::vector<Remark>& notes);

} // namespace Velkori_Tool
