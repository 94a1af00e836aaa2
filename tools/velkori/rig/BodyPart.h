#pragma once

#include "rig/JointName.h"

namespace Velkori_Tool {

/** The parts of a body that joints are named after. */
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
};

/** How well a name fits a part, 0 to 1. Some words fit two: a "shoulder" is a clavicle or an upper arm. */
float NameFit(const JointName& name, BodyPart part);

/** The name clearly belongs to another part, or to none of the body. */
bool NamesAnotherPart(const JointName& name, BodyPart part);

} // namespace Velkori_Tool
