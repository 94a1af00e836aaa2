#include "serialization/record/BodySnapshot.h"

#include "serialization/codec/JointDecoder.h"

#include <algorithm>

namespace Velkori_Utility {

void BodySnapshot::readFromStream(BitReader& reader, std::uint32_t bits, std::span<const JointPose> restPose,
    const BodySnapshot& baseline) {
    const Precision precision = toPrecision(compressionType);
    const std::int64_t end = std::int64_t{reader.getBitsRead()} + bits;
    const std::size_t jointCount = std::min(elements.size(), baseline.compressed.size());
    for (std::size_t joint = 0; joint < jointCount && reader.getBitsRead() < end; ++joint) {
        if (reader.readBits(1) == 0) {
            continue;
        }
        // A skeleton without rest poses gives a length no direction.
        const JointPose& rest = joint < restPose.size() ? restPose[joint] : JointPose::Identity;
        elements[joint] =
            decodeJoint(readJoint(reader, precision), precision, baseline.compressed[joint], rest);
        compress(joint);
    }
}

} // namespace Velkori_Utility
