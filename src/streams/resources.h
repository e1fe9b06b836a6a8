#pragma once

// The process-wide register of shared buffers.

#include <atomic>
#include <cstdint>

#include "runtime/spin_lock.h"
#include "streams/stream.h"

namespace rvn {

// The buffers that streams share. Every scan and change is made under the lock.
struct RsgResourceTable {
  static constexpr std::int32_t capacity = 128;
  struct Entry {
    RsgResourceKey key;
    std::int32_t refCount;
    void* data;
  };
  SpinLock lock;
  std::atomic<std::int32_t> count{0};
  Entry entries[capacity] = {};
};
extern RsgResourceTable rsgResourceTable;

}  // namespace rvn
