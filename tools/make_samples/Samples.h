#pragma once

#include "Rig.h"

#include <string>
#include <vector>

// One target joint's mapping, by names.
struct NamedMapping {
    struct Entry {
        std::string joint;
        float rotationWeight;
        float positionWeight;
    };

    std::string targetJoint;
    velkori_SkeletonType type;
    velkori_JointMappingBehaviorType behavior;
    std::vector<Entry> entries;
};

// Everything that a configuration is made of.
struct Sample {
    std::string name;
    Rig source;
    Rig target;
    BodySize sourceMin;
    BodySize sourceMax;
    BodySize targetMin;
    BodySize targetMax;
    std::vector<NamedMapping> mappings;
};

// A biped of some twenty joints on either side, each joint driven by its counterpart.
Sample MakeSimpleSample();

// A tracked body with fingers that drives a character with fingers, twist joints and a face.
Sample MakeFullSample();
