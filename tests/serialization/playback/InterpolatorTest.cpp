#include "serialization/playback/JointPoseInterpolator.h"
#include "serialization/playback/PoseEasing.h"
#include "serialization/playback/SnapshotInterpolator.h"
#include "support/PoseMatchers.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

using namespace Velkori_Utility;

namespace {

constexpr auto Max = velkori_CompressionType_Max;
constexpr float HalfRoot2 = 0.70710678F;

// A face of one weight: what is sampled is a number.
class Weights {
  public:
    void Add(double time, float weight) {
        interpolator.addSnapshot(std::make_shared<FaceSnapshot>(Max, std::vector<float>{weight}, time));
    }

    // -1 if no frame is due.
    float At(double time) {
        const std::span<const float> weights = interpolator.updateAndInterpolatePose(time);
        return weights.empty() ? -1.0F : weights.front();
    }

    void Reset() { interpolator.reset(); }

  private:
    FaceSnapshotInterpolator interpolator{1};
};

std::shared_ptr<BodySnapshot> Body(double time, const JointPose& pose) {
    return std::make_shared<BodySnapshot>(Max, std::vector<JointPose>{pose}, time);
}

} // namespace

TEST(Interpolator, WaitsForFramesAndShowsASingleOneAsItIs) {
    Weights weights;
    EXPECT_EQ(weights.At(1.0), -1.0F);
    weights.Add(2.0, 0.25F);
    EXPECT_EQ(weights.At(1.9), -1.0F) << "not due yet";
    EXPECT_FLOAT_EQ(weights.At(2.1), 0.25F);
    EXPECT_FLOAT_EQ(weights.At(2.2), 0.25F);
    weights.Add(2.5, 0.5F);
    weights.Reset();
    EXPECT_EQ(weights.At(3.0), -1.0F);
}

// The pair that a request samples between is the newest frame that is due and the one that was newest at the
// request before. Requests that are 50 ms or more apart jump to the sample.
TEST(Interpolator, SamplesBetweenTheNewestDueFrameAndTheOneBefore) {
    Weights weights;
    weights.Add(1.0, 0.0F);
    EXPECT_FLOAT_EQ(weights.At(1.0), 0.0F);
    weights.Add(1.5, 0.4F);
    weights.Add(2.0, 0.8F);
    // Both are due: 1.5 is passed over. Nothing is extrapolated beyond 2.
    EXPECT_FLOAT_EQ(weights.At(2.5), 0.8F);
    // Older than what is shown: passed over.
    weights.Add(1.8, 0.1F);
    EXPECT_FLOAT_EQ(weights.At(2.6), 0.8F);
    weights.Add(3.0, 0.0F);
    weights.Add(4.0, 1.0F);
    // From 2 to 3, at 3.
    EXPECT_FLOAT_EQ(weights.At(3.0), 0.0F);
    // Back in time: the pair stays, and so does what is shown, since time that runs backwards catches up
    // nothing.
    EXPECT_FLOAT_EQ(weights.At(1.0), 0.0F);
    // Before both frames the older one is shown.
    EXPECT_FLOAT_EQ(weights.At(1.5), 0.8F);
    // Three quarters of the way from 2 to 3, and 4 isn't due.
    EXPECT_FLOAT_EQ(weights.At(2.75), 0.2F);
}

TEST(Interpolator, TheShownPoseFollowsTheSampleWithin50Milliseconds) {
    Weights weights;
    weights.Add(1.0, 0.0F);
    EXPECT_FLOAT_EQ(weights.At(1.0), 0.0F);
    weights.Add(1.01, 1.0F);
    // 20 of 50 ms after the last request: two fifths of the way.
    EXPECT_NEAR(weights.At(1.02), 0.4F, 1e-5F);
    EXPECT_NEAR(weights.At(1.02), 0.4F, 1e-5F) << "no time has passed";
    EXPECT_NEAR(weights.At(1.03), 0.4F + 0.6F * 0.2F, 1e-5F);
    EXPECT_NEAR(weights.At(1.08), 1.0F, 1e-5F);
}

