#pragma once

// A lock for critical sections of a few instructions. Not re-entrant, no back-off, not for kernels.

#include <atomic>
#include <cstdint>

namespace rvn {

struct SpinLock {
  std::atomic<std::int32_t> word{0};  // 1 while held

  void acquire() {
    std::int32_t expected = 0;
    while (!word.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed))
      expected = 0;
  }

  void release() { word.store(0, std::memory_order_release); }
};

}  // namespace rvn
