#include "interface/InterfaceBuffers.h"

namespace Velkori_Utility {

namespace {

constexpr const char* TooSmallText = "Parameter in_out_bufferSize is not large enough for write";

bool IsBelow(std::int32_t size, std::size_t needed) {
    return size < 0 || static_cast<std::size_t>(size) < needed;
}

} // namespace

velkori_Result CopyText(std::string_view text, char* out_buffer, std::int32_t* in_out_bufferSize) {
    if (in_out_bufferSize == nullptr) {
        return Fail(velkori_Result_InvalidParameter, "in_out_bufferSize parameter must not be null.");
    }
    if (out_buffer == nullptr) {
        *in_out_bufferSize = static_cast<std::int32_t>(text.size()) + 1;
        return velkori_Result_Success;
    }
    if (IsBelow(*in_out_bufferSize, text.size() + 1)) {
        return Fail(velkori_Result_BufferTooSmall, "%s", TooSmallText);
    }
    std::copy(text.begin(), text.end(), out_buffer);
    return velkori_Result_Success;
}

velkori_Result CopyTexts(std::span<const std::string_view> texts, std::size_t neededSize, char* out_buffer,
    std::int32_t* in_out_bufferSize, const char** out_starts, std::int32_t* in_out_startCount,
    const char* missingCountText) {
    if (in_out_bufferSize == nullptr) {
        return FailWithNull(velkori_Result_NullParameter, "in_out_bufferSize");
    }
    if (out_buffer == nullptr) {
        *in_out_bufferSize = static_cast<std::int32_t>(neededSize);
    } else {
        if (out_starts != nullptr && in_out_startCount == nullptr) {
            return Fail(velkori_Result_NullParameter, "%s", missingCountText);
        }
        if (IsBelow(*in_out_bufferSize, neededSize) ||
            (out_starts != nullptr && IsBelow(*in_out_startCount, texts.size()))) {
            return Fail(velkori_Result_BufferTooSmall, "%s", TooSmallText);
        }
        char* position = out_buffer;
        for (const std::string_view text : texts) {
            std::copy(text.begin(), text.end(), position);
            if (out_starts != nullptr) {
                *out_starts++ = position;
            }
            position += text.size() + 1;
        }
    }
    if (in_out_startCount != nullptr) {
        *in_out_startCount = static_cast<std::int32_t>(texts.size());
    }
    return velkori_Result_Success;
}

} // namespace Velkori_Utility
