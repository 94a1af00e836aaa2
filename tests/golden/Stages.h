#pragma once

#include "Hash.h"

#include <string>
#include <utility>
#include <vector>

// The texts of the sample configurations.
struct Samples {
    std::string simple;
    std::string full;
};

// What the workload is cut into, so that a difference names the part of the library that it comes from. No
// stage takes in what another one put out, as far as that can be.
using Stages = std::vector<std::pair<std::string, Hash>>;

void RunDocumentStages(Stages& stages, const Samples& samples);
void RunPoseStages(Stages& stages, const Samples& samples);
void RunFrameStages(Stages& stages, const Samples& samples);
void RunPreparationStages(Stages& stages, const Samples& samples);
void RunStreamStages(Stages& stages, const Samples& samples);
void RunLogStages(Stages& stages, const Samples& samples);
