#include "shared/Log.h"

#include "shared/LogMessages.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;

} // namespace

TEST(Log, ALongLineArrivesWholeAndDebugNever) {
    const LogCapture capture;
    Log(velkori_LogLevel_Debug, "unheard");
    // 1014 characters behind "[ERROR]: " just fit the line on the stack with their NUL; longer ones need the
    // heap.
    for (const std::size_t length : {1013U, 1014U, 1015U, 100000U}) {
        const std::string text(length, 'x');
        Log(velkori_LogLevel_Error, "%s%d", text.c_str(), 7);
        EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: " + text + "7"});
    }
    Log(velkori_LogLevel_Info, "short");
    Log(velkori_LogLevel_Warning, "%s", "100%d {}");
    const std::vector<LogCapture::Line> expected = {
        {velkori_LogLevel_Info, "[INFO]: short"}, {velkori_LogLevel_Warning, "[WARNING]: 100%d {}"}};
    EXPECT_EQ(LogCapture::TakeLines(), expected);
}

TEST(LogMessages, ArePrintedInformationFirstAndNeverAsAFormat) {
    const LogCapture capture;
    LogMsgMap messages;
    AddMessage(messages, LogMsgCategory::Error, {"%s", "%n"});
    AddMessage(messages, LogMsgCategory::Warning, {"second"});
    AddMessage(messages, LogMsgCategory::Information, {"fir", "st"});
    AddMessage(messages, LogMsgCategory::Error, {"last"});
    PrintLogMessages(messages);
    const Texts expected = {"[INFO]: first", "[WARNING]: second", "[ERROR]: %s%n", "[ERROR]: last"};
    EXPECT_EQ(LogCapture::TakeTexts(), expected);
}
