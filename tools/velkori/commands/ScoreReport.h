#pragma once

#include "Remark.h"
#include "score/Score.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** A clip, what its result measures, and what was said about it. */
struct ClipScore {
    std::string clip;
    Score score;
    bool isTruncated = false;
    /** What of the clip may as well have been seen otherwise. */
    std::vector<Remark> doubts;
};

/** Prints every measure with its limits and the verdict. */
void PrintScore(const ClipScore& scored);

/** Writes the scores of all clips as JSON; the path "-" is standard output. */
void WriteScores(
    const std::string& path, const std::string& configuration, const std::vector<ClipScore>& scores);

/** Throws Failure that names the results that are bad or in doubt and the clips that are cut short, if any.
 */
void CheckScores(const std::vector<ClipScore>& scores, bool acceptsBad);

} // namespace Velkori_Tool
