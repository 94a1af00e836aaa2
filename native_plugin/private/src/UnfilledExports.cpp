// The exports that are still to be built. Each of them goes from here to where its family stands.

#include "InterfaceBoundary.h"

using namespace Velkori_Utility;

namespace {

velkori_Result NotYetAvailable(const char* exportName) {
    return AtBoundary(exportName, [&] {
        UtilityContext::Log(
            velkori_LogLevel_Error, "%s isn't available in this version of the library.", exportName);
        return velkori_Result_OperationFailed;
    });
}

} // namespace

velkori_Result velkori_generateMappings(velkori_Handle, velkori_AutoMappingFlags) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_generateSimpleMappingConfig(velkori_Handle, int32_t, const char* const*,
    const char* const*, const velkori_Transform_*, const char* const*, velkori_Handle*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_matchCurrentTPose(velkori_Handle, velkori_SkeletonType, velkori_MatchBehavior,
    velkori_JointRelativeSpaceType, int32_t, velkori_Transform_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_matchPose(velkori_Handle, velkori_SkeletonType, velkori_MatchBehavior,
    velkori_JointRelativeSpaceType, int32_t, const velkori_Transform_*, velkori_Transform_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_alignTargetToSource(const char*, velkori_AlignmentFlags, velkori_Handle,
    velkori_SkeletonType, velkori_Handle, velkori_Handle*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_getSerializationSettings(velkori_Handle, velkori_SerializationSettings_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_updateSerializationSettings(velkori_Handle, const velkori_SerializationSettings_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_getCurrentAck(velkori_Handle, int32_t*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_createSnapshot(velkori_Handle, int32_t, double) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_snapshotSkeleton(
    velkori_Handle, velkori_SkeletonType, const velkori_Transform_*, const int32_t*, int32_t) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_snapshotFace(velkori_Handle, const float*, const int32_t*, int32_t) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_snapshotFrameData(velkori_Handle, const velkori_FrameData_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_serializeStartHeader(velkori_StartHeader_, velkori_SerializedStartHeader_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_serializeEndHeader(velkori_EndHeader_, velkori_SerializedEndHeader_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_serializeSnapshot(velkori_Handle, void*, int32_t*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_deserializeStartHeader(velkori_StartHeader_*, velkori_SerializedStartHeader_) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_deserializeEndHeader(velkori_EndHeader_*, velkori_SerializedEndHeader_) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_deserializeSnapshotTimestamp(const void*, double*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_deserializeSnapshot(velkori_Handle, const void*, double*, velkori_CompressionType*,
    int32_t*, velkori_Transform_*, float*, velkori_Transform_*, velkori_FrameData_*) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_resetInterpolators(velkori_Handle) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_getInterpolatedSkeletonPose(
    velkori_Handle, velkori_SkeletonType, velkori_Transform_*, int32_t*, double) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_getInterpolatedFacePose(velkori_Handle, int32_t, float*, int32_t*, double) {
    return NotYetAvailable(__func__);
}

velkori_Result velkori_getInterpolatedTrackerJointPose(velkori_Handle, int32_t, velkori_Transform_*, double) {
    return NotYetAvailable(__func__);
}
