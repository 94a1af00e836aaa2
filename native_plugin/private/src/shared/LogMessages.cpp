#include "shared/LogMessages.h"

#include "shared/Log.h"

namespace Velkori_Utility {

namespace {

velkori_LogLevel LogLevelOf(LogMsgCategory category) {
    switch (category) {
    case LogMsgCategory::Information:
        return velkori_LogLevel_Info;
    case LogMsgCategory::Warning:
        return velkori_LogLevel_Warning;
    case LogMsgCategory::Error:
        break;
    }
    return velkori_LogLevel_Error;
}

} // namespace

void AddMessage(
    LogMsgMap& messages, LogMsgCategory category, std::initializer_list<std::string_view> pieces) {
    std::vector<std::string>& texts = messages[category];
    if (messages.textSize > MaxMessageTextSize) {
        return;
    }
    std::string& text = texts.emplace_back();
    for (const std::string_view piece : pieces) {
        text += piece;
    }
    messages.textSize += text.size();
    if (messages.textSize > MaxMessageTextSize) {
        texts.emplace_back("There are more messages, which are left out.");
    }
}

void PrintLogMessages(const LogMsgMap& messages) {
    for (const auto& [category, texts] : messages) {
        for (const std::string& text : texts) {
            Log(LogLevelOf(category), "%s", text.c_str());
        }
    }
}

} // namespace Velkori_Utility
