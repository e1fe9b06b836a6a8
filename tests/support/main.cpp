// Runs the tests at the level and solver class of the environment; a machine that cannot run them ends
// with 77.

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

#include "runtime/cpu_features.h"
#include "runtime/cpu_level.h"
#include "support/levels.h"

int main(int argc, char** argv) {
  constexpr int skipped = 77;
  const std::int32_t level = support::levelOfRun();
  if (!support::canRun(level)) {
    std::printf("this machine cannot run level %d\n", level);
    return skipped;
  }
  const char* const text = std::getenv("RVN_DEBUG_CPU_TYPE");
  const std::int32_t solverClass =
      text == nullptr ? 2 : static_cast<std::int32_t>(std::strtol(text, nullptr, 10));
  if (!support::canRunSolver(solverClass)) {
    std::printf("this machine cannot run solver class %d\n", solverClass);
    return skipped;
  }
  // Builds on trial have no number in the environment of the library, and a call for the best level would leave them.
  if (level > 9) {
    rvn::cpuState.level.store(level);
    rvn::vendorRule.ignored = true;
  }
  testing::InitGoogleTest(&argc, argv);
  const int result = RUN_ALL_TESTS();
  if (level <= 9 || rvn::cpuLevel() == level) return result;
  std::printf("a test has left level %d\n", level);
  return 1;
}
