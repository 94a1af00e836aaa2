#pragma once

#include "Remark.h"
#include "character/SkinnedMesh.h"
#include "host/RetargetedClip.h"
#include "motion/MotionWriter.h"
#include "rig/RigFile.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

/** What is to be written of a configuration's target that moves as `poses` say: y up, facing z, in metres. */
OutgoingMotion MakeOutgoingMotion(const Configuration& configuration, const RetargetedClip& clip,
    std::string name, std::vector<Transform> poses);

/** A retargeted clip and its name in the result. */
struct NamedClip {
    std::string name;
    RetargetedClip clip;
};

/** The skin of a configuration's character in metres and the default space; empty if it has none. */
SkinnedMesh LoadSkin(const Configuration& configuration, const RigFile& character);

/** Whether a character's file has more than a skeleton, so that a result can be written into it. */
bool CanCarryMotion(const std::string& path);

/**
 * Writes the character's own file, as a GLB, with one more animation for each clip: its meshes and all else
 * stay as they are. As a .vrma, the motion alone of a VRM character. Throws Failure if the file isn't that of
 * the configuration's target.
 */
void WriteCharacter(const std::string& path, const Configuration& configuration, const RigFile& character,
    std::span<const NamedClip> clips, std::vector<Remark>& notes);

} // namespace Velkori_Tool
