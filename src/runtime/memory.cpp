#include "runtime/memory.h"

#include <cstdlib>
#include <new>

#include "runtime/memory_state.h"
#include "runtime/platform.h"

namespace rvn {

MmState mmState;
HeapHooks heapHooks = {std::malloc, std::free};

namespace {

// Blocks from this size on bypass the cache, so that it cannot pin them.
constexpr std::size_t largestCached = 0x2800000;

// Below the address of a block that does not come from the cache.
struct HeapHeader {
  void* raw;          // as the heap gave it
  std::size_t total;  // bytes asked of the heap
};
static_assert(sizeof(HeapHeader) == 2 * sizeof(void*));

std::size_t effectiveAlignment(std::int32_t alignment) {
  constexpr std::size_t least = 64;
  const auto wanted = static_cast<std::size_t>(alignment);
  return alignment >= 64 && (wanted & (wanted - 1)) == 0 ? wanted : least;
}

[[gnu::cold, gnu::noinline]] void readEnvironmentOnce() {
  mmLockAcquire();
  if (mmState.disabledRead.load(std::memory_order_relaxed) == -1) {
    char value[17];
    const bool disabled = readEnvironment("RVN_DISABLE_FAST_MM", value, sizeof value) != 0 ||
                          readEnvironment("RVN_MM_DISABLE", value, sizeof value) != 0;
    mmState.disabled.store(disabled ? 1 : 0, std::memory_order_relaxed);
    mmState.disabledRead.store(1, std::memory_order_release);
  }
  mmLockRelease();
}

inline bool cacheDisabled() {
  if (mmState.disabledRead.load(std::memory_order_acquire) == -1) readEnvironmentOnce();
  return mmState.disabled.load(std::memory_order_relaxed) == 1;
}

// The thread-local slot's index, allocated at first need; -1 when the system has none.
std::int32_t threadLocalIndex() {
  std::int32_t index = mmState.tlsIndex.load(std::memory_order_relaxed);
  if (index != -1) return index;
  const std::int32_t fresh = threadLocalAllocate();
  if (fresh == -1) return -1;
  if (mmState.tlsIndex.compare_exchange_strong(index, fresh, std::memory_order_relaxed)) return fresh;
  threadLocalRelease(fresh);
  return index;
}

std::int32_t addRecord(std::uint64_t thread) {
  std::int32_t added = 0;
  mmLockAcquire();
  const std::int32_t last = mmState.threadCount.load(std::memory_order_relaxed);
  if (last < MmState::most) {
    if (void* const raw = heapHooks.allocate(sizeof(MmThreadRecord))) {
      auto* const record = new (raw) MmThreadRecord{};
      added = last + 1;
      record->threadIndex = added;
      mmState.threadRecords[added].store(record, std::memory_order_relaxed);
      mmState.threadIds[added].store(thread, std::memory_order_relaxed);
      mmState.threadCount.store(added, std::memory_order_relaxed);
    }
  }
  mmLockRelease();
  return added;
}

bool owns(std::int32_t index, std::uint64_t thread) {
  return mmState.threadIds[index].load(std::memory_order_relaxed) == thread;
}

// For a thread that does not know its record yet, or knows another one's.
[[gnu::cold, gnu::noinline]] MmThreadRecord* findRecord(bool make) {
  const std::int32_t slot = threadLocalIndex();
  if (slot == -1) return nullptr;
  const std::uint64_t thread = threadIdentity();
  std::int32_t index = 0;
  if (threadLocalGet(slot) != 0) {
    threadLocalSet(slot, 0);
  } else {
    // An earlier thread with the same identity has ended; its record serves on.
    index = mmState.threadCount.load(std::memory_order_relaxed);
    while (index > 0 && !owns(index, thread))
      --index;
    if (index > 0) threadLocalSet(slot, static_cast<std::uintptr_t>(index));
  }
  if (index == 0 && make) {
    index = addRecord(thread);
    if (index > 0) threadLocalSet(slot, static_cast<std::uintptr_t>(index));
  }
  return index == 0 ? nullptr : mmState.threadRecords[index].load(std::memory_order_relaxed);
}

// The calling thread's record; null if it has none and `make` is false, or none can be made.
inline MmThreadRecord* threadRecord(bool make) {
  const std::int32_t slot = mmState.tlsIndex.load(std::memory_order_relaxed);
  if (slot != -1) {
    const auto index = static_cast<std::int32_t>(threadLocalGet(slot));
    if (index != 0 && owns(index, threadIdentity()))
      return mmState.threadRecords[index].load(std::memory_order_relaxed);
  }
  return findRecord(make);
}

void* alignedIn(void* raw, std::size_t alignment) {
  const auto address = reinterpret_cast<std::uintptr_t>(raw);
  return reinterpret_cast<void*>((address + alignment - 1) & ~(alignment - 1));
}

void* handOut(MmSlot& slot, std::size_t size, std::size_t alignment) {
  void* const user = alignedIn(slot.raw.load(std::memory_order_relaxed), alignment);
  slot.requested = size;
  slot.user.store(user, std::memory_order_relaxed);
  slot.inUse.store(1, std::memory_order_relaxed);
  return user;
}

// Gives an empty slot a block of `need` bytes and hands it out; the slot stays empty when memory is
// exhausted.
void* fillSlot(MmSlot& slot, std::size_t need, std::size_t size, std::size_t alignment) {
  void* const raw = heapHooks.allocate(need);
  if (raw == nullptr) return nullptr;
  slot.raw.store(raw, std::memory_order_relaxed);
  slot.capacity = need;
  return handOut(slot, size, alignment);
}

void emptySlot(MmSlot& slot) {
  void* const raw = slot.raw.load(std::memory_order_relaxed);
  slot.capacity = 0;
  slot.user.store(nullptr, std::memory_order_relaxed);
  slot.raw.store(nullptr, std::memory_order_relaxed);
  if (raw != nullptr) heapHooks.free(raw);
}

void countHeapBlock(std::int32_t index, std::size_t total, std::int32_t blocks) {
  const auto bytes = static_cast<std::uint64_t>(total);
  mmState.threadBytes[index].fetch_add(blocks > 0 ? bytes : 0 - bytes, std::memory_order_relaxed);
  mmState.threadBlocks[index].fetch_add(blocks, std::memory_order_relaxed);
}

void* heapBlock(std::size_t size, std::size_t alignment) {
  const std::size_t extra = alignment + sizeof(HeapHeader);
  if (size > SIZE_MAX - extra) return nullptr;
  const std::size_t total = size + extra;
  void* const raw = heapHooks.allocate(total);
  if (raw == nullptr) return nullptr;
  const std::uintptr_t above = reinterpret_cast<std::uintptr_t>(raw) + extra;
  void* const user = reinterpret_cast<void*>(above & ~(alignment - 1));
  static_cast<HeapHeader*>(user)[-1] = {raw, total};
  if (const MmThreadRecord* const record = threadRecord(true)) countHeapBlock(record->threadIndex, total, 1);
  return user;
}

// A block of the cache: the best fit among the free slots, then an unused slot, then a slot whose block is
// too small. False when all five are in use.
bool cachedBlock(MmThreadRecord& record, std::size_t size, std::size_t alignment, void*& block) {
  const std::size_t need = size + alignment;
  MmSlot* larger = nullptr;
  MmSlot* smaller = nullptr;
  for (std::int32_t i = 0; i < record.slotCount; ++i) {
    MmSlot& slot = record.slots[i];
    if (slot.inUse.load(std::memory_order_acquire) != 0) continue;
    if (slot.capacity == need) {
      larger = &slot;
      break;
    }
    if (slot.capacity < need) {
      if (smaller == nullptr) smaller = &slot;
    } else if (larger == nullptr || slot.capacity < larger->capacity) {
      larger = &slot;
    }
  }
  if (larger != nullptr) {
    block = handOut(*larger, size, alignment);
  } else if (record.slotCount < MmThreadRecord::most) {
    block = fillSlot(record.slots[record.slotCount], need, size, alignment);
    if (block != nullptr) ++record.slotCount;
  } else if (smaller != nullptr) {
    emptySlot(*smaller);
    block = fillSlot(*smaller, need, size, alignment);
  } else {
    return false;
  }
  return true;
}

// Marks `block` free if it is one of the record's; the release gives the freeing thread's writes to the
// owner.
bool releaseFrom(MmThreadRecord& record, const void* block) {
  for (MmSlot& slot : record.slots) {
    if (slot.user.load(std::memory_order_relaxed) != block) continue;
    slot.inUse.store(0, std::memory_order_release);
    return true;
  }
  return false;
}

bool releaseFromAnyThread(const void* block) {
  bool found = false;
  mmLockAcquire();
  const std::int32_t last = mmState.threadCount.load(std::memory_order_relaxed);
  for (std::int32_t i = 1; i <= last && !found; ++i)
    found = releaseFrom(*mmState.threadRecords[i].load(std::memory_order_relaxed), block);
  mmLockRelease();
  return found;
}

}  // namespace

void mmLockAcquire() {
  mmState.lock.acquire([] { mmState.lock.holdForFork(); }, [] { mmState.lock.releaseAfterFork(); });
}

void mmLockRelease() {
  mmState.lock.release();
}

void* rvnMalloc(std::size_t size, std::int32_t alignment) {
  if (size == 0) return nullptr;
  const std::size_t effective = effectiveAlignment(alignment);
  if (cacheDisabled() || size > largestCached) return heapBlock(size, effective);
  MmThreadRecord* const record = threadRecord(true);
  void* block = nullptr;
  if (record != nullptr && cachedBlock(*record, size, effective, block)) return block;
  return heapBlock(size, effective);
}

void rvnFree(void* block) {
  if (block == nullptr) return;
  const bool disabled = cacheDisabled();
  if (!disabled) {
    MmThreadRecord* const record = threadRecord(false);
    if (record != nullptr && releaseFrom(*record, block)) return;
    if (releaseFromAnyThread(block)) return;
  }
  const HeapHeader header = static_cast<HeapHeader*>(block)[-1];
  if (header.raw == nullptr) return;
  // While the cache is on, the counters keep what has been asked past it.
  const MmThreadRecord* const record = threadRecord(true);
  if (disabled && record != nullptr) countHeapBlock(record->threadIndex, header.total, -1);
  heapHooks.free(header.raw);
}

}  // namespace rvn
