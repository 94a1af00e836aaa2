#pragma once

#include "support/TestSkeletons.h"

#include <gtest/gtest.h>

#include <vector>

inline void ExpectEqualParams(const TestSkeletons::Params& actual, const TestSkeletons::Params& expected) {
    const auto entriesOf = [](const auto& map) { return std::vector(map.begin(), map.end()); };
    EXPECT_EQ(actual.blendShapeNames, expected.blendShapeNames);
    EXPECT_EQ(actual.jointNames, expected.jointNames);
    EXPECT_EQ(entriesOf(actual.jointNameToIndex), entriesOf(expected.jointNameToIndex));
    EXPECT_EQ(actual.parentJointNames, expected.parentJointNames);
    EXPECT_EQ(actual.knownJointNames, expected.knownJointNames);
    EXPECT_EQ(actual.autoMappingExcludedJoints, expected.autoMappingExcludedJoints);
    EXPECT_EQ(entriesOf(actual.manifestations), entriesOf(expected.manifestations));
    EXPECT_EQ(actual.minTPose, expected.minTPose);
    EXPECT_EQ(actual.maxTPose, expected.maxTPose);
    EXPECT_EQ(actual.unscaledTPose, expected.unscaledTPose);
}

// With something in every list.
inline TestSkeletons::Params MakeFullParams() {
    TestSkeletons::Params params = TestSkeletons::MakeBipedParams();
    params.blendShapeNames = {"smile", "blink"};
    params.autoMappingExcludedJoints = {"rightToes", "head"};
    params.manifestations.Insert("upper body", {"hips", "spine", "chest"});
    params.manifestations.Insert("legs", {"leftLowerLeg", "leftUpperLeg"});
    return params;
}
