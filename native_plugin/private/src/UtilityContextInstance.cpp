#include "UtilityContextInstance.h"

#include "UtilityInstance.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Velkori_Utility {

namespace {

const char* PrefixOf(velkori_LogLevel level) {
    switch (level) {
    case velkori_LogLevel_Debug:
        return "[DEBUG]: ";
    case velkori_LogLevel_Info:
        return "[INFO]: ";
    case velkori_LogLevel_Warning:
        return "[WARNING]: ";
    case velkori_LogLevel_Error:
        break;
    }
    return "[ERROR]: ";
}

// Writes prefix and message, NUL-terminated, to the start of `buffer`, which grows if they don't fit.
[[gnu::format(printf, 3, 0)]] void FormatLine(
    std::string& buffer, velkori_LogLevel level, const char* format, std::va_list arguments) {
    for (;;) {
        std::va_list attempt;
        va_copy(attempt, arguments);
        const int prefixLength = std::snprintf(buffer.data(), buffer.size(), "%s", PrefixOf(level));
        const int messageLength = std::vsnprintf(buffer.data() + prefixLength,
            buffer.size() - static_cast<std::size_t>(prefixLength), format, attempt);
        va_end(attempt);
        // A negative length is text that the C library can't convert: the line then ends behind the prefix.
        const std::size_t needed = static_cast<std::size_t>(prefixLength) + std::max(messageLength, 0) + 1;
        if (needed <= buffer.size()) {
            return;
        }
        buffer.resize(needed);
    }
}

} // namespace

UtilityContext::UtilityContext() : logBuffer(InitialLogBufferSize, '\0') {
    instances.max_load_factor(1.0F);
}

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
    if (!instance->isValid) {
        Log(velkori_LogLevel_Error, "%s",
            handle != 0
                ? "Could not initialize new instance - invalid config, existing data will remain untouched."
                : "Could not initialize new instance - invalid config data.");
        return 0;
    }
    const velkori_Handle stored = handle != 0 ? handle : context.lastHandle + 1;
    context.instances.insert_or_assign(stored, std::move(instance));
    context.lastHandle = std::max(context.lastHandle, stored);
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

const velkori_CoordinateSpace_& UtilityContext::GetCoordinateSpace() {
    return getInstance().coordinateSpace;
}

void UtilityContext::SetCoordinateSpace(const velkori_CoordinateSpace_& space) {
    getInstance().coordinateSpace = space;
}

void UtilityContext::SetLogCallback(velkori_LogCallback callback) {
    getInstance().logCallback = callback;
}

void UtilityContext::Log(velkori_LogLevel level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    LogV(level, format, arguments);
    va_end(arguments);
}

void UtilityContext::LogV(velkori_LogLevel level, const char* format, std::va_list arguments) {
    UtilityContext& context = getInstance();
    const velkori_LogCallback callback = context.logCallback;
    if (callback == nullptr || (context.logLevelMask & 1U << level) == 0) {
        return;
    }
    // The buffer is taken out of the context while it is in use: a callback that calls into the library again
    // may log, and must not overwrite the line that it is reading.
    std::string line = std::exchange(context.logBuffer, {});
    if (line.size() < InitialLogBufferSize) {
        line.resize(InitialLogBufferSize);
    }
    FormatLine(line, level, format, arguments);
    callback(level, line.c_str());
    // A nested line may have left a larger one; the buffer never shrinks.
    if (line.size() > context.logBuffer.size()) {
        context.logBuffer = std::move(line);
    }
}

} // namespace Velkori_Utility
