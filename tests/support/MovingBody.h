#pragma once

#include "Velkori_Utility.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

using Transforms = std::vector<velkori_Transform_>;

inline velkori_Quaternionf_ Multiply(const velkori_Quaternionf_& a, const velkori_Quaternionf_& b) {
    return {a.w * b.x + a.x * b.w + a.y * b.z - a.z * b.y, a.w * b.y - a.x * b.z + a.y * b.w + a.z * b.x,
        a.w * b.z + a.x * b.y - a.y * b.x + a.z * b.w, a.w * b.w - a.x * b.x - a.y * b.y - a.z * b.z};
}

inline velkori_Quaternionf_ Conjugate(const velkori_Quaternionf_& q) {
    return {-q.x, -q.y, -q.z, q.w};
}

inline velkori_Vector3f_ Rotate(const velkori_Quaternionf_& q, const velkori_Vector3f_& v) {
    const velkori_Quaternionf_ r = Multiply(Multiply(q, {v.x, v.y, v.z, 0}), Conjugate(q));
    return {r.x, r.y, r.z};
}

inline velkori_Vector3f_ Subtract(const velkori_Vector3f_& a, const velkori_Vector3f_& b) {
    return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline float Length(const velkori_Vector3f_& v) {
    return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

inline float Distance(const velkori_Vector3f_& a, const velkori_Vector3f_& b) {
    return Length(Subtract(a, b));
}

// The angle between two rotations, in radians; q and -q are one.
inline float Angle(const velkori_Quaternionf_& a, const velkori_Quaternionf_& b) {
    const velkori_Quaternionf_ delta = Multiply(Conjugate(a), b);
    return 2.0F * std::atan2(Length({delta.x, delta.y, delta.z}), std::abs(delta.w));
}

inline int JointIndex(velkori_Handle handle, velkori_SkeletonType type, const std::string& name) {
    int32_t joint = -1;
    EXPECT_EQ(velkori_getJointIndex(handle, type, name.c_str(), &joint), velkori_Result_Success);
    EXPECT_NE(joint, -1) << name;
    return joint;
}

inline std::vector<int32_t> ParentsOf(velkori_Handle handle, velkori_SkeletonType type) {
    int32_t count = 0;
    EXPECT_EQ(velkori_getParentJointIndexes(handle, type, nullptr, &count), velkori_Result_Success);
    std::vector<int32_t> parents(count);
    EXPECT_EQ(velkori_getParentJointIndexes(handle, type, parents.data(), &count), velkori_Result_Success);
    return parents;
}

// A body of the source skeleton that walks, reaches and turns: its rest pose with known joints bent as time
// goes on.
class MovingBody {
  public:
    // `size` is between the smallest (0) and the largest (1) body of the configuration.
    MovingBody(velkori_Handle owner, float size) : handle(owner) {
        int32_t count = 0;
        EXPECT_EQ(velkori_calculateSkeletonTPose(handle, velkori_SkeletonType_Source,
                      velkori_JointRelativeSpaceType_Local, size, nullptr, &count),
            velkori_Result_Success);
        restLocal.resize(count);
        EXPECT_EQ(velkori_calculateSkeletonTPose(handle, velkori_SkeletonType_Source,
                      velkori_JointRelativeSpaceType_Local, size, restLocal.data(), &count),
            velkori_Result_Success);
    }

    Transforms Rest() const { return ToRootSpace(restLocal); }

    // In root space, `seconds` after the start.
    Transforms Frame(float seconds) const {
        Transforms local = restLocal;
        const float swing = 0.6F * std::sin(4.0F * seconds);
        Bend(local, velkori_KnownJointType_LeftUpperLeg, {1, 0, 0}, swing);
        Bend(local, velkori_KnownJointType_RightUpperLeg, {1, 0, 0}, -swing);
        Bend(local, velkori_KnownJointType_LeftUpperArm, {0, 1, 0}, 0.5F * swing);
        Bend(local, velkori_KnownJointType_RightUpperArm, {0.6F, 0, 0.8F}, 0.9F * std::sin(1.3F * seconds));
        Bend(local, velkori_KnownJointType_RightWrist, {1, 0, 0}, 0.7F * std::sin(2.1F * seconds));
        Bend(local, velkori_KnownJointType_Chest, {0, 1, 0}, 0.3F * std::sin(2.0F * seconds));
        Bend(local, velkori_KnownJointType_Hips, {0, 1, 0}, 0.8F * seconds);
        const int hips = Known(velkori_KnownJointType_Hips);
        local[hips].position.y += 0.03F * std::sin(8.0F * seconds);
        local[hips].position.z += 0.4F * seconds;
        return ToRootSpace(local);
    }

  private:
    int Known(velkori_KnownJointType type) const {
        int32_t joint = -1;
        EXPECT_EQ(velkori_getJointIndexByKnownJointType(handle, velkori_SkeletonType_Source, type, &joint),
            velkori_Result_Success);
        return joint;
    }

    // Turns a joint about an axis of its parent's frame.
    void Bend(Transforms& local, velkori_KnownJointType type, velkori_Vector3f_ axis, float angle) const {
        velkori_Quaternionf_& orientation = local[Known(type)].orientation;
        const float sine = std::sin(angle / 2.0F);
        orientation =
            Multiply({axis.x * sine, axis.y * sine, axis.z * sine, std::cos(angle / 2.0F)}, orientation);
    }

    Transforms ToRootSpace(Transforms local) const {
        EXPECT_EQ(velkori_convertJointPose(handle, velkori_SkeletonType_Source,
                      velkori_JointRelativeSpaceType_Local, velkori_JointRelativeSpaceType_RootOriginRelative,
                      local.data(), static_cast<int32_t>(local.size())),
            velkori_Result_Success);
        return local;
    }

    velkori_Handle handle;
    Transforms restLocal;
};
