#include "retargeting/alignment/Alignment.h"

#include "core/InterpolationRatio.h"
#include "core/JointSpaces.h"
#include "core/PoseMeasures.h"
#include "retargeting/alignment/HandMatching.h"
#include "retargeting/alignment/LimbProportions.h"
#include "retargeting/alignment/LimbRotations.h"
#include "retargeting/alignment/RestPoseSpace.h"

#include <utility>

namespace Velkori_Utility::Alignment {

namespace {

bool Has(velkori_AlignmentFlags flags, velkori_AlignmentFlags flag) {
    return (flags & flag) != 0;
}

float HeightOf(const JointPose& joint, const Vector3f& up) {
    return up.Abs().Multiply(joint.position).Length();
}

} // namespace

PoseData AlignToRestPose(velkori_AlignmentFlags flags, const RestPose& source, const PoseData& target,
    const CoordinateSpace& space) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return target;
    }
    PoseData work = target;
    if (Has(flags, velkori_AlignmentFlags_MatchFacing)) {
        work = MatchPoseFacingRotation(source, std::move(work));
    }
    if (Has(flags, velkori_AlignmentFlags_MatchLimbRotations)) {
        work = MatchPoseLimbRotations(source, std::move(work), space.up);
    }
    // The height of the wrist, at which the person and the character reach for the same things.
    if (Has(flags, velkori_AlignmentFlags_ScaleToHeight)) {
        work = ScaleToMatchPoseHeight(source, std::move(work), velkori_KnownJointType_RightWrist, space.up);
    }
    if (Has(flags, velkori_AlignmentFlags_MatchLimbProportions)) {
        work = DeformationLimbsToMatchSourceProportion(source, std::move(work), space.forward);
    }
    const bool scaleFingers = Has(flags, velkori_AlignmentFlags_MatchHandsAndFingersVariant);
    if (scaleFingers || Has(flags, velkori_AlignmentFlags_MatchHandsAndFingers)) {
        work = MatchPoseHandsAndFingers(source, std::move(work), scaleFingers);
    }
    PoseData before = target;
    const std::vector<JointPose>& aligned = work.GetJointPoses(RootSpace);
    // Rigs of absurd size overflow: such a pose isn't aligned.
    return AreApproxEqual(aligned, before.GetJointPoses(RootSpace)) || !AreFinite(aligned) ? target : work;
}

PoseData MatchPoseFacingRotation(const RestPose& source, PoseData target) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return target;
    }
    const auto sourceSpace =
        CalculateRestPoseCoordinateSpace(source.GetSkeleton(), source.GetJointPoses(RootSpace));
    if (!sourceSpace) {
        return target;
    }
    const auto targetSpace =
        CalculateRestPoseCoordinateSpace(target.GetSkeleton(), target.GetJointPoses(RootSpace));
    if (!targetSpace || sourceSpace->orientation == targetSpace->orientation) {
        return target;
    }
    const Quaternionf turn = targetSpace->orientation.Inverse() * sourceSpace->orientation;
    if (turn == Quaternionf::Identity) {
        return target;
    }
    std::vector<JointPose> localPoses = target.GetJointPoses(LocalSpace);
    for (const int root : target.GetSkeleton().GetRootJoints()) {
        // The rotation takes the turn on its right. About the up axis of an upright root that is the same.
        localPoses[root].orientation = localPoses[root].orientation * turn;
        localPoses[root].position = turn.Rotate(localPoses[root].position);
    }
    return PoseData(target.GetSkeleton(), LocalSpace, localPoses, JointPose::Identity);
}

PoseData ScaleToMatchPoseHeight(
    const RestPose& source, PoseData target, velkori_KnownJointType knownJoint, const Vector3f& up) {
    const int sourceJoint = source.GetSkeleton().GetJointIndex(knownJoint);
    const int targetJoint = target.GetSkeleton().GetJointIndex(knownJoint);
    if (!source.IsInitialized() || !target.IsInitialized() || sourceJoint == -1 || targetJoint == -1) {
        return target;
    }
    const float targetHeight = HeightOf(target.GetJointPoses(RootSpace)[targetJoint], up);
    const float ratio = targetHeight < MinNormal
                            ? 1.0F
                            : HeightOf(source.GetJointPoses(RootSpace)[sourceJoint], up) / targetHeight;
    if (!(ratio > 0.0F) || ratio == 1.0F || !IsFinite(ratio)) {
        return target;
    }
    std::vector<JointPose> poses = target.GetJointPoses(RootSpace);
    for (JointPose& pose : poses) {
        pose.position = pose.position * ratio;
    }
    return PoseData(target.GetSkeleton(), RootSpace, poses, JointPose::Identity);
}

Vector3f CalculateExtentRangeBetweenPoses(
    PoseData& minimum, PoseData& maximum, std::span<const float> jointLengths) {
    const Skeleton& skeleton = minimum.GetSkeleton();
    const FastRangedIntegralSet<int> withoutRoot = KnownRootOf(skeleton);
    const std::vector<float>& minLengths = minimum.GetJointLengths();
    const std::vector<float>& maxLengths = maximum.GetJointLengths();
    std::vector<float> ratios(jointLengths.size());
    for (std::size_t joint = 0; joint < ratios.size(); ++joint) {
        ratios[joint] =
            CalculateInterpolationRatio(jointLengths[joint], minLengths[joint], maxLengths[joint]);
    }
    const Vector3f range = CalculateExtentRangeInTPose(ratios, jointLengths,
        GenerateJointDimensionMask(skeleton, minimum.GetJointPoses(RootSpace), withoutRoot),
        GenerateJointDimensionMask(skeleton, maximum.GetJointPoses(RootSpace), withoutRoot));
    return CalculateInterpolationRatio(range, minimum.MeasureExtents().range, maximum.MeasureExtents().range);
}

} // namespace Velkori_Utility::Alignment
