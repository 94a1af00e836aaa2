#pragma once

#include <optional>
#include <string>

namespace Velkori_Tool {

/** The unit of a file's lengths. */
struct BodyUnit {
    double metres = 1.0;
    /** Why it is that, and how certain. */
    std::string reason;
};

/**
 * The unit that gives a body a likely height; what the file states counts unless the body would be absurd.
 */
BodyUnit FindBodyUnit(double heightInUnits, std::optional<double> statedMetresPerUnit);

/** The usual unit nearest to one that makes a body as large as another, or that one itself. */
double UsualUnitNear(double metresPerUnit);

} // namespace Velkori_Tool
