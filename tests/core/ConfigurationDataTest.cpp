#include "core/ConfigurationData.h"

#include <gtest/gtest.h>

#include <vector>

using namespace Velkori_Utility;

namespace {

std::vector<CoordinateSpace> AllAxisAlignedSpaces() {
    std::vector<velkori_Vector3f_> axes;
    for (const float sign : {1.0F, -1.0F}) {
        axes.insert(axes.end(), {{sign, 0, 0}, {0, sign, 0}, {0, 0, sign}});
    }
    std::vector<CoordinateSpace> spaces;
    for (const auto& up : axes) {
        for (const auto& forward : axes) {
            for (const auto& right : axes) {
                spaces.emplace_back(velkori_CoordinateSpace_{up, forward, right});
            }
        }
    }
    std::erase_if(spaces, [](const CoordinateSpace& space) { return !space.IsAxisAligned(); });
    return spaces;
}

// The triple product: positive for the default space's handedness.
float Handedness(const CoordinateSpace& space) {
    return space.up.Cross(space.forward).Dot(space.right);
}

} // namespace

TEST(CoordinateSpace, ConversionCarriesTheAxesWithinAHandedness) {
    const std::vector<CoordinateSpace> spaces = AllAxisAlignedSpaces();
    EXPECT_EQ(spaces.size(), 48U);
    for (const CoordinateSpace& a : spaces) {
        EXPECT_EQ(a.CalculateCoordinateSpaceConversion(a), JointPose::Identity);
        for (const CoordinateSpace& b : spaces) {
            const JointPose conversion = a.CalculateCoordinateSpaceConversion(b);
            if (Handedness(a) * Handedness(b) < 0) {
                // The mirroring sign lies on the axis that the other space calls right.
                EXPECT_EQ(conversion.scale, Vector3f::One - b.right.Abs() * 2.0F);
                continue;
            }
            EXPECT_EQ(conversion.scale, Vector3f::One);
            for (const auto& [axis, expected] :
                {std::pair(a.up, b.up), std::pair(a.forward, b.forward), std::pair(a.right, b.right)}) {
                const JointPose joint(Quaternionf::Identity, axis);
                EXPECT_LT((conversion.ApplyWithScale(joint).position - expected).Length(), 1e-5F);
            }
        }
    }
}

TEST(CoordinateSpace, IsBuiltOrthonormalFromForwardAndAHint) {
    const CoordinateSpace space(Vector3f(0, 0, 1), Vector3f(0.3F, 2, 0.7F));
    // right = forward x hint, so a hint on the side of +y gives right on the side of -x.
    EXPECT_LT((space.right - Vector3f(-2, 0.3F, 0).Normalize()).Length(), 1e-6F);
    EXPECT_NEAR(space.up.Dot(space.forward), 0.0F, 1e-6F);
    EXPECT_GT(space.up.y, 0.9F);
}
