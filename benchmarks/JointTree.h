#pragma once

#include "Velkori_Utility.h"

#include <algorithm>
#include <string>
#include <vector>

// Two equal bodies of limbs of ten joints each, side by side in space. Each target joint is driven by
// `entriesPerJoint` joints of the source in equal shares: its counterpart and those that come next.
inline velkori_Handle MakeJointTree(int jointCount, int entriesPerJoint) {
    std::vector<std::string> names;
    names.reserve(jointCount);
    for (int i = 0; i < jointCount; ++i) {
        names.push_back("joint_with_a_usual_name_" + std::to_string(i));
    }
    std::vector<const char*> namePointers;
    std::vector<const char*> parents;
    std::vector<velkori_Transform_> pose;
    std::vector<velkori_JointMapping_> mappings;
    std::vector<velkori_JointMappingEntry_> entries;
    const float share = 1.0F / static_cast<float>(std::max(entriesPerJoint, 1));
    for (int i = 0; i < jointCount; ++i) {
        namePointers.push_back(names[i].c_str());
        parents.push_back(i == 0 ? nullptr : names[i % 10 == 0 ? 0 : i - 1].c_str());
        const int limb = i / 10;
        pose.push_back({{0, 0, 0, 1},
            {0.1F * static_cast<float>(i % 10), 1.0F + 0.1F * static_cast<float>(limb % 8),
                0.1F * static_cast<float>(limb)},
            {1, 1, 1}});
        if (entriesPerJoint > 0) {
            mappings.push_back(
                {i, velkori_SkeletonType_Source, velkori_JointMappingBehaviorType_Normal, entriesPerJoint});
        }
        for (int entry = 0; entry < entriesPerJoint; ++entry) {
            entries.push_back({(i + entry) % jointCount, share, share});
        }
    }
    velkori_UtilityConfigInitParams_ params = {};
    params.sourceSkeleton.jointCount = jointCount;
    params.sourceSkeleton.jointNames = namePointers.data();
    params.sourceSkeleton.parentJointNames = parents.data();
    params.sourceSkeleton.unscaledTPose = pose.data();
    params.targetSkeleton = params.sourceSkeleton;
    params.minMappings = params.maxMappings = {static_cast<int32_t>(mappings.size()),
        static_cast<int32_t>(entries.size()), mappings.data(), entries.data()};
    velkori_Handle handle = 0;
    velkori_createOrUpdateUtilityConfig("tree", &params, &handle);
    return handle;
}
