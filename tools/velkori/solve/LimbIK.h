#pragma once

#include "solve/Body.h"

namespace Velkori_Tool {

/**
 * One arm or leg of a body whose joints can be turned without changing a bone. Twist joints between two of
 * its joints turn with the bone that they divide.
 */
class LimbChain {
  public:
    LimbChain(const Body& body, const Limb& limb);

    const Limb& Joints() const { return limb; }

    float Length() const { return upperLength + lowerLength; }

    /** Turns both bones into directions; what hangs from the end keeps its rotation. */
    void Point(std::span<Transform> pose, const Vector3& upper, const Vector3& lower) const;

    /**
     * Turns both bones so that the end comes to a place, in the plane in which the limb is bent. Beyond the
     * limb's reach it comes as near as it can, and slower the nearer the limb is to being straight. What
     * hangs from the end keeps its rotation.
     */
    void Reach(std::span<Transform> pose, const Vector3& place) const;

    /** Turns the end and what hangs from it about the end. */
    void TurnEnd(std::span<Transform> pose, const Quaternion& turn) const;

  private:
    void Turn(std::span<Transform> pose, std::span<const int> joints, const Quaternion& turn) const;
    /** Puts the joints below the upper one where their parents' rotations have them. */
    void Place(std::span<Transform> pose) const;
    /** About which the limb bends; for a straight one as its body was made, a knee forward. */
    Vector3 BendAxis(std::span<const Transform> pose) const;
    float ReachableDistance(float wanted, float current) const;

    const Body& body;
    Limb limb;
    float upperLength = 0.0f;
    float lowerLength = 0.0f;
    /** From the upper joint to before the middle one, with what hangs there; and so on. Parents first. */
    std::vector<int> upperPart;
    std::vector<int> lowerPart;
    std::vector<int> endPart;
    std::vector<int> belowUpper;
    /** By joint: from its parent, in the parent's rotation. */
    std::vector<Vector3> offsets;
};

} // namespace Velkori_Tool
