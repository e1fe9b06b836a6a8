#pragma once

// Which builds of the kernels there are, and which this machine can run.

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace support {

struct LevelRow {
  std::int32_t level;
  std::int32_t solverClass;  // 0: none
  bool fuses;
  bool tables;  // and what goes with them, see levels.inc
  bool (*canRun)();
};

constexpr LevelRow levelRows[] = {
#define RVN_LEVEL_ROW(level, flags, bytes, integers, fused, tables, solver, needs) \
  {level, solver, fused != 0, tables != 0, [] { return __builtin_cpu_supports(needs) != 0; }},
#include "vector/levels.inc"
#undef RVN_LEVEL_ROW
};

// A number without a row is a level that any machine runs, and counts as the first one.
inline const LevelRow& levelRow(std::int32_t level) {
  for (const LevelRow& row : levelRows)
    if (row.level == level) return row;
  return levelRows[0];
}

inline bool canRun(std::int32_t level) {
  return levelRow(level).canRun();
}

inline bool canRunSolver(std::int32_t solverClass) {
  for (const LevelRow& row : levelRows)
    if (row.solverClass == solverClass && row.level < 10) return row.canRun();
  return true;
}

// The levels that are built and that this machine runs.
inline std::vector<std::int32_t> runnableLevels() {
  std::vector<std::int32_t> levels;
#define RVN_BUILT_LEVEL(n) \
  if (canRun(n)) levels.push_back(n);
#include "ravenfit_built_levels.inc"
#undef RVN_BUILT_LEVEL
  return levels;
}

// The level of this run.
inline std::int32_t levelOfRun() {
  const char* const text = std::getenv("RVN_TEST_LEVEL");
  return text == nullptr ? 1 : static_cast<std::int32_t>(std::strtol(text, nullptr, 10));
}

}  // namespace support
