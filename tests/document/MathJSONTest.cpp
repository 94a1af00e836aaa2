#include "document/MathJSON.h"

#include "support/JSONText.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

TEST(MathJSON, APoseReadsAndWritesItsForm) {
    const JointPose pose({0.5F, -0.5F, 0.5F, 0.5F}, {1, 2, 3}, {2, 2, 2});
    const std::string text =
        R"({"position":{"x":1.0,"y":2.0,"z":3.0},"rotation":{"x":0.5,"y":-0.5,"z":0.5,"w":0.5},"scale":2.0})";
    JSONDocument written;
    EXPECT_EQ(ToText(WriteJointPose(pose, written.GetAllocator())), text);
    EXPECT_EQ(ReadJointPose(Parse(text)), pose);
    EXPECT_EQ(ToText(WriteJointPose(JointPose::Identity, written.GetAllocator())),
        R"({"position":{"x":0.0,"y":0.0,"z":0.0},"rotation":{"x":0.0,"y":0.0,"z":0.0,"w":1.0}})");
    // A pose of which nothing is told is the identity, after a line for each missing key.
    const LogCapture capture;
    EXPECT_EQ(ReadJointPose(Parse("{}")), JointPose::Identity);
    std::vector<std::string> expected;
    for (const char* key : {"rotation", "x", "y", "z", "w", "position", "x", "y", "z"}) {
        expected.push_back("[ERROR]: Cannot find key named \"" + std::string(key) + "\" in JSON Object/Map");
    }
    EXPECT_EQ(LogCapture::TakeTexts(), expected);
}
