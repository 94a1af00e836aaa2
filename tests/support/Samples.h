#pragma once

#include "Velkori_Utility.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

// The documents under samples/.
inline std::string ReadSample(const std::string& fileName) {
    std::ifstream file(std::string(VELKORI_SAMPLES_DIRECTORY) + "/" + fileName, std::ios::binary);
    EXPECT_TRUE(file.good()) << fileName;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// The text with each `from` replaced.
inline std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

// A configuration that lives as long as this object.
class LoadedConfig {
  public:
    explicit LoadedConfig(const std::string& document) {
        EXPECT_EQ(velkori_createOrUpdateHandle(document.c_str(), &handle), velkori_Result_Success);
    }

    ~LoadedConfig() { EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success); }

    LoadedConfig(const LoadedConfig&) = delete;
    LoadedConfig& operator=(const LoadedConfig&) = delete;

    velkori_Handle Get() const { return handle; }

  private:
    velkori_Handle handle = 0;
};

// The configuration as a document in `space`, or in the process's where that is null.
inline std::string WriteDocument(velkori_Handle handle, const velkori_CoordinateSpace_* space = nullptr) {
    int32_t size = 0;
    EXPECT_EQ(velkori_writeConfigDataToJSON(handle, space, nullptr, &size), velkori_Result_Success);
    std::string text(size, '#');
    EXPECT_EQ(velkori_writeConfigDataToJSON(handle, space, text.data(), &size), velkori_Result_Success);
    EXPECT_EQ(text.back(), '\0');
    text.pop_back();
    return text;
}
