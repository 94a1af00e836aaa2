#pragma once

#include "host/BodyMapping.h"

namespace Velkori_Tool {

/**
 * The target's rest pose with its bones' lengths, its trunk leaning, its limbs pointing and its feet turned
 * as the source's do at rest, so that turning both alike keeps them alike. Hands, feet and head keep what the
 * pose already has.
 */
std::vector<Transform> MatchRestPose(const MappedBody& source, const MappedBody& target);

} // namespace Velkori_Tool
