#pragma once

#include "Velkori_Utility.h"
#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/CompressedTimestamp.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

namespace Velkori_Utility {

// One part of a snapshot: a list of like elements, such as a body's joints, in three states. It is
// initialised over and over as the rings turn, and keeps its lists' memory.
template <typename Element, typename Compressed, typename Option, typename BitCalculator,
    typename ElementCompressor>
class SnapshotTemplate {
  public:
    // What goes on the wire.
    struct SerializedElement {
        Compressed value;
        Option option{};
    };

    SnapshotTemplate(velkori_CompressionType type, const std::vector<Element>& inElements, double time) {
        initialize(type, inElements, time);
    }

    SnapshotTemplate(const SnapshotTemplate&) = default;
    SnapshotTemplate& operator=(const SnapshotTemplate&) = default;
    virtual ~SnapshotTemplate() = default;

    // Starts from these elements, which may be the part's own. Leaves alone what there is to serialize.
    void initialize(velkori_CompressionType type, const std::vector<Element>& inElements, double time) {
        timestamp = time;
        compressionType = type;
        initialElements = inElements;
        elements = initialElements;
        compressed.resize(elements.size());
        serialized.resize(elements.size());
        compressedTimestamp = CompressedTimestamp(Precision::Standard, time);
        compressAll();
    }

    // Makes the part one without data. What its lists hold means nothing until an update fills them.
    void restart(velkori_CompressionType type, double time) {
        hasData = false;
        timestamp = time;
        compressionType = type;
        compressedTimestamp = CompressedTimestamp(Precision::Standard, time);
        for (SerializedElement& element : serialized) {
            element.option = Option{};
        }
    }

    void compressAll() {
        for (std::size_t i = 0; i < elements.size(); ++i) {
            compress(i);
        }
    }

    // Brings the compressed element up to date with the element.
    void compress(std::size_t i) {
        compressed[i] = elementCompressor(toPrecision(compressionType), elements[i]);
    }

    // The exact size of this part's record, 1 for an empty one.
    std::uint32_t getSerializationSizeBits() const {
        std::uint32_t bits = 0;
        for (const SerializedElement& element : serialized) {
            const bool isPresent = element.option != Option{};
            bits += isPresent ? 1 + bitCalculator(element.option, compressionType, element.value) : 1;
        }
        return std::max(bits, 1U);
    }

    // The width of the size field of such a part. It has to hold the size of any record of `count` elements,
    // and doesn't depend on what is sent: a reader computes it for itself.
    static int getSizeFieldBits(int count, velkori_CompressionType type) {
        const std::uint64_t elementCount = std::max(count, 0);
        const std::uint64_t largest = elementCount * BitCalculator::getLargestRecordBits(toPrecision(type));
        return std::min(static_cast<int>(std::bit_width(std::max(largest, std::uint64_t{1}))), 32);
    }

    // Whether an update has filled `serialized`.
    bool hasData = false;
    // Seconds.
    double timestamp = 0.0;
    CompressedTimestamp compressedTimestamp{Precision::Standard};
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
    std::vector<Element> elements;
    // What the part was initialised with.
    std::vector<Element> initialElements;
    // The elements at the stream's precision: the baseline of a later snapshot.
    std::vector<Compressed> compressed;
    std::vector<SerializedElement> serialized;

  private:
    BitCalculator bitCalculator;
    ElementCompressor elementCompressor;
};

// A part that a baseline came without stands for the one at rest.
template <typename Part>
const Part& getDataOrRest(const Part& part, const Part& rest) {
    return part.hasData ? part : rest;
}

} // namespace Velkori_Utility
