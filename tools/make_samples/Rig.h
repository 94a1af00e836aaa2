#pragma once

#include "Velkori_Utility.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A skeleton as it is easiest to write down: joints in T-pose with their offset from the parent, in metres,
// in the default coordinate space (y up, z forward, x to the body's right).

// Which part of the body a joint's bone belongs to; sizes of bodies differ by part.
enum class BodyPart { Trunk, Arm, Hand, Leg };

struct RigJoint {
    std::string name;
    // Index of the parent, -1 for the root.
    int parent = -1;
    velkori_Vector3f_ offset = {0, 0, 0};
    BodyPart part = BodyPart::Trunk;
};

struct RigManifestation {
    std::string name;
    std::vector<std::string> joints;
};

// How long the bones of a body are compared with the rig as written down.
struct BodySize {
    float trunk = 1.0F;
    float arm = 1.0F;
    float hand = 1.0F;
    float leg = 1.0F;
};

class Rig {
  public:
    // `boneAxis` is the direction, in each joint's own frame, in which its bone lies.
    explicit Rig(velkori_Vector3f_ boneAxis) : boneAxis(boneAxis) {}

    int Add(std::string name, int parent, velkori_Vector3f_ offset, BodyPart part);
    // Adds joints that continue each other from `parent`; returns the last.
    int AddChain(const std::vector<std::string>& names, int parent,
        const std::vector<velkori_Vector3f_>& offsets, BodyPart part);
    int IndexOf(std::string_view name) const;

    // Root-space rest pose of a body of the given size.
    std::vector<velkori_Transform_> RestPose(const BodySize& size) const;

    std::vector<RigJoint> joints;
    std::array<std::string, VELKORI_KNOWN_JOINT_COUNT> knownJoints;
    std::vector<std::string> blendShapes;
    std::vector<std::string> excludedJoints;
    std::vector<RigManifestation> manifestations;

  private:
    velkori_Quaternionf_ OrientationOf(int joint) const;

    velkori_Vector3f_ boneAxis;
};

// The record of a rig for the library. It points into this object and into the rig, which both must outlive
// it.
class RigRecord {
  public:
    RigRecord(const Rig& rig, const BodySize& min, const BodySize& max, const BodySize& unscaled);

    RigRecord(const RigRecord&) = delete;
    RigRecord& operator=(const RigRecord&) = delete;

    velkori_SkeletonInitParams_ Get() const;

  private:
    std::vector<const char*> jointNames;
    std::vector<const char*> parentNames;
    std::vector<const char*> knownJoints;
    std::vector<const char*> blendShapes;
    std::vector<const char*> excludedJoints;
    std::vector<const char*> manifestationNames;
    std::vector<std::int32_t> manifestationJointCounts;
    std::vector<const char*> manifestationJoints;
    std::vector<velkori_Transform_> minPose;
    std::vector<velkori_Transform_> maxPose;
    std::vector<velkori_Transform_> unscaledPose;
};
