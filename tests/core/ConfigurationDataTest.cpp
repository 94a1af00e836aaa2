#include "core/ConfigurationData.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;

std::vector<velkori_CoordinateSpace_> AllAxisAlignedSpaces() {
    std::vector<velkori_Vector3f_> axes;
    for (const float sign : {1.0F, -1.0F}) {
        axes.insert(axes.end(), {{sign, 0, 0}, {0, sign, 0}, {0, 0, sign}});
    }
    std::vector<velkori_CoordinateSpace_> spaces;
    for (const auto& up : axes) {
        for (const auto& forward : axes) {
            for (const auto& right : axes) {
                const velkori_CoordinateSpace_ space = {up, forward, right};
                if (CoordinateSpace(space).IsAxisAligned()) {
                    spaces.push_back(space);
                }
            }
        }
    }
    return spaces;
}

// The triple product: positive for the default space's handedness.
float Handedness(const CoordinateSpace& space) {
    return space.up.Cross(space.forward).Dot(space.right);
}

} // namespace

TEST(CoordinateSpace, ConversionCarriesTheAxesWithinAHandedness) {
    const std::vector<velkori_CoordinateSpace_> spaces = AllAxisAlignedSpaces();
    EXPECT_EQ(spaces.size(), 48U);
    for (const auto& from : spaces) {
        for (const auto& to : spaces) {
            const CoordinateSpace a(from);
            const CoordinateSpace b(to);
            const JointPose conversion = a.CalculateCoordinateSpaceConversion(b);
            const auto carried = [&](const Vector3f& axis) {
                return conversion.ApplyWithScale(JointPose(Quaternionf::Identity, axis, Vector3f::One))
                    .position;
            };
            if (Handedness(a) * Handedness(b) > 0) {
                EXPECT_EQ(conversion.scale, Vector3f::One);
                EXPECT_LT((carried(a.up) - b.up).Length(), 1e-5F);
                EXPECT_LT((carried(a.forward) - b.forward).Length(), 1e-5F);
                EXPECT_LT((carried(a.right) - b.right).Length(), 1e-5F);
            } else {
                // The mirroring sign lies on the axis that the other space calls right.
                EXPECT_EQ(
                    conversion.scale, Vector3f(b.right.x != 0 ? -1.0F : 1.0F, b.right.y != 0 ? -1.0F : 1.0F,
                                          b.right.z != 0 ? -1.0F : 1.0F));
            }
        }
        EXPECT_EQ(CoordinateSpace(from).CalculateCoordinateSpaceConversion(CoordinateSpace(from)),
            JointPose::Identity);
    }
}

TEST(CoordinateSpace, IsBuiltOrthonormalFromForwardAndAHint) {
    const CoordinateSpace space(Vector3f(0, 0, 1), Vector3f(0.3F, 2, 0.7F));
    // right = forward x hint, so a hint on the side of +y gives right on the side of -x.
    EXPECT_LT((space.right - Vector3f(-2, 0.3F, 0).Normalize()).Length(), 1e-6F);
    EXPECT_NEAR(space.up.Dot(space.forward), 0.0F, 1e-6F);
    EXPECT_GT(space.up.y, 0.9F);
}

TEST(Configuration, ADocumentsAxesAreNormalisedThenJudged) {
    const LogCapture capture;
    const Configuration good(Parse(
        R"({"version":1.5,"retargetingBehaviorFlags":{"applyJointOrientationFixup":true},"coordinateSpace":
           {"up":{"x":0,"y":0,"z":2},"forward":{"x":0,"y":-3,"z":0},"right":{"x":0.5,"y":0,"z":0}}})"));
    EXPECT_EQ(good.version, 1.5);
    EXPECT_EQ(good.retargetingBehaviorFlags, velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup);
    LogMsgMap messages;
    EXPECT_TRUE(good.CheckIsValid(messages));
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogCapture::TakeLines().empty());

    const Configuration tilted(Parse(
        R"({"version":1,"coordinateSpace":{"up":{"x":0,"y":1,"z":0},"forward":{"x":0,"y":3,"z":4},
           "right":{"x":1,"y":0,"z":0}}})"));
    EXPECT_EQ(tilted.retargetingBehaviorFlags, velkori_RetargetingBehaviorFlags_None);
    EXPECT_FALSE(tilted.CheckIsValid(messages));
    EXPECT_EQ(
        messages[LogMsgCategory::Error], Texts{"CONFIG: Provided coordinate space is not Axis Aligned"});
    EXPECT_EQ(
        LogCapture::TakeTexts(), Texts{"[ERROR]: Coordinate Space Forward Vector is not Axis Aligned: x: "
                                       "0.000000, y: 0.600000, z: 0.800000"});
}

TEST(Configuration, WritesFlagsOnlyWhereThereAreAny) {
    const CoordinateSpace space(VELKORI_DEFAULT_COORDINATE_SPACE);
    const std::string spaceText =
        R"("coordinateSpace":{"up":{"x":0.0,"y":1.0,"z":0.0},)"
        R"("forward":{"x":0.0,"y":0.0,"z":1.0},"right":{"x":1.0,"y":0.0,"z":0.0}}})";
    const std::array<std::pair<int, std::string>, 3> cases = {{
        {0, ""},
        {1, R"("retargetingBehaviorFlags":{"applyJointOrientationFixup":true},)"},
        {2, R"("retargetingBehaviorFlags":{},)"},
    }};
    for (const auto& [flags, text] : cases) {
        JSONDocument document;
        const Configuration configuration(space, static_cast<velkori_RetargetingBehaviorFlags>(flags));
        EXPECT_EQ(ToText(configuration.WriteToJSON(document.GetAllocator())),
            R"({"version":0.0,)" + text + spaceText);
    }
}
