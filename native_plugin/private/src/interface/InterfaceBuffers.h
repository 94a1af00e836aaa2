#pragma once

// The ways in which exports fill a caller's buffers. A null buffer is always a query for the size that it
// needs.

#include "interface/InterfaceBoundary.h"
#include "shared/DataTypes.h"

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

namespace Velkori_Utility {

// One text, copied without its NUL: the caller has cleared the buffer. The size is left as it was.
velkori_Result CopyText(std::string_view text, char* out_buffer, std::int32_t* in_out_bufferSize);

// A list of texts in one buffer, each followed by one byte that isn't written, and optionally an array of
// pointers to their starts with its count. `missingCountText` is the error where the array comes without its
// count.
velkori_Result CopyTexts(std::span<const std::string_view> texts, std::size_t neededSize, char* out_buffer,
    std::int32_t* in_out_bufferSize, const char** out_starts, std::int32_t* in_out_startCount,
    const char* missingCountText);

// An array that an element-wise `copy(elements, out)` fills. The count isn't null; it becomes the number of
// elements.
template <typename Element, typename Out, typename Copy>
velkori_Result CopyElements(std::span<const Element> elements, Out* out_elements, std::int32_t* in_out_count,
    const char* tooSmallText, const Copy& copy) {
    const auto count = static_cast<std::int32_t>(elements.size());
    if (out_elements != nullptr) {
        if (*in_out_count < count) {
            return Fail(velkori_Result_BufferTooSmall, "%s", tooSmallText);
        }
        std::transform(elements.begin(), elements.end(), out_elements, copy);
    }
    *in_out_count = count;
    return velkori_Result_Success;
}

inline velkori_Result CopyIndices(std::span<const int> indices, std::int32_t* out_indices,
    std::int32_t* in_out_count, const char* tooSmallText) {
    return CopyElements(indices, out_indices, in_out_count, tooSmallText, [](int index) { return index; });
}

inline velkori_Result CopyPoses(std::span<const JointPose> poses, velkori_Transform_* out_transforms,
    std::int32_t* in_out_count, const char* tooSmallText) {
    return CopyElements(poses, out_transforms, in_out_count, tooSmallText,
        [](const JointPose& pose) { return static_cast<velkori_Transform_>(pose); });
}

} // namespace Velkori_Utility
