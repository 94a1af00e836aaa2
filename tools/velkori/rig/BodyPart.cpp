#include "rig/BodyPart.h"

#include <algorithm>
#include <array>

namespace Velkori_Tool {

namespace {

/** By BodyPart. */
constexpr std::array<std::string_view, 23> partNames = {"root", "hips", "spine", "chest", "neck", "head",
    "clavicle", "upperarm", "lowerarm", "wrist", "finger", "upperleg", "lowerleg", "ankle", "toe", "eye",
    "jaw", "palm", "thumb", "index", "middle", "ring", "little"};

} // namespace

std::optional<BodyPart> FindBodyPart(std::string_view name) {
    const auto* const found = std::find(partNames.begin(), partNames.end(), name);
    return found == partNames.end() ? std::nullopt
                                    : std::optional(static_cast<BodyPart>(found - partNames.begin()));
}

bool HasSides(BodyPart part) {
    return part >= BodyPart::Clavicle && part != BodyPart::Jaw;
}

bool IsNamedFinger(BodyPart part) {
    return part >= BodyPart::Thumb;
}

} // namespace Velkori_Tool
