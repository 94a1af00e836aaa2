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

TEST(UtilityContext, HandlesCountUpAndAreNotReused) {
    const velkori_Handle first = UtilityContext::CreateUtilityInstance(Params("a"));
    const velkori_Handle second = UtilityContext::CreateUtilityInstance(Params("b"));
    EXPECT_NE(first, 0U);
    EXPECT_EQ(second, first + 1);
    EXPECT_TRUE(UtilityContext::DestroyUtilityInstance(second));
    EXPECT_EQ(UtilityContext::CreateUtilityInstance(Params("c")), first + 2);
    EXPECT_EQ(velkori_destroy(first), velkori_Result_Success);
    EXPECT_EQ(velkori_destroy(first + 2), velkori_Result_Success);
    EXPECT_FALSE(UtilityContext::HasValidUtilityInstance());
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

TEST(UtilityContext, RefusedInstancesLeaveEverythingAsItWas) {
    const LogCapture capture;
    const velkori_Handle handle = UtilityContext::CreateUtilityInstance(Params("kept"));
    EXPECT_FALSE(UtilityContext::ReinitializeUtilityInstanceHandle(handle + 1, Params("stray")));
    const Texts unknown = {"[ERROR]: Could not find utilityIntance with handle.",
        "[ERROR]: Could not find utilityInstance with handle."};
    EXPECT_EQ(LogCapture::TakeTexts(), unknown);

    const auto invalid = std::make_shared<UtilityInstance>(Params("invalid"));
    invalid->isValid = false;
    EXPECT_EQ(UtilityContext::InitializeUtilityInstance(invalid, handle), 0U);
    EXPECT_EQ(UtilityContext::InitializeUtilityInstance(invalid, 0), 0U);
    const Texts refused = {
        "[ERROR]: Could not initialize new instance - invalid config, existing data will remain untouched.",
        "[ERROR]: Could not initialize new instance - invalid config data."};
    EXPECT_EQ(LogCapture::TakeTexts(), refused);
    EXPECT_EQ(UtilityContext::GetUtilityInstance(handle)->config.GetName(), "kept");
    EXPECT_EQ(UtilityContext::CreateUtilityInstance(Params("next")), handle + 1)
        << "a refusal takes no number";
    EXPECT_EQ(velkori_destroy(handle) + velkori_destroy(handle + 1), 2);
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
    for (const std::size_t length :
        {std::size_t{1013}, std::size_t{1014}, std::size_t{1015}, std::size_t{100000}}) {
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
