#pragma once

#include "Remark.h"
#include "character/GLTFFile.h"

#include <string>
#include <vector>

namespace Velkori_Tool {

/** Makes each vertex's weights sum up to 1, as glTF wants and not every exporter does. Says so in `notes`. */
void MendWeights(GLTFFile& file, std::vector<Remark>& notes);

} // namespace Velkori_Tool
