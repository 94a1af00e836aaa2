#include "Rig.h"

#include <cmath>
#include <stdexcept>
#include <utility>

namespace {

velkori_Vector3f_ Add(velkori_Vector3f_ a, velkori_Vector3f_ b) {
    return {a.x + b.x, a.y + b.y, a.z + b.z};
}

velkori_Vector3f_ Scale(velkori_Vector3f_ v, float s) {
    return {v.x * s, v.y * s, v.z * s};
}

float Dot(velkori_Vector3f_ a, velkori_Vector3f_ b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

velkori_Vector3f_ Cross(velkori_Vector3f_ a, velkori_Vector3f_ b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// The shortest rotation between two directions that aren't opposite; `from` has unit length.
velkori_Quaternionf_ ShortestArc(velkori_Vector3f_ from, velkori_Vector3f_ to) {
    const velkori_Vector3f_ direction = Scale(to, 1.0F / std::sqrt(Dot(to, to)));
    const velkori_Vector3f_ axis = Cross(from, direction);
    const float w = 1.0F + Dot(from, direction);
    if (w < 1e-4F) {
        // Half a turn, about the vertical unless the bone itself is vertical.
        return std::abs(from.y) < 0.9F ? velkori_Quaternionf_{0, 1, 0, 0} : velkori_Quaternionf_{1, 0, 0, 0};
    }
    const float length = std::sqrt(Dot(axis, axis) + w * w);
    return {axis.x / length, axis.y / length, axis.z / length, w / length};
}

float SizeOf(const BodySize& size, BodyPart part) {
    switch (part) {
    case BodyPart::Trunk:
        return size.trunk;
    case BodyPart::Arm:
        return size.arm;
    case BodyPart::Hand:
        return size.hand;
    case BodyPart::Leg:
        break;
    }
    return size.leg;
}

std::vector<const char*> Pointers(const auto& texts) {
    std::vector<const char*> pointers;
    pointers.reserve(texts.size());
    for (const std::string& text : texts) {
        pointers.push_back(text.c_str());
    }
    return pointers;
}

} // namespace

int Rig::Add(std::string name, int parent, velkori_Vector3f_ offset, BodyPart part) {
    joints.push_back({std::move(name), parent, offset, part});
    return static_cast<int>(joints.size()) - 1;
}

int Rig::AddChain(const std::vector<std::string>& names, int parent,
    const std::vector<velkori_Vector3f_>& offsets, BodyPart part) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        parent = Add(names[i], parent, offsets.at(i), part);
    }
    return parent;
}

int Rig::IndexOf(std::string_view name) const {
    for (std::size_t i = 0; i < joints.size(); ++i) {
        if (joints[i].name == name) {
            return static_cast<int>(i);
        }
    }
    throw std::invalid_argument("the rig has no joint named " + std::string(name));
}

// A joint's bone leads to its first child; a leaf continues its parent's.
velkori_Quaternionf_ Rig::OrientationOf(int joint) const {
    for (const RigJoint& child : joints) {
        if (child.parent == joint && Dot(child.offset, child.offset) > 0) {
            return ShortestArc(boneAxis, child.offset);
        }
    }
    const int parent = joints[joint].parent;
    return parent == -1 ? velkori_Quaternionf_{0, 0, 0, 1} : OrientationOf(parent);
}

std::vector<velkori_Transform_> Rig::RestPose(const BodySize& size) const {
    std::vector<velkori_Transform_> pose;
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const RigJoint& joint = joints[i];
        const velkori_Vector3f_ offset = Scale(joint.offset, SizeOf(size, joint.part));
        const velkori_Vector3f_ origin =
            joint.parent == -1 ? velkori_Vector3f_{0, 0, 0} : pose[joint.parent].position;
        // The root stands on the ground with the world's axes.
        const velkori_Quaternionf_ orientation =
            joint.parent == -1 ? velkori_Quaternionf_{0, 0, 0, 1} : OrientationOf(static_cast<int>(i));
        pose.push_back({orientation, ::Add(origin, offset), {1, 1, 1}});
    }
    return pose;
}

RigRecord::RigRecord(const Rig& rig, const BodySize& min, const BodySize& max, const BodySize& unscaled)
    : knownJoints(Pointers(rig.knownJoints)),
      blendShapes(Pointers(rig.blendShapes)),
      excludedJoints(Pointers(rig.excludedJoints)),
      minPose(rig.RestPose(min)),
      maxPose(rig.RestPose(max)),
      unscaledPose(rig.RestPose(unscaled)) {
    for (const RigJoint& joint : rig.joints) {
        jointNames.push_back(joint.name.c_str());
        parentNames.push_back(joint.parent == -1 ? nullptr : rig.joints[joint.parent].name.c_str());
    }
    for (const RigManifestation& manifestation : rig.manifestations) {
        manifestationNames.push_back(manifestation.name.c_str());
        manifestationJointCounts.push_back(static_cast<std::int32_t>(manifestation.joints.size()));
        for (const std::string& joint : manifestation.joints) {
            manifestationJoints.push_back(joint.c_str());
        }
    }
}

velkori_SkeletonInitParams_ RigRecord::Get() const {
    velkori_SkeletonInitParams_ record = VELKORI_EMPTY_SKELETON_INIT_PARAMS;
    record.jointCount = static_cast<std::int32_t>(jointNames.size());
    record.jointNames = jointNames.data();
    record.parentJointNames = parentNames.data();
    record.knownJoints = knownJoints.data();
    record.blendShapeCount = static_cast<std::int32_t>(blendShapes.size());
    record.blendShapeNames = blendShapes.data();
    record.minTPose = minPose.data();
    record.maxTPose = maxPose.data();
    record.unscaledTPose = unscaledPose.data();
    record.optional_autoMapExcludedJointCount = static_cast<std::int32_t>(excludedJoints.size());
    record.optional_autoMapExcludedJointNames = excludedJoints.data();
    record.optional_manifestationCount = static_cast<std::int32_t>(manifestationNames.size());
    record.optional_manifestationNames = manifestationNames.data();
    record.optional_manifestationJointCounts = manifestationJointCounts.data();
    record.optional_manifestationJointNames = manifestationJoints.data();
    return record;
}
