#pragma once

// The library's only allocator: a cache of up to five aligned blocks per thread in front of the heap.
// Blocks are not cleared. Every function may be called from any thread; a block may be freed by another
// thread than the one that asked for it.

#include <cstddef>
#include <cstdint>

namespace rvn {

// Alignment, in bytes, of every block that the library asks for.
constexpr std::int32_t blockAlignment = 128;

// Returns a block of `size` bytes, or null for size 0 and when memory is exhausted. `alignment` counts if it
// is a power of two of at least 64, otherwise the block is aligned to 64 bytes.
void* rvnMalloc(std::size_t size, std::int32_t alignment);

// Gives a block back; null is ignored.
void rvnFree(void* block);

// The service spin lock of the allocator's tables and of the solver's processor class. Not re-entrant.
void mmLockAcquire();
void mmLockRelease();

// The heap below the cache; replaceable, for tests, before any other thread runs.
struct HeapHooks {
  void* (*allocate)(std::size_t size);
  void (*free)(void* block);
};
extern HeapHooks heapHooks;

}  // namespace rvn
