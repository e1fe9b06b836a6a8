// Runs the tests at the level and solver class of the environment; a machine that cannot run them ends
// with 77.

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

#include "support/levels.h"

namespace {

constexpr int skipped = 77;

// The number in an environment variable, or `otherwise`.
std::int32_t numberIn(const char* name, std::int32_t otherwise) {
  const char* const text = std::getenv(name);
  return text == nullptr ? otherwise : static_cast<std::int32_t>(std::strtol(text, nullptr, 10));
}

}  // namespace

int main(int argc, char** argv) {
  const std::int32_t level = numberIn("RVN_KERNEL_LEVEL_FORCE", 1);
  if (!support::canRun(level)) {
    std::printf("this machine cannot run level %d\n", level);
    return skipped;
  }
  constexpr std::int32_t levelOfClass[] = {3, 4, 5, 7, 8, 9};
  const std::int32_t solverClass = numberIn("RVN_DEBUG_CPU_TYPE", 2);
  if (solverClass >= 2 && solverClass <= 7 && !support::canRun(levelOfClass[solverClass - 2])) {
    std::printf("this machine cannot run solver class %d\n", solverClass);
    return skipped;
  }
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
