#pragma once

#include "serialization/CompressedJointPose.h"
#include "serialization/CompressedShapePose.h"

namespace Velkori_Utility {

// The state of a pose stream.
class Serialization {
  public:
    // The length of the snapshot rings. It also decides the widths of fields in every record, so both ends of
    // a stream have to agree on it.
    static int getNumSnapshots() { return maxSnapshotSize; }

    // Takes at least 254 and at most 800.
    static void setAndClampCurrentNumberOfSnapshots(int count);

    // -- What a reader makes of a value, given the baseline's ----------------------------------------------
    // Any bits give finite numbers. `reference` is the joint's rest pose, in local space: a joint that was
    // sent as a length lies in its direction.
    static JointPose deserializeCompressedJoint(JointSerializationOption option, Precision precision,
        const JointPose& reference, const CompressedJointPose& baseline,
        const CompressedQuaternionf& rotation, const CompressedVector3f& position,
        const CompressedJointLength& length);
    // The same for what has no rest pose, and hence no length.
    static JointPose deserializeCompressedJointPose(JointSerializationOption option, Precision precision,
        const CompressedJointPose& baseline, const CompressedQuaternionf& rotation,
        const CompressedVector3f& position);
    static float deserializeCompressedFacePose(ShapeSerializationOption option, Precision precision,
        const CompressedShapePose& baseline, const CompressedWeight& weight);

  private:
    // One value for all instances of the process.
    static inline int maxSnapshotSize = 254;
};

} // namespace Velkori_Utility
