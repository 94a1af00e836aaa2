#include "interface/UtilityContext.h"

#include "interface/UtilityInstance.h"
#include "shared/Log.h"

#include <utility>

namespace Velkori_Utility {

UtilityContext::~UtilityContext() {
    isTornDown = true;
}

UtilityContext& UtilityContext::getInstance() {
    static UtilityContext context;
    return context;
}

velkori_Handle UtilityContext::CreateUtilityInstance(const UtilityConfigInitializationParams& params) {
    return InitializeUtilityInstance(std::make_shared<UtilityInstance>(params), 0);
}

bool UtilityContext::ReinitializeUtilityInstanceHandle(
    velkori_Handle handle, const UtilityConfigInitializationParams& params) {
    return InitializeUtilityInstance(std::make_shared<UtilityInstance>(params), handle) == handle;
}

velkori_Handle UtilityContext::InitializeUtilityInstance(
    std::shared_ptr<UtilityInstance> instance, velkori_Handle handle) {
    UtilityContext& context = getInstance();
    if (handle != 0 && GetUtilityInstance(handle) == nullptr) {
        Log(velkori_LogLevel_Error, "Could not find utilityInstance with handle.");
        return 0;
    }
    const velkori_Handle stored = handle != 0 ? handle : context.lastHandle + 1;
    context.instances.insert_or_assign(stored, std::move(instance));
    if (handle == 0) {
        context.lastHandle = stored;
    }
    return stored;
}

std::shared_ptr<UtilityInstance> UtilityContext::GetUtilityInstance(velkori_Handle handle) {
    const auto& instances = getInstance().instances;
    const auto found = instances.find(handle);
    if (found == instances.end()) {
        Log(velkori_LogLevel_Error, "Could not find utilityIntance with handle.");
        return {};
    }
    return found->second;
}

bool UtilityContext::IsValidUtilityInstance(velkori_Handle handle) {
    return getInstance().instances.contains(handle);
}

bool UtilityContext::HasValidUtilityInstance() {
    return !getInstance().instances.empty();
}

bool UtilityContext::DestroyUtilityInstance(velkori_Handle handle) {
    if (getInstance().instances.erase(handle) == 0) {
        Log(velkori_LogLevel_Error, "Could not find utilityIntance to delete with handle.");
        return false;
    }
    return true;
}

void CreateOrReplaceInstance(const UtilityConfigInitializationParams& params, velkori_Handle& in_out_handle) {
    if (UtilityContext::IsValidUtilityInstance(in_out_handle)) {
        UtilityContext::ReinitializeUtilityInstanceHandle(in_out_handle, params);
    } else {
        in_out_handle = UtilityContext::CreateUtilityInstance(params);
    }
}

} // namespace Velkori_Utility
