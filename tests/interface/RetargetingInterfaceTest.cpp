#include "Velkori_Utility.h"
#include "support/BipedConfig.h"
#include "support/HostPoses.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

// With arms that hang a little, and turned a little.
const BipedShape Shape = {1.8F, 2, 0.3F, 3, false, 0.5F};

std::vector<int32_t> MembersOf(velkori_Handle handle, velkori_SkeletonType type, const char* manifestation) {
    int32_t count = 0;
    EXPECT_EQ(velkori_getJointsInManifestation(handle, type, manifestation, nullptr, &count), Success);
    std::vector<int32_t> members(count);
    EXPECT_EQ(velkori_getJointsInManifestation(handle, type, manifestation, members.data(), &count), Success);
    return members;
}

} // namespace

TEST(Retargeting, AnIdenticalTargetFollowsItsSource) {
    const BipedConfig rig(Shape, 1.0F);
    const MovingBody body(rig.handle, 0.5F);
    // Without a reference the frame itself supplies one.
    const Transforms first = body.Frame(0.4F);
    ExpectNear(Retarget(rig.handle, first, Info(0)), first, 1e-4F);
    SetReference(rig.handle, body.Rest());
    for (int frame = 0; frame < 300; ++frame) {
        const Transforms source = body.Frame(static_cast<float>(frame) / 72.0F);
        for (const int behavior : {0, 1, 2, 3}) {
            ExpectNear(Retarget(rig.handle, source, Info(behavior)), source, 1e-4F);
        }
    }
}

