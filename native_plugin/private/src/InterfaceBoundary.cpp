#include "InterfaceBoundary.h"

namespace Velkori_Utility {

void LogStoppedException(const char* exportName, const char* what) noexcept {
    try {
        UtilityContext::Log(velkori_LogLevel_Error, "%s stopped by an internal exception: %s", exportName,
            what == nullptr ? "unknown" : what);
    } catch (...) {
        // There is no memory left even for the line, or the host's callback throws: the result code must do.
    }
}

} // namespace Velkori_Utility
