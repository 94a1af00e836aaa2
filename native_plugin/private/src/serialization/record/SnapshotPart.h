#pragma once

#include "Velkori_Utility.h"
#include "serialization/bits/BitReader.h"
#include "serialization/bits/BitWriter.h"
#include "serialization/codec/Precision.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <vector>

namespace Velkori_Utility {

// One part of a snapshot: a list of like elements, such as a body's joints, in three states. It is
// initialised over and over as the rings turn, and keeps its lists' memory.
//
// `Kind` names the types of an element (Element), of its fields (Compressed) and of what is sent of it
// (Encoded), and says how an element is compressed, written and measured.
template <typename Kind>
class SnapshotPart {
  public:
    using Element = typename Kind::Element;
    using Compressed = typename Kind::Compressed;
    using Encoded = typename Kind::Encoded;

    SnapshotPart(velkori_CompressionType type, const std::vector<Element>& inElements, double time) {
        initialize(type, inElements, time);
    }

    // Starts from these elements. Leaves alone what there is to serialize.
    void initialize(velkori_CompressionType type, const std::vector<Element>& inElements, double time) {
        timestamp = time;
        compressionType = type;
        elements = inElements;
        compressed.resize(elements.size());
        compressAll();
    }

    // Starts from a received part or one at rest, which may be this one. Its fields are made of its elements,
    // so that the same precision needs no others.
    void initializeFrom(const SnapshotPart& baseline, velkori_CompressionType type, double time) {
        const bool hasFields = toPrecision(baseline.compressionType) == toPrecision(type);
        timestamp = time;
        compressionType = type;
        elements = baseline.elements;
        compressed = baseline.compressed;
        if (!hasFields) {
            compressAll();
        }
    }

    // Makes the part one without data, ready to be sent. What its lists hold means nothing until an update
    // fills them.
    void restart(velkori_CompressionType type, double time) {
        hasData = false;
        timestamp = time;
        compressionType = type;
        serialized.resize(elements.size());
        for (Encoded& element : serialized) {
            element.option = {};
        }
    }

    void compressAll() {
        for (std::size_t i = 0; i < elements.size(); ++i) {
            compress(i);
        }
    }

    // Brings the compressed element up to date with the element.
    void compress(std::size_t i) {
        compressed[i] = Kind::compress(toPrecision(compressionType), elements[i]);
    }

    // For each element a bit that says whether it is there, and its record if it is.
    void writeToStream(BitWriter& writer) const {
        for (const Encoded& element : serialized) {
            const bool isPresent = element.option != 0;
            writer.writeBits(isPresent ? 1 : 0, 1);
            if (isPresent) {
                Kind::write(writer, element);
            }
        }
    }

    // The exact size of this part's record, 1 for an empty one.
    std::uint32_t getSerializationSizeBits() const {
        std::uint32_t bits = 0;
        for (const Encoded& element : serialized) {
            const bool isPresent = element.option != 0;
            bits += isPresent ? 1 + Kind::getRecordBits(element, toPrecision(compressionType)) : 1;
        }
        return std::max(bits, 1U);
    }

    // The width of the size field of such a part. It has to hold the size of any record of `count` elements,
    // and doesn't depend on what is sent: a reader computes it for itself.
    static int getSizeFieldBits(int count, velkori_CompressionType type) {
        const std::uint64_t elementCount = std::max(count, 0);
        const std::uint64_t largest = elementCount * (1 + Kind::getLargestRecordBits(toPrecision(type)));
        return std::min(static_cast<int>(std::bit_width(std::max(largest, std::uint64_t{1}))), 32);
    }

    // At the sending end, whether an update has filled `serialized`; at the receiving one, whether the last
    // record had this part.
    bool hasData = false;
    // Seconds.
    double timestamp = 0.0;
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
    std::vector<Element> elements;
    // The elements at the stream's precision: the baseline of a later snapshot.
    std::vector<Compressed> compressed;
    // What goes on the wire. Empty at the receiving end.
    std::vector<Encoded> serialized;
};

// A part that a baseline came without stands for the one at rest.
template <typename Part>
const Part& getDataOrRest(const Part& part, const Part& rest) {
    return part.hasData ? part : rest;
}

} // namespace Velkori_Utility
