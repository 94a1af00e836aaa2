// Any text to a handle, and what came of it to a text and back.

#include "Velkori_Utility.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string document(reinterpret_cast<const char*>(data), size);
    velkori_Handle handle = 0;
    if (velkori_createOrUpdateHandle(document.c_str(), &handle) != velkori_Result_Success) {
        if (handle != 0) {
            std::abort();
        }
        return 0;
    }
    std::int32_t textSize = 0;
    if (velkori_writeConfigDataToJSON(handle, nullptr, nullptr, &textSize) == velkori_Result_Success) {
        std::string text(textSize, '\0');
        velkori_writeConfigDataToJSON(handle, nullptr, text.data(), &textSize);
        // What the library writes it also reads, and replaces the instance by.
        if (velkori_createOrUpdateHandle(text.c_str(), &handle) != velkori_Result_Success) {
            std::abort();
        }
    }
    velkori_destroy(handle);
    return 0;
}
