#pragma once

#include <cstddef>

// Counts what this thread allocates through operator new, in all its forms, while an object of this type
// lives.
class AllocationCount {
  public:
    std::size_t Get() const { return Total() - start; }

  private:
    static std::size_t Total();

    std::size_t start = Total();
};

// The allocations that a piece of work makes.
template <typename Work>
std::size_t CountAllocations(const Work& work) {
    const AllocationCount count;
    work();
    return count.Get();
}
