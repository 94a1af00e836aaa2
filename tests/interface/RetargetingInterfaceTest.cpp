#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"
#include "support/Samples.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>

namespace {

using Texts = std::vector<std::string>;

constexpr auto RootSpace = velkori_JointRelativeSpaceType_RootOriginRelative;
constexpr auto Source = velkori_SkeletonType_Source;
constexpr auto Target = velkori_SkeletonType_Target;

velkori_RetargetingBehaviorInfo_ Info(int behavior, bool fixup = false, int rootMotion = 1) {
    return {RootSpace, static_cast<velkori_RetargetingBehavior>(behavior),
        static_cast<velkori_RetargetingRootMotionBehavior>(rootMotion),
        fixup ? velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup
              : velkori_RetargetingBehaviorFlags_None};
}

Transforms Retarget(velkori_Handle handle, const Transforms& frame,
    const velkori_RetargetingBehaviorInfo_& info, const char* sourceManifestation = nullptr,
    const char* targetManifestation = nullptr) {
    int32_t count = 0;
    EXPECT_EQ(
        velkori_retargetFromSourceFrameData(handle, info, frame.data(), static_cast<int32_t>(frame.size()),
            nullptr, &count, sourceManifestation, targetManifestation),
        velkori_Result_Success);
    Transforms result(count);
    EXPECT_EQ(
        velkori_retargetFromSourceFrameData(handle, info, frame.data(), static_cast<int32_t>(frame.size()),
            result.data(), &count, sourceManifestation, targetManifestation),
        velkori_Result_Success);
    EXPECT_EQ(count, std::ssize(result));
    return result;
}

void SetReference(velkori_Handle handle, const Transforms& pose) {
    EXPECT_EQ(
        velkori_updateSourceReferenceTPose(handle, pose.data(), static_cast<int32_t>(pose.size()), nullptr),
        velkori_Result_Success);
}

bool SameBits(const Transforms& a, const Transforms& b) {
    return a.size() == b.size() &&
           std::memcmp(a.data(), b.data(), a.size() * sizeof(velkori_Transform_)) == 0;
}

void ExpectNear(const Transforms& a, const Transforms& b, float tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_LE(Distance(a[i].position, b[i].position), tolerance) << "joint " << i;
        ASSERT_LE(Angle(a[i].orientation, b[i].orientation), tolerance) << "joint " << i;
    }
}

// A configuration whose target is the source skeleton of the simple sample with all positions multiplied,
// each joint driven by its counterpart.
class MirroredRig {
  public:
    explicit MirroredRig(float scale) {
        const LoadedConfig sample(ReadSample("simple.json"));
        int32_t size = 0;
        int32_t count = 0;
        velkori_getJointNames(sample.Get(), Source, nullptr, &size, nullptr, &count);
        std::vector<char> buffer(size, '\0');
        std::vector<const char*> names(count);
        velkori_getJointNames(sample.Get(), Source, buffer.data(), &size, names.data(), &count);
        const std::vector<int32_t> parents = ParentsOf(sample.Get(), Source);
        std::vector<const char*> parentNames;
        std::vector<velkori_JointMapping_> mappings;
        std::vector<velkori_JointMappingEntry_> entries;
        for (int32_t i = 0; i < count; ++i) {
            parentNames.push_back(parents[i] == -1 ? nullptr : names[parents[i]]);
            mappings.push_back({i, Source, velkori_JointMappingBehaviorType_Normal, 1});
            entries.push_back({i, 1, 1});
        }
        const Transforms pose = MovingBody(sample.Get(), 0.5F).Rest();
        Transforms scaled = pose;
        for (velkori_Transform_& joint : scaled) {
            joint.position = {joint.position.x * scale, joint.position.y * scale, joint.position.z * scale};
        }
        velkori_UtilityConfigInitParams_ params = {};
        params.sourceSkeleton.jointCount = count;
        params.sourceSkeleton.jointNames = names.data();
        params.sourceSkeleton.parentJointNames = parentNames.data();
        params.sourceSkeleton.knownJoints = VELKORI_KNOWN_JOINT_NAMES;
        params.targetSkeleton = params.sourceSkeleton;
        params.sourceSkeleton.unscaledTPose = pose.data();
        params.targetSkeleton.unscaledTPose = scaled.data();
        params.minMappings = params.maxMappings = {count, count, mappings.data(), entries.data()};
        EXPECT_EQ(velkori_createOrUpdateUtilityConfig("mirrored", &params, &handle), velkori_Result_Success);
    }

