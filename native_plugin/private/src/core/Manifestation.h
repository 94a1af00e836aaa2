#pragma once

#include "core/Skeleton.h"

#include <string>
#include <vector>

namespace Velkori_Utility {

// A named subset of a skeleton's joints: what a tracker delivers that doesn't track the whole body.
//
// A manifestation pose has one element per entry of GetJointIndices, in that order.
class Manifestation {
  public:
    // `joints` may hold -1 for a name that wasn't found.
    Manifestation(const Skeleton& skeleton, std::vector<int> joints);

    std::vector<std::string> GenerateJointNameArray(const Skeleton& skeleton) const;

    const std::vector<int>& GetJointIndices() const { return jointIndices; }

    // Whether the joints form a part of the hierarchy without gaps: no member lies below a joint that isn't
    // one and that itself lies below a member.
    bool IsValid() const { return isValid; }

  private:
    std::vector<int> jointIndices;
    bool isValid = false;
};

} // namespace Velkori_Utility
