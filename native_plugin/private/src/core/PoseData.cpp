#include "core/PoseData.h"

#include "core/JointSpaceConversions.h"
#include "core/JointSpaces.h"
#include "core/PoseConversion.h"
#include "core/PoseMeasures.h"

namespace Velkori_Utility {

namespace {

constexpr std::uint32_t JointLengthsFlag = 16;
constexpr std::uint32_t EstimatedExtentsFlag = 32;

float DivideOrZero(float dividend, float divisor) {
    return divisor < MinNormal ? 0.0F : dividend / divisor;
}

// An empty list gives a pose that holds nothing.
PoseData MakeRootSpacePose(const SkeletonData& skeleton, std::span<const JointPose> joints) {
    return joints.empty() ? PoseData(skeleton) : PoseData(skeleton, RootSpace, joints, JointPose::Identity);
}

} // namespace

// -- Construction ------------------------------------------------------------------------------------------

PoseData::PoseData(const SkeletonData& owner, velkori_JointRelativeSpaceType space,
    std::span<const JointPose> joints, const JointPose& conversion)
    : skeleton(&owner) {
    Initialize(space, joints, conversion);
}

PoseData::PoseData(const SkeletonData& owner, const RestPose& restPose) : skeleton(&owner) {
    Initialize(restPose);
}

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
        return;
    }
    if (space == LocalSpace || space == ScaledLocalSpace) {
        ConvertLocalSpaceToRootSpacePose(*skeleton, pose, false);
    }
    for (JointPose& joint : pose) {
        joint = convert.Apply(joint);
    }
    validFlags = FlagOf(RootSpace);
}

void PoseData::Initialize(const RestPose& restPose) {
    validFlags = 0;
    if (!restPose.IsInitialized() || &restPose.GetSkeleton() != skeleton) {
        return;
    }
    // Copying a list into one that is large enough needs no memory.
    jointPoses[RootSpace] = restPose.GetJointPoses(RootSpace);
    jointLengths = restPose.GetJointLengths();
    estimatedExtentRange = restPose.GetExtents().range;
    validFlags = FlagOf(RootSpace) | JointLengthsFlag | EstimatedExtentsFlag;
}

// -- Representations ---------------------------------------------------------------------------------------

const std::vector<JointPose>& PoseData::GetJointPoses(velkori_JointRelativeSpaceType space) {
    DeriveJointPoses(space);
    return jointPoses[space];
}

