#include "interface/InterfaceBoundary.h"

#include "shared/Log.h"

#include <cstdarg>

namespace Velkori_Utility {

void LogStoppedException(const char* exportName, const char* what) noexcept {
    try {
        Log(velkori_LogLevel_Error, "%s stopped by an internal exception: %s", exportName,
            what == nullptr ? "unknown" : what);
    } catch (...) {
        // There is no memory left even for the line, or the host's callback throws: the result code must do.
    }
}

velkori_Result Fail(velkori_Result result, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    LogV(velkori_LogLevel_Error, format, arguments);
    va_end(arguments);
    return result;
}

velkori_Result FailWithNull(velkori_Result result, const char* parameterName) {
    return Fail(result, "Parameter %s must not be Null", parameterName);
}

std::shared_ptr<UtilityInstance> FindInstance(velkori_Handle handle, const char* role) {
    std::shared_ptr<UtilityInstance> instance = UtilityContext::GetUtilityInstance(handle);
    if (instance == nullptr) {
        Log(velkori_LogLevel_Error, "Could not find handle %llx to load as %s",
            static_cast<unsigned long long>(handle), role);
    }
    return instance;
}

} // namespace Velkori_Utility
