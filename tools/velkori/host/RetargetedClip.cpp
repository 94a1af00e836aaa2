#include "host/RetargetedClip.h"

#include "Failure.h"
#include "Progress.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace Velkori_Tool {

namespace {

/** The source joints that frames name, in their order: those of the manifestation, or all. */
std::vector<int> FrameJoints(const Configuration& configuration, const std::string& manifestation) {
    if (!manifestation.empty()) {
        const std::vector<std::string> names = configuration.ManifestationNames(velkori_SkeletonType_Source);
        if (std::find(names.begin(), names.end(), manifestation) == names.end()) {
            throw Failure(
                fmt::format("--manifestation {}: the configuration's source has no such manifestation; it "
                            "has: {}",
                    manifestation, names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", "))));
        }
        return configuration.JointsInManifestation(velkori_SkeletonType_Source, manifestation);
    }
    std::vector<int> joints(configuration.JointCount(velkori_SkeletonType_Source));
    for (size_t joint = 0; joint < joints.size(); ++joint) {
        joints[joint] = static_cast<int>(joint);
    }
    return joints;
}

} // namespace

RetargetedClip RetargetClip(const Configuration& configuration, const Motion& motion,
    const RetargetOptions& options, std::vector<std::string>& notes) {
    RetargetedClip clip;
    clip.jointCount = configuration.JointCount(velkori_SkeletonType_Target);
    if (clip.jointCount < 1) {
        throw Failure("the configuration has no target skeleton; make one with 'velkori prepare'");
    }
    const std::vector<int> frameJoints = FrameJoints(configuration, options.manifestation);
    clip.source = MakeSourceClip(configuration, motion, options.clip, notes);
    Check(velkori_updateSourceReferenceTPose(
              configuration.Handle(), clip.source.reference.data(), clip.source.jointCount, nullptr),
        fmt::format("the library doesn't take the rest pose of '{}'", motion.path));

    const velkori_RetargetingBehaviorInfo_ info = {velkori_JointRelativeSpaceType_RootOriginRelative,
        options.behavior, options.rootMotion,
        options.fixesUpOrientations ? velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup
                                    : velkori_RetargetingBehaviorFlags_None};
    const char* const manifestation = options.manifestation.empty() ? nullptr : options.manifestation.c_str();
    clip.poses.resize(static_cast<size_t>(clip.source.frameCount) * clip.jointCount);
    std::vector<Transform> framePose(frameJoints.size());
    Progress progress("retargeting", clip.source.frameCount);
    for (int frame = 0; frame < clip.source.frameCount; ++frame) {
        for (size_t i = 0; i < frameJoints.size(); ++i) {
            framePose[i] = clip.source.Frame(frame)[frameJoints[i]];
        }
        int32_t count = clip.jointCount;
        Check(velkori_retargetFromSourceFrameData(configuration.Handle(), info, framePose.data(),
                  static_cast<int32_t>(framePose.size()),
                  clip.poses.data() + static_cast<size_t>(frame) * clip.jointCount, &count, manifestation,
                  nullptr),
            fmt::format("the library can't retarget frame {} of '{}'", frame, motion.path));
        progress.Advance(frame);
    }
    clip.restPose = configuration.RestPose(velkori_SkeletonType_Target, velkori_SkeletonTPoseType_Current);
    return clip;
}

OutgoingMotion MakeOutgoingMotion(
    const Configuration& configuration, const RetargetedClip& clip, std::vector<Transform> poses) {
    return {configuration.Name(), configuration.JointNames(velkori_SkeletonType_Target),
        configuration.Parents(velkori_SkeletonType_Target), clip.restPose, clip.source.frameSeconds,
        std::move(poses)};
}

} // namespace Velkori_Tool
