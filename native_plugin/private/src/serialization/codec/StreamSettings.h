#pragma once

#include "serialization/codec/Precision.h"
#include "serialization/codec/RotationThreshold.h"

namespace Velkori_Utility {

// What a sender sends, and how finely.
struct StreamSettings {
    velkori_CompressionType compressionType = velkori_CompressionType_Max;
    // Per axis, in the unit of length. What moves less than a threshold isn't sent.
    float positionThreshold = 0.01F;
    RotationThreshold rotationThreshold{0.01F};
    // Units of a weight.
    float shapeThreshold = 0.01F;
};

} // namespace Velkori_Utility
