#include "draw/Figure.h"

#include "host/FootContact.h"

#include <algorithm>

namespace Velkori_Tool {

namespace {

class FigureMaker {
  public:
    FigureMaker(const Configuration& configuration, velkori_SkeletonType type)
        : configuration(configuration),
          type(type),
          parents(configuration.Parents(type)),
          rest(configuration.RestPose(type, velkori_SkeletonTPoseType_Max)) {}

    Figure Make() const {
        Figure figure;
        figure.hips = std::max(Known(velkori_KnownJointType_Hips), 0);
        figure.leftLeg = Known(velkori_KnownJointType_LeftUpperLeg);
        figure.rightLeg = Known(velkori_KnownJointType_RightUpperLeg);
        const int root = Known(velkori_KnownJointType_Root);
        for (int joint = 0; joint < static_cast<int>(parents.size()); ++joint) {
            // The bone from a root on the ground is no part of the body.
            if (parents[joint] >= 0 && parents[joint] != root) {
                figure.bones.push_back({parents[joint], joint, SideOf(joint), WidthOf(joint)});
            }
        }
        figure.headTop = HighestBelowNeck();
        figure.headBase = figure.headTop < 0 ? -1 : parents[figure.headTop];
        for (const auto role : {velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_RightAnkle,
                 velkori_KnownJointType_LeftWrist, velkori_KnownJointType_RightWrist}) {
            if (Known(role) >= 0) {
                const bool isFoot =
                    role == velkori_KnownJointType_LeftAnkle || role == velkori_KnownJointType_RightAnkle;
                figure.trails.push_back({Known(role), SideOf(Known(role)), isFoot});
            }
        }
        return figure;
    }

  private:
    int Known(velkori_KnownJointType role) const { return configuration.KnownJoint(type, role); }

    bool IsAtOrBelow(velkori_KnownJointType role, int joint) const {
        const int ancestor = Known(role);
        for (size_t steps = 0; ancestor >= 0 && joint >= 0 && steps <= parents.size(); ++steps) {
            if (joint == ancestor) {
                return true;
            }
            joint = parents[joint];
        }
        return false;
    }

    Side SideOf(int joint) const {
        if (IsAtOrBelow(velkori_KnownJointType_LeftUpperArm, joint) ||
            IsAtOrBelow(velkori_KnownJointType_LeftUpperLeg, joint)) {
            return Side::Left;
        }
        if (IsAtOrBelow(velkori_KnownJointType_RightUpperArm, joint) ||
            IsAtOrBelow(velkori_KnownJointType_RightUpperLeg, joint)) {
            return Side::Right;
        }
        return Side::None;
    }

    float WidthOf(int joint) const {
        constexpr float finger = 0.018f;
        constexpr float limb = 0.055f;
        const bool isInHand = (IsAtOrBelow(velkori_KnownJointType_LeftWrist, joint) &&
                                  joint != Known(velkori_KnownJointType_LeftWrist)) ||
                              (IsAtOrBelow(velkori_KnownJointType_RightWrist, joint) &&
                                  joint != Known(velkori_KnownJointType_RightWrist));
        const bool isInHead = IsAtOrBelow(velkori_KnownJointType_Neck, joint);
        return isInHand || isInHead ? finger : limb;
    }

    int HighestBelowNeck() const {
        const int neck = Known(velkori_KnownJointType_Neck);
        int highest = -1;
        for (int joint = 0; joint < static_cast<int>(parents.size()); ++joint) {
            if (joint != neck && IsAtOrBelow(velkori_KnownJointType_Neck, joint) &&
                (highest < 0 || rest[joint].position.y > rest[highest].position.y)) {
                highest = joint;
            }
        }
        return highest;
    }

    const Configuration& configuration;
    velkori_SkeletonType type;
    std::vector<int> parents;
    std::vector<Transform> rest;
};

} // namespace

Figure MakeFigure(const Configuration& configuration, velkori_SkeletonType type) {
    return FigureMaker(configuration, type).Make();
}

} // namespace Velkori_Tool
