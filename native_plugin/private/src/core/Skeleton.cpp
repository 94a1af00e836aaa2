#include "core/Skeleton.h"

#include "core/LimbClassification.h"
#include "shared/Log.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

bool IsIndexOf(int index, std::size_t count) {
    return index >= 0 && static_cast<std::size_t>(index) < count;
}

const std::string& NameOrEmpty(const std::vector<std::string>& names, int index) {
    static const std::string empty;
    return IsIndexOf(index, names.size()) ? names[index] : empty;
}

// From a joint upwards until the next one is `stop` or there is none. A circle, which validation refuses, is
// left after as many steps as there are joints.
std::vector<int> ClimbUntil(std::span<const int> parentIndices, int joint, int stop) {
    std::vector<int> climbed = {joint};
    for (int next = parentIndices[joint]; next != -1 && next != stop && climbed.size() < parentIndices.size();
         next = parentIndices[next]) {
        climbed.push_back(next);
    }
    return climbed;
}

} // namespace

// -- Construction ------------------------------------------------------------------------------------------

Skeleton::Skeleton(const SkeletonInitializationParams& params)
    : jointCount(static_cast<int>(params.jointNames.size())),
      jointNames(params.jointNames),
      blendShapeCount(static_cast<int>(params.blendShapeNames.size())),
      blendShapeNames(params.blendShapeNames) {
    ConvertStringArrayToLookupMap(jointNames, jointNameToIndex, jointNamesBufferSize);
    autoMappingExcludedJoints = FastRangedIntegralSet<int>(
        0, 0, ConvertJointNameArrayToJointIndexList(params.autoMappingExcludedJoints));
    NameToIndexMap blendShapeNameToIndex;
    ConvertStringArrayToLookupMap(blendShapeNames, blendShapeNameToIndex, blendShapeNamesBufferSize);
    GenerateParentChildLookupTables(params.parentJointNames);
    // Joints that all hang on each other, which validation refuses, have an update order all the same.
    if (jointCount >= 1 && rootJoints.empty()) {
        rootJoints.push_back(0);
    }
    GenerateHierarchicalUpdateOrder();
    InitializeKnownJointData(params.knownJointNames);
    ClassifyJoints();
}

void Skeleton::ConvertStringArrayToLookupMap(
    std::span<const std::string> names, NameToIndexMap& map, std::size_t& bufferSize) {
    map.Reserve(names.size());
    for (std::size_t i = 0; i < names.size(); ++i) {
        bufferSize += names[i].size() + 1;
        if (names[i].empty()) {
            Log(velkori_LogLevel_Error, "String in Name array cannot be an empty string");
        } else if (!map.Insert(names[i], static_cast<int>(i))) {
            Log(velkori_LogLevel_Error, "Duplicate name found in string array: \"%s\"", names[i].c_str());
        }
    }
}

void Skeleton::GenerateParentChildLookupTables(std::span<const std::string> parentJointNames) {
    parentIndices.reserve(jointNames.size());
    childIndices.resize(jointNames.size());
    for (int joint = 0; joint < jointCount; ++joint) {
        parentIndices.push_back(-1);
        if (!IsIndexOf(joint, parentJointNames.size()) || parentJointNames[joint].empty()) {
            rootJoints.push_back(joint);
        } else if (const int* parent = jointNameToIndex.Find(parentJointNames[joint])) {
            parentIndices[joint] = *parent;
            childIndices[*parent].push_back(joint);
        } else {
            // Neither a root nor a child: out of every walk.
            Log(velkori_LogLevel_Error, "Could not find Joint Parent named \"%s\"",
                parentJointNames[joint].c_str());
        }
    }
}

void Skeleton::GenerateHierarchicalUpdateOrder() {
    hierarchicalUpdateOrder.reserve(jointNames.size());
    hierarchicalUpdateOrder = rootJoints;
    for (std::size_t i = 0; i < hierarchicalUpdateOrder.size(); ++i) {
        for (const int child : childIndices[hierarchicalUpdateOrder[i]]) {
            // A root is nobody's child, but for the one that stands in where all joints form circles.
            if (child != rootJoints.front()) {
                hierarchicalUpdateOrder.push_back(child);
            }
        }
    }
}

void Skeleton::InitializeKnownJointData(std::span<const std::string> knownJointNames) {
    knownJointToIndex.initialize(velkori_KnownJointType_Root, velkori_KnownJointType_LeftAnkle);
    FastRangedIntegralSet<int> taken(0, jointCount, FastRangedIntegralSet<int>::EmptyInitialValues);
    const std::size_t count = std::min<std::size_t>(knownJointNames.size(), VELKORI_KNOWN_JOINT_COUNT);
    for (std::size_t i = 0; i < count; ++i) {
        const int* joint = jointNameToIndex.Find(knownJointNames[i]);
        // A joint has one role, the first that it is given.
        if (joint != nullptr && !taken.contains(*joint)) {
            knownJointToIndex.insert(static_cast<velkori_KnownJointType>(i), *joint);
            taken.insertInternal(*joint);
        }
    }
}

