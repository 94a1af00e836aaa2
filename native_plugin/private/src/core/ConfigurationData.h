#pragma once

#include "Velkori_Utility.h"
#include "shared/DataTypes.h"
#include "shared/LogMessages.h"

namespace Velkori_Utility {

// Which directions are up, forward and right in a pose's numbers.
class CoordinateSpace {
  public:
    // An orthonormal space: `forward` as given, right and up at right angles to it, up on the side of
    // `upHint`.
    CoordinateSpace(const Vector3f& forward, const Vector3f& upHint);

    // The three vectors as they are, neither normalised nor checked.
    explicit CoordinateSpace(const velkori_CoordinateSpace_& space);

    // Compares the three vectors, exactly.
    bool operator==(const CoordinateSpace& other) const;

    // Takes poses from this space to `other`, to be applied with JointPose::ApplyWithScale: exactly
    // JointPose::Identity between equal spaces, and with a mirroring scale where the handedness changes.
    JointPose CalculateCoordinateSpaceConversion(const CoordinateSpace& other) const;

    // Whether the nine numbers are exactly a signed permutation matrix, of either handedness.
    bool IsAxisAligned() const;

    Vector3f up;
    Vector3f forward;
    Vector3f right;
    // The left-handed look rotation along `forward`; `right` has no part in it.
    Quaternionf orientation;

  private:
    void InitializeOrientation();
};

// A weaker test than CoordinateSpace::IsAxisAligned, which hosts rely on where they hand in a space of their
// own: on each axis the three components must add up to exactly 1 or -1.
bool HasUnitAxisSums(const velkori_CoordinateSpace_& space);

// The head of a configuration document.
class Configuration {
  public:
    Configuration(const CoordinateSpace& coordinateSpace, velkori_RetargetingBehaviorFlags flags);

    bool CheckIsValid(LogMsgMap& messages) const;

    double version = 0.0;
    // Combined with the flags of each frame.
    velkori_RetargetingBehaviorFlags retargetingBehaviorFlags = velkori_RetargetingBehaviorFlags_None;
    CoordinateSpace coordinateSpace;
};

} // namespace Velkori_Utility
