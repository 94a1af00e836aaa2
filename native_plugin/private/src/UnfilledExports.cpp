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
