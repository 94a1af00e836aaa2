#include "interface/InterfaceBoundary.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <new>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;

} // namespace

TEST(InterfaceBoundary, NoExceptionLeavesTheLibrary) {
    const LogCapture capture;
    EXPECT_EQ(AtBoundary("velkori_x", []() -> velkori_Result { throw std::bad_alloc(); }),
        velkori_Result_OperationFailed);
    EXPECT_EQ(AtBoundary("velkori_y", []() -> velkori_Result { throw 5; }), velkori_Result_OperationFailed);
    EXPECT_EQ(
        LogCapture::TakeTexts(), (Texts{"[ERROR]: velkori_x stopped by an internal exception: std::bad_alloc",
                                     "[ERROR]: velkori_y stopped by an internal exception: unknown"}));
}

TEST(InterfaceBoundary, ACallbackThatThrowsIsStoppedToo) {
    velkori_initializeLogging([](velkori_LogLevel, const char*) { throw 5; });
    EXPECT_EQ(velkori_getCoordinateSpace(nullptr), velkori_Result_OperationFailed);
    velkori_initializeLogging(nullptr);
    const LogCapture capture;
    EXPECT_EQ(velkori_getCoordinateSpace(nullptr), velkori_Result_InvalidParameter);
    EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: Parameter out_coordinateSpace must not be Null"});
}

TEST(InterfaceBoundary, AnUnknownHandleLogsTwiceAndRunsNothing) {
    const LogCapture capture;
    EXPECT_EQ(WithInstance("velkori_x", 0xBEEF0000CAFEU,
                  [](const UtilityInstance&) -> velkori_Result { throw std::bad_alloc(); }),
        velkori_Result_InvalidHandle);
    EXPECT_EQ(
        LogCapture::TakeTexts(), (Texts{"[ERROR]: Could not find utilityIntance with handle.",
                                     "[ERROR]: Could not find handle beef0000cafe to load as instance"}));
}
