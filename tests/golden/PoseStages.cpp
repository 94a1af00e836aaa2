// Conversions and measures of poses that need no frame.

#include "Host.h"
#include "Stages.h"

namespace {

// Adds what a call leaves in a pose of the target, in each of the spaces that the pose is said to be in.
template <typename Call>
Hash InEachSpace(velkori_Handle handle, std::uint32_t seed, const Call& call) {
    const MovingBody character = MakeBody(handle, Target, seed, 0, Unscaled);
    Hash hash;
    for (int frame = 0; frame < 8; ++frame) {
        for (const auto space : Spaces) {
            for (Transforms pose : {character.Frame(9 * frame), character.ScaledFrame(9 * frame)}) {
                hash.Add(call(space, pose.data(), Count(pose)), pose);
            }
        }
    }
    return hash;
}

void RunRestPoses(Stages& stages, const std::string& name, velkori_Handle handle) {
    for (int space = 0; space < 4; ++space) {
        Hash hash;
        AddRestPoses(hash, handle, Spaces[space]);
        stages.emplace_back("pose/rest/" + name + '/' + SpaceNames[space], hash);
    }
    Hash interpolated;
    Hash atHeight;
    for (const auto type : {Source, Target}) {
        for (const auto space : Spaces) {
            for (int step = -8; step <= 24; step += 3) {
                const float t = static_cast<float>(step) / 16;
                interpolated.Add(
                    ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                        return velkori_calculateSkeletonTPose(handle, type, space, t, out, count);
                    }));
                atHeight.Add(ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                    return velkori_calculateSkeletonTPoseAtHeight(handle, type, space, 1.5F + t, out, count);
                }));
            }
        }
    }
    stages.emplace_back("pose/interpolated/" + name, interpolated);
    stages.emplace_back("pose/at-height/" + name, atHeight);
}

void RunConversions(Stages& stages, velkori_Handle handle) {
    for (int to = 0; to < 4; ++to) {
        stages.emplace_back(std::string("pose/convert/to-") + SpaceNames[to],
            InEachSpace(handle, 11, [&](auto space, velkori_Transform_* pose, std::int32_t count) {
                return velkori_convertJointPose(handle, Target, space, Spaces[to], pose, count);
            }));
    }
    for (const bool isMirrored : {false, true}) {
        const std::string name = isMirrored ? "mirrored" : "z-up";
        const velkori_CoordinateSpace_ axes = isMirrored ? MirroredSpace : ZUpSpace;
        stages.emplace_back("pose/coordinate-space/" + name,
            InEachSpace(handle, 12, [&](auto space, velkori_Transform_* pose, std::int32_t count) {
                return velkori_applyCoordinateSpaceConversion(
                    handle, Target, space, pose, count, VELKORI_DEFAULT_COORDINATE_SPACE, axes);
            }));
        stages.emplace_back("pose/coordinate-space/world-" + name,
            InEachSpace(handle, 13, [&](auto, velkori_Transform_* pose, std::int32_t count) {
                return velkori_applyWorldSpaceCoordinateSpaceConversion(
                    pose, count, axes, VELKORI_DEFAULT_COORDINATE_SPACE);
            }));
    }
}

void RunManifestations(Stages& stages, velkori_Handle handle) {
    const Transforms whole = MakeBody(handle, Target, 14, 0, Unscaled).Frame(10);
    const Transforms part = Pick(whole, UpperBody(handle, Target));
    for (const bool fromPart : {false, true}) {
        const Transforms& given = fromPart ? part : whole;
        Hash hash;
        for (const auto from : Spaces) {
            for (const auto to : Spaces) {
                hash.Add(ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                    return velkori_convertPoseFromToManifestation(handle, Target,
                        fromPart ? "upperBody" : nullptr, from, given.data(), Count(given),
                        fromPart ? "" : "upperBody", to, out, count);
                }));
            }
        }
        stages.emplace_back(std::string("pose/manifestation/") + (fromPart ? "from-part" : "to-part"), hash);
    }
}

void RunMeasures(Stages& stages, velkori_Handle handle) {
    Hash info;
    Hash lengths;
    for (const auto type : {Source, Target}) {
        for (const auto size : {Min, Max, Unscaled}) {
            velkori_PoseInfo_ measures = {};
            MUST(velkori_getPoseInfo(handle, type, size, &measures));
            info.Add(measures.extents);
            for (const velkori_Vector3f_& position : measures.knownJointPositions) {
                info.Add(position);
            }
            Generator generator(15);
            const std::int32_t count = Count(Parents(handle, type));
            for (int pair = 0; pair < 100; ++pair) {
                const std::int32_t start = generator.Below(count);
                float length = 0;
                MUST(velkori_getLengthBetweenJoints(
                    handle, type, size, start, generator.Below(count), &length));
                lengths.Add(length);
            }
        }
    }
    stages.emplace_back("pose/info", info);
    stages.emplace_back("pose/lengths", lengths);
    Hash extents;
    InEachSpace(handle, 16, [&](auto space, const velkori_Transform_* pose, std::int32_t count) {
        velkori_PoseExtents_ box = {};
        extents.Add(velkori_calculatePoseExtents(handle, Target, space, pose, count, &box), box);
        return velkori_Result_Success;
    });
    stages.emplace_back("pose/extents", extents);
}

void RunMatching(Stages& stages, velkori_Handle handle) {
    const Transforms other = MakeBody(handle, Target, 17, 0, Unscaled).Frame(3);
    for (const auto behavior : {velkori_MatchBehavior_Scale, velkori_MatchBehavior_JointLengths}) {
        const std::string name = behavior == velkori_MatchBehavior_Scale ? "scale" : "joint-lengths";
        stages.emplace_back("pose/match/" + name,
            InEachSpace(handle, 18, [&](auto space, velkori_Transform_* pose, std::int32_t count) {
                return velkori_matchPose(handle, Target, behavior, space, count, other.data(), pose);
            }));
        stages.emplace_back("pose/match-current/" + name,
            InEachSpace(handle, 19, [&](auto space, velkori_Transform_* pose, std::int32_t count) {
                return velkori_matchCurrentTPose(handle, Target, behavior, space, count, pose);
            }));
    }
    stages.emplace_back("pose/scale-to-height",
        InEachSpace(handle, 20, [&](auto space, velkori_Transform_* pose, std::int32_t count) {
            return velkori_scalePoseToHeight(handle, Target, space, 1.375F, count, pose);
        }));
}

} // namespace

void RunPoseStages(Stages& stages, const Samples& samples) {
    const Instance simple(samples.simple);
    const Instance full(samples.full);
    RunRestPoses(stages, "simple", simple.handle);
    RunRestPoses(stages, "full", full.handle);
    RunConversions(stages, full.handle);
    RunManifestations(stages, full.handle);
    RunMeasures(stages, full.handle);
    RunMatching(stages, full.handle);
}
