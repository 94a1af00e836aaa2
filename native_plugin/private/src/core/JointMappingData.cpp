#include "core/JointMappingData.h"

#include "shared/Log.h"

namespace Velkori_Utility {

namespace {

// Collects what is wrong with serialized mappings. Negative indices stand for names that weren't found, and
// are reported once for all.
class MappingFaults {
  public:
    explicit MappingFaults(LogMsgMap& log) : messages(log) {}

    void CheckTarget(int joint, std::size_t jointCount) {
        if (joint < 0 || static_cast<std::size_t>(joint) >= jointCount) {
            Add({"MAPPING: Invalid Target Joint Index found (out of range): ", std::to_string(joint)});
            hasBadTarget = hasBadTarget || joint < 0;
        }
    }

    void CheckEntry(int joint, std::size_t jointCount, JointMappingType type) {
        if (joint < 0) {
            hasBadEntry = true;
        } else if (static_cast<std::size_t>(joint) >= jointCount) {
            Add({"MAPPING ENTRY: Invalid ", JointMappingTypeStrings[type],
                " Joint Index found: ", std::to_string(joint)});
        }
    }

    bool Finish() {
        if (hasBadTarget) {
            Add({"MAPPING: Invalid Target Joint indexes found in mappings - typically joint name not found "
                 "in skeleton "
                 "(spelling error)"});
        }
        if (hasBadEntry) {
            Add({"MAPPING ENTRIES: Invalid Source/Target Joint indexes found in mapping entries - typically "
                 "joint name "
                 "not found in skeleton (spelling error)"});
        }
        return !found;
    }

  private:
    void Add(std::initializer_list<std::string_view> pieces) {
        AddMessage(messages, LogMsgCategory::Error, pieces);
        found = true;
    }

