#pragma once

#include <chrono>
#include <string>

namespace Velkori_Tool {

/** A progress bar on standard error; silent unless that is a terminal. It appears only for work that lasts.
 */
class Progress {
  public:
    Progress(std::string what, int total);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    /** Wipes the bar away. */
    ~Progress();

    void Advance(int done);

  private:
    std::string what;
    int total = 0;
    bool isShown = false;
    bool isTerminal = false;
    std::chrono::steady_clock::time_point lastDrawn;
};

} // namespace Velkori_Tool