void PoseData::DeriveJointPoses(velkori_JointRelativeSpaceType space) {
    if (!IsInitialized() || Has(space)) {
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
void PoseData::DeriveRootSpacePose() {
    std::vector<JointPose>& pose = jointPoses[RootSpace];
    if (Has(ScaledRootSpace) || (!Has(LocalSpace) && HasUnscaledReference())) {
        pose = GetJointPoses(ScaledRootSpace);
        ResetScale(pose);
    } else {
        pose = GetJointPoses(LocalSpace);
        ConvertLocalSpaceToRootSpacePose(*skeleton, pose, true);
    }
}

void PoseData::DeriveLocalSpacePose() {
    std::vector<JointPose>& pose = jointPoses[LocalSpace];
    if (Has(ScaledLocalSpace)) {
        pose = jointPoses[ScaledLocalSpace];
        if (HasUnscaledReference()) {
            UnscaleLocalSpacePose(*skeleton, pose);
        }
    } else {
        pose = GetJointPoses(RootSpace);
        ConvertRootSpaceToLocalSpacePose(*skeleton, pose);
    }
}

void PoseData::DeriveScaledRootSpacePose() {
    std::vector<JointPose>& pose = jointPoses[ScaledRootSpace];
    if (!HasUnscaledReference()) {
        pose = GetJointPoses(RootSpace);
        return;
    }
    constexpr std::uint32_t MeasuredRootSpace = FlagOf(RootSpace) | JointLengthsFlag | EstimatedExtentsFlag;
    const bool isMeasured = (validFlags & MeasuredRootSpace) == MeasuredRootSpace;
    if (Has(ScaledLocalSpace) && !isMeasured) {
        pose = jointPoses[ScaledLocalSpace];
        ConvertLocalSpaceToRootSpacePose(*skeleton, pose, false);
    } else {
        pose = GetJointPoses(RootSpace);
        const std::vector<float>& lengths = GetJointLengths();
        skeleton->GetRestPoses().ConvertToScaledRootSpacePose(pose, lengths, GetEstimatedExtentRange());
    }
}

void PoseData::DeriveScaledLocalSpacePose() {
    std::vector<JointPose>& pose = jointPoses[ScaledLocalSpace];
    if (HasUnscaledReference()) {
        pose = GetJointPoses(ScaledRootSpace);
        ConvertRootSpaceToLocalSpacePose(*skeleton, pose);
    } else {
        pose = GetJointPoses(LocalSpace);
    }
}

// -- Measures ----------------------------------------------------------------------------------------------

const std::vector<float>& PoseData::GetJointLengths() {
    if (IsInitialized() && (validFlags & JointLengthsFlag) == 0 && !skeleton->IsEmpty()) {
        if (Has(LocalSpace)) {
            MeasureLocalJointLengths(jointPoses[LocalSpace], jointLengths);
        } else {
            MeasureJointLengths(*skeleton, GetJointPoses(RootSpace), jointLengths);
        }
        validFlags |= JointLengthsFlag;
    }
    return jointLengths;
}

const Vector3f& PoseData::GetEstimatedExtentRange() {
    if (IsInitialized() && (validFlags & EstimatedExtentsFlag) == 0 && !skeleton->IsEmpty()) {
        estimatedExtentRange = skeleton->GetRestPoses().EstimateExtentRange(GetJointLengths());
        validFlags |= EstimatedExtentsFlag;
    }
    return estimatedExtentRange;
}

PoseExtents PoseData::MeasureExtents() {
    return IsInitialized() && !skeleton->IsEmpty()
               ? Velkori_Utility::MeasureExtents(*skeleton, GetJointPoses(RootSpace))
               : PoseExtents::EmptyExtents;
}

// -- Poses of another size ---------------------------------------------------------------------------------

PoseData PoseData::CalculatePoseAtScale(float scale) {
    if (scale == 1.0F || !IsInitialized()) {
        return *this;
    }
    std::vector<JointPose> scaled = GetJointPoses(RootSpace);
    for (JointPose& joint : scaled) {
        joint.position = joint.position * scale;
    }
    return MakeRootSpacePose(*skeleton, scaled);
}

PoseData PoseData::CalculatePoseAtHeight(float height, const Vector3f& up) {
    if (!IsInitialized()) {
        return *this;
    }
    return CalculatePoseAtScale(height / GetEstimatedExtentRange().Multiply(up).Length());
}

PoseData PoseData::CalculateAsTPose() {
    if (!IsInitialized()) {
        return PoseData(*skeleton);
    }
    return MakeRootSpacePose(*skeleton, skeleton->GetRestPoses().CalculateRootSpaceTPose(GetJointLengths()));
}

PoseData PoseData::MatchPoseScale(PoseData& poseToScale, PoseData& reference) {
    if (&poseToScale == &reference || !poseToScale.IsInitialized()) {
        return poseToScale;
    }
    const SkeletonData& skeleton = poseToScale.GetSkeleton();
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    const int hips = skeleton.GetJointIndex(velkori_KnownJointType_Hips);
    if (hips == -1 || !reference.IsInitialized() ||
        reference.GetJointCount() != poseToScale.GetJointCount()) {
        return PoseData(skeleton);
    }
    const Vector3f& theirs = reference.GetEstimatedExtentRange();
    const Vector3f& mine = poseToScale.GetEstimatedExtentRange();
    const Vector3f ratio(
        DivideOrZero(theirs.x, mine.x), DivideOrZero(theirs.y, mine.y), DivideOrZero(theirs.z, mine.z));
    std::vector<JointPose> scaled = poseToScale.GetJointPoses(LocalSpace);
    const std::vector<JointPose>& rootSpacePose = poseToScale.GetJointPoses(RootSpace);
    const std::vector<float>& lengths = reference.GetJointLengths();
    for (int joint = 0; joint < skeleton.GetJointCount(); ++joint) {
        const int parent = skeleton.GetParentJointIndex(joint);
        Vector3f& position = scaled[joint].position;
        float length = lengths[joint];
        if (parent == -1) {
            length = position.Multiply(ratio).Length();
        } else if (joint == root || joint == hips) {
            // The joints that carry the body follow its extents, which are along the axes of root space.
            length = rootSpacePose[parent].orientation.Rotate(position).Multiply(ratio).Length();
        }
        position = position.Normalize() * length;
        scaled[joint].scale = Vector3f::One;
    }
    return PoseData(skeleton, LocalSpace, scaled, JointPose::Identity);
}

} // namespace Velkori_Utility
