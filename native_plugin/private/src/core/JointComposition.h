#pragma once

#include "shared/DataTypes.h"

namespace Velkori_Utility {

// A joint's pose in the space of its parent's pose, from its local pose. The parent's scale reaches the
// joint's position, orientation and scale.
inline JointPose ComposeWithParent(const JointPose& parent, const JointPose& local) {
    JointPose composed = parent.ApplyWithScale(local);
    composed.scale = parent.scale.Multiply(local.scale);
    return composed;
}

// What ComposeWithParent undoes. An axis on which the parent's scale can't be divided by counts as unscaled.
inline JointPose ExpressInParent(const JointPose& parent, const JointPose& joint) {
    const JointPose inverse = parent.Inverted();
    const Vector3f unscaledPosition = inverse.position + inverse.orientation.Rotate(joint.position);
    return {(inverse.orientation * joint.orientation).Scale(inverse.scale),
        unscaledPosition.Multiply(inverse.scale), inverse.scale.Multiply(joint.scale)};
}

} // namespace Velkori_Utility