    LogMsgMap& messages;
    bool found = false;
    bool hasBadTarget = false;
    bool hasBadEntry = false;
};

} // namespace

JointMappingData::JointMappingData(const SourceSkeletonData& source, const TargetSkeletonData& target,
    std::span<const SerializedJointMapping> mappings)
    : sourceSkeleton(&source), targetSkeleton(&target) {
    const int jointCount = target.GetJointCount();
    sourceMappings.initialize(0, jointCount);
    targetMappings.initialize(0, jointCount);
    combinedMappings.initialize(0, jointCount);
    mappedTargetJoints.initialize(0, jointCount);
    unmappedTargetJoints.initialize(0, jointCount);
    twistTargetJoints.initialize(0, jointCount);
    for (const SerializedJointMapping& mapping : mappings) {
        MappingMap& map = mapping.type == velkori_SkeletonType_Source ? sourceMappings : targetMappings;
        if (map.contains(mapping.targetJointIndex)) {
            Log(velkori_LogLevel_Warning,
                "Duplicate %s Mapping Entry for Target Joint named \"%s\".  Skipping Duplicate.",
                JointMappingTypeStrings[mapping.type], target.GetJointName(mapping.targetJointIndex).c_str());
        } else if (mapping.targetJointIndex >= 0 && mapping.targetJointIndex < jointCount) {
            map.insert(mapping.targetJointIndex, sets.emplace_back(mapping, source, target));
        }
    }
    InitializeCombinedMappingsAndTargetJointsSet();
}

void JointMappingData::InitializeCombinedMappingsAndTargetJointsSet() {
    combinedMappings.Clear();
    mappedTargetJoints.Clear();
    unmappedTargetJoints.Clear();
    twistTargetJoints.Clear();
    for (const auto& [joint, set] : sourceMappings) {
        combinedMappings.insert(joint, set);
        mappedTargetJoints.insertInternal(joint);
    }
    for (const auto& [joint, set] : targetMappings) {
        mappedTargetJoints.insertInternal(joint);
        // Where both drive a joint, the target's own joints prevail only without a special behaviour.
        if (!combinedMappings.contains(joint) ||
            set.GetBehavior() == velkori_JointMappingBehaviorType_Normal) {
            combinedMappings.insert(joint, set);
        }
    }
    for (int joint = 0; joint < targetSkeleton->GetJointCount(); ++joint) {
        if (!mappedTargetJoints.contains(joint)) {
            unmappedTargetJoints.insertInternal(joint);
        } else if (IsTwistTarget(joint)) {
            twistTargetJoints.insertInternal(joint);
        }
    }
}

bool JointMappingData::IsTwistTarget(int joint) const {
    const JointMappingSet* source = sourceMappings.Find(joint);
    const JointMappingSet* target = targetMappings.Find(joint);
    return (source == nullptr || source->IsTwist()) && (target == nullptr || target->IsTwist());
}

bool JointMappingData::ValidateSerializedMappingData(const SkeletonInitializationParams& source,
    const SkeletonInitializationParams& target, std::span<const SerializedJointMapping> mappings,
    LogMsgMap& messages) {
    MappingFaults faults(messages);
    for (const SerializedJointMapping& mapping : mappings) {
        faults.CheckTarget(mapping.targetJointIndex, target.jointNames.size());
        const SkeletonInitializationParams& entrySkeleton =
            mapping.type == velkori_SkeletonType_Source ? source : target;
        for (const velkori_JointMappingEntry_& entry : mapping.entries) {
            faults.CheckEntry(entry.jointIndex, entrySkeleton.jointNames.size(), mapping.type);
        }
    }
    return faults.Finish();
}

void JointMappingData::PopulateUnmappedJoints(
    std::span<const std::string> targetJointNames, const JointMappingData& from, JointMappingData& to) {
    for (int joint = 0; joint < std::ssize(targetJointNames); ++joint) {
        to.CopyMissingMapping(
            targetJointNames[joint], from.sourceMappings.Find(joint), velkori_SkeletonType_Source);
        to.CopyMissingMapping(
            targetJointNames[joint], from.targetMappings.Find(joint), velkori_SkeletonType_Target);
    }
    to.InitializeCombinedMappingsAndTargetJointsSet();
}

void JointMappingData::CopyMissingMapping(
    const std::string& targetJointName, const JointMappingSet* from, JointMappingType type) {
    if (from == nullptr) {
        return;
    }
    MappingMap& map = type == velkori_SkeletonType_Source ? sourceMappings : targetMappings;
    const JointMappingSet* own = map.Find(from->GetTargetJointIndex());
    if (own == nullptr) {
        Log(velkori_LogLevel_Warning, "Unmapped joint \"%s\" identified.  Copying Mapping Record.",
            targetJointName.c_str());
    } else if (own->GetBehavior() != from->GetBehavior()) {
        Log(velkori_LogLevel_Warning,
            "Joint \"%s\" has different blend behavior set for Min/Max mapping data.  Min mapping data "
            "will be used for both.",
            targetJointName.c_str());
    } else {
        return;
    }
    map.insert(from->GetTargetJointIndex(), sets.emplace_back(*from));
}

std::vector<SerializedJointMapping> JointMappingData::ToSerializedJointMappings() const {
    std::vector<SerializedJointMapping> mappings;
    for (const MappingMap* map : {&sourceMappings, &targetMappings}) {
        for (const auto& [joint, set] : *map) {
            mappings.push_back(set.ToSerializedJointMapping());
        }
    }
    return mappings;
}

template <typename Visit>
void JointMappingData::ForEachSetByTargetJoint(const Visit& visit) const {
    for (int joint = 0; joint < targetSkeleton->GetJointCount(); ++joint) {
        for (const MappingMap* map : {&sourceMappings, &targetMappings}) {
            if (const JointMappingSet* set = map->Find(joint)) {
                visit(*set);
            }
        }
    }
}

int JointMappingData::GetMappingCount() const {
    return static_cast<int>(sourceMappings.Size() + targetMappings.Size());
}

int JointMappingData::GetTotalMappingEntryCount() const {
    std::size_t count = 0;
    ForEachSetByTargetJoint([&](const JointMappingSet& set) { count += set.GetEntries().size(); });
    return static_cast<int>(count);
}

int JointMappingData::PopulateJointMappingData(int capacity, velkori_JointMapping_* out_mappings) const {
    if (GetMappingCount() > capacity) {
        return 0;
    }
    int count = 0;
    ForEachSetByTargetJoint([&](const JointMappingSet& set) {
        out_mappings[count++] = {set.GetTargetJointIndex(), set.GetType(), set.GetBehavior(),
            static_cast<std::int32_t>(set.GetEntries().size())};
    });
    return count;
}

int JointMappingData::PopulateJointMappingEntryData(
    int capacity, velkori_JointMappingEntry_* out_entries) const {
    if (GetTotalMappingEntryCount() > capacity) {
        return 0;
    }
    int count = 0;
    ForEachSetByTargetJoint([&](const JointMappingSet& set) {
        for (const JointMappingEntry& entry : set.GetEntries()) {
            out_entries[count++] = {entry.jointIndex, static_cast<float>(entry.rotationWeight),
                static_cast<float>(entry.positionWeight)};
        }
    });
    return count;
}

} // namespace Velkori_Utility
