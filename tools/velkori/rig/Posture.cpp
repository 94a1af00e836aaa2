#include "rig/Posture.h"

#include <algorithm>
#include <limits>

namespace Velkori_Tool {

namespace {

constexpr Vector3 noDirection = {0.0f, 0.0f, 0.0f};

/** 1 up to `good`, 0 from `bad` on, and straight between; `bad` may lie on either side. */
float Grade(float value, float good, float bad) {
    return std::clamp((bad - value) / (bad - good), 0.0f, 1.0f);
}

class PostureMeter {
  public:
    PostureMeter(
        const FileSkeleton& skeleton, std::span<const Transform> pose, const KnownJointGuesses& known)
        : skeleton(skeleton), pose(pose), known(known) {}

    Posture Measure() const {
        const Vector3 hips = Middle(velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_RightUpperLeg,
            velkori_KnownJointType_Hips);
        const Vector3 shoulders = Middle(velkori_KnownJointType_LeftUpperArm,
            velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_Chest);
        const bool hasNeck = Joint(velkori_KnownJointType_Neck) >= 0;
        const Vector3 top = hasNeck ? Position(velkori_KnownJointType_Neck) : shoulders;
        const Vector3 trunk = top - hips;
        const bool hasLegs = HasBoth(velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_RightAnkle);
        const Vector3 legs = hasLegs ? hips - (Position(velkori_KnownJointType_LeftAnkle) +
                                                  Position(velkori_KnownJointType_RightAnkle)) *
                                                  0.5f
                                     : noDirection;
        Posture posture;
        posture.up = Normalized(trunk + legs);
        const Vector3 hipAxis =
            Across(velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_RightUpperLeg);
        const Vector3 shoulderAxis =
            Across(velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_RightUpperArm);
        posture.left = Normalized(WithoutAxis(Normalized(hipAxis) + Normalized(shoulderAxis), posture.up));
        const float size = Length(trunk) + Length(legs);
        const float straight = Length(trunk) > 0.0f && (!hasLegs || Length(legs) > 0.0f)
                                   ? Grade(AngleBetween(trunk, hasLegs ? legs : trunk), 15.0f, 60.0f)
                                   : 0.0f;
        posture.standing = straight * SidesGrade(hipAxis, shoulderAxis, posture.up, size) *
                           (0.6f * LegGrade(posture.up) + 0.4f * ArmGrade(posture));
        return posture;
    }

  private:
    int Joint(velkori_KnownJointType role) const { return known.at(role).joint; }

    bool HasBoth(velkori_KnownJointType a, velkori_KnownJointType b) const {
        return Joint(a) >= 0 && Joint(b) >= 0;
    }

    Vector3 Position(velkori_KnownJointType role) const {
        return Joint(role) < 0 ? noDirection : pose[Joint(role)].position;
    }

    Vector3 Middle(
        velkori_KnownJointType left, velkori_KnownJointType right, velkori_KnownJointType between) const {
        return HasBoth(left, right) ? (Position(left) + Position(right)) * 0.5f : Position(between);
    }

    Vector3 Across(velkori_KnownJointType left, velkori_KnownJointType right) const {
        return HasBoth(left, right) ? Position(left) - Position(right) : noDirection;
    }

    /** Hips and shoulders lie across the body, apart from each other, and turned the same way. */
    static float SidesGrade(const Vector3& hips, const Vector3& shoulders, const Vector3& up, float size) {
        constexpr float least = 0.02f;
        float grade = 1.0f;
        for (const Vector3& axis : {hips, shoulders}) {
            grade *= Length(axis) > least * size
                         ? Grade(std::fabs(90.0f - AngleBetween(axis, up)), 15.0f, 50.0f)
                         : 0.0f;
        }
        return grade * Grade(AngleBetween(WithoutAxis(hips, up), WithoutAxis(shoulders, up)), 15.0f, 60.0f);
    }

    /** How straight a limb is: the way from end to end against the way along its joints. */
    float Straightness(velkori_KnownJointType upper, velkori_KnownJointType end) const {
        float length = 0.0f;
        for (int joint = Joint(end); joint >= 0 && joint != Joint(upper); joint = skeleton.parents[joint]) {
            const int parent = skeleton.parents[joint];
            length += parent < 0 ? 0.0f : Length(pose[joint].position - pose[parent].position);
        }
        return length > 0.0f ? Length(Position(end) - Position(upper)) / length : 0.0f;
    }

    float LegGrade(const Vector3& up) const {
        float grade = 0.0f;
        for (const auto& [upper, end] :
            {std::pair{velkori_KnownJointType_LeftUpperLeg, velkori_KnownJointType_LeftAnkle},
                std::pair{velkori_KnownJointType_RightUpperLeg, velkori_KnownJointType_RightAnkle}}) {
            if (HasBoth(upper, end)) {
                grade += 0.5f * Grade(AngleBetween(Position(upper) - Position(end), up), 12.0f, 45.0f) *
                         Grade(Straightness(upper, end), 0.98f, 0.8f);
            }
        }
        return grade;
    }

    /** Arms hang, or are held to the sides; they don't point forward, back or up. */
    float ArmGrade(const Posture& posture) const {
        const Vector3 forward = Cross(posture.left, posture.up);
        float grade = 0.0f;
        for (const auto& [upper, end] :
            {std::pair{velkori_KnownJointType_LeftUpperArm, velkori_KnownJointType_LeftWrist},
                std::pair{velkori_KnownJointType_RightUpperArm, velkori_KnownJointType_RightWrist}}) {
            if (HasBoth(upper, end)) {
                const Vector3 arm = Normalized(Position(end) - Position(upper));
                grade += 0.5f * Grade(std::fabs(Dot(arm, forward)), 0.25f, 0.8f) *
                         Grade(Dot(arm, posture.up), 0.15f, 0.6f) *
                         Grade(Straightness(upper, end), 0.93f, 0.7f);
            }
        }
        return grade;
    }

    const FileSkeleton& skeleton;
    std::span<const Transform> pose;
    const KnownJointGuesses& known;
};

} // namespace

Posture MeasurePosture(
    const FileSkeleton& skeleton, std::span<const Transform> pose, const KnownJointGuesses& known) {
    return PostureMeter(skeleton, pose, known).Measure();
}

bool IsAncestorOrSelf(const FileSkeleton& skeleton, int ancestor, int joint) {
    while (joint >= 0 && joint != ancestor) {
        joint = skeleton.parents[joint];
    }
    return joint >= 0;
}

BodySpan MeasureBodySpan(const FileSkeleton& skeleton, std::span<const Transform> pose,
    const KnownJointGuesses& known, const Vector3& axis) {
    const int hips = known.at(velkori_KnownJointType_Hips).joint;
    BodySpan span = {std::numeric_limits<float>::max(), std::numeric_limits<float>::lowest()};
    for (int joint = 0; joint < skeleton.JointCount(); ++joint) {
        if (hips < 0 || IsAncestorOrSelf(skeleton, hips, joint)) {
            const float height = Dot(axis, pose[joint].position);
            span.lowest = std::min(span.lowest, height);
            span.highest = std::max(span.highest, height);
        }
    }
    return span;
}

} // namespace Velkori_Tool
