#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Velkori_Utility {

// One string per element of an array of `count` NUL-terminated strings. A null element becomes an empty
// string and keeps its place; a null array or a count below 1 gives an empty list.
std::vector<std::string> ToStringVectorFromCharPointerArrayAndSize(
    const char* const* names, std::int32_t count);

} // namespace Velkori_Utility
