// Preparing configurations: rest poses are aligned, mappings generated.

#include "Host.h"
#include "Stages.h"

#include <utility>

namespace {

// Makes of the target of `model` a rig whose rest poses stand as one frame of a moving body that has made a
// quarter turn.
void CreatePosedRig(velkori_Handle model, Instance& rig) {
    std::vector<char> buffer(4096);
    std::int32_t size = Count(buffer);
    std::vector<const char*> names(128);
    std::int32_t count = Count(names);
    MUST(velkori_getJointNames(model, Target, buffer.data(), &size, names.data(), &count));
    std::vector<const char*> parentNames;
    for (const std::int32_t parent : Parents(model, Target)) {
        parentNames.push_back(parent < 0 ? nullptr : names[parent]);
    }
    const char* known[VELKORI_KNOWN_JOINT_COUNT] = {};
    for (int type = 0; type < VELKORI_KNOWN_JOINT_COUNT; ++type) {
        std::int32_t joint = -1;
        MUST(velkori_getJointIndexByKnownJointType(
            model, Target, static_cast<velkori_KnownJointType>(type), &joint));
        known[type] = names[joint];
    }
    const auto pose = [&](int percent) {
        Transforms turned = MakeBody(model, Target, 22, percent, Unscaled).Frame(64);
        for (velkori_Transform_& joint : turned) {
            const auto [x, y, z, w] = joint.orientation;
            // Times (0, 1, 0, 1), in steps that leave no room for rounding.
            joint.orientation = {x + z, y + w, z - x, w - y};
            joint.position = {joint.position.z, joint.position.y, -joint.position.x};
        }
        return turned;
    };
    const Transforms smallest = pose(-12);
    const Transforms largest = pose(9);
    const Transforms authored = pose(0);
    velkori_SkeletonInitParams_ record = VELKORI_EMPTY_SKELETON_INIT_PARAMS;
    record.jointCount = count;
    record.jointNames = names.data();
    record.parentJointNames = parentNames.data();
    record.knownJoints = known;
    record.minTPose = smallest.data();
    record.maxTPose = largest.data();
    record.unscaledTPose = authored.data();
    MUST(velkori_createOrUpdateSimpleUtilityConfig("posed", Target, &record, &rig.handle));
}

Hash Align(velkori_Handle source, velkori_Handle target, int flags, Instance& aligned) {
    MUST(velkori_alignTargetToSource(
        "aligned", static_cast<velkori_AlignmentFlags>(flags), source, Source, target, &aligned.handle));
    Hash hash;
    AddRestPoses(hash, aligned.handle);
    return hash;
}

void RunAlignment(Stages& stages, const std::string& rigs, velkori_Handle source, velkori_Handle target,
    const std::vector<std::pair<const char*, int>>& steps) {
    for (const auto& [name, flags] : steps) {
        Instance aligned;
        stages.emplace_back("align/" + rigs + '/' + name, Align(source, target, flags, aligned));
    }
}

void RunMappings(Stages& stages, const std::string& rigs, velkori_Handle source, velkori_Handle target) {
    for (const auto flags : {velkori_AutoMappingFlags_None, velkori_AutoMappingFlags_SkipTwistMappings}) {
        Instance config;
        Align(source, target, 31, config);
        MUST(velkori_generateMappings(config.handle, flags));
        Hash mappings;
        AddMappings(mappings, config.handle);
        const MovingBody person = MakeBody(config.handle, Source, 21);
        Hash frames;
        for (int frame = 0; frame < 40; ++frame) {
            frames.Add(Retarget(config.handle, {frame % 4, frame % 3, frame % 2}, person.Frame(3 * frame)));
        }
        const std::string name =
            "generate/" + rigs + (flags == velkori_AutoMappingFlags_None ? "/all" : "/without-twist");
        stages.emplace_back(name, mappings);
        stages.emplace_back(name + "/frames", frames);
    }
}

} // namespace

void RunPreparationStages(Stages& stages, const Samples& samples) {
    const Instance simple(samples.simple);
    const Instance full(samples.full);
    Instance posed;
    CreatePosedRig(full.handle, posed);
    RunAlignment(stages, "full-to-posed", full.handle, posed.handle,
        {{"facing", 1}, {"limb-rotations", 2}, {"hands", 4}, {"height", 8}, {"limb-proportions", 16},
            {"hands-variant", 32}, {"all", 31}, {"all-variant", 59}});
    RunAlignment(
        stages, "full-to-full", full.handle, full.handle, {{"hands", 4}, {"all", 31}, {"all-variant", 59}});
    RunAlignment(stages, "simple-to-full", simple.handle, full.handle, {{"all", 31}});
    RunAlignment(stages, "full-to-simple", full.handle, simple.handle, {{"all", 31}});
    RunMappings(stages, "full-to-full", full.handle, full.handle);
    RunMappings(stages, "full-to-posed", full.handle, posed.handle);
    RunMappings(stages, "simple-to-full", simple.handle, full.handle);
}
