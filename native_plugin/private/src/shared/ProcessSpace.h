#pragma once

#include "Velkori_Utility.h"

namespace Velkori_Utility {

// The coordinate space of all poses inside the library. The exports let nobody set it while an instance
// lives.
const velkori_CoordinateSpace_& ProcessSpace();
void SetProcessSpace(const velkori_CoordinateSpace_& space);

} // namespace Velkori_Utility
