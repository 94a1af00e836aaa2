#pragma once

#include "core/SerializedJointMapping.h"
#include "support/InterfaceNames.h"
#include "support/TestSkeletons.h"

#include <string>
#include <tuple>
#include <vector>

// Mappings between two chains of joints, as rows that can be compared.
namespace TestMappings {

using Mappings = std::vector<Velkori_Utility::SerializedJointMapping>;
// {joint, rotation weight, position weight}
using Entries = std::vector<std::tuple<int, float, float>>;
// All fields of a serialized mapping.
using Row =
    std::tuple<int, Velkori_Utility::JointMappingType, Velkori_Utility::JointMappingBehaviorType, Entries>;
using Rows = std::vector<Row>;

inline constexpr auto Normal = velkori_JointMappingBehaviorType_Normal;
inline constexpr auto Twist = velkori_JointMappingBehaviorType_Twist;
inline constexpr auto AlignedTwist = velkori_JointMappingBehaviorType_ChildAlignedTwist;
inline constexpr auto IKDerived = velkori_JointMappingBehaviorType_IKDerived;

inline TestSkeletons::Params MakeChain(const std::vector<std::string>& names) {
    std::vector<TestSkeletons::Joint> joints;
    joints.reserve(names.size());
    for (const std::string& name : names) {
        joints.push_back({name, static_cast<int>(joints.size()) - 1, {0, 0.5F, 0.1F}});
    }
    return TestSkeletons::MakeParams(joints, TestSkeletons::InOrder(joints.size()));
}

inline const TestSkeletons::Params& SourceParams() {
    static const TestSkeletons::Params params = MakeChain({"hips", "spine", "head"});
    return params;
}

inline const TestSkeletons::Params& TargetParams() {
    static const TestSkeletons::Params params = MakeChain({"Pelvis", "Torso", "Skull", "Jaw"});
    return params;
}

inline Rows RowsOf(const Mappings& mappings) {
    Rows rows;
    for (const auto& [joint, type, behavior, records] : mappings) {
        Entries entries;
        for (const velkori_JointMappingEntry_& record : records) {
            entries.emplace_back(record.jointIndex, record.rotationWeight, record.positionWeight);
        }
        rows.emplace_back(joint, type, behavior, entries);
    }
    return rows;
}

} // namespace TestMappings
