#include "core/JointSpaces.h"
#include "core/PoseConversion.h"
#include "document/JSONKeywords.h"
#include "document/MathJSON.h"
#include "document/RapidJSONHelpers.h"
#include "document/SkeletonJSON.h"
#include "shared/Arithmetic.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Velkori_Utility {

namespace {

using RapidJSONHelpers::MakeString;

JSONValue WriteNames(std::span<const std::string> names, JSONAllocator& allocator) {
    JSONValue array(rapidjson::kArrayType);
    array.Reserve(static_cast<rapidjson::SizeType>(names.size()), allocator);
    for (const std::string& name : names) {
        array.PushBack(MakeString(name, allocator), allocator);
    }
    return array;
}

// A root has no entry. Where all joints are roots they have one each, with an empty name: without any entry,
// the parents would count as not told.
JSONValue WriteHierarchy(const SkeletonData& skeleton, JSONAllocator& allocator) {
    const std::vector<int>& parents = skeleton.GetParentIndices();
    const bool rootsOnly =
        std::all_of(parents.begin(), parents.end(), [](int parent) { return parent == -1; });
    JSONValue object(rapidjson::kObjectType);
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        if (rootsOnly || parents[joint] != -1) {
            object.AddMember(MakeString(skeleton.GetJointName(joint), allocator),
                MakeString(skeleton.GetJointName(parents[joint]), allocator), allocator);
        }
    }
    return object;
}

JSONValue WriteKnownJoints(const SkeletonData& skeleton, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    for (int i = 0; i < VELKORI_KNOWN_JOINT_COUNT; ++i) {
        const int joint = skeleton.GetJointIndex(static_cast<velkori_KnownJointType>(i));
        if (joint != -1) {
            RapidJSONHelpers::AddMember(object, VELKORI_KNOWN_JOINT_NAMES[i],
                MakeString(skeleton.GetJointName(joint), allocator), allocator);
        }
    }
    return object;
}

JSONValue WriteExcludedJoints(const SkeletonData& skeleton, JSONAllocator& allocator) {
    JSONValue array(rapidjson::kArrayType);
    for (const int joint : skeleton.GetAutoMappingExcludedJoints()) {
        array.PushBack(MakeString(skeleton.GetJointName(joint), allocator), allocator);
    }
    return array;
}

// Without those that hold no joint, which reading would drop.
JSONValue WriteManifestations(const SkeletonData& skeleton, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    for (const auto& [name, jointNames] : skeleton.GenerateManifestationStringMap()) {
        if (!jointNames.empty()) {
            object.AddMember(MakeString(name, allocator), WriteNames(jointNames, allocator), allocator);
        }
    }
    return object;
}

// A rotation that was taken to another coordinate space carries that product's rounding, and where the space
// is mirrored, rounding decides which of its two quaternions it is. So that it survives being read back and
// written again, its smaller components are written on a grid well above the rounding, and the largest one is
// the positive number that makes a unit of them. Components as large but for a few steps are as good as the
// largest: the last of them is taken, so that rounding doesn't choose.
Quaternionf RoundForDocument(const Quaternionf& rotation) {
    constexpr double StepsPerUnit = 1048576.0;
    constexpr float ChoiceMargin = 4.0F / 1048576.0F;
    std::array<float, 4> components = {rotation.x, rotation.y, rotation.z, rotation.w};
    const auto isSmaller = [](float a, float b) { return std::abs(a) < std::abs(b); };
    const float largestSize = std::abs(*std::max_element(components.begin(), components.end(), isSmaller));
    if (!(largestSize > 0.0F) || !IsFinite(largestSize)) {
        return rotation;
    }
    const auto largest = std::find_if(components.rbegin(), components.rend(),
        [&](float component) { return std::abs(component) >= largestSize - ChoiceMargin; });
    const double sign = *largest < 0.0F ? -1.0 : 1.0;
    double squaresOfOthers = 0.0;
    for (float& component : components) {
        if (&component != &*largest) {
            const double rounded = RoundHalfAway(component * StepsPerUnit) * sign / StepsPerUnit + 0.0;
            squaresOfOthers += rounded * rounded;
            component = static_cast<float>(rounded);
        }
    }
    *largest = static_cast<float>(std::sqrt(std::max(0.0, 1.0 - squaresOfOthers)));
    return {components[0], components[1], components[2], components[3]};
}

JSONValue WritePose(const RestPose& pose, const JointPose& conversion, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    if (!pose.IsInitialized()) {
        return object;
    }
    const PoseConversion convert(conversion);
    const std::vector<JointPose>& joints = pose.GetJointPoses(RootSpace);
    for (int joint = 0; joint < std::ssize(joints); ++joint) {
        JointPose written = joints[joint];
        if (!convert.IsIdentity()) {
            written = convert.Apply(written);
            written.orientation = RoundForDocument(written.orientation);
        }
        object.AddMember(MakeString(pose.GetSkeleton().GetJointName(joint), allocator),
            WriteJointPose(written, allocator), allocator);
    }
    return object;
}

} // namespace

JSONValue WriteSkeleton(const SkeletonData& skeleton, const JointPose& conversion, JSONAllocator& allocator) {
    JSONValue object(rapidjson::kObjectType);
    const auto addUnlessEmpty = [&](const char* key, JSONValue content) {
        if (content.IsArray() ? !content.Empty() : !content.ObjectEmpty()) {
            RapidJSONHelpers::AddMember(object, key, std::move(content), allocator);
        }
    };
    const RestPoses& restPoses = skeleton.GetRestPoses();
    addUnlessEmpty(JSONKeywords::Joints, WriteNames(skeleton.GetJointNames(), allocator));
    addUnlessEmpty(JSONKeywords::BlendShapes, WriteNames(skeleton.GetBlendShapeNames(), allocator));
    addUnlessEmpty(JSONKeywords::Hierarchy, WriteHierarchy(skeleton, allocator));
    addUnlessEmpty(JSONKeywords::KnownJoints, WriteKnownJoints(skeleton, allocator));
    addUnlessEmpty(JSONKeywords::AutoMappingExcludedJoints, WriteExcludedJoints(skeleton, allocator));
    addUnlessEmpty(JSONKeywords::Manifestations, WriteManifestations(skeleton, allocator));
    addUnlessEmpty(JSONKeywords::TPose, WritePose(restPoses.GetUnscaled(), conversion, allocator));
    addUnlessEmpty(JSONKeywords::TPoseMin, WritePose(restPoses.GetMin(), conversion, allocator));
    addUnlessEmpty(JSONKeywords::TPoseMax, WritePose(restPoses.GetMax(), conversion, allocator));
    return object;
}

} // namespace Velkori_Utility
