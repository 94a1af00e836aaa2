#pragma once

#include "support/Biped.h"

// A configuration of two bipeds that lives as long as this object.
class BipedConfig {
  public:
    // Without mappings. The names of the target's joints begin with "rig:".
    BipedConfig(const BipedShape& sourceShape, const BipedShape& targetShape)
        : source(sourceShape), target(targetShape, "rig:") {
        Create({});
    }

    // Two bodies that differ in size only, each joint driven by its counterpart.
    BipedConfig(const BipedShape& shape, float targetSize)
        : source(shape),
          target({shape.height * targetSize, shape.spineJoints, shape.armDrop, shape.fingerBones,
              shape.hasTwistJoints, shape.facing}) {
        std::vector<velkori_JointMapping_> mappings;
        std::vector<velkori_JointMappingEntry_> entries;
        const auto count = static_cast<int32_t>(source.GetJointCount());
        for (int32_t i = 0; i < count; ++i) {
            mappings.push_back({i, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, 1});
            entries.push_back({i, 1, 1});
        }
        Create({count, count, mappings.data(), entries.data()});
    }

    ~BipedConfig() { EXPECT_EQ(velkori_destroy(handle), velkori_Result_Success); }

    BipedConfig(const BipedConfig&) = delete;
    BipedConfig& operator=(const BipedConfig&) = delete;

    Biped source;
    Biped target;
    velkori_Handle handle = 0;

  private:
    void Create(const velkori_JointMappingDefinition_& mappings) {
        const velkori_UtilityConfigInitParams_ params = {
            source.Params(), target.Params(), mappings, mappings};
        EXPECT_EQ(velkori_createOrUpdateUtilityConfig("bipeds", &params, &handle), velkori_Result_Success);
    }
};
