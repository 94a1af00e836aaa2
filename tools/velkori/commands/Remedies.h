#pragma once

#include "Remark.h"

#include <string>

namespace Velkori_Tool {

/** The remark's text with the commands and options that mend it. */
std::string InWords(const Remark& remark);

} // namespace Velkori_Tool
