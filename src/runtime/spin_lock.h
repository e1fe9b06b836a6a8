#pragma once

// A lock that is rarely met: sections are short but for first calls, which allocate, read the environment or ask the
// processor. Not re-entrant, no back-off, not for kernels.

#include <atomic>
#include <cstdint>

#include "runtime/platform.h"

namespace rvn {

// Every fork holds the lock, since its child has no other thread that could release it.
struct SpinLock {
  std::atomic<std::int32_t> word{0};      // 1 while held
  std::atomic<bool> knownToForks{false};  // set before the lock is first taken
  std::atomic<std::uint64_t> forker{0};   // the thread whose fork holds the lock

  // The handlers call holdForFork() and releaseAfterFork() of this lock. Threads that race may register them
  // twice.
  void acquire(void (*beforeFork)(), void (*afterFork)()) {
    if (!knownToForks.load(std::memory_order_acquire)) {
      onFork(beforeFork, afterFork);
      knownToForks.store(true, std::memory_order_release);
    }
    take();
  }

  void release() { word.store(0, std::memory_order_release); }

  void holdForFork() {
    if (forker.load(std::memory_order_relaxed) == threadIdentity()) return;
    take();
    forker.store(threadIdentity(), std::memory_order_relaxed);
  }

  void releaseAfterFork() {
    if (forker.load(std::memory_order_relaxed) != threadIdentity()) return;
    forker.store(0, std::memory_order_relaxed);
    release();
  }

  // Threads that wait read until the lock looks free: a swap in turn keeps the word from the thread that releases it, which
  // under the thread sanitizer a dozen of them do for minutes.
  void take() {
    std::int32_t expected = 0;
    while (!word.compare_exchange_weak(expected, 1, std::memory_order_acquire, std::memory_order_relaxed)) {
      while (word.load(std::memory_order_relaxed) != 0) {
      }
      expected = 0;
    }
  }
};

}  // namespace rvn
