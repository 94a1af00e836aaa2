#pragma once

#include <optional>
#include <string_view>

namespace Velkori_Tool {

/** The parts of a body that joints are named after. Neighbours in the list are neighbours in the body,
 * mostly. */
enum class BodyPart {
    Root,
    Hips,
    Spine,
    Chest,
    Neck,
    Head,
    Clavicle,
    UpperArm,
    LowerArm,
    Wrist,
    Finger,
    UpperLeg,
    LowerLeg,
    Ankle,
    Toe,
    Eye,
    Jaw,
    Palm,
    Thumb,
    Index,
    Middle,
    Ring,
    Little,
};

/** The part by its name in a file of names: "upperarm". */
std::optional<BodyPart> FindBodyPart(std::string_view name);

/** Whether a body has two of it. */
bool HasSides(BodyPart part);

/** Thumb, index, middle, ring and little finger. */
bool IsNamedFinger(BodyPart part);

} // namespace Velkori_Tool
