#pragma once

#include "Velkori_Utility.h"

#include <string>
#include <utility>
#include <vector>

// Collects what the library logs while an object of this type lives.
class LogCapture {
  public:
    using Line = std::pair<velkori_LogLevel, std::string>;

    LogCapture() {
        Collected().clear();
        velkori_initializeLogging(
            [](velkori_LogLevel level, const char* message) { Collected().emplace_back(level, message); });
    }

    ~LogCapture() { velkori_initializeLogging(nullptr); }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The lines since the last call.
    static std::vector<Line> TakeLines() { return std::exchange(Collected(), {}); }

    static std::vector<std::string> TakeTexts() {
        std::vector<std::string> texts;
        for (Line& line : TakeLines()) {
            texts.push_back(std::move(line.second));
        }
        return texts;
    }

  private:
    static std::vector<Line>& Collected() {
        static std::vector<Line> lines;
        return lines;
    }
};
