#pragma once

// What all exports share. An export checks its arguments in a fixed order, calls the model and copies the
// result out; everything that many of them do in the same way stands here.

#include "interface/UtilityContext.h"

#include <exception>

namespace Velkori_Utility {

// Logs that an exception was stopped at the boundary. `what` is null if it wasn't a standard one.
void LogStoppedException(const char* exportName, const char* what) noexcept;

// Runs the body of an export, unless the process has ended the library already. No exception leaves the
// library: memory that runs out or a container beyond its length ends as an error line and
// velkori_Result_OperationFailed.
template <typename Body>
velkori_Result AtBoundary(const char* exportName, const Body& body) noexcept {
    if (UtilityContext::IsTornDown()) {
        return velkori_Result_OperationFailed;
    }
    try {
        return body();
    } catch (const std::exception& exception) {
        LogStoppedException(exportName, exception.what());
    } catch (...) {
        LogStoppedException(exportName, nullptr);
    }
    return velkori_Result_OperationFailed;
}

// Logs why an export fails, formatted like printf, and gives its result.
[[gnu::format(printf, 2, 3)]] velkori_Result Fail(velkori_Result result, const char* format, ...);

// The same for a required pointer that is null.
velkori_Result FailWithNull(velkori_Result result, const char* parameterName);

// The instance behind a handle or, after a logged error that calls it by `role`, none.
std::shared_ptr<UtilityInstance> FindInstance(velkori_Handle handle, const char* role);

// Runs the body of an export that works on one instance, which stays alive for the length of the call. The
// handle is looked up before the body checks anything.
template <typename Body>
velkori_Result WithInstance(const char* exportName, velkori_Handle handle, const Body& body) noexcept {
    return AtBoundary(exportName, [&] {
        const std::shared_ptr<UtilityInstance> instance = FindInstance(handle, "instance");
        return instance == nullptr ? velkori_Result_InvalidHandle : body(*instance);
    });
}

} // namespace Velkori_Utility
