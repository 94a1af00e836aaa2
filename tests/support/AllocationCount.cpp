#include "support/AllocationCount.h"

#include <algorithm>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t total = 0;

// A size of 0 asks for an address of its own, too.
void* AllocateOrNull(std::size_t size) noexcept {
    ++total;
    return std::malloc(std::max<std::size_t>(size, 1));
}

void* AllocateOrNull(std::size_t size, std::align_val_t alignment) noexcept {
    ++total;
    const auto step = std::max(static_cast<std::size_t>(alignment), sizeof(void*));
    return std::aligned_alloc(step, (std::max<std::size_t>(size, 1) + step - 1) / step * step);
}

void* OrThrow(void* memory) {
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

std::size_t AllocationCount::Total() {
    return total;
}

// All forms are replaced: those that aren't would free with another allocator than the one that allocated
// where a sanitizer brings its own.

void* operator new(std::size_t size) {
    return OrThrow(AllocateOrNull(size));
}

void* operator new[](std::size_t size) {
    return OrThrow(AllocateOrNull(size));
}

void* operator new(std::size_t size, std::align_val_t alignment) {
    return OrThrow(AllocateOrNull(size, alignment));
}

void* operator new[](std::size_t size, std::align_val_t alignment) {
    return OrThrow(AllocateOrNull(size, alignment));
}

void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateOrNull(size);
}

void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateOrNull(size);
}

void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateOrNull(size, alignment);
}

void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t& /*tag*/) noexcept {
    return AllocateOrNull(size, alignment);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::align_val_t /*alignment*/, const std::nothrow_t& /*tag*/) noexcept {
    std::free(memory);
}
