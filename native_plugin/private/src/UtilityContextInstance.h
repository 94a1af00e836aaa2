#pragma once

#include "Velkori_Utility.h"

#include <cstdarg>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

namespace Velkori_Utility {

struct UtilityConfigInitializationParams;
struct UtilityInstance;

// The one process-wide object: it numbers and keeps the live instances, holds the coordinate space of all
// poses inside the library, and is the only road for log messages.
//
// There is no lock: the host makes its calls from one thread at a time.
class UtilityContext {
  public:
    // Made on first use and torn down, with all instances that are left, when the process ends.
    static UtilityContext& getInstance();

    // A host's own static objects may call the library when the process has torn the context down already:
    // nothing of it may be touched then.
    static bool IsTornDown() { return isTornDown; }

    // The new instance's handle, or 0 after a logged error.
    static velkori_Handle CreateUtilityInstance(const UtilityConfigInitializationParams& params);

    // Replaces everything behind a live handle. On false, after a logged error, the old instance is
    // untouched.
    static bool ReinitializeUtilityInstanceHandle(
        velkori_Handle handle, const UtilityConfigInitializationParams& params);

    // Stores `instance` under a live handle or, with handle 0, under a new number. Returns the handle, or 0
    // after a logged error.
    static velkori_Handle InitializeUtilityInstance(
        std::shared_ptr<UtilityInstance> instance, velkori_Handle handle);

    // Empty, after a logged error, if no live instance has the handle. Whoever holds the reference keeps the
    // instance alive, also if it is destroyed or replaced meanwhile.
    static std::shared_ptr<UtilityInstance> GetUtilityInstance(velkori_Handle handle);

    static bool IsValidUtilityInstance(velkori_Handle handle);
    static bool HasValidUtilityInstance();

    // False, after a logged error, if no live instance has the handle.
    static bool DestroyUtilityInstance(velkori_Handle handle);

    static const velkori_CoordinateSpace_& GetCoordinateSpace();
    static void SetCoordinateSpace(const velkori_CoordinateSpace_& space);

    // Null switches logging off.
    static void SetLogCallback(velkori_LogCallback callback);

    // Formats like printf and hands the line, with its level's prefix and without a line end, to the
    // callback. Without a callback nothing is formatted.
    [[gnu::format(printf, 2, 3)]] static void Log(velkori_LogLevel level, const char* format, ...);
    [[gnu::format(printf, 2, 0)]] static void LogV(
        velkori_LogLevel level, const char* format, std::va_list arguments);

    UtilityContext(const UtilityContext&) = delete;
    UtilityContext& operator=(const UtilityContext&) = delete;

  private:
    static constexpr std::size_t InitialLogBufferSize = 1024;

    UtilityContext();
    ~UtilityContext();

    static inline constinit bool isTornDown = false;

    // Handles are numbers of this counter and never addresses; a destroyed one's isn't used again.
    velkori_Handle lastHandle = 0;
    std::string logBuffer;
    std::uint32_t logLevelMask =
        1U << velkori_LogLevel_Info | 1U << velkori_LogLevel_Warning | 1U << velkori_LogLevel_Error;
    velkori_LogCallback logCallback = nullptr;
    velkori_CoordinateSpace_ coordinateSpace = VELKORI_DEFAULT_COORDINATE_SPACE;
    std::unordered_map<velkori_Handle, std::shared_ptr<UtilityInstance>> instances;
};

} // namespace Velkori_Utility
