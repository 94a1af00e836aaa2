#pragma once

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace Velkori_Utility {

// How grave a message about a configuration is. One entry under Error makes the configuration invalid.
enum class LogMsgCategory : std::int32_t { Information = 0, Warning = 1, Error = 2 };

// What parsing and validating a configuration has to say. Messages are collected, so that the author of a
// document sees all faults at once, and printed afterwards. Within a category they keep their order.
struct LogMsgMap : std::map<LogMsgCategory, std::vector<std::string>> {
    // Of all texts together.
    std::size_t textSize = 0;
};

// Appends the concatenation of `pieces` to the messages of `category`. A hostile document can make each of
// many messages repeat a name of any length: beyond MaxMessageTextSize no more text is kept, and a last
// message says so.
constexpr std::size_t MaxMessageTextSize = std::size_t{64} * 1024 * 1024;
void AddMessage(LogMsgMap& messages, LogMsgCategory category, std::initializer_list<std::string_view> pieces);

// Logs every message at its category's level: information first, then warnings, then errors.
void PrintLogMessages(const LogMsgMap& messages);

} // namespace Velkori_Utility
