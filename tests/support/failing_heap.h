#pragma once

// The heap below the library's block cache, watched: counts the calls and the live blocks of its lifetime and
// fails one allocation. The calling thread's cache is kept busy meanwhile, so that every block that the
// library asks for reaches the heap. One guard at a time, and one thread that
// allocates.

#include <cstddef>
#include <set>

#include "runtime/memory.h"

namespace support {

// What the guard knows; outside of it, since a class cannot default-construct its own nested records inline.
struct HeapCounts {
  int failAt = 0;
  bool exhausted = false;
  int calls = 0;
  int frees = 0;
  std::set<void*> live;
  rvn::HeapHooks below = {};
};

class FailingHeap {
 public:
  // The n-th allocation, counted from 1, yields null; none does for 0.
  explicit FailingHeap(int n) : kept_(rvn::heapHooks) {
    for (void*& block : busy_)
      block = rvn::rvnMalloc(1, rvn::blockAlignment);
    counts = {};
    counts.failAt = n;
    counts.below = kept_;
    rvn::heapHooks = {allocate, free};
  }
  FailingHeap(const FailingHeap&) = delete;
  FailingHeap& operator=(const FailingHeap&) = delete;
  ~FailingHeap() {
    rvn::heapHooks = kept_;
    for (void* block : busy_)
      rvn::rvnFree(block);
  }

  // From now on counted: the n-th allocation fails.
  void failAfter(int n) { counts.failAt = n == 0 ? 0 : counts.calls + n; }
  // While exhausted all allocations fail.
  void exhaust(bool exhausted) { counts.exhausted = exhausted; }
  int calls() const { return counts.calls; }
  int frees() const { return counts.frees; }
  int live() const { return static_cast<int>(counts.live.size()); }
  bool failed() const { return counts.failAt > 0 && counts.calls >= counts.failAt; }

 private:
  static inline HeapCounts counts;

  static void* allocate(std::size_t size) {
    if (++counts.calls == counts.failAt || counts.exhausted) return nullptr;
    void* const block = counts.below.allocate(size);
    counts.live.insert(block);
    return block;
  }

  static void free(void* block) {
    ++counts.frees;
    counts.live.erase(block);
    counts.below.free(block);
  }

  rvn::HeapHooks kept_;
  void* busy_[5] = {};
};

}  // namespace support
