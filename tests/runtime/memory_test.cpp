#include "runtime/memory.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "runtime/memory_state.h"
#include "runtime/platform.h"
#include "runtime/work_share.h"
#include "support/failing_heap.h"

namespace {

using rvn::rvnFree;
using rvn::rvnMalloc;

// Runs body(heap) on a thread whose cache is empty: a record that an ended thread of the same identity left is
// given up.
template <class Body>
void onFreshThread(Body body) {
  support::FailingHeap heap(0);
  std::thread([&] {
    for (std::atomic<std::uint64_t>& owner : rvn::mmState.threadIds)
      if (owner == rvn::threadIdentity()) owner = 0;
    body(heap);
  }).join();
}

std::uintptr_t address(const void* block) {
  return reinterpret_cast<std::uintptr_t>(block);
}

// The calling thread's record, found by one of its live blocks.
const rvn::MmSlot* slotOf(const void* block) {
  for (int i = 1; i <= rvn::mmState.threadCount; ++i)
    for (const rvn::MmSlot& slot : rvn::mmState.threadRecords[i].load()->slots)
      if (slot.user == block) return &slot;
  return nullptr;
}

TEST(Memory, AlignmentOfEveryBlock) {
  EXPECT_EQ(rvnMalloc(0, 128), nullptr);
  rvnFree(nullptr);
  const struct {
    std::int32_t asked;
    std::size_t given;
  } cases[] = {{-128, 64}, {0, 64},   {1, 64},      {32, 64}, {63, 64},   {64, 64},   {100, 64},
               {128, 128}, {192, 64}, {4096, 4096}, {96, 64}, {256, 256}, {4095, 64}, {1 << 20, 1 << 20}};
  onFreshThread([&](support::FailingHeap&) {
    for (const auto& c : cases) {
      std::vector<void*> blocks;
      for (int i = 0; i < 8; ++i) {  // cache and heap path
        blocks.push_back(rvnMalloc(100, c.asked));
        ASSERT_NE(blocks.back(), nullptr);
        EXPECT_EQ(address(blocks.back()) % c.given, 0u) << c.asked;
        std::memset(blocks.back(), 0x5A, 100);
      }
      const rvn::MmSlot* const slot = slotOf(blocks[0]);
      ASSERT_NE(slot, nullptr);
      EXPECT_GE(slot->capacity, 100 + c.given) << c.asked;
      for (void* block : blocks)
        rvnFree(block);
    }
  });
}

TEST(Memory, CacheHandsOutByBestFit) {
  onFreshThread([](support::FailingHeap& heap) {
    void* const small = rvnMalloc(1000, 128);
    void* const large = rvnMalloc(9000, 128);
    void* const middle = rvnMalloc(5000, 128);
    EXPECT_EQ(heap.calls(), 4) << "the thread's record and three blocks";
    for (void* block : {small, large, middle})
      rvnFree(block);
    EXPECT_EQ(heap.frees(), 0);
    const struct {
      std::size_t size;
      void* block;
    } fits[] = {{1000, small}, {999, small}, {1001, middle}, {5000, middle}, {5001, large}, {9000, large}};
    for (const auto& c : fits) {
      void* const block = rvnMalloc(c.size, 128);
      EXPECT_EQ(block, c.block) << c.size;
      EXPECT_EQ(slotOf(block)->requested, c.size);
      rvnFree(block);
    }
    EXPECT_EQ(slotOf(middle)->capacity, 5128u) << "a smaller request keeps the capacity";
    EXPECT_EQ(heap.calls(), 4);
    // None is large enough: two more slots, then the first smaller block is replaced.
    void* const fourth = rvnMalloc(20000, 128);
    void* const fifth = rvnMalloc(20001, 128);
    EXPECT_EQ(heap.calls(), 6);
    EXPECT_EQ(heap.frees(), 0);
    void* const replaced = rvnMalloc(30000, 128);
    EXPECT_EQ(heap.calls(), 7);
    EXPECT_EQ(heap.frees(), 1);
    EXPECT_EQ(slotOf(replaced)->capacity, 30128u);
    EXPECT_EQ(slotOf(replaced) + 1, slotOf(large)) << "the first slot";
    for (void* block : {fourth, fifth, replaced})
      rvnFree(block);
  });
}

TEST(Memory, SixthBlockAndLargeBlocksComeFromTheHeap) {
  onFreshThread([](support::FailingHeap& heap) {
    std::vector<void*> blocks;
    for (int i = 0; i < 6; ++i)
      blocks.push_back(rvnMalloc(500, 128));
    EXPECT_EQ(slotOf(blocks[5]), nullptr);
    EXPECT_NE(slotOf(blocks[4]), nullptr);
    // Two words below a heap block: the raw address and the bytes asked for.
    const void* raw = nullptr;
    std::size_t total = 0;
    std::memcpy(&raw, static_cast<const char*>(blocks[5]) - 2 * sizeof raw, sizeof raw);
    std::memcpy(&total, static_cast<const char*>(blocks[5]) - sizeof total, sizeof total);
    EXPECT_EQ(total, 500 + 128 + 2 * sizeof(void*));
    EXPECT_LE(address(raw) + 2 * sizeof(void*), address(blocks[5]));
    EXPECT_LE(address(blocks[5]) + 500, address(raw) + total);
    for (void* block : blocks)
      rvnFree(block);
    EXPECT_EQ(heap.frees(), 1);

    constexpr std::size_t limit = 0x2800000;
    void* const cached = rvnMalloc(limit, 128);
    void* const direct = rvnMalloc(limit + 1, 128);
    EXPECT_NE(slotOf(cached), nullptr);
    EXPECT_EQ(slotOf(direct), nullptr);
    rvnFree(direct);
    rvnFree(cached);
  });
}

TEST(Memory, ExhaustedHeapLeavesTheCacheUsable) {
  onFreshThread([](support::FailingHeap& heap) {
    heap.exhaust(true);
    EXPECT_EQ(rvnMalloc(700, 128), nullptr) << "no record, no block";
    heap.exhaust(false);
    std::vector<void*> blocks;
    for (int i = 0; i < 5; ++i) {
      heap.exhaust(true);
      EXPECT_EQ(rvnMalloc(700, 128), nullptr) << "slot " << i;
      heap.exhaust(false);
      blocks.push_back(rvnMalloc(700, 128));
      EXPECT_NE(slotOf(blocks.back()), nullptr) << i;
    }
    heap.exhaust(true);
    EXPECT_EQ(rvnMalloc(700, 128), nullptr) << "heap path";
    rvnFree(blocks[2]);
    EXPECT_EQ(rvnMalloc(70000, 128), nullptr) << "replacing a block";
    heap.exhaust(false);
    void* const again = rvnMalloc(700, 128);
    EXPECT_NE(slotOf(again), nullptr) << "the slot serves on";
    blocks[2] = again;
    for (void* block : blocks)
      rvnFree(block);
  });
  constexpr std::size_t header = 2 * sizeof(void*);
  for (const std::size_t size : {SIZE_MAX, SIZE_MAX - 100, SIZE_MAX - 128 - (header - 1)})
    EXPECT_EQ(rvnMalloc(size, 128), nullptr) << "the total overflows";
}

TEST(MemoryThreads, BlockFreedElsewhereStaysInItsOwnersCache) {
  onFreshThread([](support::FailingHeap& heap) {
    void* const block = rvnMalloc(3000, 128);
    std::memset(block, 1, 3000);
    std::thread([block] {
      std::memset(block, 2, 3000);
      rvnFree(block);
    }).join();
    EXPECT_EQ(heap.frees(), 0);
    EXPECT_EQ(rvnMalloc(3000, 128), block);
    rvnFree(block);
  });
}

// Each thread fills its blocks with its own pattern, passes some to a neighbour to free, and finds no other
// thread's bytes.
TEST(MemoryThreads, ConcurrentUse) {
  constexpr int threads = 4;
  constexpr int rounds = 2000;
  std::atomic<void*> mailbox[threads] = {};
  std::atomic<int> corrupt{0};
  const auto work = [&](int self) {
    for (int round = 0; round < rounds; ++round) {
      void* blocks[7];
      const std::size_t size = 64 + static_cast<std::size_t>((round * 37 + self * 11) % 900);
      for (void*& block : blocks) {
        block = rvnMalloc(size, 128);
        std::memset(block, self + 1, size);
      }
      if (void* const mail = mailbox[self].exchange(nullptr)) rvnFree(mail);
      for (const void* block : blocks)
        for (const std::size_t at : {std::size_t{0}, size / 2, size - 1})
          corrupt += static_cast<const unsigned char*>(block)[at] != self + 1;
      if (void* const unread = mailbox[(self + 1) % threads].exchange(blocks[round % 7])) rvnFree(unread);
      blocks[round % 7] = nullptr;
      for (void* block : blocks)
        rvnFree(block);
    }
  };
  std::vector<std::thread> running;
  for (int i = 0; i < threads; ++i)
    running.emplace_back(work, i);
  for (std::thread& thread : running)
    thread.join();
  for (std::atomic<void*>& mail : mailbox)
    rvnFree(mail.load());
  EXPECT_EQ(corrupt, 0);
}

// Windows gives out some hundreds of other identities before one comes again.
TEST(MemoryThreads, ManyShortThreadsReuseRecords) {
  constexpr std::int32_t threads = 1500;
  const std::int32_t before = rvn::mmState.threadCount;
  for (int i = 0; i < threads; ++i)
    std::thread([] { rvnFree(rvnMalloc(100, 128)); }).join();
  EXPECT_LT(rvn::mmState.threadCount, before + threads / 2);
}

TEST(WorkShare, BlocksRunInOrderOnOneThread) {
  const auto note = [](std::int64_t index, std::int64_t thread, std::int64_t threads, void* context) {
    static_cast<std::vector<std::int64_t>*>(context)->push_back(index * 100 + thread * 10 + threads);
  };
  using Calls = std::vector<std::int64_t>;
  for (const rvn::WorkShareTable& table : rvn::workShareTables) {
    EXPECT_EQ(table.threadCount(), 1);
    const struct {
      std::int64_t count;
      Calls calls;
    } cases[] = {{-1, {}}, {0, {}}, {1, {1}}, {3, {1, 101, 201}}};
    for (const auto& c : cases)
      for (const auto parallelFor : {table.parallelFor, table.parallelForAlt}) {
        Calls calls;
        parallelFor(c.count, 7, &calls, note);
        EXPECT_EQ(calls, c.calls);
      }
    Calls calls;
    table.runOnce(9, &calls, note);
    table.runDirect(5, 2, 3, &calls, note);
    EXPECT_EQ(calls, (Calls{1, 523}));
  }
}

}  // namespace
