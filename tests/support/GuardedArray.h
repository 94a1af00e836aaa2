#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

// An array whose end is the end of what can be touched: an element too far, read or written, crashes the
// test.
template <typename Element>
class GuardedArray {
  public:
    explicit GuardedArray(std::size_t elementCount) : count(elementCount) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        dataSize = (count * sizeof(Element) + page - 1) / page * page;
        size = dataSize + page;
        memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        EXPECT_NE(memory, MAP_FAILED);
        EXPECT_EQ(mprotect(static_cast<char*>(memory) + dataSize, page, PROT_NONE), 0);
    }

    explicit GuardedArray(const std::vector<Element>& elements) : GuardedArray(elements.size()) {
        std::copy(elements.begin(), elements.end(), Data());
    }

    ~GuardedArray() { munmap(memory, size); }

    GuardedArray(const GuardedArray&) = delete;
    GuardedArray& operator=(const GuardedArray&) = delete;

    Element* Data() {
        return reinterpret_cast<Element*>(static_cast<char*>(memory) + dataSize - count * sizeof(Element));
    }

    std::int32_t Count() const { return static_cast<std::int32_t>(count); }

  private:
    std::size_t count = 0;
    std::size_t dataSize = 0;
    std::size_t size = 0;
    void* memory = nullptr;
};
