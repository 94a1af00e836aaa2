#include "shared/ToolUtilities.h"

#include <span>

namespace Velkori_Utility {

std::vector<std::string> ToStringVectorFromCharPointerArrayAndSize(
    const char* const* names, std::int32_t count) {
    std::vector<std::string> strings;
    if (names == nullptr || count < 1) {
        return strings;
    }
    strings.reserve(count);
    for (const char* name : std::span(names, count)) {
        strings.emplace_back(name == nullptr ? "" : name);
    }
    return strings;
}

} // namespace Velkori_Utility
