#include "shared/ProcessSpace.h"

namespace Velkori_Utility {

namespace {

constinit velkori_CoordinateSpace_ processSpace = VELKORI_DEFAULT_COORDINATE_SPACE;

} // namespace

const velkori_CoordinateSpace_& ProcessSpace() {
    return processSpace;
}

void SetProcessSpace(const velkori_CoordinateSpace_& space) {
    processSpace = space;
}

} // namespace Velkori_Utility
