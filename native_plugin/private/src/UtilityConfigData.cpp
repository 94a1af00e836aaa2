#include "UtilityConfigData.h"

namespace Velkori_Utility {

UtilityConfigData::UtilityConfigData(const InitializationParams& params)
    : name(params.name), config(params.config) {}

} // namespace Velkori_Utility
