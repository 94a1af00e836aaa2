// Retargeting: frames of a moving body become poses of the target.

#include "Host.h"
#include "Stages.h"

namespace {

constexpr int FrameCount = 40;

// Each stage has an instance of its own, since one frame leaves its mark on the next.
Hash Frames(const std::string& document, const FrameOptions& options) {
    const Instance instance(document);
    const MovingBody person = MakeBody(instance.handle, Source, 1);
    Hash hash;
    for (int frame = 0; frame < FrameCount; ++frame) {
        hash.Add(Retarget(instance.handle, options, person.Frame(frame)));
    }
    return hash;
}

void RunManifestations(Stages& stages, const std::string& document) {
    const char* const names[] = {"source", "target", "changing"};
    for (int stage = 0; stage < 3; ++stage) {
        const Instance instance(document);
        const MovingBody person = MakeBody(instance.handle, Source, 2);
        const std::vector<std::int32_t> upperBody = UpperBody(instance.handle, Source);
        Hash hash;
        for (int frame = 0; frame < FrameCount; ++frame) {
            const bool isPart = stage == 0 || (stage == 2 && frame % 7 < 3);
            const bool toPart = stage == 1 || (stage == 2 && frame % 5 == 0);
            const Transforms pose = person.Frame(frame);
            hash.Add(Retarget(instance.handle,
                {frame % 4, frame % 3, 1, 0, isPart ? "upperBody" : nullptr, toPart ? "upperBody" : ""},
                isPart ? Pick(pose, upperBody) : pose));
        }
        stages.emplace_back(std::string("frame/manifestation/") + names[stage], hash);
    }
}

void RunReferences(Stages& stages, const std::string& document) {
    const char* const names[] = {"small", "middle", "large", "in-manifestation"};
    for (int stage = 0; stage < 4; ++stage) {
        const Instance instance(document);
        const velkori_Handle handle = instance.handle;
        const bool isPart = stage == 3;
        const MovingBody person = MakeBody(handle, Source, 3, 9 * stage);
        const Transforms reference =
            isPart ? Pick(person.Frame(0), UpperBody(handle, Source)) : person.Frame(0);
        MUST(velkori_updateSourceReferenceTPose(
            handle, reference.data(), Count(reference), isPart ? "upperBody" : nullptr));
        Hash hash;
        hash.Add(RestPose(handle, Source, velkori_SkeletonTPoseType_Current));
        for (int frame = 1; frame < FrameCount; ++frame) {
            hash.Add(Retarget(handle, {frame % 4, frame % 3, 1}, person.Frame(frame)));
        }
        stages.emplace_back(std::string("frame/reference/") + names[stage], hash);
    }
}

// What can be read of a frame afterwards.
void RunReadBacks(Stages& stages, const std::string& document) {
    const Instance instance(document);
    const velkori_Handle handle = instance.handle;
    const MovingBody person = MakeBody(handle, Source, 5, 3);
    Hash poses;
    Hash rests;
    Hash mappings;
    for (int frame = 0; frame < 12; ++frame) {
        const Transforms target = Retarget(handle, {frame % 4, frame % 3, 1}, person.Frame(4 * frame));
        for (const auto type : {Source, Target}) {
            for (const auto space : Spaces) {
                poses.Add(ReadList<velkori_Transform_>([&](velkori_Transform_* out, std::int32_t* count) {
                    return velkori_getLastProcessedFramePose(
                        handle, type, space, out, count, frame % 4 == 3 ? "upperBody" : nullptr);
                }));
                rests.Add(RestPose(handle, type, velkori_SkeletonTPoseType_Current, space));
            }
        }
        for (std::int32_t joint = 0; joint < Count(target); ++joint) {
            velkori_SkeletonType type = Source;
            velkori_Transform_ rest = {};
            velkori_Transform_ pose = {};
            std::vector<std::int32_t> sources(128);
            std::int32_t count = Count(sources);
            mappings.Add(velkori_getLastRetargetedMappingData(
                handle, joint, &type, &rest, &pose, sources.data(), &count));
            mappings.Add(type, rest, pose, sources);
        }
    }
    stages.emplace_back("frame/read-back/poses", poses);
    stages.emplace_back("frame/read-back/rest-poses", rests);
    stages.emplace_back("frame/read-back/mappings", mappings);
}

// Every option may change from one frame to the next.
Hash MixedFrames(const std::string& document) {
    const Instance instance(document);
    const MovingBody person = MakeBody(instance.handle, Source, 6, -4, Max);
    Generator generator(7);
    Hash hash;
    for (int frame = 0; frame < 300; ++frame) {
        FrameOptions options;
        options.behavior = generator.Below(4);
        options.rootMotion = generator.Below(3);
        options.fixup = generator.Below(2);
        options.space = generator.Below(4);
        hash.Add(Retarget(instance.handle, options, person.Frame(generator.Below(500))));
    }
    return hash;
}

// With weights that differ between position and rotation, and between the sizes.
std::string WithUnevenWeights(const std::string& document) {
    const std::string uneven = Replace(document, "\"weightPosition\": 0.25", "\"weightPosition\": 0.625");
    return Replace(uneven, "\"weightPosition\": 0.5", "\"weightPosition\": 0.75", uneven.rfind("\"max\""));
}

// With joints in the trunk and in a limb that follow the target's own and take others along, and twist joints
// that follow the source's.
std::string WithOtherMappings(std::string document) {
    const std::size_t mapping = document.find("\"mapping\"");
    document = Replace(document, "\"twist\"", "\"normal\"", mapping);
    document = Replace(document, "\"ikDerived\"", "\"childAlignedTwist\"", mapping);
    document = Replace(document, "\"UpperArmTwist_L\"", "\"Thumb1_L\"", mapping);
    document = Replace(document, "\"Spine02\"", "\"UpperArmTwist_L\"", mapping);
    return Replace(document, "\"ForeArmTwist_R\"", "\"Clavicle_R\"", mapping);
}

// Two source joints for every joint, blended by many different weights.
std::string WithPairs(const std::string& document) {
    const std::size_t first = document.find('[') + 1;
    const std::size_t last = document.find(']');
    std::vector<std::string> names;
    for (std::size_t at = document.find('"', first); at < last; at = document.find('"', at)) {
        const std::size_t end = document.find('"', at + 1) + 1;
        names.push_back(document.substr(at, end - at));
        at = end;
    }
    std::string mappings;
    for (std::size_t joint = 0; joint < names.size(); ++joint) {
        const auto entry = [&](std::size_t source, std::size_t weight) {
            return names[source % names.size()] + R"(: {"weightPosition": 1.0, "weightRotation": 0.)" +
                   std::to_string(weight) + '}';
        };
        mappings += (joint == 0 ? "" : ", ") + names[joint] +
                    R"(: {"type": "source", "behavior": "normal", "mappings": {)" +
                    entry(joint, 1000 - 37 * joint) + ", " + entry(7 * joint + 3, 111 + 37 * joint) + "}}";
    }
    return document.substr(0, document.find("\"mapping\"")) + R"("mapping": {"min": {)" + mappings +
           R"(}, "max": {)" + mappings + "}}}";
}

// So many rotations, however far apart, that a change in the last bit of how they are blended is seen.
Hash BlendedPairs(const std::string& document) {
    const Instance instance(document);
    Transforms frame = RestPose(instance.handle, Source, Min);
    Generator generator(8);
    Hash hash;
    for (int i = 0; i < 6000; ++i) {
        for (velkori_Transform_& transform : frame) {
            float* const numbers[] = {&transform.orientation.x, &transform.orientation.y,
                &transform.orientation.z, &transform.orientation.w};
            for (float* const number : numbers) {
                *number = static_cast<float>(2 * generator.Within(1 << 15) + 1) * 0x1p-16F;
            }
        }
        hash.Add(Retarget(instance.handle, {3}, frame));
    }
    return hash;
}

} // namespace