void Skeleton::ClassifyJoints() {
    const auto limbToJoints = AutoMapping::ClassifyJointsByLimb(*this, limbToJointChain);
    jointToLimb.initialize(0, jointCount);
    for (const auto& [limb, joints] : limbToJoints) {
        if (limb == HumanoidLimb_Invalid) {
            continue;
        }
        for (const int joint : joints) {
            jointToLimb.insert(joint, limb);
        }
    }
}

// -- Joints and names --------------------------------------------------------------------------------------

const std::string& Skeleton::GetJointName(int joint) const {
    return NameOrEmpty(jointNames, joint);
}

const std::string& Skeleton::GetBlendShapeName(int blendShape) const {
    return NameOrEmpty(blendShapeNames, blendShape);
}

int Skeleton::GetIndexFromNameToIdxMap(std::string_view name, const NameToIndexMap& map, int defaultIndex) {
    const int* index = map.Find(name);
    return index == nullptr ? defaultIndex : *index;
}

std::vector<int> Skeleton::ConvertJointNameArrayToJointIndexList(std::span<const std::string> names) const {
    std::vector<int> joints;
    joints.reserve(names.size());
    for (const std::string& name : names) {
        joints.push_back(GetIndexFromNameToIdxMap(name, jointNameToIndex, -1));
    }
    return joints;
}

// -- Hierarchy ---------------------------------------------------------------------------------------------

bool Skeleton::IsRootJoint(int joint) const {
    return std::binary_search(rootJoints.begin(), rootJoints.end(), joint);
}

int Skeleton::GetParentJointIndex(int joint) const {
    return IsIndexOf(joint, parentIndices.size()) ? parentIndices[joint] : -1;
}

const std::vector<int>& Skeleton::GetChildJointIndexArray(int joint) const {
    static const std::vector<int> empty;
    return IsIndexOf(joint, childIndices.size()) ? childIndices[joint] : empty;
}

bool Skeleton::IsAncestorOfJointIndex(int ancestor, int joint) const {
    if (GetChildJointIndexArray(ancestor).empty()) {
        return false;
    }
    // Counting the steps leads out of a circle, too.
    int current = GetParentJointIndex(joint);
    for (int step = 0; step < jointCount && current != -1; ++step) {
        if (current == ancestor) {
            return true;
        }
        current = parentIndices[current];
    }
    return false;
}

std::vector<int> Skeleton::GetDescendantsOfJointIndex(
    int joint, const FastRangedIntegralSet<int>& stopAt) const {
    std::vector<int> descendants = GetChildJointIndexArray(joint);
    for (std::size_t i = 0; i < descendants.size(); ++i) {
        if (stopAt.contains(descendants[i])) {
            continue;
        }
        for (const int child : childIndices[descendants[i]]) {
            // Only a circle leads back to where the walk began.
            if (child != joint) {
                descendants.push_back(child);
            }
        }
    }
    return descendants;
}

std::vector<int> Skeleton::GetAncestorsOfJointIndex(int joint, bool includeSelf) const {
    const int parent = GetParentJointIndex(joint);
    std::vector<int> ancestors;
    if (parent != -1) {
        ancestors = ClimbUntil(parentIndices, parent, -1);
    }
    if (includeSelf) {
        ancestors.insert(ancestors.begin(), joint);
    }
    return ancestors;
}

std::vector<int> Skeleton::GetConnectedPathBetweenJoints(int start, int end) const {
    if (start == end || !IsIndexOf(start, parentIndices.size()) || !IsIndexOf(end, parentIndices.size())) {
        return {};
    }
    std::vector<int> upwards = ClimbUntil(parentIndices, start, end);
    if (parentIndices[upwards.back()] == end) {
        return upwards;
    }
    std::vector<int> downwards = ClimbUntil(parentIndices, end, start);
    if (parentIndices[downwards.back()] == start) {
        std::reverse(downwards.begin(), downwards.end());
        return downwards;
    }
    if (upwards.back() != downwards.back()) {
        return {};
    }
    // Neither lies above the other: what both climbs share, up to the joint where they met, is no part of the
    // way.
    while (!upwards.empty() && !downwards.empty() && upwards.back() == downwards.back()) {
        upwards.pop_back();
        downwards.pop_back();
    }
    upwards.insert(upwards.end(), downwards.rbegin(), downwards.rend());
    return upwards;
}

// -- Known joints and limbs --------------------------------------------------------------------------------

int Skeleton::GetJointIndex(velkori_KnownJointType knownJoint) const {
    const int* joint = knownJointToIndex.Find(knownJoint);
    return joint == nullptr ? -1 : *joint;
}

bool Skeleton::HasValidKnownJoints(std::span<const velkori_KnownJointType> knownJoints) const {
    return std::all_of(knownJoints.begin(), knownJoints.end(),
        [this](velkori_KnownJointType knownJoint) { return knownJointToIndex.contains(knownJoint); });
}

HumanoidLimb Skeleton::GetLimb(int joint) const {
    const HumanoidLimb* limb = jointToLimb.Find(joint);
    return limb == nullptr ? HumanoidLimb_Invalid : *limb;
}

const std::vector<int>& Skeleton::GetJointChainByHumanoidLimb(HumanoidLimb limb) const {
    static const std::vector<int> empty;
    const std::vector<int>* chain = limbToJointChain.Find(limb);
    return chain == nullptr ? empty : *chain;
}

} // namespace Velkori_Utility
