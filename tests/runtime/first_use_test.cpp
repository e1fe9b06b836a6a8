#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

#include "dispatch/kernel_slot.h"
#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "runtime/reproducibility.h"
#include "support/levels.h"

namespace {

// Everything that is worked out at first need, by several threads at once: all see the result of one thread
// alone.
TEST(FirstUseThreads, RacingThreadsAgree) {
  if (support::levelOfRun() > 9) GTEST_SKIP() << "no environment names the level of this run";
  const std::int32_t level = rvn::cpuLevel();
  const std::int32_t solverClass = rvn::solverCpuType();
  const std::uint64_t features = rvn::cpuFeaturesRead();
  const std::int32_t mode = rvn::cbwrGet(1);
  std::atomic<int> wrong{0};
  for (int round = 0; round < 50; ++round) {
    rvn::cpuState.level = -1;
    rvn::cpuState.solverType = -1;
    rvn::cpuState.detectedType = -1;
    rvn::cpuState.forcedSolverType = -1;
    rvn::cpuFeatures.mask = 0;
    rvn::cbwrState.mode = 0;
    rvn::cbwrState.read = -1;
    static rvn::KernelSlot<const rvn::LevelTable*> slot{nullptr};
    slot.kernel = nullptr;
    std::vector<std::thread> running;
    for (int i = 0; i < 4; ++i)
      running.emplace_back([&, i] {
        const auto table = [](const rvn::LevelTable& t) { return &t; };
        if (i % 2 == 0) wrong += rvn::loadKernel(slot, table) != rvn::levelTables[level];
        wrong += rvn::solverCpuType() != solverClass;
        wrong += rvn::cpuLevel() != level;
        wrong += rvn::cbwrGet(1) != mode;
        wrong += rvn::cpuFeaturesRead() != features;
      });
    for (std::thread& thread : running)
      thread.join();
  }
  EXPECT_EQ(wrong, 0);
}

}  // namespace
