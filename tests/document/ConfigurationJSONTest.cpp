#include "document/ConfigurationJSON.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

using namespace Velkori_Utility;

using Texts = std::vector<std::string>;

TEST(ConfigurationJSON, ADocumentsAxesAreNormalisedThenJudged) {
    const LogCapture capture;
    const Configuration good = ReadConfiguration(Parse(
        R"({"version":1.5,"retargetingBehaviorFlags":{"applyJointOrientationFixup":true},"coordinateSpace":
           {"up":{"x":0,"y":0,"z":2},"forward":{"x":0,"y":-3,"z":0},"right":{"x":0.5,"y":0,"z":0}}})"));
    EXPECT_EQ(good.version, 1.5);
    EXPECT_EQ(good.retargetingBehaviorFlags, velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup);
    LogMsgMap messages;
    EXPECT_TRUE(good.CheckIsValid(messages));
    EXPECT_TRUE(messages.empty());
    EXPECT_TRUE(LogCapture::TakeLines().empty());

    const Configuration tilted = ReadConfiguration(Parse(
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

TEST(ConfigurationJSON, WritesFlagsOnlyWhereThereAreAny) {
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
        EXPECT_EQ(ToText(WriteConfiguration(configuration, document.GetAllocator())),
            R"({"version":0.0,)" + text + spaceText);
    }
}
