// The exports that play received snapshots back.

#include "interface/InterfacePoses.h"
#include "interface/UtilityInstance.h"
#include "shared/Log.h"

#include <algorithm>
#include <cmath>

using namespace Velkori_Utility;

namespace {

// A request at no time would leave the running poses without a value for good.
velkori_Result CheckTime(double time) {
    return std::isfinite(time)
               ? velkori_Result_Success
               : Fail(velkori_Result_InvalidValue, "Parameter time must be a finite number of seconds");
}

} // namespace

velkori_Result velkori_resetInterpolators(velkori_Handle handle) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        instance.serialization.playback.reset();
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getInterpolatedSkeletonPose(velkori_Handle handle, velkori_SkeletonType skeletonType,
    velkori_Transform_* out_bodyPose, int32_t* in_out_jointCount, double time) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_jointCount == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_jointCount");
        }
        BodySnapshotInterpolator& interpolator = skeletonType == velkori_SkeletonType_Source
                                                     ? instance.serialization.playback.source
                                                     : instance.serialization.playback.target;
        const int elementCount = interpolator.getElementCount();
        if (out_bodyPose == nullptr) {
            *in_out_jointCount = elementCount;
            return velkori_Result_Success;
        }
        if (*in_out_jointCount < elementCount) {
            return Fail(velkori_Result_BufferTooSmall,
                "Parameter out_bodyPose is not large enough for body pose. Required length %d, Actual length "
                "%d",
                elementCount, *in_out_jointCount);
        }
        if (const velkori_Result result = CheckTime(time); result != velkori_Result_Success) {
            return result;
        }
        const std::span<const JointPose> pose = interpolator.updateAndInterpolatePose(time);
        ToVelkoriPoseArrayFromJointPoseVector(pose, out_bodyPose);
        *in_out_jointCount = static_cast<int32_t>(pose.size());
        if (!pose.empty() && *in_out_jointCount != elementCount) {
            Log(velkori_LogLevel_Error,
                "Interpolated joint count is %d, expected: %d. Interpolation may be incomplete.",
                *in_out_jointCount, elementCount);
        }
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getInterpolatedFacePose(velkori_Handle handle, int32_t /*reserved*/,
    float* out_facePose, int32_t* in_out_shapeCount, double time) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (in_out_shapeCount == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "in_out_shapeCount");
        }
        FaceSnapshotInterpolator& interpolator = instance.serialization.playback.face;
        const int elementCount = interpolator.getElementCount();
        if (out_facePose == nullptr) {
            *in_out_shapeCount = elementCount;
            return velkori_Result_Success;
        }
        if (*in_out_shapeCount < elementCount) {
            return Fail(velkori_Result_BufferTooSmall,
                "Parameter out_facePose is not large enout for body pose. Required length %d, Actual length "
                "%d",
                elementCount, *in_out_shapeCount);
        }
        if (const velkori_Result result = CheckTime(time); result != velkori_Result_Success) {
            return result;
        }
        const std::span<const float> weights = interpolator.updateAndInterpolatePose(time);
        if (weights.empty()) {
            return velkori_Result_Failure;
        }
        std::copy(weights.begin(), weights.end(), out_facePose);
        *in_out_shapeCount = static_cast<int32_t>(weights.size());
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getInterpolatedTrackerJointPose(
    velkori_Handle handle, int32_t trackerIndex, velkori_Transform_* out_pose, double time) {
    return WithInstance(__func__, handle, [&](UtilityInstance& instance) {
        if (out_pose == nullptr) {
            return FailWithNull(velkori_Result_NullParameter, "out_pose");
        }
        if (const velkori_Result result = CheckTime(time); result != velkori_Result_Success) {
            return result;
        }
        const std::size_t index = trackerIndex == 0 || trackerIndex == 1 ? trackerIndex : 2;
        *out_pose = static_cast<velkori_Transform_>(
            instance.serialization.playback.trackers[index].UpdateAndGetInterpolatePose(time));
        return velkori_Result_Success;
    });
}
