#pragma once

// The slot in which an entry point keeps the kernel it picked.

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "dispatch/level_table.h"
#include "runtime/memory.h"

namespace rvn {

// The place of a slot in the list of those that have been picked; under the service lock.
struct ListedSlot {
  void (*empty)(void* slot) = nullptr;  // null: not listed
  void* slot = nullptr;
  ListedSlot* next = nullptr;
};

// Empty until first use and after a change of level. Filled and emptied under the service lock, so that nobody stores a
// kernel of the level before behind a change; read without it, relaxed, since records of kernels are constants. Slots
// live as long as the process.
template <class Kernel>
struct KernelSlot {
  std::atomic<Kernel> kernel;
  ListedSlot listed;

  constexpr KernelSlot(std::nullptr_t = nullptr) : kernel(nullptr) {}
  Kernel load() const { return kernel.load(std::memory_order_relaxed); }
};

// The kernels of the level in force. A level without a row has those of the lowest build.
const LevelTable& tableInForce();

// Lists a slot, so that a change of level finds it; under the service lock.
void listSlot(ListedSlot& listed, void* slot, void (*empty)(void* slot));

// Empties every slot; under the service lock.
void emptySlots();

// Under the service lock.
template <class Kernel>
void fillSlot(KernelSlot<Kernel>& slot, Kernel kernel) {
  slot.kernel.store(kernel, std::memory_order_relaxed);
  listSlot(slot.listed, &slot, [](void* listed) {
    static_cast<KernelSlot<Kernel>*>(listed)->kernel.store(nullptr, std::memory_order_relaxed);
  });
}

// Whether the level in force has a row of its own in the table.
bool levelHasRow();

// Taken by the first call only.
template <class Kernel, class Pick>
[[gnu::cold, gnu::noinline]] Kernel pickKernel(KernelSlot<Kernel>& slot, Pick pick) {
  mmLockAcquire();
  const Kernel kernel = pick(tableInForce());
  if (levelHasRow()) fillSlot(slot, kernel);
  mmLockRelease();
  return kernel;
}

// Returns the slot's kernel, picking it with `pick(levelTable)` at first use. A level without a row leaves
// the slot empty and the call goes to the lowest build.
template <class Kernel, class Pick>
Kernel loadKernel(KernelSlot<Kernel>& slot, Pick pick) {
  if (Kernel kernel = slot.load()) return kernel;
  return pickKernel(slot, pick);
}

}  // namespace rvn
