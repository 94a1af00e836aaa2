#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <span>

// A page of memory with a page behind it that can't be touched: a read past the end of what is put flush with
// the page's end crashes the test.
class GuardedMemory {
  public:
    GuardedMemory() {
        EXPECT_NE(memory, MAP_FAILED);
        EXPECT_EQ(mprotect(static_cast<char*>(memory) + pageSize, pageSize, PROT_NONE), 0);
    }

    ~GuardedMemory() { munmap(memory, 2 * pageSize); }

    GuardedMemory(const GuardedMemory&) = delete;
    GuardedMemory& operator=(const GuardedMemory&) = delete;

    // Copies the bytes, at most a page of them, to the page's end.
    const void* PutAtEnd(std::span<const std::byte> bytes) {
        std::byte* start = static_cast<std::byte*>(memory) + pageSize - bytes.size();
        std::copy(bytes.begin(), bytes.end(), start);
        return start;
    }

  private:
    std::size_t pageSize = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* memory = mmap(nullptr, 2 * pageSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
};
