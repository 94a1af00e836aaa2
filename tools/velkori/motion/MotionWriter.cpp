#include "motion/MotionWriter.h"

#include "Failure.h"
#include "OutputFile.h"
#include "motion/BVHWriter.h"
#include "motion/GLBWriter.h"

#include <fmt/format.h>

namespace Velkori_Tool {

void CheckMotionFormat(const std::string& path) {
    const std::string extension = LowerCaseExtension(path);
    if (extension != ".bvh" && extension != ".glb") {
        throw UsageFailure(fmt::format(
            "can't write '{}': motion is written as .bvh or .glb; give the file one of these endings", path));
    }
}

void WriteMotion(const std::string& path, const OutgoingMotion& motion, float unitsPerMetre) {
    CheckMotionFormat(path);
    if (LowerCaseExtension(path) == ".bvh") {
        WriteFileWhole(
            path, [&](const std::string& place) { WriteText(place, MakeBVH(motion, unitsPerMetre)); });
    } else {
        WriteFileWhole(path, [&](const std::string& place) { WriteGLB(place, motion); });
    }
}

} // namespace Velkori_Tool
