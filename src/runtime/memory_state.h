#pragma once

// The allocator's state: one record per thread that has allocated, and the tables that hold the records.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "runtime/spin_lock.h"

namespace rvn {

// One block of a thread's cache. Only the owner writes, but for inUse, which any thread may clear.
struct MmSlot {
  std::atomic<void*> raw{nullptr};   // as the heap gave it; null while the slot has no block
  std::atomic<void*> user{nullptr};  // the aligned address inside it
  std::size_t requested = 0;         // bytes last asked for
  std::size_t capacity = 0;          // bytes asked for at the block's allocation plus the alignment then used
  std::atomic<std::int32_t> inUse{0};
};

struct MmThreadRecord {
  static constexpr std::int32_t most = 5;
  MmSlot slots[most];
  std::int32_t slotCount = 0;  // slots that have been given a block, from the first up
  std::int32_t threadIndex = 0;
};

// Entries 1 to `most` of the tables; entry 0 is unused. Tables grow under the lock and never shrink; a thread
// reads its own entries without it.
struct MmState {
  static constexpr std::int32_t most = 1024;
  SpinLock lock;
  std::atomic<std::int32_t> disabledRead{-1};  // 1 once the environment has been read
  std::atomic<std::int32_t> disabled{-1};      // 1: every block comes from the heap
  std::atomic<std::int32_t> tlsIndex{-1};
  std::atomic<std::int32_t> threadCount{0};
  std::atomic<std::uint64_t> threadIds[most + 1] = {};
  std::atomic<MmThreadRecord*> threadRecords[most + 1] = {};
  std::atomic<std::uint64_t> threadBytes[most + 1] = {};  // heap blocks counted for the thread
  std::atomic<std::int32_t> threadBlocks[most + 1] = {};
};
extern MmState mmState;

}  // namespace rvn