    ~MirroredRig() { velkori_destroy(handle); }

    MirroredRig(const MirroredRig&) = delete;
    MirroredRig& operator=(const MirroredRig&) = delete;

    velkori_Handle handle = 0;
};

} // namespace

TEST(Retargeting, AnIdenticalTargetFollowsItsSource) {
    const MirroredRig rig(1.0F);
    const MovingBody body(rig.handle, 0.5F);
    SetReference(rig.handle, body.Rest());
    for (int frame = 0; frame < 300; ++frame) {
        const Transforms source = body.Frame(static_cast<float>(frame) / 72.0F);
        for (const int behavior : {0, 1, 2, 3}) {
            ExpectNear(Retarget(rig.handle, source, Info(behavior)), source, 1e-4F);
        }
    }
}

TEST(Retargeting, ALargerTargetTurnsAlikeWithLongerBones) {
    const MirroredRig rig(1.3F);
    const MovingBody body(rig.handle, 0.5F);
    SetReference(rig.handle, body.Rest());
    const std::vector<int32_t> parents = ParentsOf(rig.handle, Target);
    int32_t hips = -1;
    velkori_getJointIndexByKnownJointType(rig.handle, Target, velkori_KnownJointType_Hips, &hips);
    for (int frame = 0; frame < 100; ++frame) {
        const Transforms source = body.Frame(static_cast<float>(frame) / 30.0F);
        for (const int behavior : {0, 3}) {
            const Transforms target = Retarget(rig.handle, source, Info(behavior));
            for (std::size_t i = 0; i < target.size(); ++i) {
                ASSERT_LE(Angle(target[i].orientation, source[i].orientation), 1e-4F);
            }
            for (std::size_t i = 0; behavior == 3 && i < target.size(); ++i) {
                if (parents[i] != -1 && static_cast<int>(i) != hips) {
                    const velkori_Vector3f_ bone = Subtract(target[i].position, target[parents[i]].position);
                    const velkori_Vector3f_ driving =
                        Subtract(source[i].position, source[parents[i]].position);
                    ASSERT_LE(Length(Subtract(bone, {driving.x * 1.3F, driving.y * 1.3F, driving.z * 1.3F})),
                        1e-4F);
                }
            }
        }
    }
    // At rest the proportions are the target's own.
    const Transforms rest = body.Rest();
    const Transforms target = Retarget(rig.handle, rest, Info(0));
    for (std::size_t i = 0; i < rest.size(); ++i) {
        const velkori_Vector3f_& p = rest[i].position;
        EXPECT_LE(Distance(target[i].position, {p.x * 1.3F, p.y * 1.3F, p.z * 1.3F}), 1e-4F);
    }
}

TEST(Retargeting, TheFullSampleMakesPhysicalSense) {
    const LoadedConfig config(ReadSample("full.json"));
    const velkori_Handle handle = config.Get();
    const MovingBody body(handle, 0.5F);
    SetReference(handle, body.Rest());
    const auto joint = [&](const std::string& name) { return JointIndex(handle, Target, name); };
    const std::vector<int32_t> parents = ParentsOf(handle, Target);
    const Transforms atRest = Retarget(handle, body.Rest(), Info(1));
    for (int frame = 0; frame < 200; ++frame) {
        const Transforms pose = Retarget(handle, body.Frame(static_cast<float>(frame) / 50.0F), Info(1));
        for (const velkori_Transform_& each : pose) {
            ASSERT_TRUE(std::isfinite(Length(each.position)) && Length(each.position) < 10.0F);
        }
        const auto relative = [&](const Transforms& p, int index) {
            return Rotate(Conjugate(p[parents[index]].orientation),
                Subtract(p[index].position, p[parents[index]].position));
        };
        // A twist joint stays on its bone: seen from its parent it lies where it lay, but for the distance.
        for (const char* twist : {"ForeArmTwist_R", "UpperArmTwist_L", "ThighTwist_R", "ShinTwist_L"}) {
            const velkori_Vector3f_ now = relative(pose, joint(twist));
            const velkori_Vector3f_ then = relative(atRest, joint(twist));
            const float along = (now.x * then.x + now.y * then.y + now.z * then.z) / Length(then);
            ASSERT_NEAR(Length(now), along, 1e-5F) << twist << " at " << frame;
            ASSERT_GT(along, 0.5F * Length(then)) << twist;
        }
        // Joints without a mapping ride along on their parents.
        for (const char* rider : {"Jaw", "Eye_L", "Prop_R"}) {
            const int index = joint(rider);
            ASSERT_LE(Distance(relative(pose, index), relative(atRest, index)), 1e-4F) << rider;
        }
        // Behaviour 1 leaves finger bones their length.
        for (const char* finger : {"Index2_R", "Thumb3_L", "LittleTip_R"}) {
            const int index = joint(finger);
            ASSERT_NEAR(Distance(pose[index].position, pose[parents[index]].position),
                Distance(atRest[index].position, atRest[parents[index]].position), 1e-4F)
                << finger;
        }
    }
}

