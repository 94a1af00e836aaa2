#pragma once

#include "Velkori_Utility.h"

#include <cstdarg>

namespace Velkori_Utility {

// Null switches logging off.
void SetLogCallback(velkori_LogCallback callback);

// Formats like printf and hands the line, with its level's prefix and without a line end, to the callback.
// Without a callback nothing is formatted; debug lines are never handed on. Any thread may log while none
// sets the callback.
[[gnu::format(printf, 2, 3)]] void Log(velkori_LogLevel level, const char* format, ...);
[[gnu::format(printf, 2, 0)]] void LogV(velkori_LogLevel level, const char* format, std::va_list arguments);

} // namespace Velkori_Utility
