#pragma once

// The only place that configures RapidJSON. Every file that needs it includes this header, so that all of
// the library is compiled with the same settings.

#include <cstddef>
#include <cstdlib>
#include <new>
#include <stdexcept>

// The host must survive whatever a document holds. Typed access checks before it reads, so that none of
// RapidJSON's own assertions can fire; should one do so all the same, it ends as an exception that the
// boundary of the interface turns into a failure code, and never in abort().
#define RAPIDJSON_ASSERT(condition)                                                                          \
    ((condition) ? static_cast<void>(0) : throw std::logic_error("RapidJSON assertion failed: " #condition))

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>

namespace Velkori_Utility {

// RapidJSON writes through what its allocators return without a look: memory that runs out must throw
// instead.
class ThrowingAllocator {
  public:
    static constexpr bool kNeedFree = true;

    void* Malloc(std::size_t size) { return size == 0 ? nullptr : Require(std::malloc(size)); }

    void* Realloc(void* memory, std::size_t /*oldSize*/, std::size_t newSize) {
        if (newSize == 0) {
            Free(memory);
            return nullptr;
        }
        return Require(std::realloc(memory, newSize));
    }

    static void Free(void* memory) { std::free(memory); }

  private:
    static void* Require(void* memory) {
        if (memory == nullptr) {
            throw std::bad_alloc();
        }
        return memory;
    }
};

using JSONAllocator = rapidjson::MemoryPoolAllocator<ThrowingAllocator>;
using JSONDocument = rapidjson::GenericDocument<rapidjson::UTF8<>, JSONAllocator, ThrowingAllocator>;
using JSONValue = JSONDocument::ValueType;
using JSONText = rapidjson::GenericStringBuffer<rapidjson::UTF8<>, ThrowingAllocator>;

} // namespace Velkori_Utility
