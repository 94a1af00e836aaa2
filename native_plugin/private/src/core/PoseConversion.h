#pragma once

#include "shared/DataTypes.h"

namespace Velkori_Utility {

// Takes root-space poses from one coordinate space to another, as JointPose::ApplyWithScale of the conversion
// does.
//
// Between axis-aligned spaces the rotation only exchanges axes and signs. It is then done just so, without
// arithmetic: positions go there and back without losing a bit.
class PoseConversion {
  public:
    explicit PoseConversion(const JointPose& conversion);

    // There is nothing to convert: Apply would give back what it is given, but for the scale.
    bool IsIdentity() const { return isIdentity; }

    // The result has unit scale.
    JointPose Apply(const JointPose& pose) const;

  private:
    JointPose conversion;
    bool isIdentity = false;
    // Where the rotation takes the axes, if it takes each of them to an axis.
    bool isAxisAligned = false;
    Vector3f rotatedX;
    Vector3f rotatedY;
    Vector3f rotatedZ;
};

} // namespace Velkori_Utility
