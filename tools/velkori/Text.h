#pragma once

#include <string>
#include <string_view>

namespace Velkori_Tool {

/** The text with what isn't UTF-8 replaced by U+FFFD, and NULs by '_'. Names from files may be anything. */
std::string ValidUTF8(std::string_view text);

std::string LowerCase(std::string_view text);

} // namespace Velkori_Tool
