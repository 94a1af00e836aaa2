#pragma once

#include "library/Library.h"
#include "rig/JointName.h"

#include <vector>

namespace Velkori_Tool {

/** How a skeleton is drawn: which joints belong to which side of the body, and what leaves a trail. */
struct Figure {
    struct Bone {
        int from = -1;
        int to = -1;
        Side side = Side::None;
        /** In metres: trunk and limbs are thick, fingers thin. */
        float width = 0.0f;
    };

    std::vector<Bone> bones;
    int hips = 0;
    /** The joints at the tops of the legs; -1 if not known. */
    int leftLeg = -1;
    int rightLeg = -1;
    /** The joint at the top of the head and the one below it; -1 if the neck isn't known. */
    int headTop = -1;
    int headBase = -1;

    struct Trail {
        int joint = -1;
        Side side = Side::None;
        bool isFoot = false;
    };

    /** The feet, then the hands. */
    std::vector<Trail> trails;
};

Figure MakeFigure(const Configuration& configuration, velkori_SkeletonType type);

} // namespace Velkori_Tool
