#pragma once

#include "character/GLTFFile.h"

namespace Velkori_Tool {

/**
 * A VRM character as a VRM animation without motion: its nodes with their numbers, and the table that says
 * which of them is which bone. Throws Failure, without the path, if the file has no such table.
 */
GLTFFile MakeVRMA(const GLTFFile& character);

} // namespace Velkori_Tool
