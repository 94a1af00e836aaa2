#include "Velkori_Utility.h"
#include "support/LogCapture.h"
#include "support/MovingBody.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>
#include <vector>

namespace {

using Texts = std::vector<std::string>;

const velkori_CoordinateSpace_ Default = VELKORI_DEFAULT_COORDINATE_SPACE;

velkori_CoordinateSpace_ Space(velkori_Vector3f_ up, velkori_Vector3f_ forward, velkori_Vector3f_ right) {
    return {up, forward, right};
}

bool SameBits(const void* a, const void* b, std::size_t size) {
    return std::memcmp(a, b, size) == 0;
}

} // namespace

TEST(ContextInterface, DestroyingAnUnknownHandleLogsTwiceWhereThereIsACallback) {
    {
        const LogCapture capture;
        EXPECT_EQ(velkori_destroy(0), velkori_Result_Success);
        EXPECT_EQ(velkori_destroy(0xABCDEF0123456789U), velkori_Result_InvalidHandle);
        const std::vector<LogCapture::Line> expected = {
            {velkori_LogLevel_Error, "[ERROR]: Could not find utilityIntance to delete with handle."},
            {velkori_LogLevel_Error, "[ERROR]: Failed to destroy retargeting handle."}};
        EXPECT_EQ(LogCapture::TakeLines(), expected);
    }
    EXPECT_EQ(velkori_destroy(1234), velkori_Result_InvalidHandle);
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}

TEST(ContextInterface, ACallbackMayCallTheLibraryAgain) {
    static std::string outerText;
    velkori_initializeLogging([](velkori_LogLevel, const char* message) {
        const std::string before = message;
        static bool nested = false;
        if (!nested) {
            nested = true;
            velkori_destroy(1);
            outerText = before == message ? before : "overwritten";
            nested = false;
        }
    });
    EXPECT_EQ(velkori_getCoordinateSpace(nullptr), velkori_Result_InvalidParameter);
    velkori_initializeLogging(nullptr);
    EXPECT_EQ(outerText, "[ERROR]: Parameter out_coordinateSpace must not be Null");
}

TEST(ContextInterface, InitializeChecksTheSpaceWeaklyAndKeepsItAsGiven) {
    const LogCapture capture;
    EXPECT_EQ(velkori_initialize(nullptr), velkori_Result_InvalidParameter);
    EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: Parameter coordinateSpace must not be Null."});

    const float nan = std::numeric_limits<float>::quiet_NaN();
    const std::vector<velkori_CoordinateSpace_> refused = {{}, Space({0, 2, 0}, {0, 0, 1}, {1, 0, 0}),
        Space({0, 0.999999F, 0}, {0, 0, 1}, {1, 0, 0}), Space({0, nan, 0}, {0, 0, 1}, {1, 0, 0}),
        Space({0, 1, 0}, {0, 1, 0}, {1, 0, 0}), Space({0, -1, 0}, {0, 1, 0}, {1, 0, 0})};
    for (const velkori_CoordinateSpace_& space : refused) {
        EXPECT_EQ(velkori_initialize(&space), velkori_Result_InvalidValue);
        EXPECT_EQ(LogCapture::TakeTexts(),
            Texts{"[ERROR]: Parameter coordinateSpace must be an Axis Aligned matrix."});
    }

    velkori_CoordinateSpace_ read = {};
    EXPECT_EQ(velkori_getCoordinateSpace(&read), velkori_Result_Success);
    EXPECT_TRUE(SameBits(&read, &Default, sizeof(read))) << "a refused space must not stick";

    // On each axis the three components add up to 1 or -1, though none of the vectors is an axis.
    const velkori_CoordinateSpace_ oblique = Space({0.5F, -0.5F, 2}, {0.25F, 0.5F, -1}, {0.25F, -1, -2});
    EXPECT_EQ(velkori_initialize(&oblique), velkori_Result_Success);
    EXPECT_EQ(velkori_getCoordinateSpace(&read), velkori_Result_Success);
    EXPECT_TRUE(SameBits(&read, &oblique, sizeof(read)));
    EXPECT_EQ(velkori_initialize(&Default), velkori_Result_Success);
    EXPECT_TRUE(LogCapture::TakeLines().empty());
}

TEST(WorldSpaceConversion, OfNoTransformsOrBetweenEqualSpacesDoesNothing) {
    const velkori_CoordinateSpace_ zUp = Space({0, 0, 1}, {0, 1, 0}, {1, 0, 0});
    velkori_Transform_ transform = {{0, 0, 0, 1}, {1, 2, 3}, {4, 5, 6}};
    const velkori_Transform_ before = transform;
    for (const int32_t count : {0, -1, std::numeric_limits<int32_t>::min()}) {
        EXPECT_EQ(velkori_applyWorldSpaceCoordinateSpaceConversion(&transform, count, Default, zUp),
            velkori_Result_Success);
    }
    EXPECT_EQ(velkori_applyWorldSpaceCoordinateSpaceConversion(&transform, 1, Default, Default),
        velkori_Result_Success);
    EXPECT_TRUE(SameBits(&transform, &before, sizeof(transform)));
}

// The conversion is the rotation between the two look rotations, so that forward goes to forward and up to
// up; what is 1 right, 2 up and 3 forward must be so in the other space, in its own numbers.
TEST(WorldSpaceConversion, TurnsAndMirrorsAndLeadsBackWhereTheRightVectorsShareAnAxis) {
    struct Case {
        velkori_CoordinateSpace_ to;
        velkori_Vector3f_ expected; // of a joint at (1, 2, 3) in the default space
    };

    const Case cases[] = {
        {Space({0, 1, 0}, {0, 0, -1}, {-1, 0, 0}), {-1, 2, -3}},
        {Space({0, 1, 0}, {0, 0, 1}, {-1, 0, 0}), {-1, 2, 3}},
        {Space({0, 0, 1}, {0, -1, 0}, {1, 0, 0}), {1, -3, 2}},
        {Space({0, -1, 0}, {0, 0, 1}, {1, 0, 0}), {1, -2, 3}},
        {Space({0, 0, 1}, {1, 0, 0}, {0, 1, 0}), {3, 1, 2}},
    };
    const velkori_Quaternionf_ turn = {0.5F, -0.1F, 0.7F, 0.5F};
    for (const auto& [to, expected] : cases) {
        velkori_Transform_ transform = {turn, {1, 2, 3}, {4, 5, 6}};
        ASSERT_EQ(velkori_applyWorldSpaceCoordinateSpaceConversion(&transform, 1, Default, to),
            velkori_Result_Success);
        EXPECT_LT(Distance(transform.position, expected), 1e-5F);
        EXPECT_EQ(transform.scale.x, 1.0F);
        EXPECT_EQ(transform.scale.z, 1.0F);
        if (to.right.x != 0) {
            ASSERT_EQ(velkori_applyWorldSpaceCoordinateSpaceConversion(&transform, 1, to, Default),
                velkori_Result_Success);
            EXPECT_LT(Distance(transform.position, {1, 2, 3}), 1e-5F);
            EXPECT_LT(Angle(transform.orientation, turn), 1e-5F);
        }
    }
}

TEST(Broker, EveryFunctionDoesNothing) {
    EXPECT_EQ(brenvik_log() | brenvik_addSink() | brenvik_isValidHandle() | brenvik_findSink() |
                  brenvik_getFatalLogHandler() | brenvik_hasCustomFatalLogHandler(),
        0U);
    brenvik_logFatalError();
    brenvik_setFatalLogHandler();
}
