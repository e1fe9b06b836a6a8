#include "streams/resources.h"

#include <cstring>

#include "runtime/memory.h"
#include "runtime/platform.h"

namespace rvn {

RsgResourceTable rsgResourceTable;

namespace {

bool sameKey(const RsgResourceKey& a, const RsgResourceKey& b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

bool isPrivate(const RsgResourceKey& key) {
  return sameKey(key, RsgResourceKey{});
}

// A stream's memory comes first: forks take this lock before the allocator's.
void lockTable() {
  rsgResourceTable.lock.acquire([] { rsgResourceTable.lock.holdForFork(); },
                                [] { rsgResourceTable.lock.releaseAfterFork(); });
}

// The entry of a key, or null; under the lock.
RsgResourceTable::Entry* findEntry(const RsgResourceKey& key) {
  const std::int32_t count = rsgResourceTable.count.load(std::memory_order_relaxed);
  for (std::int32_t i = 0; i < count; ++i)
    if (sameKey(rsgResourceTable.entries[i].key, key)) return &rsgResourceTable.entries[i];
  return nullptr;
}

// Makes the node share the buffer of its key, or its own buffer sharable, or private when the table is full.
// The last entry stays free.
void share(RsgStreamResource& node) {
  lockTable();
  const std::int32_t count = rsgResourceTable.count.load(std::memory_order_relaxed);
  if (RsgResourceTable::Entry* const entry = findEntry(node.key)) {
    ++entry->refCount;
    node.data = entry->data;
  } else if (count >= RsgResourceTable::capacity - 1) {
    node.key = {};
  } else {
    rsgResourceTable.entries[count] = {node.key, 1, node.data};
    rsgResourceTable.count.store(count + 1, std::memory_order_relaxed);
  }
  rsgResourceTable.lock.release();
}

// Takes one reference from the entry of a key; returns the buffer to free, if any.
void* unshare(const RsgStreamResource& node) {
  void* last = nullptr;
  lockTable();
  RsgResourceTable::Entry* const entry = findEntry(node.key);
  if (entry == nullptr) {
    last = node.data;
  } else if (--entry->refCount == 0) {
    last = entry->data;
    const std::int32_t count = rsgResourceTable.count.load(std::memory_order_relaxed) - 1;
    *entry = rsgResourceTable.entries[count];
    rsgResourceTable.count.store(count, std::memory_order_relaxed);
  }
  rsgResourceTable.lock.release();
  return last;
}

}  // namespace

std::int32_t rsgAttachResource(RsgStream* stream, std::int32_t tag, const RsgResourceKey* key, void* data,
                               std::uint32_t size) {
  auto* const node = static_cast<RsgStreamResource*>(rvnMalloc(sizeof(RsgStreamResource), blockAlignment));
  if (node == nullptr) return RSG_ERROR_MEMORY;
  *node = {tag, size, data, stream->resources, key == nullptr ? RsgResourceKey{} : *key};
  if (!isPrivate(node->key)) share(*node);
  stream->resources = node;
  return RSG_STATUS_OK;
}

std::int32_t rsgMakeResourceKey(RsgResourceKey* key, const void* data) {
  const auto address = static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(data));
  bool taken = true;
  while (taken) {
    const std::uint64_t time = timeStampCounter();
    std::memcpy(&key->word[0], &time, sizeof time);
    std::memcpy(&key->word[2], &address, sizeof address);
    if (isPrivate(*key)) break;
    lockTable();
    taken = findEntry(*key) != nullptr;
    rsgResourceTable.lock.release();
  }
  return RSG_STATUS_OK;
}

void* rsgStreamFindResource(const RsgStream* stream, std::int32_t tag) {
  for (const RsgStreamResource* node = stream->resources; node != nullptr; node = node->next)
    if (node->tag == tag) return node->data;
  return nullptr;
}

void rsgReleaseResources(RsgStream* stream) {
  while (RsgStreamResource* const node = stream->resources) {
    stream->resources = node->next;
    rvnFree(isPrivate(node->key) ? node->data : unshare(*node));
    rvnFree(node);
  }
}

}  // namespace rvn
