#pragma once

#include "support/InterfaceNames.h"
#include "support/MovingBody.h"

#include <cstring>

// What a host asks of the library about poses, where nothing may go wrong.

inline Transforms TPose(velkori_Handle handle, velkori_SkeletonType type, velkori_SkeletonTPoseType pose,
    velkori_JointRelativeSpaceType space = RootSpace) {
    int32_t count = 0;
    EXPECT_EQ(velkori_getSkeletonTPose(handle, type, pose, space, nullptr, &count), Success);
    Transforms joints(count);
    EXPECT_EQ(velkori_getSkeletonTPose(handle, type, pose, space, joints.data(), &count), Success);
    return joints;
}

inline void SetReference(velkori_Handle handle, const Transforms& pose) {
    EXPECT_EQ(
        velkori_updateSourceReferenceTPose(handle, pose.data(), static_cast<int32_t>(pose.size()), nullptr),
        Success);
}

inline velkori_RetargetingBehaviorInfo_ Info(int behavior, bool fixup = false, int rootMotion = 1) {
    return {RootSpace, static_cast<velkori_RetargetingBehavior>(behavior),
        static_cast<velkori_RetargetingRootMotionBehavior>(rootMotion),
        fixup ? velkori_RetargetingBehaviorFlags_ApplyJointOrientationFixup
              : velkori_RetargetingBehaviorFlags_None};
}

inline Transforms Retarget(velkori_Handle handle, const Transforms& frame,
    const velkori_RetargetingBehaviorInfo_& info, const char* sourceManifestation = nullptr,
    const char* targetManifestation = nullptr) {
    int32_t count = 0;
    const auto retarget = [&](velkori_Transform_* out) {
        return velkori_retargetFromSourceFrameData(handle, info, frame.data(),
            static_cast<int32_t>(frame.size()), out, &count, sourceManifestation, targetManifestation);
    };
    EXPECT_EQ(retarget(nullptr), Success);
    Transforms result(count);
    EXPECT_EQ(retarget(result.data()), Success);
    EXPECT_EQ(count, std::ssize(result));
    return result;
}

inline bool SameBits(const Transforms& a, const Transforms& b) {
    return a.size() == b.size() &&
           std::memcmp(a.data(), b.data(), a.size() * sizeof(velkori_Transform_)) == 0;
}

inline velkori_Vector3f_ Scaled(const velkori_Vector3f_& v, float factor) {
    return {v.x * factor, v.y * factor, v.z * factor};
}

inline void ExpectNear(const Transforms& a, const Transforms& b, float tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_LE(Distance(a[i].position, b[i].position), tolerance) << "joint " << i;
        ASSERT_LE(Angle(a[i].orientation, b[i].orientation), tolerance) << "joint " << i;
    }
}
