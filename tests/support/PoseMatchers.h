#pragma once

#include "shared/DataTypes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <span>

// How far two rotations are apart, in radians; q and -q are the same.
inline float AngleBetween(const Velkori_Utility::Quaternionf& a, const Velkori_Utility::Quaternionf& b) {
    const Velkori_Utility::Quaternionf delta = a.Inverse() * b;
    return 2.0F *
           std::atan2(Velkori_Utility::Vector3f(delta.x, delta.y, delta.z).Length(), std::abs(delta.w));
}

inline void ExpectNear(const Velkori_Utility::Vector3f& a, const Velkori_Utility::Vector3f& b,
    float tolerance, const char* what = "") {
    EXPECT_LE((a - b).Length(), tolerance) << what << ": " << a.ToString() << " against " << b.ToString();
}

// Joint by joint; stops at the first joint that differs.
inline void ExpectNear(std::span<const Velkori_Utility::JointPose> a,
    std::span<const Velkori_Utility::JointPose> b, float tolerance) {
    ASSERT_EQ(a.size(), b.size());
    for (std::size_t i = 0; i < a.size(); ++i) {
        ASSERT_LE((a[i].position - b[i].position).Length(), tolerance)
            << "joint " << i << ": " << a[i].position.ToString() << " against " << b[i].position.ToString();
        ASSERT_LE(AngleBetween(a[i].orientation, b[i].orientation), tolerance) << "joint " << i;
        ASSERT_LE((a[i].scale - b[i].scale).Length(), tolerance) << "joint " << i;
    }
}
