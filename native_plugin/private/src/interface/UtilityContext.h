#pragma once

#include "Velkori_Utility.h"

#include <memory>
#include <unordered_map>

namespace Velkori_Utility {

struct UtilityConfigInitializationParams;
struct UtilityInstance;

// The process's table of live instances, by handle. There is no lock: calls that create, replace or destroy
// an instance must not run beside any other call.
class UtilityContext {
  public:
    // Made on first use and torn down, with all instances that are left, when the process ends.
    static UtilityContext& getInstance();

    // A host's own static objects may call the library when the process has torn the context down already:
    // nothing of it may be touched then.
    static bool IsTornDown() { return isTornDown; }

    // The new instance's handle.
    static velkori_Handle CreateUtilityInstance(const UtilityConfigInitializationParams& params);

    // Replaces everything behind a live handle. On false, after a logged error, there is no such handle.
    static bool ReinitializeUtilityInstanceHandle(
        velkori_Handle handle, const UtilityConfigInitializationParams& params);

    // Stores `instance` under a live handle or, with handle 0, under a new number. Returns the handle, or 0
    // after a logged error.
    static velkori_Handle InitializeUtilityInstance(
        std::shared_ptr<UtilityInstance> instance, velkori_Handle handle);

    // Empty, after a logged error, if no live instance has the handle. The reference keeps the instance
    // alive, also if it is destroyed or replaced meanwhile.
    static std::shared_ptr<UtilityInstance> GetUtilityInstance(velkori_Handle handle);

    static bool IsValidUtilityInstance(velkori_Handle handle);
    static bool HasValidUtilityInstance();

    // False, after a logged error, if no live instance has the handle.
    static bool DestroyUtilityInstance(velkori_Handle handle);

    UtilityContext(const UtilityContext&) = delete;
    UtilityContext& operator=(const UtilityContext&) = delete;

  private:
    UtilityContext() = default;
    ~UtilityContext();

    static inline constinit bool isTornDown = false;

    // Handles are numbers of this counter and never addresses; a destroyed one's isn't used again.
    velkori_Handle lastHandle = 0;
    std::unordered_map<velkori_Handle, std::shared_ptr<UtilityInstance>> instances;
};

// Puts a new instance in place of the one that lives under *handle or, where none does, under a new number.
void CreateOrReplaceInstance(const UtilityConfigInitializationParams& params, velkori_Handle& in_out_handle);

} // namespace Velkori_Utility
