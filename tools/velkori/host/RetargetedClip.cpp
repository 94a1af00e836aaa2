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
            throw Failure(fmt::format("the configuration's source has no manifestation '{}'; it has: {}",
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

/** One of a configuration's skeletons with the limbs that its known joints tell. */
Body MakeBodyOf(const Configuration& configuration, velkori_SkeletonType type, std::vector<Transform> rest,
    const std::vector<bool>& isTracked) {
    const auto known = [&](velkori_KnownJointType role) {
        const int joint = configuration.KnownJoint(type, role);
        return joint >= 0 && !isTracked.empty() && !isTracked[joint] ? -1 : joint;
    };
    BodyRoles roles;
    roles.root = known(velkori_KnownJointType_Root);
    roles.hips = known(velkori_KnownJointType_Hips);
    roles.neck = known(velkori_KnownJointType_Neck);
    roles.upperArms = {
        known(velkori_KnownJointType_LeftUpperArm), known(velkori_KnownJointType_RightUpperArm)};
    roles.wrists = {known(velkori_KnownJointType_LeftWrist), known(velkori_KnownJointType_RightWrist)};
    roles.upperLegs = {
        known(velkori_KnownJointType_LeftUpperLeg), known(velkori_KnownJointType_RightUpperLeg)};
    roles.ankles = {known(velkori_KnownJointType_LeftAnkle), known(velkori_KnownJointType_RightAnkle)};
    return MakeBody(configuration.Parents(type), std::move(rest), roles);
}

/** Joints that hang from no bone and are placed by joints of their own skeleton. */
std::vector<Follower> FindFollowers(const Configuration& configuration, const Body& target) {
    const auto entries = configuration.MappingEntries(velkori_SkeletonTPoseType_Max);
    std::vector<Follower> followers;
    size_t first = 0;
    for (const velkori_JointMapping_& mapping : configuration.Mappings(velkori_SkeletonTPoseType_Max)) {
        const auto own = std::span(entries).subspan(first, mapping.entryCount);
        first += mapping.entryCount;
        const bool isOfBody = target.hips >= 0 && target.IsBelow(target.hips, mapping.jointIndex);
        if (mapping.type != velkori_SkeletonType_Target || isOfBody) {
            continue;
        }
        const auto heaviest = std::max_element(own.begin(), own.end(),
            [](const auto& a, const auto& b) { return a.positionWeight < b.positionWeight; });
        if (heaviest != own.end() && heaviest->jointIndex != mapping.jointIndex) {
            followers.push_back({mapping.jointIndex, heaviest->jointIndex});
        }
    }
    return followers;
}

} // namespace

Body SourceBody(const Configuration& configuration, const RetargetedClip& clip) {
    return MakeBodyOf(configuration, velkori_SkeletonType_Source, clip.source.reference, clip.isTracked);
}

Body TargetBody(const Configuration& configuration, const StandingHeights& heights) {
    Body body = MakeBodyOf(configuration, velkori_SkeletonType_Target,
        configuration.RestPose(velkori_SkeletonType_Target, velkori_SkeletonTPoseType_Unscaled), {});
    const std::vector<std::string> names = configuration.JointNames(velkori_SkeletonType_Target);
    for (size_t joint = 0; joint < names.size(); ++joint) {
        const auto found = heights.find(names[joint]);
        if (found != heights.end()) {
            body.standingHeights[joint] = found->second;
        }
    }
    // Aligning moves the whole rest pose; what doesn't hang from the hips stays where it was made.
    const float sunk =
        body.root < 0 ? 0.0f : body.standingHeights[body.root] - body.rest[body.root].position.y;
    for (int joint = 0; body.hips >= 0 && joint < static_cast<int>(body.JointCount()); ++joint) {
        if (!body.IsBelow(body.hips, joint)) {
            body.rest[joint].position.y += sunk;
        }
    }
    return body;
}

RetargetedClip RetargetClip(const Configuration& configuration, const Motion& motion,
    const RetargetOptions& options, std::vector<Remark>& notes) {
    RetargetedClip clip;
    clip.jointCount = configuration.JointCount(velkori_SkeletonType_Target);
    if (clip.jointCount < 1) {
        throw Failure("the configuration has no target skeleton", Remedy::MakeConfiguration);
    }
    const std::vector<int> frameJoints = FrameJoints(configuration, options.manifestation);
    clip.source = MakeSourceClip(configuration, motion, options.clip, notes);
    clip.isTracked.assign(clip.source.jointCount, false);
    for (const int joint : frameJoints) {
        clip.isTracked[joint] = true;
    }
    Check(velkori_updateSourceReferenceTPose(
              configuration.Handle(), clip.source.reference.data(), clip.source.jointCount, nullptr),
        fmt::format("the library doesn't take the rest pose of '{}'", motion.path));

    const velkori_RetargetingBehaviorInfo_ info = {velkori_JointRelativeSpaceType_RootOriginRelative,
        options.behavior.value_or(velkori_RetargetingBehavior_RotationsUnscaled), options.rootMotion,
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
    clip.standingHeights = options.standingHeights;
    clip.keepsBones = !options.behavior.has_value();
    clip.restPose = configuration.RestPose(velkori_SkeletonType_Target, velkori_SkeletonTPoseType_Current);
    if (clip.keepsBones) {
        const Body target = TargetBody(configuration, options.standingHeights);
        clip.restPose = target.rest;
        clip.path = options.keep.path;
        if (clip.path == MotionPath::Root && target.root < 0) {
            notes.push_back({"the target has no root joint, so its hips carry the way"});
        }
        KeepBones(SourceBody(configuration, clip), clip.source.poses, target,
            FindFollowers(configuration, target), clip.source.frameSeconds, options.keep, clip.poses);
    }
    return clip;
}

} // namespace Velkori_Tool
