#include "serialization/Serialization.h"

#include <algorithm>

namespace Velkori_Utility {

void Serialization::setAndClampCurrentNumberOfSnapshots(int count) {
    maxSnapshotSize = std::clamp(count, 254, 800);
}

} // namespace Velkori_Utility
