#include "serialization/record/FaceSnapshot.h"

#include <algorithm>

namespace Velkori_Utility {

void FaceSnapshot::readFromStream(BitReader& reader, std::uint32_t bits, const FaceSnapshot& baseline) {
    const std::int64_t end = std::int64_t{reader.getBitsRead()} + bits;
    // Nothing follows the face. Weights that are read at another precision than the stream's could reach past
    // the record's own memory.
    reader.endAt(end);
    const std::size_t shapeCount = std::min(elements.size(), baseline.compressed.size());
    for (std::size_t shape = 0; shape < shapeCount && reader.getBitsRead() < end; ++shape) {
        if (reader.readBits(1) == 0) {
            continue;
        }
        const EncodedShape read = readShape(reader, Precision::Standard);
        elements[shape] = decodeShape(read, Precision::Standard, baseline.compressed[shape]);
        compress(shape);
    }
}

} // namespace Velkori_Utility
