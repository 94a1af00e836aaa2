#pragma once

#include "Velkori_Utility.h"

#include <fstream>
#include <iterator>
#include <string>

// A tracked body of 82 joints and a character of 75, with everything that a configuration can have.
inline velkori_Handle LoadFullSample() {
    std::ifstream file(std::string(VELKORI_SAMPLES_DIRECTORY) + "/full.json", std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    velkori_Handle handle = 0;
    velkori_createOrUpdateHandle(text.c_str(), &handle);
    return handle;
}
