#include "Velkori_Utility.h"
#include "support/HostPoses.h"
#include "support/Samples.h"
#include "support/SmallRecords.h"

#include <gtest/gtest.h>

TEST(Poses, GoThroughManifestationsAndBack) {
    const SmallRecords records{};
    const RecordedConfig config(records.Config());
    const auto convert = [&](const char* from, velkori_JointRelativeSpaceType fromSpace,
                             const Transforms& pose, const char* to, velkori_JointRelativeSpaceType toSpace) {
        Transforms out(to == nullptr ? 5 : 2);
        auto count = static_cast<int32_t>(out.size());
        EXPECT_EQ(velkori_convertPoseFromToManifestation(config.handle, Source, from, fromSpace, pose.data(),
                      static_cast<int32_t>(pose.size()), to, toSpace, out.data(), &count),
            Success);
        EXPECT_EQ(count, std::ssize(out));
        return out;
    };
    const Transforms top = convert(nullptr, RootSpace, records.pose, "top", RootSpace);
    EXPECT_TRUE(SameBits(top, {records.pose[2], records.pose[3]}));
    // Equal ends copy what is there as it stands.
    Transforms unnormalized = top;
    unnormalized[1].orientation = {0, 0, 0, 2};
    EXPECT_TRUE(SameBits(convert("top", RootSpace, unnormalized, "top", RootSpace), unnormalized));
    // A member whose parent isn't one keeps its place; the other is told from it.
    const Transforms local = convert("top", RootSpace, top, "top", LocalSpace);
    ExpectNear(local, {At(0, 1.5F, 0), At(0, 0.25F, 0.25F)}, 0.0F);
    ExpectNear(convert("top", LocalSpace, local, "top", RootSpace), top, 0.0F);
    // The whole body follows from its rest pose.
    ExpectNear(convert("top", LocalSpace, local, nullptr, RootSpace), records.pose, 1e-5F);
    ExpectNear(convert(nullptr, RootSpace, records.pose, nullptr, LocalSpace),
        {At(0, 0, 0), At(0, 1, 0), At(0, 0.5F, 0), At(0, 0.25F, 0.25F), At(1, 1, 0)}, 1e-6F);
}

TEST(Poses, AreConvertedAndMeasuredAsTheyStand) {
    const LoadedConfig config(ReadSample("full.json"));
    const velkori_Handle handle = config.Get();
    const Transforms rest = TPose(handle, Target, Max);
    Transforms pose = rest;
    const auto count = static_cast<int32_t>(pose.size());
    const auto extentsOf = [&] {
        velkori_PoseExtents_ extents = {};
        EXPECT_EQ(
            velkori_calculatePoseExtents(handle, Target, RootSpace, pose.data(), count, &extents), Success);
        return extents;
    };
    const auto convert = [&](const velkori_CoordinateSpace_& from, const velkori_CoordinateSpace_& to) {
        EXPECT_EQ(
            velkori_applyCoordinateSpaceConversion(handle, Target, RootSpace, pose.data(), count, from, to),
            Success);
    };
    const velkori_CoordinateSpace_ yUp = VELKORI_DEFAULT_COORDINATE_SPACE;
    const velkori_CoordinateSpace_ zUp = {{0, 0, 1}, {0, -1, 0}, {1, 0, 0}};
    convert(yUp, zUp);
    EXPECT_EQ(pose[5].position.z, rest[5].position.y) << "up stays up";
    convert(zUp, yUp);
    for (std::size_t i = 0; i < pose.size(); ++i) {
        EXPECT_EQ(Distance(pose[i].position, rest[i].position), 0.0F) << i;
    }

    velkori_PoseInfo_ info = {};
    EXPECT_EQ(velkori_getPoseInfo(handle, Target, Max, &info), Success);
    EXPECT_EQ(extentsOf().max.y, info.extents.max.y);
    EXPECT_EQ(extentsOf().range.x, info.extents.range.x);
    EXPECT_EQ(info.knownJointPositions[velkori_KnownJointType_LeftWrist].x,
        rest[JointIndex(handle, Target, "Hand_L")].position.x);
    EXPECT_EQ(velkori_scalePoseToHeight(handle, Target, RootSpace, 1.0F, count, pose.data()), Success);
    EXPECT_NEAR(extentsOf().range.y, 1.0F, 1e-4F);
    float length = -1.0F;
    EXPECT_EQ(velkori_getLengthBetweenJoints(handle, Target, Max, 3, 3, &length), Success);
    EXPECT_EQ(length, 0.0F);
}