TEST(Retargeting, AFrameRestsOnNothingButItself) {
    const LoadedConfig config(ReadSample("full.json"));
    const MovingBody body(config.Get(), 0.3F);
    SetReference(config.Get(), body.Rest());
    std::vector<Transforms> inOrder;
    inOrder.reserve(20);
    for (int frame = 0; frame < 20; ++frame) {
        inOrder.push_back(Retarget(
            config.Get(), body.Frame(static_cast<float>(frame) * 0.1F), Info(frame % 4, frame % 3 == 0, 0)));
    }
    for (const int frame : {17, 3, 3, 0, 12, 19, 1}) {
        const Transforms again = Retarget(
            config.Get(), body.Frame(static_cast<float>(frame) * 0.1F), Info(frame % 4, frame % 3 == 0, 0));
        EXPECT_TRUE(SameBits(again, inOrder[frame])) << frame;
    }
}

TEST(Retargeting, APartOfTheBodyDrivesTheWhole) {
    const LoadedConfig config(ReadSample("full.json"));
    const MovingBody body(config.Get(), 0.5F);
    int32_t count = 0;
    ASSERT_EQ(velkori_getJointsInManifestation(config.Get(), Source, "upperBody", nullptr, &count),
        velkori_Result_Success);
    std::vector<int32_t> members(count);
    velkori_getJointsInManifestation(config.Get(), Source, "upperBody", members.data(), &count);
    const Transforms frame = body.Frame(0.7F);
    Transforms part;
    for (const int32_t member : members) {
        part.push_back(frame[member]);
    }
    const Transforms whole = Retarget(config.Get(), part, Info(0), "upperBody");
    const Transforms reference = Retarget(config.Get(), frame, Info(0));
    const int hand = JointIndex(config.Get(), Target, "Hand_R");
    EXPECT_LE(Distance(whole[hand].position, reference[hand].position), 0.05F);
    EXPECT_LE(Angle(whole[hand].orientation, reference[hand].orientation), 0.05F);
    const Transforms targetPart = Retarget(config.Get(), frame, Info(0), nullptr, "upperBody");
    EXPECT_LT(targetPart.size(), reference.size());
    int32_t first = -1;
    int32_t targetCount = static_cast<int32_t>(targetPart.size());
    std::vector<int32_t> targetMembers(targetPart.size());
    velkori_getJointsInManifestation(config.Get(), Target, "upperBody", targetMembers.data(), &targetCount);
    first = targetMembers.front();
    EXPECT_TRUE(SameBits({targetPart.front()}, {reference[first]}));
}

