#include "UtilityContextInstance.h"

#include "UtilityInstance.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;

UtilityConfigInitializationParams Params(const char* name) {
    const CoordinateSpace space(UtilityContext::GetCoordinateSpace());
    return {name, Configuration(space, velkori_RetargetingBehaviorFlags_None), {}, {}, {}, {}};
}

} // namespace

TEST(UtilityContext, HandlesCountUpAndAreNeitherReusedNorTakenByARefusal) {
    const velkori_Handle first = UtilityContext::CreateUtilityInstance(Params("a"));
    EXPECT_NE(first, 0U);
    EXPECT_EQ(UtilityContext::CreateUtilityInstance(Params("b")), first + 1);
    EXPECT_TRUE(UtilityContext::DestroyUtilityInstance(first + 1));
    const LogCapture capture;
    const auto invalid = std::make_shared<UtilityInstance>(Params("invalid"));
    invalid->isValid = false;
    EXPECT_EQ(UtilityContext::InitializeUtilityInstance(invalid, 0), 0U);
    EXPECT_EQ(UtilityContext::InitializeUtilityInstance(invalid, first), 0U);
    EXPECT_FALSE(UtilityContext::ReinitializeUtilityInstanceHandle(first + 1, Params("stray")));
    EXPECT_EQ(UtilityContext::GetUtilityInstance(first)->config.GetName(), "a");
    EXPECT_EQ(UtilityContext::CreateUtilityInstance(Params("c")), first + 2);
    EXPECT_EQ(velkori_destroy(first), velkori_Result_Success);
    EXPECT_EQ(velkori_destroy(first + 2), velkori_Result_Success);
    EXPECT_FALSE(UtilityContext::HasValidUtilityInstance());
    const Texts refused = {"[ERROR]: Could not initialize new instance - invalid config data.",
        "[ERROR]: Could not initialize new instance - invalid config, existing data will remain untouched.",
        "[ERROR]: Could not find utilityIntance with handle.",
        "[ERROR]: Could not find utilityInstance with handle."};
    EXPECT_EQ(LogCapture::TakeTexts(), refused);
}

TEST(UtilityContext, ReplacingKeepsTheHandleAndAHeldInstanceOutlivesIt) {
    const velkori_Handle handle = UtilityContext::CreateUtilityInstance(Params("old"));
    const std::shared_ptr<UtilityInstance> held = UtilityContext::GetUtilityInstance(handle);
    EXPECT_TRUE(UtilityContext::ReinitializeUtilityInstanceHandle(handle, Params("new")));
    EXPECT_EQ(UtilityContext::GetUtilityInstance(handle)->config.GetName(), "new");
    EXPECT_EQ(held->config.GetName(), "old");
    EXPECT_EQ(held.use_count(), 1);
    EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success);
}

TEST(UtilityContext, TheCoordinateSpaceIsFixedWhileAnInstanceLives) {
    const LogCapture capture;
    const velkori_Handle handle = UtilityContext::CreateUtilityInstance(Params("live"));
    EXPECT_EQ(velkori_initialize(nullptr), velkori_Result_OperationFailed);
    EXPECT_EQ(LogCapture::TakeTexts(),
        Texts{"[ERROR]: Valid Handle Instances have been created.  Cannot initialize "
              "when in use (valid handle exists)."});
    velkori_destroy(handle);
    EXPECT_EQ(velkori_initialize(nullptr), velkori_Result_InvalidParameter);
}

TEST(UtilityContext, ALongLineArrivesWholeAndDebugNever) {
    const LogCapture capture;
    UtilityContext::Log(velkori_LogLevel_Debug, "unheard");
    // 1014 characters behind "[ERROR]: " just fit the first buffer with their NUL; the others make it grow.
    for (const std::size_t length : {1013U, 1014U, 1015U, 100000U}) {
        const std::string text(length, 'x');
        UtilityContext::Log(velkori_LogLevel_Error, "%s%d", text.c_str(), 7);
        EXPECT_EQ(LogCapture::TakeTexts(), Texts{"[ERROR]: " + text + "7"});
    }
    UtilityContext::Log(velkori_LogLevel_Info, "short");
    UtilityContext::Log(velkori_LogLevel_Warning, "%s", "100%d {}");
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
