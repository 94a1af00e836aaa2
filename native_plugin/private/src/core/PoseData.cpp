// Construction, and the four representations of a pose that are derived from each other.

#include "core/PoseData.h"

#include "core/JointSpaces.h"
#include "core/PoseConversion.h"
#include "core/SkeletonData.h"

#include <algorithm>

namespace Velkori_Utility {

namespace {

constexpr std::uint32_t FlagOf(velkori_JointRelativeSpaceType space) {
    return 1U << space;
}

void ResetScale(std::vector<JointPose>& pose) {
    for (JointPose& joint : pose) {
        joint.scale = Vector3f::One;
    }
}

} // namespace

PoseData::PoseData(const SkeletonData& owner) : skeleton(&owner) {}

PoseData::PoseData(const PoseData& other) : skeleton(other.skeleton) {
    Initialize(other);
}

PoseData::PoseData(const SkeletonData& owner, velkori_JointRelativeSpaceType space,
    std::span<const JointPose> joints, const JointPose& conversion)
    : skeleton(&owner) {
    Initialize(space, joints, conversion);
}

PoseData& PoseData::operator=(const PoseData& other) {
    if (this != &other) {
        skeleton = other.skeleton;
        Initialize(other);
    }
    return *this;
}

void PoseData::Initialize(const PoseData& other) {
    if (this == &other) {
        return;
    }
    // Copying a list into one that is large enough needs no memory.
    for (std::size_t space = 0; space < jointPoses.size(); ++space) {
        jointPoses[space] = other.jointPoses[space];
    }
    jointLengths = other.jointLengths;
    extents = other.extents;
    estimatedExtentRange = other.estimatedExtentRange;
    rotationalDirectionVectors = other.rotationalDirectionVectors;
    validFlags = other.validFlags;
}

// A list of another size than the skeleton's is no pose of it.
void PoseData::Initialize(
    velkori_JointRelativeSpaceType space, std::span<const JointPose> joints, const JointPose& conversion) {
    validFlags = 0;
    if (std::ssize(joints) != GetJointCount()) {
        return;
    }
    const PoseConversion convert(conversion);
    std::vector<JointPose>& pose = jointPoses[convert.IsIdentity() ? space : RootSpace];
    pose.assign(joints.begin(), joints.end());
    if (convert.IsIdentity()) {
        if (space == RootSpace) {
            ResetScale(pose);
        }
        validFlags = FlagOf(space);
    } else {
        if (space == LocalSpace || space == ScaledLocalSpace) {
            skeleton->ConvertLocalSpaceToRootSpacePose(pose, false);
        }
        for (JointPose& joint : pose) {
            joint = convert.Apply(joint);
        }
        validFlags = FlagOf(RootSpace);
    }
    // The skeleton's own rest poses get their extents from their own data.
    if (!skeleton->IsFullyConstructed()) {
        InitializeEstimatedPoseExtents();
    }
}

void PoseData::Initialize(velkori_SkeletonTPoseType type) {
    Initialize(skeleton->GetTPoseData(type));
}

void PoseData::Clear() {
    validFlags = 0;
}

int PoseData::GetJointCount() const {
    return skeleton->GetJointCount();
}

bool PoseData::IsUsingUnscaledReference() const {
    const PoseData& reference = skeleton->GetUnscaledTPose();
    return this != &reference && reference.IsInitialized();
}

void PoseData::InitializeJointPoseData(velkori_JointRelativeSpaceType space) const {
    if (validFlags == 0 || (validFlags & FlagOf(space)) != 0) {
        return;
    }
    switch (space) {
    case RootSpace:
        DeriveRootSpacePose();
        break;
    case LocalSpace:
        DeriveLocalSpacePose();
        break;
    case ScaledRootSpace:
        DeriveScaledRootSpacePose();
        break;
    case ScaledLocalSpace:
        DeriveScaledLocalSpacePose();
        break;
    }
    validFlags |= FlagOf(space);
}

// Without an unscaled reference a scaled representation is a plain copy of its unscaled one, in both
// directions. Root space is then never derived from scaled root space, which would be derived from it.
void PoseData::DeriveRootSpacePose() const {
    std::vector<JointPose>& pose = jointPoses[RootSpace];
    const bool hasScaledRoot = (validFlags & FlagOf(ScaledRootSpace)) != 0;
    const bool hasLocal = (validFlags & FlagOf(LocalSpace)) != 0;
    if (hasScaledRoot || (!hasLocal && IsUsingUnscaledReference())) {
        pose = GetJointPoses(ScaledRootSpace);
        ResetScale(pose);
    } else {
        pose = GetJointPoses(LocalSpace);
        skeleton->ConvertLocalSpaceToRootSpacePose(pose, true);
    }
}

void PoseData::DeriveLocalSpacePose() const {
    std::vector<JointPose>& pose = jointPoses[LocalSpace];
    if ((validFlags & FlagOf(ScaledLocalSpace)) != 0) {
        pose = jointPoses[ScaledLocalSpace];
        if (IsUsingUnscaledReference()) {
            UnscaleLocalSpacePose(pose);
        }
    } else {
        pose = GetJointPoses(RootSpace);
        skeleton->ConvertRootSpaceToLocalSpacePose(pose);
    }
}

void PoseData::DeriveScaledRootSpacePose() const {
    std::vector<JointPose>& pose = jointPoses[ScaledRootSpace];
    if (!IsUsingUnscaledReference()) {
        pose = GetJointPoses(RootSpace);
        return;
    }
    constexpr std::uint32_t MeasuredRootSpace = FlagOf(RootSpace) | JointLengthsFlag | EstimatedExtentsFlag;
    const bool isMeasured = (validFlags & MeasuredRootSpace) == MeasuredRootSpace;
    if ((validFlags & FlagOf(ScaledLocalSpace)) != 0 && !isMeasured) {
        pose = jointPoses[ScaledLocalSpace];
        skeleton->ConvertLocalSpaceToRootSpacePose(pose, false);
    } else {
        pose = GetJointPoses(RootSpace);
        skeleton->ConvertToScaledRootSpacePose(pose, GetJointLengths(), GetEstimatedExtentRange());
    }
}

void PoseData::DeriveScaledLocalSpacePose() const {
    std::vector<JointPose>& pose = jointPoses[ScaledLocalSpace];
    if (IsUsingUnscaledReference()) {
        pose = GetJointPoses(ScaledRootSpace);
        skeleton->ConvertRootSpaceToLocalSpacePose(pose);
    } else {
        pose = GetJointPoses(LocalSpace);
    }
}

const std::vector<JointPose>& PoseData::GetJointPoses(velkori_JointRelativeSpaceType space) const {
    InitializeJointPoseData(space);
    return jointPoses[space];
}

// A local scale is relative to the parent's, while a bone is as long as all the scales above it make it.
// Parents come first, so that each parent's scale has taken in its own parent's.
void PoseData::UnscaleLocalSpacePose(std::vector<JointPose>& localSpacePose) const {
    if (std::ssize(localSpacePose) != GetJointCount()) {
        return;
    }
    for (const int joint : skeleton->GetHierarchicalUpdateOrder()) {
        const int parent = skeleton->GetParentJointIndex(joint);
        if (parent != -1) {
            JointPose& local = localSpacePose[joint];
            local.position = local.position.Multiply(localSpacePose[parent].scale);
            local.scale = local.scale.Multiply(localSpacePose[parent].scale);
        }
    }
    ResetScale(localSpacePose);
}

bool PoseData::IsApproxEqual(const PoseData& other) const {
    if (skeleton != other.skeleton) {
        return false;
    }
    if (!IsInitialized() || !other.IsInitialized()) {
        return IsInitialized() == other.IsInitialized();
    }
    auto space = RootSpace;
    for (const auto candidate : {RootSpace, LocalSpace, ScaledRootSpace, ScaledLocalSpace}) {
        if ((validFlags & other.validFlags & FlagOf(candidate)) != 0) {
            space = candidate;
            break;
        }
    }
    const auto isNear = [](const Vector3f& a, const Vector3f& b, float tolerance) {
        const Vector3f difference = (a - b).Abs();
        return difference.x < tolerance && difference.y < tolerance && difference.z < tolerance;
    };
    const std::vector<JointPose>& poses = GetJointPoses(space);
    const std::vector<JointPose>& otherPoses = other.GetJointPoses(space);
    const auto arePosesNear = [&](const JointPose& a, const JointPose& b) {
        const Quaternionf& p = a.orientation;
        const Quaternionf& q = b.orientation;
        return 1.0F - (p.x * q.x + p.y * q.y + p.z * q.z + p.w * q.w) <= 1e-05F &&
               isNear(a.position, b.position, 0.001F) && isNear(a.scale, b.scale, 1e-05F);
    };
    return std::equal(poses.begin(), poses.end(), otherPoses.begin(), otherPoses.end(), arePosesNear);
}

} // namespace Velkori_Utility
