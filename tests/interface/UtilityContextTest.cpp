#include "interface/UtilityContext.h"

#include "interface/UtilityInstance.h"
#include "shared/Log.h"
#include "shared/ProcessSpace.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

using namespace Velkori_Utility;

namespace {

using Texts = std::vector<std::string>;

UtilityConfigInitializationParams Params(const char* name) {
    const CoordinateSpace space(ProcessSpace());
    return {name, Configuration(space, velkori_RetargetingBehaviorFlags_None), {}, {}, {}, {}};
}

} // namespace

TEST(UtilityContext, HandlesCountUpAndAreNeitherReusedNorTakenByARefusal) {
    const velkori_Handle first = UtilityContext::CreateUtilityInstance(Params("a"));
    EXPECT_NE(first, 0U);
    EXPECT_EQ(UtilityContext::CreateUtilityInstance(Params("b")), first + 1);
    EXPECT_TRUE(UtilityContext::DestroyUtilityInstance(first + 1));
    const LogCapture capture;
    EXPECT_FALSE(UtilityContext::ReinitializeUtilityInstanceHandle(first + 1, Params("stray")));
    EXPECT_EQ(UtilityContext::GetUtilityInstance(first)->config.GetName(), "a");
    EXPECT_EQ(UtilityContext::CreateUtilityInstance(Params("c")), first + 2);
    EXPECT_EQ(velkori_destroy(first), velkori_Result_Success);
    EXPECT_EQ(velkori_destroy(first + 2), velkori_Result_Success);
    EXPECT_FALSE(UtilityContext::HasValidUtilityInstance());
    const Texts refused = {"[ERROR]: Could not find utilityIntance with handle.",
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
