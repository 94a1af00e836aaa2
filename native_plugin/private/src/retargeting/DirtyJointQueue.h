#pragma once

#include <cstddef>
#include <vector>

namespace Velkori_Utility {

// The joints whose parent moved, in the order in which each was first inserted: a joint that was taken and
// comes again keeps its old place. Inserting and taking cost the same however many joints there are.
class DirtyJointQueue {
  public:
    explicit DirtyJointQueue(int jointCount) : positions(jointCount, NoPosition), isDirty(jointCount, false) {
        order.reserve(jointCount);
    }

    void Clear() {
        for (const int joint : order) {
            positions[joint] = NoPosition;
            isDirty[joint] = false;
        }
        order.clear();
        first = 0;
    }

    void Insert(int joint) {
        if (positions[joint] == NoPosition) {
            positions[joint] = order.size();
            order.push_back(joint);
        }
        isDirty[joint] = true;
        first = positions[joint] < first ? positions[joint] : first;
    }

    // False if the joint isn't in the queue.
    bool Remove(int joint) {
        const bool wasDirty = isDirty[joint];
        isDirty[joint] = false;
        return wasDirty;
    }

    // The joint in front, or -1 if there is none.
    int Take() {
        while (first < order.size()) {
            const int joint = order[first++];
            if (Remove(joint)) {
                return joint;
            }
        }
        return -1;
    }

  private:
    static constexpr auto NoPosition = static_cast<std::size_t>(-1);

    std::vector<int> order;
    std::vector<std::size_t> positions;
    std::vector<char> isDirty;
    // No joint in front of this position is dirty.
    std::size_t first = 0;
};

} // namespace Velkori_Utility
