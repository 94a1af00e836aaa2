#pragma once

#include "document/RapidJSON.h"
#include "shared/DataTypes.h"

namespace Velkori_Utility {

// An object of the numbers x, y and z. A missing number is logged and read as 0.
Vector3f ReadVector3f(const JSONValue& object);
JSONValue WriteVector3f(const Vector3f& vector, JSONAllocator& allocator);

// An object of the numbers x, y, z and w. A missing number is logged and read as the identity's.
Quaternionf ReadQuaternionf(const JSONValue& object);
JSONValue WriteQuaternionf(const Quaternionf& rotation, JSONAllocator& allocator);

// An object of a position, a rotation and, unless it is 1, a uniform scale. The rotation need not be of unit
// length.
JointPose ReadJointPose(const JSONValue& object);
JSONValue WriteJointPose(const JointPose& pose, JSONAllocator& allocator);

} // namespace Velkori_Utility