TEST(Retargeting, ALargerTargetTurnsAlikeWithLongerBones) {
    const BipedConfig rig(Shape, 1.3F);
    const MovingBody body(rig.handle, 0.5F);
    SetReference(rig.handle, body.Rest());
    const std::vector<int32_t> parents = ParentsOf(rig.handle, Target);
    for (int frame = 0; frame < 100; ++frame) {
        const Transforms source = body.Frame(static_cast<float>(frame) / 30.0F);
        for (const int behavior : {0, 3}) {
            const Transforms target = Retarget(rig.handle, source, Info(behavior));
            for (int i = 0; i < std::ssize(target); ++i) {
                ASSERT_LE(Angle(target[i].orientation, source[i].orientation), 1e-4F);
                if (behavior == 3 && parents[i] != -1 && i != rig.target.IndexOf("hips")) {
                    const auto bone = Subtract(target[i].position, target[parents[i]].position);
                    const auto driving = Subtract(source[i].position, source[parents[i]].position);
                    ASSERT_LE(Distance(bone, Scaled(driving, 1.3F)), 1e-4F);
                }
            }
        }
    }
    // At rest the proportions are the target's own.
    ExpectNear(Retarget(rig.handle, body.Rest(), Info(0)), rig.target.pose, 1e-4F);
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
    const Transforms frame = MovingBody(config.Get(), 0.5F).Frame(0.7F);
    Transforms part;
    for (const int32_t member : MembersOf(config.Get(), Source, "upperBody")) {
        part.push_back(frame[member]);
    }
    const Transforms whole = Retarget(config.Get(), part, Info(0), "upperBody");
    const Transforms reference = Retarget(config.Get(), frame, Info(0));
    const int hand = JointIndex(config.Get(), Target, "Hand_R");
    EXPECT_LE(Distance(whole[hand].position, reference[hand].position), 0.05F);
    EXPECT_LE(Angle(whole[hand].orientation, reference[hand].orientation), 0.05F);
    Transforms expected;
    for (const int32_t member : MembersOf(config.Get(), Target, "upperBody")) {
        expected.push_back(reference[member]);
    }
    EXPECT_LT(expected.size(), reference.size());
    EXPECT_TRUE(SameBits(Retarget(config.Get(), frame, Info(0), nullptr, "upperBody"), expected));
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

// A joint that another one of the target drives takes its children along, the ones that were finished before.
TEST(Retargeting, WhatTheTargetsOwnJointsMoveTakesItsChildrenAlongAndIsReadBack) {
    const SmallRecords records{};
    const RecordedConfig config(records.Config());
    SetReference(config.handle, records.pose);
    Transforms frame = records.pose;
    frame[4].position = {1, 1.5F, 2};
    const Transforms out = Retarget(config.handle, frame, Info(0));
    // A mapping of the target to itself has no offset: the chest goes to the staff, and the head is as far
    // from it as ever. The hips stay.
    ExpectNear(
        out, {records.pose[0], records.pose[1], At(1, 1.5F, 2), At(1, 1.75F, 2.25F), At(1, 1.5F, 2)}, 1e-5F);

    const auto lastPose = [&](int32_t count, const char* part) {
        Transforms pose(count);
        EXPECT_EQ(
            velkori_getLastProcessedFramePose(config.handle, Target, RootSpace, pose.data(), &count, part),
            Success);
        return pose;
    };
    EXPECT_TRUE(SameBits(lastPose(5, nullptr), out));
    EXPECT_TRUE(SameBits(lastPose(2, "top"), {out[2], out[3]}));
    velkori_SkeletonType type = {};
    velkori_Transform_ mappingTPose;
    velkori_Transform_ mappingPose;
    int32_t joints[2];
    int32_t count = 0;
    const auto read = [&](int32_t joint) {
        count = 2;
        return velkori_getLastRetargetedMappingData(
            config.handle, joint, &type, &mappingTPose, &mappingPose, joints, &count);
    };
    ASSERT_EQ(read(2), Success);
    EXPECT_EQ(type, Target);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(joints[0], 4);
    ExpectNear({mappingPose, mappingTPose}, {frame[4], records.pose[4]}, 1e-5F);
    // A single entry's pose is the mapping's result as it stands: the source joint's.
    ASSERT_EQ(read(4), Success);
    EXPECT_EQ(type, Source);
    EXPECT_EQ(joints[0], 4);
    ExpectNear({mappingPose}, {frame[4]}, 1e-5F);
}

// The chest goes to the head, which is carried along by it and so comes after it, and the lamp to where the
// head then is.
TEST(Retargeting, AJointThatIsCarriedAlongIsReadWhereItWasCarried) {
    SmallRecords records;
    records.names.push_back("lamp");
    records.parents.push_back("root");
    records.pose.push_back(At(2, 1, 0));
    const auto normal = velkori_JointMappingBehaviorType_Normal;
    records.mappings = {
        {0, Source, normal, 1}, {3, Source, normal, 1}, {2, Target, normal, 1}, {5, Target, normal, 1}};
    records.entries = {{0, 1, 1}, {3, 1, 1}, {3, 1, 1}, {3, 1, 1}};
    const RecordedConfig config(records.Config());
    SetReference(config.handle, records.pose);
    Transforms frame = records.pose;
    frame[3].position = {1, 2, 0.25F};
    const Transforms out = Retarget(config.handle, frame, Info(0));
    EXPECT_LE(Distance(out[2].position, {1, 2, 0.25F}), 1e-5F);
    // As far from the chest as it was when the chest was at (0, 1.5, 0).
    EXPECT_LE(Distance(out[3].position, {2, 2.5F, 0.5F}), 1e-5F);
    EXPECT_LE(Distance(out[5].position, {2, 2.5F, 0.5F}), 1e-5F);
}

// A twist joint slides along its bone, to where the staff is beside it, and leaves its children behind.
TEST(Retargeting, ATwistJointOfTheTargetLeavesItsChildrenWhereTheyAre) {
    SmallRecords records;
    records.mappings[2].behavior = velkori_JointMappingBehaviorType_Twist;
    const RecordedConfig config(records.Config());
    SetReference(config.handle, records.pose);
    Transforms frame = records.pose;
    frame[4].position = {1, 1.75F, 0};
    const Transforms out = Retarget(config.handle, frame, Info(0));
    EXPECT_LE(Distance(out[2].position, {0, 1.75F, 0}), 1e-5F);
    EXPECT_LE(Distance(out[3].position, records.pose[3].position), 1e-5F);
}

// The root and all that isn't mapped stand as the document has them, where both ends of the size range agree.
TEST(Retargeting, ARestRotationOfAnyLengthComesOutWithLengthOne) {
    SmallRecords records;
    records.mappings.erase(records.mappings.begin());
    records.entries.erase(records.entries.begin());
    const RecordedConfig recorded(records.Config());
    const LoadedConfig config(ReplaceAll(WriteDocument(recorded.handle), "\"w\": 1.0", "\"w\": 2.0"));
    for (const int behavior : {0, 1}) {
        for (const velkori_Transform_& joint : Retarget(config.Get(), records.pose, Info(behavior))) {
            EXPECT_EQ(joint.orientation.w, 1.0F) << behavior;
        }
    }
}

// The root of the reference is the frames' own, so that the source after root motion is the frame, unless it
// is composed of another frame's pose.
TEST(Retargeting, OnlyALocalPoseThatWasReadStaysBehindForRootMotion) {
    const SmallRecords records{};
    velkori_UtilityConfigInitParams_ params = records.Config();
    // Without it, scaled local space is local space.
    params.sourceSkeleton.unscaledTPose = nullptr;
    const RecordedConfig config(params);
    SetReference(config.handle, records.pose);
    const auto lastHips = [&](velkori_JointRelativeSpaceType space) {
        Transforms pose(records.pose.size());
        auto count = static_cast<int32_t>(pose.size());
        EXPECT_EQ(
            velkori_getLastProcessedFramePose(config.handle, Source, space, pose.data(), &count, nullptr),
            Success);
        return pose[1].position.x;
    };

    struct Frame {
        int rootMotion = 0;
        float hips = 0.0F;
        float expected = 0.0F;
        // In which space the pose is read afterwards; root space leaves nothing behind.
        velkori_JointRelativeSpaceType readSpace = RootSpace;
    };

    const Frame frames[] = {{2, 0.1F, 0.1F}, {1, 0.2F, 0.2F}, {2, 0.3F, 0.3F}, {0, 0.4F, 0.4F},
        {2, 0.5F, 0.5F, ScaledRootSpace}, {2, 0.6F, 0.6F, LocalSpace}, {2, 0.7F, 0.6F}, {0, 0.8F, 0.8F},
        {2, 0.9F, 0.6F}, {1, 1.0F, 1.0F}, {2, 1.1F, 1.1F, ScaledLocalSpace}, {2, 1.2F, 1.1F}};
    for (const Frame& each : frames) {
        Transforms pose = records.pose;
        pose[1].position.x = each.hips;
        Retarget(config.handle, pose, Info(0, false, each.rootMotion));
        EXPECT_NEAR(lastHips(RootSpace), each.expected, 1e-6F);
        lastHips(each.readSpace);
    }
}

TEST(Retargeting, JointPairsAreFoundByTheirNames) {
    const RecordedConfig config(SmallRecords().Config());
    const char* const pairs[] = {"chest", "staff", "head", "root"};
    std::vector<int32_t> found(4);
    ASSERT_EQ(velkori_generateTargetToSourceJointPairsFromNames(
                  config.handle, config.handle, 2, pairs, found.data()),
        Success);
    EXPECT_EQ(found, (std::vector<int32_t>{2, 4, 3, 0}));
}

// The turn about the up axis is where the hips' forward axis points to, unless it hardly leaves where it was:
// then it is where their right axis does. Rolled by 40 degrees, the two disagree.
TEST(Retargeting, TheRootFacesWhereTheHipsForwardAxisPointsUnlessTheyHardlyTurn) {
    const RecordedConfig config(SmallRecords().Config());
    Transforms frame = SmallRecords().pose;
    SetReference(config.handle, frame);
    constexpr float Degree = 0.017453292F;
    const velkori_Quaternionf_ roll = {0, 0, std::sin(20 * Degree), std::cos(20 * Degree)};
    const float rollCosine = std::cos(40 * Degree);
    // Of the turn before the roll: the cosine of 9 degrees is 0.988, that of 7 is 0.993.
    for (const auto& [degrees, factor] :
        {std::pair{30.0F, rollCosine}, {9.0F, rollCosine}, {7.0F, 1 / rollCosine}, {-7.0F, 1 / rollCosine}}) {
        const float turn = degrees * Degree;
        frame[1].orientation = Multiply(roll, {0, std::sin(turn / 2), 0, std::cos(turn / 2)});
        Retarget(config.handle, frame, Info(0, false, 0));
        Transforms source(frame.size());
        auto count = static_cast<int32_t>(source.size());
        ASSERT_EQ(velkori_getLastProcessedFramePose(
                      config.handle, Source, RootSpace, source.data(), &count, nullptr),
            Success);
        const float facing = std::atan(std::tan(turn) * factor);
        EXPECT_LE(Angle(source[0].orientation, {0, std::sin(facing / 2), 0, std::cos(facing / 2)}), 1e-4F)
            << degrees;
    }
}

// A body's size is read from its left wrist, from the right one where it has no other, and without either
// from its extent along the up axis, the root left out. Between the smallest and the largest pose the left
// wrist, the head, rises from 1 to 2, the right one, the staff, from 1 to 1.5, and the chest, the highest
// joint, from 1 above the lowest to 2.
TEST(Retargeting, ABodysSizeIsReadFromItsLeftWristFirst) {
    for (const auto& [left, right, scale] :
        {std::tuple{"head", "staff", 1.25F}, {nullptr, "staff", 1.4F}, {nullptr, nullptr, 1.75F}}) {
        SmallRecords records;
        records.mappings.clear();
        records.entries.clear();
        records.parents[3] = "root";
        records.pose = {At(0, 0, 0), At(0, 1, 0), At(0, 2, 0), At(0, 1, 0), At(0, 1, 0)};
        const Transforms largest = {At(0, 0, 0), At(0, 1, 0), At(0, 3, 0), At(0, 2, 0), At(0, 1.5F, 0)};
        velkori_UtilityConfigInitParams_ params = records.Config();
        const char* known[VELKORI_KNOWN_JOINT_COUNT] = {"root", "hips"};
        known[velkori_KnownJointType_LeftWrist] = left;
        known[velkori_KnownJointType_RightWrist] = right;
        for (velkori_SkeletonInitParams_* skeleton : {&params.sourceSkeleton, &params.targetSkeleton}) {
            skeleton->knownJoints = known;
            skeleton->maxTPose = largest.data();
        }
        const RecordedConfig config(params);
        // A quarter of the way by the head, four fifths of it by the staff, three quarters of it by the
        // extent.
        SetReference(
            config.handle, {At(0, 0, 0), At(0, 1, 0), At(0, 2.75F, 0), At(0, 1.25F, 0), At(0, 1.4F, 0)});
        const Transforms scaled = [&] {
            Retarget(config.handle, records.pose, Info(2));
            return TPose(config.handle, Target, Current);
        }();
        EXPECT_NEAR(scaled[4].position.y, scale, 1e-5F) << (left != nullptr) << (right != nullptr);
    }
}
