#include "host/FootContact.h"

#include <algorithm>

namespace Velkori_Tool {

namespace {

bool IsBelow(const std::vector<int>& parents, int ancestor, int joint) {
    // No way up is longer than the skeleton has joints.
    for (size_t steps = 0; joint >= 0 && steps <= parents.size(); ++steps) {
        if (joint == ancestor) {
            return true;
        }
        joint = parents[joint];
    }
    return false;
}

std::vector<Transform> AuthoredPose(const Configuration& configuration, velkori_SkeletonType type) {
    return configuration.RestPose(type, type == velkori_SkeletonType_Source
                                            ? velkori_SkeletonTPoseType_Min
                                            : velkori_SkeletonTPoseType_Unscaled);
}

} // namespace

std::vector<int> ContactJoints(const Configuration& configuration, velkori_SkeletonType type) {
    const std::vector<int> parents = configuration.Parents(type);
    const std::vector<Transform> rest = AuthoredPose(configuration, type);
    std::vector<int> contacts;
    for (const auto role : {velkori_KnownJointType_LeftAnkle, velkori_KnownJointType_RightAnkle}) {
        const int ankle = configuration.KnownJoint(type, role);
        int lowest = ankle;
        for (size_t joint = 0; ankle >= 0 && joint < rest.size(); ++joint) {
            if (IsBelow(parents, ankle, static_cast<int>(joint)) &&
                rest[joint].position.y < rest[lowest].position.y) {
                lowest = static_cast<int>(joint);
            }
        }
        if (lowest >= 0) {
            contacts.push_back(lowest);
        }
    }
    return contacts;
}

float GroundHeight(const Configuration& configuration, velkori_SkeletonType type,
    std::span<const Transform> poses, int jointCount) {
    const std::vector<int> contacts = ContactJoints(configuration, type);
    const std::vector<Transform> rest = AuthoredPose(configuration, type);
    std::vector<float> lowest;
    for (size_t start = 0; !contacts.empty() && start < poses.size(); start += jointCount) {
        float height = std::numeric_limits<float>::max();
        for (const int joint : contacts) {
            height = std::min(height, poses[start + joint].position.y - rest[joint].position.y);
        }
        lowest.push_back(height);
    }
    if (lowest.empty()) {
        return 0.0f;
    }
    // Nearer to the lowest than the middle one: somebody who jumps or climbs is more often above the ground
    // than below.
    const auto tenth = lowest.begin() + static_cast<std::ptrdiff_t>(lowest.size() / 10);
    std::nth_element(lowest.begin(), tenth, lowest.end());
    return *tenth;
}

FootSliding MeasureFootSliding(const Configuration& configuration, velkori_SkeletonType type,
    std::span<const Transform> poses, int jointCount, double frameSeconds, float ground) {
    constexpr float contactHeight = 0.03f;
    const std::vector<Transform> rest = AuthoredPose(configuration, type);
    FootSliding sliding;
    for (const int joint : ContactJoints(configuration, type)) {
        const float limit = rest[joint].position.y + ground + contactHeight;
        for (size_t start = jointCount; start < poses.size(); start += jointCount) {
            const Vector3& before = poses[start - jointCount + joint].position;
            const Vector3& now = poses[start + joint].position;
            if (before.y < limit && now.y < limit) {
                sliding.metres += std::hypot(now.x - before.x, now.z - before.z);
                sliding.seconds += frameSeconds;
            }
        }
    }
    return sliding;
}

} // namespace Velkori_Tool
