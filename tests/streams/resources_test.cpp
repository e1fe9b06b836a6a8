#include "streams/resources.h"

#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "runtime/memory.h"
#include "support/failing_heap.h"

#include <ravenfit/random_streams.h>

namespace {

using rvn::RsgResourceKey;
using rvn::rsgResourceTable;

RsgStream* newStream() {
  RsgStream* stream = nullptr;
  EXPECT_EQ(rsgNewStream(&stream, RSG_BRNG_WICHMANN_HILL, 1), 0);
  return stream;
}

void* buffer() {
  return rvn::rvnMalloc(100, rvn::blockAlignment);
}

RsgResourceKey keyOf(std::uint32_t number) {
  return {{number, 0, 0, 7}};
}

TEST(Resources, SharedBufferLivesAsLongAsOneStreamHasIt) {
  const support::FailingHeap heap(0);
  const RsgResourceKey key = keyOf(1);
  RsgStream* streams[3] = {newStream(), newStream(), newStream()};
  void* const shared = buffer();
  EXPECT_EQ(rvn::rsgAttachResource(streams[0], 9, &key, shared, 100), 0);
  EXPECT_EQ(rvn::rsgAttachResource(streams[0], 13, nullptr, buffer(), 100), 0);
  for (RsgStream* stream : {streams[1], streams[2]}) {
    EXPECT_EQ(rvn::rsgAttachResource(stream, 9, &key, nullptr, 100), 0);
    EXPECT_EQ(rvn::rsgStreamFindResource(stream, 9), shared);
    EXPECT_EQ(rvn::rsgStreamFindResource(stream, 13), nullptr);
  }
  EXPECT_NE(rvn::rsgStreamFindResource(streams[0], 13), shared);
  EXPECT_EQ(rsgResourceTable.count, 1);
  EXPECT_EQ(rsgResourceTable.entries[0].refCount, 3);
  for (int left = 2; left >= 0; --left) {
    EXPECT_EQ(rsgDeleteStream(&streams[2 - left]), 0);
    EXPECT_EQ(rsgResourceTable.count, left > 0 ? 1 : 0);
    EXPECT_TRUE(left == 0 || rsgResourceTable.entries[0].refCount == left);
  }
  EXPECT_EQ(heap.live(), 0);
}

TEST(Resources, NewestNodeOfATagIsFound) {
  const support::FailingHeap heap(0);
  RsgStream* stream = newStream();
  const RsgResourceKey zero = {};
  void* const older = buffer();
  void* const newer = buffer();
  EXPECT_EQ(rvn::rsgAttachResource(stream, 9, &zero, older, 1), 0);
  EXPECT_EQ(rvn::rsgAttachResource(stream, 9, nullptr, newer, 2), 0);
  EXPECT_EQ(rvn::rsgAttachResource(stream, 13, nullptr, nullptr, 3), 0);
  EXPECT_EQ(rvn::rsgStreamFindResource(stream, 9), newer);
  EXPECT_EQ(stream->resources->size, 3u);
  EXPECT_EQ(rsgResourceTable.count, 0) << "a zero key is private";
  rsgDeleteStream(&stream);
  EXPECT_EQ(heap.live(), 0);
}

TEST(Resources, TableKeepsItsLastEntryFree) {
  const support::FailingHeap heap(0);
  std::vector<RsgStream*> streams;
  for (std::uint32_t i = 0; i < 130; ++i) {
    streams.push_back(newStream());
    const RsgResourceKey key = keyOf(i);
    EXPECT_EQ(rvn::rsgAttachResource(streams.back(), 9, &key, buffer(), 100), 0);
    EXPECT_EQ(rsgResourceTable.count, static_cast<std::int32_t>(i < 127 ? i + 1 : 127));
    const RsgResourceKey& kept = streams.back()->resources->key;
    EXPECT_EQ(kept.word[3], i < 127 ? 7u : 0u) << "private from the 128th key on";
  }
  // Taking one from the middle moves the last entry there.
  void* const last = rsgResourceTable.entries[126].data;
  EXPECT_EQ(rsgDeleteStream(&streams[50]), 0);
  EXPECT_EQ(rsgResourceTable.count, 126);
  EXPECT_EQ(rsgResourceTable.entries[50].data, last);
  EXPECT_EQ(rsgResourceTable.entries[50].key.word[0], 126u);
  streams[50] = newStream();
  const RsgResourceKey fresh = keyOf(1000);
  EXPECT_EQ(rvn::rsgAttachResource(streams[50], 9, &fresh, buffer(), 100), 0);
  EXPECT_EQ(rsgResourceTable.count, 127);
  for (RsgStream*& stream : streams)
    rsgDeleteStream(&stream);
  EXPECT_EQ(rsgResourceTable.count, 0);
  EXPECT_EQ(heap.live(), 0);
}

TEST(Resources, FailedNodeChangesNothing) {
  RsgStream* stream = newStream();
  void* const data = buffer();
  {
    const support::FailingHeap heap(1);
    const RsgResourceKey key = keyOf(3);
    EXPECT_EQ(rvn::rsgAttachResource(stream, 9, &key, data, 100), RSG_ERROR_MEMORY);
  }
  EXPECT_EQ(stream->resources, nullptr);
  EXPECT_EQ(rsgResourceTable.count, 0);
  rvn::rvnFree(data);
  rsgDeleteStream(&stream);
}

TEST(Resources, KeysCarryTheAddressAndDiffer) {
  int data = 0;
  RsgResourceKey keys[2] = {};
  for (RsgResourceKey& key : keys) {
    EXPECT_EQ(rvn::rsgMakeResourceKey(&key, &data), 0);
    std::int64_t address = 0;
    std::memcpy(&address, &key.word[2], sizeof address);
    EXPECT_EQ(address, static_cast<std::int64_t>(reinterpret_cast<std::intptr_t>(&data)));
  }
  EXPECT_NE(std::memcmp(&keys[0], &keys[1], sizeof keys[0]), 0);
}

// All threads share buffers under few keys; each buffer names its key, and none is freed while in use.
TEST(ResourcesThreads, SharingAndReleasing) {
  constexpr int threads = 4;
  constexpr int rounds = 3000;
  int wrong[threads] = {};
  std::vector<std::thread> running;
  for (int self = 0; self < threads; ++self)
    running.emplace_back([&, self] {
      for (int round = 0; round < rounds; ++round) {
        RsgStream* stream = newStream();
        const auto number = static_cast<std::uint32_t>(1 + round % 3);
        const RsgResourceKey key = keyOf(number);
        void* const own = buffer();
        std::memcpy(own, &number, sizeof number);
        wrong[self] += rvn::rsgAttachResource(stream, 9, &key, own, 100) != 0;
        const void* const found = rvn::rsgStreamFindResource(stream, 9);
        std::uint32_t content = 0;
        std::memcpy(&content, found, sizeof content);
        wrong[self] += content != number;
        if (found != own) rvn::rvnFree(own);
        rsgDeleteStream(&stream);
      }
    });
  for (std::thread& thread : running)
    thread.join();
  for (const int count : wrong)
    EXPECT_EQ(count, 0);
  EXPECT_EQ(rsgResourceTable.count, 0);
}

}  // namespace