TEST(Retargeting, BadInputIsRefusedAndLeavesNoTrace) {
    const LoadedConfig config(ReadSample("simple.json"));
    const MovingBody body(config.Get(), 0.5F);
    SetReference(config.Get(), body.Rest());
    const Transforms frame = body.Frame(0.4F);
    const Transforms good = Retarget(config.Get(), frame, Info(0));
    const auto joints = static_cast<int32_t>(frame.size());
    Transforms out(good.size(), velkori_Transform_{{9, 9, 9, 9}, {9, 9, 9}, {9, 9, 9}});
    const Transforms untouched = out;
    const LogCapture capture;

    struct Case {
        const char* sourcePart;
        const char* targetPart;
        int behavior;
        int space;
        float damage;
        int32_t sourceCount;
        int32_t room;
        velkori_Result result;
        std::string line;
    };

    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    const std::string notFinite =
        "Transform Array contains either nan/inf values or an invalid (Zero) Quaternion";
    const Case cases[] = {
        {nullptr, nullptr, 0, 0, nan, joints, joints, velkori_Result_InvalidValue, notFinite},
        {nullptr, nullptr, 0, 0, inf, joints, joints, velkori_Result_InvalidValue, notFinite},
        {nullptr, nullptr, 0, 0, 0, joints - 1, joints, velkori_Result_InvalidValue,
            "in_numSourceJoints does not match the source skeleton joint count"},
        {nullptr, nullptr, 0, 0, 0, joints, joints - 1, velkori_Result_BufferTooSmall,
            "Parameter in_out_numTargetJoints is not large enough for Target Skeleton Joint Count. Expected "
            "{} joints, "
            "got {} joints"},
        {"feet", nullptr, 0, 0, 0, joints, joints, velkori_Result_InvalidValue,
            "Could not find manifestation named: feet in source skeleton data."},
        {nullptr, "feet", 0, 0, 0, joints, joints, velkori_Result_InvalidValue,
            "Could not find manifestation named: feet in target skeleton data."},
        {nullptr, nullptr, 4, 0, 0, joints, joints, velkori_Result_InvalidValue,
            "Retargeting behavior 4 is not between 0 and 3"},
        {nullptr, nullptr, -1, 0, 0, joints, joints, velkori_Result_InvalidValue,
            "Retargeting behavior -1 is not between 0 and 3"},
        {nullptr, nullptr, 0, 4, 0, joints, joints, velkori_Result_InvalidValue,
            "Joint space type 4 is not between 0 and 3"},
    };
    for (const Case& each : cases) {
        Transforms damaged = frame;
        damaged[3].position.y += each.damage;
        velkori_RetargetingBehaviorInfo_ info = Info(each.behavior);
        info.jointSpaceType = static_cast<velkori_JointRelativeSpaceType>(each.space);
        int32_t room = each.room;
        EXPECT_EQ(velkori_retargetFromSourceFrameData(config.Get(), info, damaged.data(), each.sourceCount,
                      out.data(), &room, each.sourcePart, each.targetPart),
            each.result);
        EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: " + each.line});
        EXPECT_EQ(room, each.room);
        EXPECT_TRUE(SameBits(out, untouched));
        EXPECT_TRUE(SameBits(Retarget(config.Get(), frame, Info(0)), good))
            << "the next good frame is unaffected";
    }
    Transforms zero = frame;
    zero[1].orientation = {0, 0, 0, 0};
    EXPECT_EQ(velkori_updateSourceReferenceTPose(config.Get(), zero.data(), joints, nullptr),
        velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_updateSourceReferenceTPose(config.Get(), frame.data(), joints, "feet"),
        velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_updateSourceReferenceTPose(config.Get(), nullptr, 0, nullptr),
        velkori_Result_InvalidParameter);
    EXPECT_EQ(LogCapture::TakeTexts(),
        (Texts{"[ERROR]: " + notFinite,
            "[ERROR]: Could not find manifestation named: feet in source skeleton data.",
            "[ERROR]: Parameter in_transformData and in_numJoints must not be Null"}));
}

// Finite numbers whose squares aren't must not become the reference that later frames are read against.
TEST(Retargeting, AFrameFarBeyondAnyBodyLeavesNoTrace) {
    const LoadedConfig config(ReadSample("simple.json"));
    const LoadedConfig fresh(ReadSample("simple.json"));
    const MovingBody body(config.Get(), 0.5F);
    const Transforms frame = body.Frame(0.4F);
    Transforms huge = frame;
    for (std::size_t i = 0; i < huge.size(); ++i) {
        huge[i].position = {i % 2 == 0 ? 3e38F : -3e38F, 1e30F, 0};
    }
    huge[1].orientation = {1e25F, 0, 0, 1e25F};
    Retarget(config.Get(), huge, Info(0));
    EXPECT_TRUE(SameBits(Retarget(config.Get(), frame, Info(0)), Retarget(fresh.Get(), frame, Info(0))));
}

