#pragma once

#include "Remark.h"
#include "library/Library.h"
#include "motion/Motion.h"
#include "rig/BodyView.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Velkori_Tool {

struct SourceClipOptions {
    ReadOptions reading;
    std::optional<double> metresPerUnit;
    /** Axes of the clip's file. */
    std::optional<Vector3> up;
    std::optional<Vector3> facing;
    /** The clip's pose in which its body stands as the configuration's source does at rest. By default the
        joints' axes are taken to be the same in both. */
    RestChoice rest;
    /** Leave the clip as high as the file has it, instead of putting the feet on the ground. */
    bool keepsHeight = false;
};

/** A clip in the terms of a configuration's source skeleton. */
struct SourceClip {
    double frameSeconds = 0.0;
    int frameCount = 0;
    int jointCount = 0;
    /** What may as well be otherwise and would spoil a result, a line each. */
    std::vector<Remark> doubts;
    /** The tracked body's rest pose: the source's own, with the clip's bone lengths where these differ. */
    std::vector<Transform> reference;
    /** Frame by frame, one world transform per source joint, in metres and the default coordinate space. */
    std::vector<Transform> poses;

    std::span<const Transform> Frame(int frame) const {
        return std::span(poses).subspan(static_cast<size_t>(frame) * jointCount, jointCount);
    }
};

/**
 * Brings a clip to a configuration's source skeleton: joints by name, units from the bones' lengths, axes
 * from the clip's own body and its motion, the ground from its feet. A root on the ground that only the
 * configuration has follows the hips. Throws Failure if the clip is another rig's.
 */
SourceClip MakeSourceClip(const Configuration& configuration, const Motion& motion,
    const SourceClipOptions& options, std::vector<Remark>& notes);

} // namespace Velkori_Tool
