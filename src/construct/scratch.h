#pragma once

// What a construction takes beside its arrays: scratch memory, and workers for its blocks.

#include <cstddef>
#include <cstdint>

#include "runtime/memory.h"
#include "runtime/work_share.h"
#include "vector/level.h"

namespace rvn::RVN_LEVEL_NAMESPACE {
namespace {

// One block of scratch memory for one construction, released on every way out.
class Scratch {
 public:
  Scratch() = default;
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { rvnFree(block_); }

  // Room for `count` elements; null if memory is exhausted or the size does not fit the machine.
  template <class Element>
  Element* allocate(std::int64_t count) {
    std::size_t bytes = 0;
    if (__builtin_mul_overflow(count, sizeof(Element), &bytes)) return nullptr;
    block_ = rvnMalloc(bytes, blockAlignment);
    return static_cast<Element*>(block_);
  }

 private:
  void* block_ = nullptr;
};

// Runs blocks 0 .. blocks - 1 through the table if they are shared, else here, one after another.
inline void runBlocks(std::int64_t blocks, bool shared, std::int64_t workers, void* context, WorkBody body,
                      const WorkShareTable& workShare) {
  if (shared) {
    workShare.parallelFor(blocks, workers, context, body);
    return;
  }
  for (std::int64_t block = 0; block < blocks; ++block)
    body(block, 0, 1, context);
}

}  // namespace
}  // namespace rvn::RVN_LEVEL_NAMESPACE
