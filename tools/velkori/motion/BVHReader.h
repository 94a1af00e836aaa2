#pragma once

#include "Motion.h"
#include "Remark.h"

namespace Velkori_Tool {

/**
 * Reads a BVH file: any order of channels, which may differ from joint to joint, position channels on any
 * joint, and end sites, which become joints named after their parent. Where the number of frames that the
 * file states isn't the number of frames that it has, the frames that are there count, and a note says so.
 * Throws Failure, with the line, if the file is damaged.
 */
Motion ReadBVH(const std::string& path, std::vector<Remark>& notes);

} // namespace Velkori_Tool