TEST(Interpolator, BodiesMoveAlongALineAndTurnAlongTheShortestWay) {
    BodySnapshotInterpolator interpolator(1);
    EXPECT_TRUE(interpolator.updateAndInterpolatePose(0.0).empty());
    interpolator.addSnapshot(Body(1.0, {Quaternionf::Identity, {0, 0, 0}}));
    EXPECT_EQ(interpolator.updateAndInterpolatePose(1.0).size(), 1U);
    interpolator.addSnapshot(Body(2.0, {Quaternionf::Identity, {4, 0, 2}}));
    interpolator.updateAndInterpolatePose(2.0);
    // Between the frames at 1 and 2, and before both: unlike a face, a body goes on along the line.
    interpolator.updateAndInterpolatePose(0.0);
    ExpectNear(interpolator.updateAndInterpolatePose(0.5)[0].position, {-2, 0, -1}, 1e-5F);
    ExpectNear(interpolator.updateAndInterpolatePose(1.75)[0].position, {3, 0, 1.5F}, 1e-5F);

    // So far before both that the line ends nowhere.
    interpolator.updateAndInterpolatePose(-1e300);
    ExpectNear(interpolator.updateAndInterpolatePose(1.75)[0].position, {3, 0, 1.5F}, 1e-5F);

    // A quarter turn about x, as the quaternion with the other sign and twice the length.
    const JointPose half = interpolateJointPose({Quaternionf::Identity, {0, 0, 0}},
        {{-2 * HalfRoot2, 0, 0, -2 * HalfRoot2}, {4, 0, 2}, {3, 3, 3}}, 0.5F);
    ExpectNear(half.position, {2, 0, 1}, 1e-6F);
    EXPECT_LT(AngleBetween(half.orientation, {0.38268343F, 0, 0, 0.92387953F}), 1e-3F);
    EXPECT_EQ(half.scale, Vector3f::One);
}

TEST(Interpolator, AJointWithoutARotationStaysUntilTheReset) {
    constexpr float NaN = std::numeric_limits<float>::quiet_NaN();
    BodySnapshotInterpolator interpolator(1);
    interpolator.addSnapshot(Body(1.0, {{NaN, 0, 0, 1}, {1, 0, 0}}));
    interpolator.updateAndInterpolatePose(1.0);
    interpolator.addSnapshot(Body(2.0, {Quaternionf::Identity, {2, 0, 0}}));
    EXPECT_EQ(interpolator.updateAndInterpolatePose(2.0)[0].position, Vector3f(1, 0, 0));
    interpolator.reset();
    interpolator.addSnapshot(Body(3.0, {Quaternionf::Identity, {3, 0, 0}}));
    EXPECT_EQ(interpolator.updateAndInterpolatePose(3.0)[0].position, Vector3f(3, 0, 0));
}

TEST(Interpolator, EasingByNothingOrTowardsNowhereChangesNoBit) {
    constexpr float Infinity = std::numeric_limits<float>::infinity();
    const JointPose running{{0, 0, 0, 2}, {1, 0, 0}};
    EXPECT_EQ(easeTowards(running, {{1, 0, 0, 0}, {2, 0, 0}}, 0.0F), running);
    EXPECT_EQ(easeTowards(running, {{1, 0, 0, 0}, {Infinity, 0, 0}}, 0.5F), running);
    EXPECT_EQ(easeTowards(running, {{Infinity, 0, 0, 0}, {2, 0, 0}}, 0.5F), running);
}

TEST(Interpolator, TrackersBeginWithTheirFirstPair) {
    JointPoseInterpolator interpolator;
    EXPECT_EQ(interpolator.UpdateAndGetInterpolatePose(0.5), JointPose::Identity);
    interpolator.addJointPose({Quaternionf::Identity, {1, 0, 0}}, 1.0);
    EXPECT_EQ(interpolator.UpdateAndGetInterpolatePose(1.0).position, Vector3f(1, 0, 0)) << "at once";
    interpolator.addJointPose({Quaternionf::Identity, {3, 0, 0}}, 1.02);
    // The sample is the newer frame, and 20 of 50 ms have passed.
    ExpectNear(interpolator.UpdateAndGetInterpolatePose(1.02).position, {1.8F, 0, 0}, 1e-5F);
    // Back before both frames, and on from there to the older one.
    interpolator.UpdateAndGetInterpolatePose(0.0);
    ExpectNear(interpolator.UpdateAndGetInterpolatePose(0.5).position, {1, 0, 0}, 1e-5F);
    interpolator.addJointPose({Quaternionf::Identity, {5, 0, 0}}, 1.9);
    interpolator.Reset();
    EXPECT_EQ(interpolator.UpdateAndGetInterpolatePose(2.0), JointPose::Identity);
    interpolator.addJointPose({Quaternionf::Identity, {7, 0, 0}}, 1.0);
    EXPECT_EQ(interpolator.UpdateAndGetInterpolatePose(2.0).position, Vector3f(7, 0, 0));
}

// A ring's slot that comes round again is the same part with another time; whoever never asks must not make
// the waiting list grow for ever.
TEST(Interpolator, WaitingFramesDontGrowWithoutBound) {
    FaceSnapshotInterpolator interpolator(1);
    std::vector<std::shared_ptr<FaceSnapshot>> ring;
    ring.reserve(3);
    for (int i = 0; i < 3; ++i) {
        ring.push_back(std::make_shared<FaceSnapshot>(Max, std::vector<float>{0.0F}, 0.0));
    }
    for (int i = 0; i < 100000; ++i) {
        ring[i % 3]->initialize(Max, {static_cast<float>(i)}, i);
        interpolator.addSnapshot(ring[i % 3]);
        ASSERT_LE(ring[i % 3].use_count(), 2);
    }
    EXPECT_EQ(interpolator.updateAndInterpolatePose(99999.5)[0], 99999.0F);
}