void RunFrameStages(Stages& stages, const Samples& samples) {
    const char* const behaviors[] = {
        "match-proportions", "rotate-hands", "rotations-scaled", "rotations-unscaled"};
    const char* const rootMotions[] = {"root-from-hips", "root-unchanged", "root-from-reference"};
    for (int behavior = 0; behavior < 4; ++behavior) {
        const std::string name = std::string("frame/") + behaviors[behavior] + '/';
        for (int rootMotion = 0; rootMotion < 3; ++rootMotion) {
            stages.emplace_back(name + rootMotions[rootMotion], Frames(samples.full, {behavior, rootMotion}));
        }
        for (int space = 1; space < 4; ++space) {
            stages.emplace_back(name + SpaceNames[space], Frames(samples.full, {behavior, 1, 0, space}));
        }
        // With the other two it changes nothing.
        if (behavior < 2) {
            stages.emplace_back(name + "fixup", Frames(samples.full, {behavior, 1, 1}));
        }
    }
    RunManifestations(stages, samples.full);
    RunReferences(stages, samples.full);
    RunReadBacks(stages, samples.full);
    stages.emplace_back("frame/mixed/full", MixedFrames(samples.full));
    stages.emplace_back("frame/mixed/uneven-weights", MixedFrames(WithUnevenWeights(samples.full)));
    stages.emplace_back("frame/mixed/other-mappings", MixedFrames(WithOtherMappings(samples.full)));
    stages.emplace_back("frame/mixed/simple", MixedFrames(samples.simple));
    stages.emplace_back("frame/blended-pairs", BlendedPairs(WithPairs(samples.simple)));
}
