#include "shared/Log.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <span>
#include <string>

namespace Velkori_Utility {

namespace {

constinit velkori_LogCallback logCallback = nullptr;

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

// Writes as much of the line as fits, NUL-terminated. Returns the size that the whole line needs with its
// NUL.
[[gnu::format(printf, 3, 0)]] std::size_t FormatLine(
    std::span<char> line, velkori_LogLevel level, const char* format, std::va_list arguments) {
    std::va_list attempt;
    va_copy(attempt, arguments);
    const auto prefixLength =
        static_cast<std::size_t>(std::snprintf(line.data(), line.size(), "%s", PrefixOf(level)));
    const std::span<char> message = line.subspan(prefixLength);
    const int messageLength = std::vsnprintf(message.data(), message.size(), format, attempt);
    va_end(attempt);
    // A negative length is text that the C library can't convert: the line then ends behind the prefix.
    return prefixLength + static_cast<std::size_t>(std::max(messageLength, 0)) + 1;
}

} // namespace

void SetLogCallback(velkori_LogCallback callback) {
    logCallback = callback;
}

void Log(velkori_LogLevel level, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    LogV(level, format, arguments);
    va_end(arguments);
}

void LogV(velkori_LogLevel level, const char* format, std::va_list arguments) {
    if (logCallback == nullptr || level == velkori_LogLevel_Debug) {
        return;
    }
    // Each call has its own line: a callback may call the library again, and other threads may log.
    std::array<char, 1024> line = {};
    const std::size_t size = FormatLine(line, level, format, arguments);
    if (size <= line.size()) {
        logCallback(level, line.data());
        return;
    }
    std::string longLine(size, '\0');
    FormatLine(longLine, level, format, arguments);
    logCallback(level, longLine.c_str());
}

} // namespace Velkori_Utility
