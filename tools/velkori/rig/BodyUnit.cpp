#include "rig/BodyUnit.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace Velkori_Tool {

namespace {

struct UsualUnit {
    double metres;
    std::string_view name;
};

// The Carnegie Mellon captures measure in parts of 0.45 inches.
constexpr std::array<UsualUnit, 7> usualUnits = {UsualUnit{1.0, "metres"}, {0.01, "centimetres"},
    {0.001, "millimetres"}, {0.1, "decimetres"},
    {0.0254 / 0.45, "the Carnegie Mellon captures' 0.45 to the inch"}, {0.0254, "inches"}, {0.3048, "feet"}};

} // namespace

BodyUnit FindBodyUnit(double heightInUnits, std::optional<double> statedMetresPerUnit) {
    constexpr double smallestBody = 1.3;
    constexpr double tallestBody = 2.2;
    constexpr double smallestStated = 0.3;
    constexpr double tallestStated = 10.0;
    constexpr double usualBody = 1.7;
    if (statedMetresPerUnit && *statedMetresPerUnit * heightInUnits > smallestStated &&
        *statedMetresPerUnit * heightInUnits < tallestStated) {
        return {*statedMetresPerUnit, fmt::format("{:g} m, as the file says", *statedMetresPerUnit)};
    }
    const auto distance = [&](const UsualUnit& unit) {
        return std::fabs(std::log(unit.metres * heightInUnits / usualBody));
    };
    const UsualUnit& nearest = *std::min_element(usualUnits.begin(), usualUnits.end(),
        [&](const UsualUnit& a, const UsualUnit& b) { return distance(a) < distance(b); });
    const double height = heightInUnits * nearest.metres;
    if (height > smallestBody && height < tallestBody) {
        constexpr double farthest = 0.26; // from the usual body to the ends of the range
        return {nearest.metres, fmt::format("{}, from the body's height of {:.2f} units, {:.0f} % certain",
                                    nearest.name, heightInUnits, 95.0 - 35.0 * distance(nearest) / farthest)};
    }
    return {usualBody / heightInUnits,
        fmt::format("{:g} m, as no usual unit gives a body of {:.2f} units a person's height, 30 % certain",
            usualBody / heightInUnits, heightInUnits)};
}

double UsualUnitNear(double metresPerUnit) {
    const auto distance = [&](const UsualUnit& unit) {
        return std::fabs(std::log(unit.metres / metresPerUnit));
    };
    const UsualUnit& nearest = *std::min_element(usualUnits.begin(), usualUnits.end(),
        [&](const UsualUnit& a, const UsualUnit& b) { return distance(a) < distance(b); });
    constexpr double same = 1.01;
    constexpr double similar = 1.3;
    const bool isOtherBody = distance(nearest) > std::log(same) && distance(nearest) < std::log(similar);
    return isOtherBody ? nearest.metres : metresPerUnit;
}

} // namespace Velkori_Tool
