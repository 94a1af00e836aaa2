#include "core/ConfigurationData.h"
#include "core/PoseConversion.h"
#include "interface/InterfacePoses.h"
#include "shared/DataTypes.h"
#include "shared/Log.h"
#include "shared/ProcessSpace.h"

#include <span>

using namespace Velkori_Utility;

velkori_Result velkori_initialize(const velkori_CoordinateSpace_* coordinateSpace) {
    return AtBoundary(__func__, [&] {
        if (UtilityContext::HasValidUtilityInstance()) {
            return Fail(velkori_Result_OperationFailed, "Valid Handle Instances have been created.  Cannot "
                                                        "initialize when in use (valid handle exists).");
        }
        if (coordinateSpace == nullptr) {
            return Fail(velkori_Result_InvalidParameter, "Parameter coordinateSpace must not be Null.");
        }
        if (!HasUnitAxisSums(*coordinateSpace)) {
            return Fail(
                velkori_Result_InvalidValue, "Parameter coordinateSpace must be an Axis Aligned matrix.");
        }
        SetProcessSpace(*coordinateSpace);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_initializeLogging(velkori_LogCallback callback) {
    return AtBoundary(__func__, [&] {
        SetLogCallback(callback);
        return velkori_Result_Success;
    });
}

velkori_Result velkori_destroy(velkori_Handle handle) {
    return AtBoundary(__func__, [&] {
        if (handle != 0 && !UtilityContext::DestroyUtilityInstance(handle)) {
            return Fail(velkori_Result_InvalidHandle, "Failed to destroy retargeting handle.");
        }
        return velkori_Result_Success;
    });
}

velkori_Result velkori_getCoordinateSpace(velkori_CoordinateSpace_* out_coordinateSpace) {
    return AtBoundary(__func__, [&] {
        if (out_coordinateSpace == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "out_coordinateSpace");
        }
        *out_coordinateSpace = ProcessSpace();
        return velkori_Result_Success;
    });
}

velkori_Result velkori_applyWorldSpaceCoordinateSpaceConversion(
    velkori_Transform_* in_out_worldSpaceTransformData, int32_t jointCount,
    velkori_CoordinateSpace_ in_coordinateSpace, velkori_CoordinateSpace_ out_coordinateSpace) {
    return AtBoundary(__func__, [&] {
        if (in_out_worldSpaceTransformData == nullptr) {
            return FailWithNull(velkori_Result_InvalidParameter, "in_out_worldSpaceTransformData");
        }
        JointPose conversion;
        if (const velkori_Result result =
                CalculateConversion(in_coordinateSpace, out_coordinateSpace, conversion);
            result != velkori_Result_Success) {
            return result;
        }
        const PoseConversion convert(conversion);
        if (convert.IsIdentity() || jointCount < 1) {
            return velkori_Result_Success;
        }
        for (velkori_Transform_& transform : std::span(in_out_worldSpaceTransformData, jointCount)) {
            transform = static_cast<velkori_Transform_>(convert.Apply(JointPose(transform)));
        }
        return velkori_Result_Success;
    });
}
