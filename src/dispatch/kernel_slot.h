#pragma once

// The slot in which an entry point keeps the kernel it picked.

#include <atomic>
#include <cstdint>

#include "dispatch/level_table.h"
#include "runtime/cpu_level.h"

namespace rvn {

// Empty until first use, then fixed for the life of the process. Relaxed: racing threads store one pointer.
template <class Kernel>
using KernelSlot = std::atomic<Kernel>;

// Taken by the first call only.
template <class Kernel, class Pick>
[[gnu::cold, gnu::noinline]] Kernel pickKernel(KernelSlot<Kernel>& slot, Pick pick) {
  const std::int32_t level = cpuLevel();
  if (level < 0 || level >= levelRowCount || levelTables[level] == nullptr) return pick(*levelTables[0]);
  Kernel kernel = pick(*levelTables[level]);
  slot.store(kernel, std::memory_order_relaxed);
  return kernel;
}

// Returns the slot's kernel, picking it with `pick(levelTable)` at first use. A level without a row leaves
// the slot empty and the call goes to the lowest build.
template <class Kernel, class Pick>
Kernel loadKernel(KernelSlot<Kernel>& slot, Pick pick) {
  if (Kernel kernel = slot.load(std::memory_order_relaxed)) return kernel;
  return pickKernel(slot, pick);
}

}  // namespace rvn