TEST(Retargeting, AManifestationWithoutJointsIsUnknown) {
    const char* const names[] = {"root", "hips"};
    const char* const parents[] = {nullptr, "root"};
    const velkori_Transform_ pose[] = {
        {{0, 0, 0, 1}, {0, 0, 0}, {1, 1, 1}}, {{0, 0, 0, 1}, {0, 1, 0}, {1, 1, 1}}};
    const char* const manifestation = "empty";
    const int32_t jointCount = 0;
    velkori_UtilityConfigInitParams_ params = {};
    params.sourceSkeleton.jointCount = 2;
    params.sourceSkeleton.jointNames = names;
    params.sourceSkeleton.parentJointNames = parents;
    params.sourceSkeleton.unscaledTPose = pose;
    params.sourceSkeleton.optional_manifestationCount = 1;
    params.sourceSkeleton.optional_manifestationNames = &manifestation;
    params.sourceSkeleton.optional_manifestationJointCounts = &jointCount;
    params.sourceSkeleton.optional_manifestationJointNames = names;
    params.targetSkeleton = params.sourceSkeleton;
    velkori_Handle handle = 0;
    ASSERT_EQ(velkori_createOrUpdateUtilityConfig("empty", &params, &handle), velkori_Result_Success);
    velkori_Transform_ out = {};
    int32_t room = 0;
    EXPECT_EQ(
        velkori_retargetFromSourceFrameData(handle, Info(0), pose, 2, &out, &room, nullptr, manifestation),
        velkori_Result_InvalidValue);
    room = 2;
    Transforms both(2);
    EXPECT_EQ(velkori_retargetFromSourceFrameData(
                  handle, Info(0), pose, 0, both.data(), &room, manifestation, nullptr),
        velkori_Result_InvalidValue);
    EXPECT_EQ(
        velkori_updateSourceReferenceTPose(handle, pose, 0, manifestation), velkori_Result_InvalidParameter);
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

TEST(Retargeting, ReadsBackWhatTheLastFrameDid) {
    const LoadedConfig config(ReadSample("full.json"));
    const LogCapture capture;
    int32_t count = 0;
    EXPECT_EQ(velkori_getLastProcessedFramePose(config.Get(), Target, RootSpace, nullptr, &count, nullptr),
        velkori_Result_OperationFailed);
    EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: Retargeting cached frame data is not valid."});
    const int hand = JointIndex(config.Get(), Target, "Hand_R");
    int32_t driver = -1;
    int32_t driverCount = 1;
    velkori_SkeletonType type = Target;
    velkori_Transform_ mapped = {};
    EXPECT_EQ(velkori_getLastRetargetedMappingData(
                  config.Get(), hand, &type, nullptr, &mapped, &driver, &driverCount),
        velkori_Result_InvalidValue);
    LogCapture::TakeLines();

    const MovingBody body(config.Get(), 0.5F);
    const Transforms frame = body.Frame(1.0F);
    const Transforms pose = Retarget(config.Get(), frame, Info(0));
    Transforms read(pose.size());
    count = static_cast<int32_t>(read.size());
    EXPECT_EQ(
        velkori_getLastProcessedFramePose(config.Get(), Target, RootSpace, read.data(), &count, nullptr),
        velkori_Result_Success);
    EXPECT_TRUE(SameBits(read, pose));
    // A single entry's pose is the mapping's result as it stands: the source joint's.
    EXPECT_EQ(velkori_getLastRetargetedMappingData(
                  config.Get(), hand, &type, nullptr, &mapped, &driver, &driverCount),
        velkori_Result_Success);
    EXPECT_EQ(type, Source);
    EXPECT_EQ(driver, JointIndex(config.Get(), Source, "rightWrist"));
    EXPECT_LE(Distance(mapped.position, frame[driver].position), 1e-5F);
    EXPECT_EQ(velkori_getLastRetargetedMappingData(config.Get(), JointIndex(config.Get(), Target, "Jaw"),
                  &type, nullptr, &mapped, &driver, &driverCount),
        velkori_Result_InvalidValue);
    EXPECT_EQ(LogCapture::TakeTexts().size(), 1U);
}
