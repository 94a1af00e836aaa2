#include "serialization/codec/TrackerCodec.h"

#include "serialization/codec/JointDecoder.h"
#include "serialization/codec/JointEncoder.h"

namespace Velkori_Utility {

CompressedJointPose compressAsTrackerBaseline(const JointPose& pose) {
    return compressJoint(Precision::High, pose, 1.0F);
}

EncodedJoint encodeTracker(
    const StreamSettings& settings, const JointPose& pose, const TrackerPose* baseline) {
    constexpr bool SendsLength = false;
    return baseline == nullptr
               ? encodeJointInFull(settings, pose, SendsLength).encoded
               : encodeJoint(settings, pose, SendsLength, {baseline->pose, baseline->compressed}).encoded;
}

JointPose readTracker(BitReader& reader, const CompressedJointPose& baseline) {
    return decodeJoint(readJoint(reader, Precision::Max), Precision::Max, baseline);
}

} // namespace Velkori_Utility
