#include "retargeting/alignment/Alignment.h"

#include "core/ConfigurationData.h"
#include "core/InterpolationRatio.h"
#include "core/JointSpaces.h"
#include "core/SkeletonData.h"
#include "retargeting/alignment/HandMatching.h"
#include "retargeting/alignment/LimbProportions.h"
#include "retargeting/alignment/LimbRotations.h"
#include "retargeting/alignment/RestPoseSpace.h"
#include "shared/ProcessSpace.h"

namespace Velkori_Utility::Alignment {

namespace {

bool Has(velkori_AlignmentFlags flags, velkori_AlignmentFlags flag) {
    return (flags & flag) != 0;
}

float HeightOf(const JointPose& joint) {
    return Vector3f(ProcessSpace().up).Abs().Multiply(joint.position).Length();
}

} // namespace

PoseData AlignToRestPose(velkori_AlignmentFlags flags, const PoseData& source, const PoseData& target) {
    if (!source.IsInitialized() || !target.IsInitialized()) {
        return target;
    }
    PoseData work = target;
    if (Has(flags, velkori_AlignmentFlags_MatchFacing)) {
        work = MatchPoseFacingRotation(source, work);
    }
    if (Has(flags, velkori_AlignmentFlags_MatchLimbRotations)) {
        work = MatchPoseLimbRotations(source, work);
    }
    // The height of the wrist, at which the person and the character reach for the same things.
    if (Has(flags, velkori_AlignmentFlags_ScaleToHeight)) {
        work = ScaleToMatchPoseHeight(source, work, velkori_KnownJointType_RightWrist);
    }
    if (Has(flags, velkori_AlignmentFlags_MatchLimbProportions)) {
        work = DeformationLimbsToMatchSourceProportion(source, work);
    }
    const bool scaleFingers = Has(flags, velkori_AlignmentFlags_MatchHandsAndFingersVariant);
    if (scaleFingers || Has(flags, velkori_AlignmentFlags_MatchHandsAndFingers)) {
        work = MatchPoseHandsAndFingers(source, work, scaleFingers);
    }
    // Rigs of absurd size overflow: such a pose isn't aligned.
    return work.IsApproxEqual(target) || !AreFinite(work.GetJointPoses(RootSpace)) ? target : work;
}

PoseData MatchPoseFacingRotation(const PoseData& source, const PoseData& target) {
    CoordinateSpace sourceSpace(ProcessSpace());
    CoordinateSpace targetSpace = sourceSpace;
    if (!CalculateRestPoseCoordinateSpace(source, sourceSpace) ||
        !CalculateRestPoseCoordinateSpace(target, targetSpace) ||
        sourceSpace.orientation == targetSpace.orientation) {
        return target;
    }
    const Quaternionf turn = targetSpace.orientation.Inverse() * sourceSpace.orientation;
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
    const PoseData& source, const PoseData& target, velkori_KnownJointType knownJoint) {
    const int sourceJoint = source.GetSkeleton().GetJointIndex(knownJoint);
    const int targetJoint = target.GetSkeleton().GetJointIndex(knownJoint);
    if (!source.IsInitialized() || !target.IsInitialized() || sourceJoint == -1 || targetJoint == -1) {
        return target;
    }
    const float targetHeight = HeightOf(target.GetJointPoses(RootSpace)[targetJoint]);
    const float ratio = targetHeight < MinNormal
                            ? 1.0F
                            : HeightOf(source.GetJointPoses(RootSpace)[sourceJoint]) / targetHeight;
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
    const PoseData& minimum, const PoseData& maximum, const PoseData& pose) {
    const SkeletonData& skeleton = pose.GetSkeleton();
    const int root = skeleton.GetJointIndex(velkori_KnownJointType_Root);
    const FastRangedIntegralSet<int> withoutRoot(root, root, {root});
    const std::vector<float>& minLengths = minimum.GetJointLengths();
    const std::vector<float>& maxLengths = maximum.GetJointLengths();
    const std::vector<float>& lengths = pose.GetJointLengths();
    std::vector<float> ratios(lengths.size());
    for (std::size_t joint = 0; joint < ratios.size(); ++joint) {
        ratios[joint] = CalculateInterpolationRatio(lengths[joint], minLengths[joint], maxLengths[joint]);
    }
    const Vector3f range = skeleton.CalculateExtentRangeInTPose(ratios, lengths,
        minimum.GenerateJointDimensionMask(withoutRoot), maximum.GenerateJointDimensionMask(withoutRoot));
    return CalculateInterpolationRatio(range, minimum.GetExtents().range, maximum.GetExtents().range);
}

} // namespace Velkori_Utility::Alignment
