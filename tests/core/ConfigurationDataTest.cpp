#include "core/ConfigurationData.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <array>
#include <vector>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;

std::vector<CoordinateSpace> AllAxisAlignedSpaces() {
    std::vector<velkori_Vector3f_> axes;
    for (const float sign : {1.0F, -1.0F}) {
        axes.insert(axes.end(), {{sign, 0, 0}, {0, sign, 0}, {0, 0, sign}});
    }
    std::vector<CoordinateSpace> spaces;
    for (const auto& up : axes) {
        for (const auto& forward : axes) {
            for (const auto& right : axes) {
                spaces.emplace_back(velkori_CoordinateSpace_{up, forward, right});
            }
        }
    }
    std::erase_if(spaces, [](const CoordinateSpace& space) { return !space.IsAxisAligned(); });
    return spaces;
}

// The triple product: positive for the default space's handedness.
float Handedness(const CoordinateSpace& space) {
    return space.up.Cross(space.forward).Dot(space.right);
}

} // namespace

TEST(CoordinateSpace, ConversionCarriesTheAxesWithinAHandedness) {
    const std::vector<CoordinateSpace> spaces = AllAxisAlignedSpaces();
    EXPECT_EQ(spaces.size(), 48U);
    for (const CoordinateSpace& a : spaces) {
        EXPECT_EQ(a.CalculateCoordinateSpaceConversion(a), JointPose::Identity);
        for (const CoordinateSpace& b : spaces) {
            const JointPose conversion = a.CalculateCoordinateSpaceConversion(b);
            if (Handedness(a) * Handedness(b) < 0) {
                // The mirroring sign lies on the axis that the other space calls right.
                EXPECT_EQ(conversion.scale, Vector3f::One - b.right.Abs() * 2.0F);
                continue;
            }
            EXPECT_EQ(conversion.scale, Vector3f::One);
            for (const auto& [axis, expected] :
                {std::pair(a.up, b.up), std::pair(a.forward, b.forward), std::pair(a.right, b.right)}) {
                const JointPose joint(Quaternionf::Identity, axis);
                EXPECT_LT((conversion.ApplyWithScale(joint).position - expected).Length(), 1e-5F);
            }
        }
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
