#include "Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

namespace Velkori_Tool {

Progress::Progress(std::string what, int total)
    : what(std::move(what)),
      total(total),
      isTerminal(isatty(STDERR_FILENO) != 0),
      lastDrawn(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    if (isShown) {
        std::fputs("\r\033[K", stderr);
    }
}

void Progress::Advance(int done) {
    constexpr auto interval = std::chrono::milliseconds(100);
    const auto now = std::chrono::steady_clock::now();
    if (!isTerminal || total < 1 || now - lastDrawn < interval) {
        return;
    }
    lastDrawn = now;
    isShown = true;
    constexpr int width = 40;
    const auto filled = static_cast<size_t>(static_cast<int64_t>(done) * width / total);
    const std::string bar = std::string(filled, '#') + std::string(width - filled, '.');
    fmt::print(stderr, "\r{} [{}] {}/{}", what, bar, done, total);
    std::fflush(stderr);
}

} // namespace Velkori_Tool
